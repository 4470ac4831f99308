// Linux: the converter is started with posix_spawn and an argument vector (no shell
// sees the paths), and waited for through a pidfd where the kernel has one.

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "base/text.h"
#include "selection/conversion.h"

extern char** environ;

namespace tessaroven {

struct ConverterProcess::Impl {
  pid_t pid = -1;
  int pidfd = -1;  // -1 on kernels before 5.3: WaitForExit then polls

  void Forget() {
    if (pidfd >= 0) ::close(pidfd);
    pidfd = -1;
    pid = -1;
  }
};

ConverterProcess::ConverterProcess() : impl_(std::make_unique<Impl>()) {}
ConverterProcess::~ConverterProcess() { impl_->Forget(); }

bool ConverterProcess::Start(const std::u16string& converter, const std::u16string& arguments) {
  std::vector<std::string> texts{ToOsString(converter)};
  for (const auto& argument : SplitWindowsCommandLine(arguments)) texts.push_back(ToOsString(argument));
  std::vector<char*> argv;
  for (auto& text : texts) argv.push_back(text.data());
  argv.push_back(nullptr);

  // A fresh process, as CreateProcessW makes one: no signal blocked or ignored
  // because the selector's threads happen to block or ignore it.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  sigset_t all;
  sigfillset(&all);
  sigdelset(&all, SIGKILL);
  sigdelset(&all, SIGSTOP);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  pid_t pid = -1;
  const int error = posix_spawn(&pid, texts[0].c_str(), nullptr, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) return false;

  impl_->Forget();
  impl_->pid = pid;
  impl_->pidfd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  return true;
}

bool ConverterProcess::WaitForExit(std::chrono::milliseconds timeout) {
  if (impl_->pid < 0) return true;
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    int status = 0;
    const pid_t done = ::waitpid(impl_->pid, &status, WNOHANG);
    // ECHILD: someone else reaped it (or SIGCHLD is ignored); it is gone either way.
    if (done == impl_->pid || (done < 0 && errno != EINTR)) {
      impl_->Forget();
      return true;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    if (impl_->pidfd >= 0) {
      pollfd readable{impl_->pidfd, POLLIN, 0};
      ::poll(&readable, 1, static_cast<int>(left.count()));
    } else {
      std::this_thread::sleep_for(std::min(left, std::chrono::milliseconds(5)));
    }
  }
}

std::uint32_t ConversionTickCount() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto ms = static_cast<std::uint64_t>(now.tv_sec) * 1000u + static_cast<std::uint64_t>(now.tv_nsec) / 1000000u;
  return static_cast<std::uint32_t>(ms);
}

bool DeleteListFile(const std::u16string& path) { return ::unlink(ToOsString(path).c_str()) == 0; }

}  // namespace tessaroven
