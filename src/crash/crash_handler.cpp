#include "crash/crash_handler.h"

#include "base/command_line.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "crash/crash_handler_internal.h"

namespace tessaroven {
namespace {

CrashPreparation& Prepared() {
  static CrashPreparation prepared;
  return prepared;
}

std::optional<CrashRestartTargetForTesting>& RestartTargetOverride() {
  static std::optional<CrashRestartTargetForTesting> target;
  return target;
}

std::filesystem::path FsPath(std::u16string_view path) { return std::filesystem::path(ToOsString(path)); }

bool PathExists(std::u16string_view path) {
  std::error_code error;
  return std::filesystem::exists(FsPath(path), error);
}

}  // namespace

std::vector<std::u16string> SplitCommandWords(std::u16string_view commandLine) {
  return SplitWindowsCommandLine(commandLine);
}

bool IsCrashedSwitch(std::u16string_view word) {
  if (!word.empty() && word.front() == u'-') word.remove_prefix(1);
  return AsciiFoldEquals(word, u"crashed");
}

std::optional<std::u16string> CrashedDumpName(const std::vector<std::u16string>& words) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!IsCrashedSwitch(words[i])) continue;
    if (i + 1 == words.size()) return std::nullopt;
    const std::u16string& name = words[i + 1];
    // The restart only ever passes a bare name; anything else must not lead the
    // report to a file outside the crash folder.
    if (name.empty() || name == u"." || name == u".." || name.find_first_of(u"/\\") != std::u16string::npos)
      return std::nullopt;
    return name;
  }
  return std::nullopt;
}

std::u16string DumpFileName(std::uint32_t processId, const std::function<bool(const std::u16string& name)>& taken) {
  const std::u16string stem = u"crash-" + AsciiToUtf16(std::to_string(processId));
  std::u16string name = stem + u".dmp";
  for (int counter = 1; taken(name); ++counter) name = stem + u"-" + AsciiToUtf16(std::to_string(counter)) + u".dmp";
  return name;
}

DumpBlockCursor::DumpBlockCursor(const std::uint64_t (&registers)[15], std::uint64_t stackFrom, std::uint64_t stackEnd,
                                 ReadWord readWord, IsReadable isReadable)
    : stackAt_(stackFrom), stackEnd_(stackEnd), readWord_(readWord), isReadable_(isReadable) {
  for (int i = 0; i < 15; ++i) registers_[i] = registers[i];
}

std::optional<std::uint64_t> DumpBlockCursor::Next() {
  if (nextRegister_ < 15) return registers_[nextRegister_++];
  while (stackAt_ < stackEnd_ && stackEnd_ - stackAt_ >= sizeof(std::uint64_t)) {
    const std::uint64_t value = readWord_(stackAt_);
    stackAt_ += sizeof(std::uint64_t);
    if (value >= kLowestDumpedAddress && isReadable_(value)) return value;
  }
  return std::nullopt;
}

std::u16string CrashFolder(std::u16string_view baseFolder) {
  return WithTrailingSeparator(baseFolder) + u"crashes" + kPathSeparator;
}

void InstallCrashHandler(std::u16string_view commandLine, const std::u16string& baseFolder, const CrashHooks& hooks) {
  const std::u16string folder = CrashFolder(baseFolder);
  if (const auto reported = CrashedDumpName(SplitCommandWords(commandLine))) {
    const std::u16string dumpPath = folder + *reported;
    if (PathExists(dumpPath)) {
      if (hooks.showReport) hooks.showReport(dumpPath);
      std::exit(0);
    }
  }

  CrashPreparation prepared;
  std::error_code error;
  std::filesystem::create_directories(FsPath(folder), error);
  // Without the folder a crash could not create its dump; per the rule "no dump,
  // no restart" nothing is prepared and the handler stays out of the way.
  if (std::filesystem::is_directory(FsPath(folder), error)) {
    const std::u16string name = DumpFileName(
        CurrentProcessId(), [&](const std::u16string& candidate) { return PathExists(folder + candidate); });
    prepared.dumpPath = folder + name;
    prepared.programPath = crash_internal::RunningProgramPath();
    if (const auto& target = RestartTargetOverride()) {
      prepared.programPath = target->program;
      prepared.restartArguments = target->leadingArguments;
    }
    prepared.restartArguments.push_back(u"-crashed");
    prepared.restartArguments.push_back(name);
  }
  Prepared() = prepared;
  crash_internal::InstallPlatformHandler(Prepared());
}

const CrashPreparation& PreparedCrash() { return Prepared(); }

bool CrashHandlerActive() { return crash_internal::PlatformHandlerActive(); }

void SetCrashRestartTargetForTesting(std::optional<CrashRestartTargetForTesting> target) {
  RestartTargetOverride() = std::move(target);
}

// The provoking functions have external linkage and are never inlined, so that a
// debugger's backtrace of the dump names them.
[[gnu::noinline]] void ProvokeSegvCrash() {
  // An address the compiler cannot see through: a constant null pointer would be
  // undefined behaviour it may turn into a trap instruction instead of a fault.
  volatile std::uintptr_t address = 16;
  *reinterpret_cast<volatile int*>(address) = 1;
}

[[gnu::noinline]] void ProvokeAbortCrash() { std::abort(); }

[[gnu::noinline]] void ProvokeUncaughtException() { throw std::runtime_error("provoked crash: uncaught exception"); }

void ProvokeCrashIfAsked() {
  const char* value = std::getenv("TESSAROVEN_CRASH_TEST");
  if (!value) return;
  const std::string_view what = value;
  if (what == "segv")
    ProvokeSegvCrash();
  else if (what == "abort")
    ProvokeAbortCrash();
  else if (what == "throw")
    ProvokeUncaughtException();
}

}  // namespace tessaroven
