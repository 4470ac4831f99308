// Crash reporting: a dump of the crashed process, a restart, and the report.
//
// InstallCrashHandler runs once, early in start-up, on the main thread. It does one
// of two things:
//   - the restart of a crashed selector ("-crashed crash-4242.dmp" on the command
//     line, the dump still present): it calls hooks.showReport with the dump's full
//     path and ends the process with exit code 0, so the normal program never runs;
//   - every other start: it prepares everything a crash will need (the dump path,
//     the program path, the restart arguments) and installs the handler. The
//     handler itself only creates the file, writes the dump and starts the restart.
// A "-crashed" start whose dump is gone (deleted by the user, or a name that is not
// a bare file name) is treated as a normal start, since a report without its dump
// helps no one; the restart never passes a path argument, so nothing is lost.
//
// Dumps live in BASE/crashes/ and are named crash-PID.dmp, or crash-PID-N.dmp with
// N = 1, 2, ... when that name is taken (a pid seen again after a reboot).
//
// Windows: SetUnhandledExceptionFilter + MiniDumpWriteDump, restart via
// ShellExecuteW. Linux: signal handlers on an alternate stack (SIGSEGV, SIGBUS,
// SIGILL, SIGFPE, SIGABRT) and a terminate handler; the dump is a minidump of our
// own making (see minidump_writer_posix.h), the restart is fork + execve, and the
// process then dies of the original signal, so its parent sees the real cause.
// The alternate stack belongs to the thread that called InstallCrashHandler (the
// main thread); other threads run the handler on their own stacks, so a stack
// overflow on a worker ends the process without a dump.
//
// The pure rules (word splitting, the "-crashed" word, the naming rule, the
// 1024-byte blocks) are exposed for the tests of both platforms.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

struct CrashHooks {
  // The window's report dialog for the dump of the previous crash. Called on the
  // main thread before anything else of the program runs; the process ends with
  // exit code 0 when it returns.
  std::function<void(const std::u16string& dumpPath)> showReport;
};

void InstallCrashHandler(std::u16string_view commandLine, const std::u16string& baseFolder, const CrashHooks& hooks);

// What InstallCrashHandler prepared for a crash (empty before it ran, or when the
// crash folder could not be created: then a crash writes nothing and restarts
// nothing).
struct CrashPreparation {
  std::u16string dumpPath;
  std::u16string programPath;
  // The words after the program: "-crashed" and the dump's file name (plus, in
  // tests, the leading words of the restart target).
  std::vector<std::u16string> restartArguments;
};
const CrashPreparation& PreparedCrash();

// Whether the platform handler is the one that will run on a crash (on Linux a
// sanitizer runtime or a library may have replaced a signal handler since).
bool CrashHandlerActive();

// Reads TESSAROVEN_CRASH_TEST and provokes that crash: "segv" (a write to an
// unmapped address), "abort" (std::abort) or "throw" (an exception nobody
// catches). Each happens in a function of its own that is never inlined, so a
// backtrace of the dump names it. Any other value, or none, does nothing.
void ProvokeCrashIfAsked();

// --- For tests only ---------------------------------------------------------------

// A gtest executable restarted with "-crashed NAME" would run every test again, so
// tests restart a small probe instead: `program` with `leadingArguments` in front
// of the usual "-crashed NAME". Takes effect at the next InstallCrashHandler;
// nullopt returns to restarting the running executable.
struct CrashRestartTargetForTesting {
  std::u16string program;
  std::vector<std::u16string> leadingArguments;
};
void SetCrashRestartTargetForTesting(std::optional<CrashRestartTargetForTesting> target);

// --- The pure rules -----------------------------------------------------------------

// Splits a command line into words at spaces and tabs by the Windows rules
// (SplitWindowsCommandLine): a double quote starts or ends a quoted stretch, in
// which spaces belong to the word; the quotes themselves are dropped, so "a b"c is
// the one word a bc and "" is an empty word; \" is a quote inside a word. These are
// the rules JoinCommandLine quotes by, so an argument of a second start (a folder
// named x -crashed crash-1.dmp) never splits into the crash switch.
std::vector<std::u16string> SplitCommandWords(std::u16string_view commandLine);

// Whether `word` is the crash switch: without one leading "-" it is "crashed" in
// any ASCII case ("-crashed", "-CRASHED", "crashed"; not "--crashed").
bool IsCrashedSwitch(std::u16string_view word);

// The word after the first crash switch, if it is a bare file name (not empty, no
// separator of either platform, not "." or ".."); nullopt otherwise.
std::optional<std::u16string> CrashedDumpName(const std::vector<std::u16string>& words);

// The naming rule: "crash-PID.dmp", else the first free "crash-PID-N.dmp", N from 1.
std::u16string DumpFileName(std::uint32_t processId, const std::function<bool(const std::u16string& name)>& taken);

// The crash folder below the base folder, ending in the separator.
std::u16string CrashFolder(std::u16string_view baseFolder);

// Every memory block that the dump adds around an address is this long and starts
// half of it before the address, or at the address when that would go below 0.
inline constexpr std::uint64_t kDumpBlockSize = 1024;
constexpr std::uint64_t DumpBlockStart(std::uint64_t address) {
  return address < kDumpBlockSize / 2 ? address : address - kDumpBlockSize / 2;
}

// Stack values below this never count as addresses (small integers, flags).
inline constexpr std::uint64_t kLowestDumpedAddress = 4096;

// The addresses around which a dump adds blocks, one at a time, in the order of
// the dump callback: the 15 integer registers Rax, Rbx, Rcx, Rdx, Rsi, Rdi, Rsp,
// Rbp, R8..R14 of the faulting context (whatever their values), then the 8-byte
// values on the stack from Rsp up to the stack's end, skipping values below
// kLowestDumpedAddress and values that are not readable addresses. It reads
// memory only through the two functions it is given and allocates nothing, so
// it can run inside a crash handler.
class DumpBlockCursor {
 public:
  using ReadWord = std::uint64_t (*)(std::uint64_t address);
  using IsReadable = bool (*)(std::uint64_t address);

  DumpBlockCursor(const std::uint64_t (&registers)[15], std::uint64_t stackFrom, std::uint64_t stackEnd,
                  ReadWord readWord, IsReadable isReadable);

  // The next address (not the block start: see DumpBlockStart), or nullopt once
  // the stack is exhausted; it stays exhausted.
  std::optional<std::uint64_t> Next();

 private:
  std::uint64_t registers_[15];
  int nextRegister_ = 0;
  std::uint64_t stackAt_;
  std::uint64_t stackEnd_;
  ReadWord readWord_;
  IsReadable isReadable_;
};

// The id of the running process (the PID of the naming rule).
std::uint32_t CurrentProcessId();

}  // namespace tessaroven
