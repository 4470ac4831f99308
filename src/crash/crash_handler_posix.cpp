// Linux crash handling: signal handlers on an alternate stack, a terminate handler
// that turns an uncaught exception into SIGABRT, the minidump, and the restart by
// fork + execve.
//
// Everything the handler uses is built in InstallPlatformHandler: the dump path as
// bytes, argv and envp of the restart. The handler allocates nothing, takes no
// lock and calls only async-signal-safe functions, its reads, writes and the fork
// as raw system calls, so that no sanitizer interceptor or at-fork handler runs in
// a process whose state is unknown.
//
// AddressSanitizer installs its own SIGSEGV/SIGBUS/SIGFPE handlers before main.
// Installing ours afterwards replaces them as long as ASan's allow_user_segv_handler
// is on (its default); CrashHandlerActive() tells whether ours really is in place.
// Our handler does its own reads through system calls, so ASan's shadow checks
// never see the crashed thread's stack.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "base/text.h"
#include "crash/crash_handler_internal.h"
#include "crash/minidump_writer_posix.h"

extern char** environ;

namespace tessaroven {
namespace crash_internal {
namespace {

constexpr std::array<int, 5> kCrashSignals = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr std::size_t kAlternateStackSize = 256 * 1024;

// Built at start-up, read-only in the handler. The vectors are never resized
// after InstallPlatformHandler returns.
struct Restart {
  std::string dumpPath;
  std::string program;
  std::vector<std::string> argumentTexts;
  std::vector<char*> argv;
  std::vector<std::string> environmentTexts;
  std::vector<char*> envp;
};
Restart* gRestart = nullptr;  // swapped only on the main thread, before any crash
std::atomic<pid_t> gCrashingThread{0};
std::terminate_handler gPreviousTerminate = nullptr;
void* gAlternateStack = nullptr;

pid_t CurrentThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

// Restores the default action and queues the signal again: it is delivered when
// the handler returns, so the process dies of it and the parent sees why.
void DieOfSignal(int signal) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
  syscall(SYS_tgkill, getpid(), CurrentThreadId(), signal);
}

void StartRestart(const Restart& restart) {
  // The raw fork: glibc's wrapper would run at-fork handlers (a sanitizer's among
  // them) that take locks the crashed process may hold.
  const long child = syscall(SYS_fork);
  if (child != 0) return;
  // The child inherits the handler's blocked signals; the new program must not.
  sigset_t none;
  sigemptyset(&none);
  syscall(SYS_rt_sigprocmask, SIG_SETMASK, &none, nullptr, sizeof(long));
  syscall(SYS_execve, restart.program.c_str(), restart.argv.data(), restart.envp.data());
  syscall(SYS_exit_group, 127);
}

void OnCrashSignal(int signal, siginfo_t* info, void* context) {
  const int savedErrno = errno;
  const pid_t self = CurrentThreadId();
  pid_t expected = 0;
  if (!gCrashingThread.compare_exchange_strong(expected, self)) {
    // A fault inside the handler itself: give up on the dump and die. Another
    // thread crashing at the same time waits for the first to end the process.
    if (expected == self) {
      DieOfSignal(signal);
      return;
    }
    for (;;) pause();
  }
  const Restart* restart = gRestart;
  if (restart && !restart->dumpPath.empty()) {
    const long fd =
        syscall(SYS_openat, AT_FDCWD, restart->dumpPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    // No dump file, no restart: the crash ends the process without a report.
    if (fd >= 0) {
      WriteMinidump(static_cast<int>(fd), signal, *info, *static_cast<const ucontext_t*>(context), self);
      syscall(SYS_fsync, fd);
      syscall(SYS_close, fd);
      if (!restart->program.empty()) StartRestart(*restart);
    }
  }
  DieOfSignal(signal);
  errno = savedErrno;
}

// An uncaught exception: let the previous handler say what was thrown (the
// standard library's prints the type and what()), then abort, which raises
// SIGABRT and so writes the dump from the crash signal path.
void OnTerminate() {
  if (gPreviousTerminate) gPreviousTerminate();
  std::abort();
}

void InstallAlternateStack() {
  if (!gAlternateStack) {
    void* memory = mmap(nullptr, kAlternateStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return;
    gAlternateStack = memory;
  }
  stack_t stack{};
  stack.ss_sp = gAlternateStack;
  stack.ss_size = kAlternateStackSize;
  sigaltstack(&stack, nullptr);
}

}  // namespace

std::u16string RunningProgramPath() {
  std::string buffer(4096, '\0');
  const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
  if (length <= 0 || static_cast<std::size_t>(length) >= buffer.size()) return {};
  buffer.resize(static_cast<std::size_t>(length));
  return FromOsString(buffer);
}

void InstallPlatformHandler(const CrashPreparation& prepared) {
  auto* restart = new Restart;
  restart->dumpPath = ToOsString(prepared.dumpPath);
  restart->program = ToOsString(prepared.programPath);
  restart->argumentTexts.push_back(restart->program);
  for (const auto& argument : prepared.restartArguments) restart->argumentTexts.push_back(ToOsString(argument));
  for (auto& text : restart->argumentTexts) restart->argv.push_back(text.data());
  restart->argv.push_back(nullptr);
  for (char** variable = environ; variable && *variable; ++variable) restart->environmentTexts.emplace_back(*variable);
  for (auto& text : restart->environmentTexts) restart->envp.push_back(text.data());
  restart->envp.push_back(nullptr);
  // An earlier preparation is kept alive on purpose: a signal on another thread
  // may be reading it right now.
  static auto* everyPreparation = new std::vector<Restart*>;
  everyPreparation->push_back(restart);
  gRestart = restart;

  PrepareMinidumpWriter();
  InstallAlternateStack();
  struct sigaction action {};
  action.sa_sigaction = OnCrashSignal;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  // While one crash is being written, the other crash signals wait.
  for (const int signal : kCrashSignals) sigaddset(&action.sa_mask, signal);
  for (const int signal : kCrashSignals) sigaction(signal, &action, nullptr);
  const std::terminate_handler previous = std::set_terminate(OnTerminate);
  if (previous != OnTerminate) gPreviousTerminate = previous;
}

bool PlatformHandlerActive() {
  for (const int signal : kCrashSignals) {
    struct sigaction current {};
    if (sigaction(signal, nullptr, &current) != 0) return false;
    if (!(current.sa_flags & SA_SIGINFO) || current.sa_sigaction != OnCrashSignal) return false;
  }
  return std::get_terminate() == OnTerminate;
}

}  // namespace crash_internal

std::uint32_t CurrentProcessId() { return static_cast<std::uint32_t>(getpid()); }

}  // namespace tessaroven
