#include "crash/crash_handler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "crash/crash_handler_internal.h"
#include "minidump_reader.h"
#include "support/child_process.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace tessaroven {

// Defined for each platform: keeps a crashing child from leaving a core file beside
// its dump, and checks what only this platform's dumps show, with its own tools.
void SuppressCoreFile();
void ExpectPlatformDump(const std::string& mode, const char* function, const std::string& pid,
                        const std::u16string& dumpPath, const test::MinidumpReader& dump);

namespace {

using test::Native;

// --- Word splitting and the "-crashed" switch ------------------------------------------

// The switch is one word: one optional dash and ASCII case folding only (a dotless
// capital I is not an i); the name after it is a bare file name.
TEST(CrashSwitchTest, DumpNameIsTheBareNameAfterTheSwitch) {
  const std::pair<std::u16string, std::optional<std::u16string>> cases[] = {
      {u"prog -crashed crash-42.dmp", u"crash-42.dmp"},
      {u"prog -CrAsHeD \"crash 42.dmp\"", u"crash 42.dmp"},
      {u"prog crashed a.dmp -crashed b.dmp", u"a.dmp"},
      {u"prog --crashed a.dmp", std::nullopt},
      {u"prog /crashed a.dmp", std::nullopt},
      {u"prog -crash a.dmp", std::nullopt},
      {u"prog -crashedx a.dmp", std::nullopt},
      {u"prog - a.dmp", std::nullopt},
      {u"prog -CRASHED\u0130 a.dmp", std::nullopt},
      {u"prog D:\\Music", std::nullopt},
      {u"prog -crashed", std::nullopt},
      {u"prog -crashed \"\"", std::nullopt},
      {u"prog -crashed ../x.dmp", std::nullopt},
      {u"prog -crashed ..\\x.dmp", std::nullopt},
      {u"prog -crashed ..", std::nullopt},
      // Folders handed to a second start, quoted as JoinCommandLine does.
      {u"\"/p\" \"/m/x -crashed crash-1.dmp\"", std::nullopt},
      {u"\"/p\" \"x\\\" -crashed crash-1.dmp \\\"y\"", std::nullopt},
  };
  for (const auto& [line, name] : cases) EXPECT_EQ(CrashedDumpName(SplitCommandWords(line)), name) << Utf16ToUtf8(line);
}

// --- The naming rule and the blocks ----------------------------------------------------

TEST(CrashDumpTest, DumpFileNameIsTheFirstFreeNameInOrder) {
  struct {
    std::uint32_t pid;
    std::set<std::u16string> taken;
    std::u16string name;
  } const cases[] = {
      {4242, {}, u"crash-4242.dmp"},
      {4242, {u"crash-4242.dmp", u"crash-4242-1.dmp"}, u"crash-4242-2.dmp"},
      // Counting stops at the first gap, even when later names are taken.
      {7, {u"crash-7.dmp", u"crash-7-2.dmp"}, u"crash-7-1.dmp"},
      // Another pid's dumps do not matter; the base name is tried first.
      {7, {u"crash-77.dmp", u"crash-7-1.dmp"}, u"crash-7.dmp"},
      {4294967295u, {}, u"crash-4294967295.dmp"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(DumpFileName(c.pid, [&](const std::u16string& n) { return c.taken.count(n) > 0; }), c.name);
  // The dumps lie below the base folder, with one separator.
  EXPECT_EQ(CrashFolder(Native(u"/home/u/qRV")), Native(u"/home/u/qRV/crashes/"));
  EXPECT_EQ(CrashFolder(Native(u"/home/u/qRV/")), Native(u"/home/u/qRV/crashes/"));
}

// A block starts half a block before an address, unless that goes below zero.
TEST(CrashDumpTest, BlocksStartHalfABlockBefore) {
  const std::pair<std::uint64_t, std::uint64_t> cases[] = {
      {0, 0}, {511, 511}, {512, 0}, {513, 1}, {4096, 3584}, {~std::uint64_t{0}, ~std::uint64_t{0} - 512}};
  for (const auto& [address, start] : cases) EXPECT_EQ(DumpBlockStart(address), start) << address;
}

// A fake stack for the cursor: words at kFakeStackBase, and the values that count
// as readable addresses.
constexpr std::uint64_t kFakeStackBase = 0x10000;
const std::uint64_t kFakeStack[] = {5, 0x5000, 0x9000, 4095, 4096, 0x5008, 0x5000};
std::uint64_t ReadFakeWord(std::uint64_t address) { return kFakeStack[(address - kFakeStackBase) / 8]; }
bool FakeReadable(std::uint64_t address) { return address == 0x5000 || address == 0x5008 || address == 4096; }

// Register values are offered as they are, even when low or unreadable; then the
// readable values on the stack from rsp upwards.
TEST(CrashDumpTest, CursorOffersRegistersThenReadableStackValues) {
  struct {
    std::uint64_t stackFrom, stackEnd;
    std::vector<std::uint64_t> stackAddresses;
  } const cases[] = {
      // Skips 5 and 4095 (too low) and 0x9000 (unreadable); repeats are offered again.
      {kFakeStackBase, kFakeStackBase + 7 * 8, {0x5000, 4096, 0x5008, 0x5000}},
      {kFakeStackBase + 3 * 8, kFakeStackBase + 7 * 8, {4096, 0x5008, 0x5000}},
      // A trailing part-word at the stack's end is not read.
      {kFakeStackBase + 5 * 8, kFakeStackBase + 6 * 8 + 4, {0x5008}},
      {kFakeStackBase, kFakeStackBase, {}},
  };
  const std::uint64_t registers[15] = {0, 1, 0x9000, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  for (const auto& c : cases) {
    DumpBlockCursor cursor(registers, c.stackFrom, c.stackEnd, ReadFakeWord, FakeReadable);
    std::vector<std::uint64_t> offered;
    while (const auto next = cursor.Next()) offered.push_back(*next);
    std::vector<std::uint64_t> expected(std::begin(registers), std::end(registers));
    expected.insert(expected.end(), c.stackAddresses.begin(), c.stackAddresses.end());
    EXPECT_EQ(offered, expected) << c.stackFrom - kFakeStackBase;
    EXPECT_FALSE(cursor.Next()) << "an exhausted cursor stays exhausted";
  }
}

// --- The "-crashed" start, in real processes ----------------------------------------------

// args: base folder, file for the hook's path, command line.
TESSAROVEN_TEST_CHILD(crashed_start) {
  const std::u16string hookRecord = Utf8ToUtf16(args[1]);
  CrashHooks hooks;
  hooks.showReport = [&](const std::u16string& dumpPath) { test::WriteBytes(hookRecord, Utf16ToUtf8(dumpPath)); };
  InstallCrashHandler(Utf8ToUtf16(args[2]), Utf8ToUtf16(args[0]), hooks);
  // A normal start: record what was prepared for the next crash.
  test::WriteBytes(hookRecord + u".normal", Utf16ToUtf8(PreparedCrash().dumpPath));
  return CrashHandlerActive() ? 7 : 8;
}

// The switch's spellings are the word rules' business (above); here, a real start
// with a dump reports it and ends, one without a dump or the switch starts normally.
TEST(CrashStartTest, ReportsAnExistingDumpOtherwiseStartsNormally) {
  const std::pair<std::string, bool> cases[] = {
      {"prog -crashed crash-1.dmp", true}, {"prog -crashed crash-2.dmp", false}, {"prog /music/crash-1.dmp", false}};
  for (const auto& [commandLine, reports] : cases) {
    SCOPED_TRACE(commandLine);
    test::TempDir dir;
    const std::u16string base = dir / Native(u"a/b/qRV");
    const std::u16string folder = CrashFolder(base);
    if (reports) {
      ASSERT_TRUE(std::filesystem::create_directories(std::filesystem::path(ToOsString(folder))));
      ASSERT_TRUE(test::WriteBytes(folder + u"crash-1.dmp", "MDMP"));
    }
    const std::u16string hookRecord = dir / u"hook.txt";
    test::ChildProcess child("crashed_start", {Utf16ToUtf8(base), Utf16ToUtf8(hookRecord), commandLine});
    const int code = child.Wait();
    if (reports) {
      EXPECT_EQ(code, 0);
      EXPECT_EQ(test::ReadBytes(hookRecord), Utf16ToUtf8(folder + u"crash-1.dmp"));
      EXPECT_FALSE(test::FileExists(hookRecord + u".normal")) << "the program ran on after the report";
    } else {
      EXPECT_EQ(code, 7) << "a normal start installs the handler";
      EXPECT_FALSE(test::FileExists(hookRecord));
      EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(ToOsString(folder)))) << "made with its parents";
      // Prepared for the next crash under the naming rule; nothing written yet.
      const std::string prepared = test::ReadBytes(hookRecord + u".normal");
      EXPECT_EQ(prepared.rfind(Utf16ToUtf8(folder) + "crash-", 0), 0u) << prepared;
      EXPECT_EQ(prepared.substr(prepared.size() - 4), ".dmp");
      EXPECT_FALSE(test::FileExists(Utf8ToUtf16(prepared)));
    }
  }
}

// --- Crashing children ---------------------------------------------------------------

// The restart runs detached from the crashed child, so its record arrives a little
// later: waits for it, bounded, so a missing restart fails instead of hanging. It
// waits for the content, not the name: on Windows the renamed record is visible while
// the probe's rename still holds it open for deletion, and an open in that moment
// fails with a sharing violation, which would read as an empty record.
std::string ProbeRecord(const std::u16string& path, std::chrono::seconds limit) {
  const auto until = std::chrono::steady_clock::now() + limit;
  std::string record = test::ReadBytes(path);
  while (record.empty() && std::chrono::steady_clock::now() < until) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    record = test::ReadBytes(path);
  }
  return record;
}

// args: base folder, mode, "remove-folder" or "keep-folder". Writes its pid to
// pid.txt in the base folder; a crash restarts the probe built beside the test
// executable, which records its words in probe.txt there.
TESSAROVEN_TEST_CHILD(crash_child) {
  const std::u16string base = Utf8ToUtf16(args[0]);
  const std::u16string probe = std::u16string(FolderOf(crash_internal::RunningProgramPath())) +
                               (kIsWindows ? u"crash_restart_probe.exe" : u"crash_restart_probe");
  SetCrashRestartTargetForTesting(CrashRestartTargetForTesting{probe, {base + u"probe.txt"}});
  InstallCrashHandler(u"crash_child", base, {});
  if (!CrashHandlerActive()) return 2;
  test::WriteBytes(base + u"pid.txt", std::to_string(CurrentProcessId()));
  if (args[2] == "remove-folder") {
    std::error_code error;
    std::filesystem::remove_all(std::filesystem::path(ToOsString(CrashFolder(base))), error);
  }
  // "MODE-worker" crashes on a thread of its own instead of the main thread.
  std::string mode = args[1];
  const bool onWorker = mode.size() > 7 && mode.substr(mode.size() - 7) == "-worker";
  if (onWorker) mode.resize(mode.size() - 7);
  SuppressCoreFile();
  const test::ScopedEnv request("TESSAROVEN_CRASH_TEST", mode.c_str());
  if (onWorker)
    std::thread(ProvokeCrashIfAsked).join();
  else
    ProvokeCrashIfAsked();
  return 3;
}

// An unknown request does not crash; a crash whose dump cannot be made (its folder
// gone) leaves neither a dump nor a restart.
TEST(CrashChildTest, NoCrashOrNoDumpFolderMeansNoDumpAndNoRestart) {
  for (const bool crashes : {false, true}) {
    test::TempDir base;
    test::ChildProcess child("crash_child", {Utf16ToUtf8(base.Path()), crashes ? "segv" : "explode",
                                             crashes ? "remove-folder" : "keep-folder"});
    const int code = child.Wait();
    EXPECT_EQ(code == 3, !crashes) << "3: the child ran on after the request; " << code;
    EXPECT_NE(code, 0);
    EXPECT_TRUE(test::ListFolder(CrashFolder(base.Path())).empty());
    // The restart would follow the dump at once; give it time to show up if it wrongly does.
    EXPECT_EQ(ProbeRecord(base / u"probe.txt", std::chrono::seconds(crashes ? 2 : 0)), "");
  }
}

struct CrashCase {
  const char* mode;
  int signal;               // Linux: the process dies of it, and the dump names it
  std::uint32_t exception;  // Windows: the exit code and the code in the dump
  const char* function;     // the provoking function, which a backtrace must name
  friend void PrintTo(const CrashCase& c, std::ostream* os) { *os << c.mode; }
};

class CrashDumpReadBack : public testing::TestWithParam<CrashCase> {};

TEST_P(CrashDumpReadBack, WritesADumpOfTheCrashedProcessAndRestarts) {
  const CrashCase& c = GetParam();
  test::TempDir base;
  test::ChildProcess child("crash_child", {Utf16ToUtf8(base.Path()), c.mode, "keep-folder"});
  const int exitCode = child.Wait();
  if constexpr (kIsWindows) {
    EXPECT_EQ(static_cast<std::uint32_t>(exitCode), c.exception);
  } else {
    ASSERT_EQ(exitCode, 128 + c.signal) << "the child did not die of the signal";
  }

  // The dump is named by the rule after the child's pid.
  const std::string pid = test::ReadBytes(base / u"pid.txt");
  ASSERT_FALSE(pid.empty());
  const std::string dumpName = "crash-" + pid + ".dmp";
  const std::u16string dumpPath = CrashFolder(base.Path()) + Utf8ToUtf16(dumpName);
  ASSERT_TRUE(test::FileExists(dumpPath));
  // The restart ran the probe with "-crashed NAME".
  EXPECT_EQ(ProbeRecord(base / u"probe.txt", std::chrono::seconds(60)), "-crashed\n" + dumpName + "\n");

  const test::MinidumpReader dump(test::ReadBytes(dumpPath));
  ASSERT_TRUE(dump.HeaderValid());
  EXPECT_TRUE(dump.StreamsInsideFile());
  EXPECT_EQ(dump.ProcessId(), static_cast<std::uint32_t>(std::stoul(pid))) << "the dump is of the crashed process";
  const auto exception = dump.ExceptionInfo();
  ASSERT_TRUE(exception);
  EXPECT_EQ(exception->code, kIsWindows ? c.exception : static_cast<std::uint32_t>(c.signal));
  ExpectPlatformDump(c.mode, c.function, pid, dumpPath, dump);
}

INSTANTIATE_TEST_SUITE_P(Crashes, CrashDumpReadBack,
                         testing::Values(CrashCase{"segv", SIGSEGV, 0xC0000005u, "ProvokeSegvCrash"},
                                         CrashCase{"abort", SIGABRT, 0x40000015u, "ProvokeAbortCrash"},
                                         CrashCase{"throw", SIGABRT, 0x40000015u, "ProvokeUncaughtException"},
                                         CrashCase{"segv-worker", SIGSEGV, 0xC0000005u, "ProvokeSegvCrash"}),
                         [](const auto& p) {
                           std::string name = p.param.mode;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace tessaroven
