#include "crash/crash_handler.h"

#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/resource.h>
#endif

#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>

#include "crash_test_support.h"
#include "support/child_process.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;

// --- Word splitting and the "-crashed" switch ------------------------------------------

struct SplitCase {
  const char* label;
  std::u16string line;
  std::vector<std::u16string> words;
};

class SplitCommandWordsTest : public testing::TestWithParam<SplitCase> {};

TEST_P(SplitCommandWordsTest, SplitsAtBlanksOutsideQuotes) {
  EXPECT_EQ(SplitCommandWords(GetParam().line), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SplitCommandWordsTest,
    testing::Values(SplitCase{"Empty", u"", {}}, SplitCase{"OnlyBlanks", u"  \t ", {}},
                    SplitCase{"Plain", u"prog -crashed crash-7.dmp", {u"prog", u"-crashed", u"crash-7.dmp"}},
                    SplitCase{"RunsOfBlanks", u"  a \t b  ", {u"a", u"b"}},
                    SplitCase{"QuotedProgramWithSpaces",
                              u"\"C:\\Program Files\\T\\t.exe\" -crashed x.dmp",
                              {u"C:\\Program Files\\T\\t.exe", u"-crashed", u"x.dmp"}},
                    SplitCase{"QuoteInsideWordJoins", u"a\"b c\"d e", {u"ab cd", u"e"}},
                    SplitCase{"EmptyQuotedWordKept", u"a \"\" b", {u"a", u"", u"b"}},
                    SplitCase{"UnclosedQuoteRunsToEnd", u"a \"b c", {u"a", u"b c"}},
                    // A quote in a quoted word is written \" (Linux names may hold one); it
                    // must not end the word, or the rest would split into loose words.
                    SplitCase{"EscapedQuoteStaysInTheWord",
                              u"\"/p\" \"x\\\" -crashed crash-1.dmp \\\"y\"",
                              {u"/p", u"x\" -crashed crash-1.dmp \"y"}}),
    [](const auto& p) { return std::string(p.param.label); });

struct SwitchCase {
  std::u16string word;
  bool isSwitch;
};

class CrashedSwitchTest : public testing::TestWithParam<SwitchCase> {};

TEST_P(CrashedSwitchTest, OneOptionalDashAndAsciiCaseFold) {
  EXPECT_EQ(IsCrashedSwitch(GetParam().word), GetParam().isSwitch);
}

INSTANTIATE_TEST_SUITE_P(Words, CrashedSwitchTest,
                         testing::Values(SwitchCase{u"-crashed", true}, SwitchCase{u"-CRASHED", true},
                                         SwitchCase{u"-CrAsHeD", true}, SwitchCase{u"crashed", true},
                                         SwitchCase{u"--crashed", false}, SwitchCase{u"/crashed", false},
                                         SwitchCase{u"-crash", false}, SwitchCase{u"-crashedx", false},
                                         SwitchCase{u"-", false}, SwitchCase{u"", false},
                                         // Only ASCII letters fold: a dotless capital I is not an i.
                                         SwitchCase{u"-CRASHED\u0130", false}));

struct DumpNameCase {
  const char* label;
  std::u16string line;
  std::optional<std::u16string> name;
};

class CrashedDumpNameTest : public testing::TestWithParam<DumpNameCase> {};

TEST_P(CrashedDumpNameTest, TakesTheBareNameAfterTheSwitch) {
  EXPECT_EQ(CrashedDumpName(SplitCommandWords(GetParam().line)), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CrashedDumpNameTest,
    testing::Values(DumpNameCase{"Restart", u"prog -crashed crash-42.dmp", u"crash-42.dmp"},
                    DumpNameCase{"QuotedName", u"prog -Crashed \"crash 42.dmp\"", u"crash 42.dmp"},
                    DumpNameCase{"FirstSwitchWins", u"prog -crashed a.dmp -crashed b.dmp", u"a.dmp"},
                    DumpNameCase{"NoSwitch", u"prog D:\\Music", std::nullopt},
                    DumpNameCase{"SwitchLast", u"prog -crashed", std::nullopt},
                    DumpNameCase{"EmptyName", u"prog -crashed \"\"", std::nullopt},
                    DumpNameCase{"SlashInName", u"prog -crashed ../x.dmp", std::nullopt},
                    DumpNameCase{"BackslashInName", u"prog -crashed ..\\x.dmp", std::nullopt},
                    DumpNameCase{"DotDot", u"prog -crashed ..", std::nullopt},
                    // Folders handed to a second start, quoted as JoinCommandLine does.
                    DumpNameCase{"FolderNamedLikeTheSwitch", u"\"/p\" \"/m/x -crashed crash-1.dmp\"", std::nullopt},
                    DumpNameCase{"FolderWithQuotesAroundTheSwitch", u"\"/p\" \"x\\\" -crashed crash-1.dmp \\\"y\"",
                                 std::nullopt}),
    [](const auto& p) { return std::string(p.param.label); });

// --- The naming rule and the blocks ----------------------------------------------------

struct NamingCase {
  const char* label;
  std::uint32_t pid;
  std::set<std::u16string> taken;
  std::u16string name;
};

class DumpFileNameTest : public testing::TestWithParam<NamingCase> {};

TEST_P(DumpFileNameTest, FirstFreeNameInOrder) {
  const auto& c = GetParam();
  EXPECT_EQ(DumpFileName(c.pid, [&](const std::u16string& n) { return c.taken.count(n) > 0; }), c.name);
}

INSTANTIATE_TEST_SUITE_P(
    Folders, DumpFileNameTest,
    testing::Values(NamingCase{"Free", 4242, {}, u"crash-4242.dmp"},
                    NamingCase{"SecondCrashOfSamePid", 4242, {u"crash-4242.dmp"}, u"crash-4242-1.dmp"},
                    NamingCase{"Third", 4242, {u"crash-4242.dmp", u"crash-4242-1.dmp"}, u"crash-4242-2.dmp"},
                    // Counting stops at the first gap, even when later names are taken.
                    NamingCase{"Gap", 7, {u"crash-7.dmp", u"crash-7-2.dmp"}, u"crash-7-1.dmp"},
                    // Another pid's dumps do not matter; the base name is tried first.
                    NamingCase{"OtherPid", 7, {u"crash-77.dmp", u"crash-7-1.dmp"}, u"crash-7.dmp"},
                    NamingCase{"LargestPid", 4294967295u, {}, u"crash-4294967295.dmp"}),
    [](const auto& p) { return std::string(p.param.label); });

struct BlockCase {
  std::uint64_t address;
  std::uint64_t start;
};

class DumpBlockTest : public testing::TestWithParam<BlockCase> {};

TEST_P(DumpBlockTest, StartsHalfABlockBeforeUnlessThatGoesBelowZero) {
  EXPECT_EQ(DumpBlockStart(GetParam().address), GetParam().start);
}

INSTANTIATE_TEST_SUITE_P(Addresses, DumpBlockTest,
                         testing::Values(BlockCase{0, 0}, BlockCase{16, 16}, BlockCase{511, 511}, BlockCase{512, 0},
                                         BlockCase{513, 1}, BlockCase{4096, 3584},
                                         BlockCase{0x7ffc12345678, 0x7ffc12345478},
                                         BlockCase{~std::uint64_t{0}, ~std::uint64_t{0} - 512}));

// A fake stack for the cursor: words at kFakeStackBase, and the values that count
// as readable addresses.
constexpr std::uint64_t kFakeStackBase = 0x10000;
const std::uint64_t kFakeStack[] = {5, 0x5000, 0x9000, 4095, 4096, 0x5008, 0x5000};
std::uint64_t ReadFakeWord(std::uint64_t address) { return kFakeStack[(address - kFakeStackBase) / 8]; }
bool FakeReadable(std::uint64_t address) { return address == 0x5000 || address == 0x5008 || address == 4096; }

struct CursorCase {
  const char* label;
  std::uint64_t stackFrom, stackEnd;
  std::vector<std::uint64_t> stackAddresses;
};

class DumpBlockCursorTest : public testing::TestWithParam<CursorCase> {};

TEST_P(DumpBlockCursorTest, RegistersAsTheyAreThenReadableStackValuesUpwards) {
  const auto& c = GetParam();
  // Register values are offered even when low or unreadable.
  const std::uint64_t registers[15] = {0, 1, 0x9000, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  DumpBlockCursor cursor(registers, c.stackFrom, c.stackEnd, ReadFakeWord, FakeReadable);
  std::vector<std::uint64_t> offered;
  while (const auto next = cursor.Next()) offered.push_back(*next);
  std::vector<std::uint64_t> expected(std::begin(registers), std::end(registers));
  expected.insert(expected.end(), c.stackAddresses.begin(), c.stackAddresses.end());
  EXPECT_EQ(offered, expected);
  EXPECT_FALSE(cursor.Next()) << "an exhausted cursor stays exhausted";
}

INSTANTIATE_TEST_SUITE_P(
    Stacks, DumpBlockCursorTest,
    testing::Values(
        // Skips 5 and 4095 (too low) and 0x9000 (unreadable); repeats are offered again.
        CursorCase{"WholeStack", kFakeStackBase, kFakeStackBase + 7 * 8, {0x5000, 4096, 0x5008, 0x5000}},
        CursorCase{"FromRspUp", kFakeStackBase + 3 * 8, kFakeStackBase + 7 * 8, {4096, 0x5008, 0x5000}},
        // A trailing part-word at the stack's end is not read.
        CursorCase{"PartWordAtEnd", kFakeStackBase + 5 * 8, kFakeStackBase + 6 * 8 + 4, {0x5008}},
        CursorCase{"EmptyStack", kFakeStackBase, kFakeStackBase, {}}),
    [](const auto& p) { return std::string(p.param.label); });

TEST(CrashFolderTest, BelowTheBaseFolderWithOneSeparator) {
  EXPECT_EQ(CrashFolder(Native(u"/home/u/qRV")), Native(u"/home/u/qRV/crashes/"));
  EXPECT_EQ(CrashFolder(Native(u"/home/u/qRV/")), Native(u"/home/u/qRV/crashes/"));
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

struct StartCase {
  const char* label;
  std::string commandLine;
  bool reports;
};

class CrashedStartTest : public testing::TestWithParam<StartCase> {};

TEST_P(CrashedStartTest, ReportsAnExistingDumpOtherwiseStartsNormally) {
  test::TempDir base;
  const std::u16string folder = base / u"crashes" + kPathSeparator;
  ASSERT_TRUE(test::MakeFolder(folder));
  ASSERT_TRUE(test::WriteBytes(folder + u"crash-1.dmp", "MDMP"));
  const std::u16string hookRecord = base / u"hook.txt";

  test::ChildProcess child("crashed_start",
                           {Utf16ToUtf8(base.Path()), Utf16ToUtf8(hookRecord), GetParam().commandLine});
  const int code = child.Wait();

  if (GetParam().reports) {
    EXPECT_EQ(code, 0);
    EXPECT_EQ(test::ReadBytes(hookRecord), Utf16ToUtf8(folder + u"crash-1.dmp"));
    EXPECT_FALSE(test::FileExists(hookRecord + u".normal")) << "the program ran on after the report";
  } else {
    EXPECT_EQ(code, 7) << "a normal start installs the handler";
    EXPECT_FALSE(test::FileExists(hookRecord));
    // Prepared for the next crash under the naming rule; nothing written yet.
    const std::string prepared = test::ReadBytes(hookRecord + u".normal");
    EXPECT_EQ(prepared.rfind(Utf16ToUtf8(folder) + "crash-", 0), 0u) << prepared;
    EXPECT_EQ(prepared.substr(prepared.size() - 4), ".dmp");
    EXPECT_FALSE(test::FileExists(Utf8ToUtf16(prepared)));
  }
}

INSTANTIATE_TEST_SUITE_P(CommandLines, CrashedStartTest,
                         testing::Values(StartCase{"Restart", "prog -crashed crash-1.dmp", true},
                                         StartCase{"UpperCaseQuoted",
                                                   "\"C:\\Program Files\\t.exe\" -CRASHED \"crash-1.dmp\"", true},
                                         StartCase{"WithoutDash", "prog crashed crash-1.dmp", true},
                                         StartCase{"DumpGone", "prog -crashed crash-2.dmp", false},
                                         StartCase{"DoubleDash", "prog --crashed crash-1.dmp", false},
                                         StartCase{"NoName", "prog -crashed", false},
                                         StartCase{"NameWithFolder", "prog -crashed crashes/crash-1.dmp", false},
                                         StartCase{"OrdinaryPath", "prog /music/crash-1.dmp", false}),
                         [](const auto& p) { return std::string(p.param.label); });

TEST(CrashStartTest, CrashFolderIsCreatedWithItsParents) {
  test::TempDir base;
  const std::u16string deep = base / Native(u"a/b/qRV");
  const std::u16string hookRecord = base / u"hook.txt";
  test::ChildProcess child("crashed_start", {Utf16ToUtf8(deep), Utf16ToUtf8(hookRecord), "prog"});
  EXPECT_EQ(child.Wait(), 7);
  EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(ToOsString(CrashFolder(deep)))));
}

// --- Crashing children ---------------------------------------------------------------

// args: base folder, mode, probe program, probe record, pid file, folder handling.
TESSAROVEN_TEST_CHILD(crash_child) {
  SetCrashRestartTargetForTesting(CrashRestartTargetForTesting{Utf8ToUtf16(args[2]), {Utf8ToUtf16(args[3])}});
  InstallCrashHandler(u"crash_child", Utf8ToUtf16(args[0]), {});
  if (!CrashHandlerActive()) return 2;
  test::WriteBytes(Utf8ToUtf16(args[4]), std::to_string(CurrentProcessId()));
  if (args[5] == "remove-folder") {
    std::error_code error;
    std::filesystem::remove_all(std::filesystem::path(ToOsString(CrashFolder(Utf8ToUtf16(args[0])))), error);
  }
  // "MODE-worker" crashes on a thread of its own instead of the main thread.
  std::string mode = args[1];
  const bool onWorker = mode.size() > 7 && mode.substr(mode.size() - 7) == "-worker";
  if (onWorker) mode.resize(mode.size() - 7);
#ifdef _WIN32
  _putenv_s("TESSAROVEN_CRASH_TEST", mode.c_str());
#else
  // The signal would also leave a core file; the dump is all we want.
  const struct rlimit noCore { 0, 0 };
  setrlimit(RLIMIT_CORE, &noCore);
  setenv("TESSAROVEN_CRASH_TEST", mode.c_str(), 1);
#endif
  if (onWorker)
    std::thread(ProvokeCrashIfAsked).join();
  else
    ProvokeCrashIfAsked();
  return 3;
}

TEST(CrashChildTest, UnknownCrashRequestDoesNothing) {
  test::TempDir base;
  test::ChildProcess child("crash_child",
                           test::CrashChildArgs(base.Path(), "explode", base / u"probe.txt", base / u"pid.txt"));
  EXPECT_EQ(child.Wait(), 3);
  EXPECT_TRUE(test::ListFolder(CrashFolder(base.Path())).empty());
}

TEST(CrashChildTest, NoDumpFileMeansNoDumpAndNoRestart) {
  test::TempDir base;
  const std::u16string record = base / u"probe.txt";
  test::ChildProcess child("crash_child", test::CrashChildArgs(base.Path(), "segv", record, base / u"pid.txt", true));
  const int code = child.Wait();
  EXPECT_NE(code, 3) << "the crash did not happen";
  EXPECT_NE(code, 0);
  EXPECT_FALSE(test::FileExists(CrashFolder(base.Path())));
  // The restart would follow the dump at once; give it time to show up if it wrongly does.
  EXPECT_TRUE(test::WaitForProbeRecord(record, std::chrono::seconds(2)).empty());
}

}  // namespace
}  // namespace tessaroven
