#include "selection/conversion.h"

#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <optional>
#include <regex>
#include <vector>

#include "base/platform.h"
#include "base/temp_file.h"
#include "base/text.h"
#include "conversion_test_support.h"
#include "decode/plugin_folder.h"
#include "support/fake_converter_record.h"
#include "support/native_path.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::Native;
using test::RecordingHost;

// ---------------------------------------------------------------------------------
// The command line, as text and as the converter gets it

TEST(Conversion, CommandLinesSplitAsTheWindowsRulesDoAndEscapedValuesComeBackWhole) {
  for (const auto& c : test::kSplitCases) EXPECT_EQ(SplitWindowsCommandLine(c.text), c.arguments) << c.name;
  for (const auto& [name, value] : test::kQuotedValues) {
    EXPECT_EQ(SplitWindowsCommandLine(BuildConverterArguments(value, value, 7, value)),
              (std::vector<std::u16string>{u"-list_to_conv=" + value, u"-signal_event_got_files=" + value,
                                           u"-centeronwnd=7", u"-additionalprofile=" + value}))
        << name;
  }
}

// The window handle is any 64-bit value, the lowest included; the profile is named
// unless none is selected (compared with its case), an empty one included.
TEST(Conversion, ArgumentsNameTheProfileUnlessNoneIsSelected) {
  const std::u16string start = u"-list_to_conv=\"C:\\T\\TMP1.tmp\" -signal_event_got_files=\"fsqrv-99\" -centeronwnd=";
  EXPECT_EQ(BuildConverterArguments(u"C:\\T\\TMP1.tmp", u"fsqrv-99", -9223372036854775807LL - 1, u"(none selected)"),
            start + u"-9223372036854775808");
  EXPECT_EQ(BuildConverterArguments(u"C:\\T\\TMP1.tmp", u"fsqrv-99", 1, u""), start + u"1 -additionalprofile=\"\"");
  EXPECT_EQ(BuildConverterArguments(u"C:\\T\\TMP1.tmp", u"fsqrv-99", 1, u"(None selected)"),
            start + u"1 -additionalprofile=\"(None selected)\"");
}

TEST(Conversion, SignalEventNameIsTheTickCountAsSigned32BitDecimal) {
  const std::pair<std::uint32_t, std::u16string> cases[] = {{0u, u"fsqrv-0"},
                                                            {0x7FFFFFFFu, u"fsqrv-2147483647"},
                                                            {0x80000000u, u"fsqrv--2147483648"},
                                                            {0xFFFFFFFFu, u"fsqrv--1"}};
  for (const auto& [tick, name] : cases) EXPECT_EQ(SignalEventName(tick), name) << tick;
}

// ---------------------------------------------------------------------------------
// The list file

TEST(Conversion, ListFileIsUtf16LeWithCrLfAfterEveryPathAndNothingElse) {
  test::TempDir dir;
  const std::vector<std::u16string> paths = {u"/m/a.flac", u"C:\\Caf\u00e9\\\U0001F3B5.mp3", u"/m/\xDCFF.ogg",
                                             u"/m/a.flac"};
  ASSERT_TRUE(WriteListFile(dir / u"list.tmp", paths));
  const std::string bytes = test::ReadBytes(dir / u"list.tmp");
  EXPECT_EQ(bytes, test::ListFileBytes(paths));
  EXPECT_EQ(bytes.substr(0, 4), std::string("/\0m\0", 4)) << "no byte-order mark";
  EXPECT_EQ(bytes.substr(bytes.size() - 4), std::string("\r\0\n\0", 4)) << "the last path ends in CR LF too";

  // Written with create-always: a longer old content does not survive.
  ASSERT_TRUE(WriteListFile(dir / u"list.tmp", {u"x"}));
  EXPECT_EQ(test::ReadBytes(dir / u"list.tmp"), std::string("x\0\r\0\n\0", 6));

  // One that cannot be written is reported to the user.
  test::ScriptedPrompts prompts;  // answers Cancel
  EXPECT_FALSE(WriteListFile(dir / Native(u"missing/list.tmp"), {u"a"}));
  ASSERT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(prompts.Shown()[0].caption, u"File Write Error");
}

// ---------------------------------------------------------------------------------
// The whole hand-off, with the fake converter as a real process

std::u16string UniqueName(std::u16string_view stem) {
  return std::u16string(stem) + u"-" + AsciiToUtf16(std::to_string(SharedRandomNumber(0x7FFFFFFF)));
}

class ConvertTest : public testing::Test {
 protected:
  void SetUp() override {
    UseTempFolder(temp_.Path());
    env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_RECORD", record_.Path());
    const std::u16string acceptName = UniqueName(u"handoff-test-accept");
    const std::u16string releaseName = UniqueName(u"handoff-test-release");
    ASSERT_TRUE(accept_.Create(acceptName));
    ASSERT_TRUE(accept_.Set());
    ASSERT_TRUE(release_.Create(releaseName));
    env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_ACCEPT", acceptName);
    env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_RELEASE", releaseName);
    host_.accept = &accept_;
    host_.release = &release_;
  }
  void TearDown() override { SetConverterPathOverride(std::nullopt); }

  void UseTempFolder(const std::u16string& folder) {
    tempFolder_ = folder;
    ASSERT_TRUE(test::MakeFolder(folder));
    // The variables the temporary folder is read from; the converter inherits them.
    for (const char* name : kIsWindows ? std::vector{"TMP", "TEMP"} : std::vector{"TMPDIR"})
      env_.emplace_back(name, folder);
  }

  std::u16string At(std::u16string_view relative) const { return music_.Path() + Native(relative); }
  // Paths ending in "/" are folders, the others files (their folders made first).
  void Make(std::initializer_list<std::u16string_view> paths) {
    for (std::u16string_view path : paths) {
      for (std::size_t slash = path.find(u'/'); slash != std::u16string_view::npos; slash = path.find(u'/', slash + 1))
        test::MakeFolder(At(path.substr(0, slash + 1)));
      if (path.back() != u'/') {
        ASSERT_TRUE(test::WriteBytes(At(path), "x"));
      }
    }
  }

  // The arguments the fake converter got, its program first.
  std::vector<std::u16string> RecordedArguments() const {
    return test::RecordedWords(test::ReadBytes(record_ / u"args"));
  }
  bool ConverterRan() const { return test::FileExists(record_ / u"args"); }

  // A copy of the fake converter at `path` (its folders made first).
  void PlaceConverterCopy(const std::u16string& path) {
    std::error_code error;
    const std::filesystem::path target(ToOsString(path));
    std::filesystem::create_directories(target.parent_path(), error);
    ASSERT_TRUE(std::filesystem::copy_file(std::filesystem::path(ToOsString(ConverterPath())), target, error))
        << error.message();
  }

  // Runs a hand-off that reaches the converter and checks what every successful one
  // must show; returns the list file's path as the converter got it.
  std::u16string ConvertAndCheckTheContract(const std::u16string& converter) {
    test::ScriptedPrompts prompts;
    EXPECT_EQ(Convert(host_), ConversionResult::kConverterEnded);
    EXPECT_TRUE(prompts.Shown().empty());
    const auto arguments = RecordedArguments();
    EXPECT_EQ(arguments.size(), host_.profile == kNoProfileEntry ? 4u : 5u);
    if (arguments.size() < 4) return {};
    EXPECT_EQ(arguments[0], converter);
    const std::u16string listFile = arguments[1].substr(arguments[1].find(u'=') + 1);
    EXPECT_EQ(arguments[1], u"-list_to_conv=" + listFile);
    EXPECT_EQ(listFile.substr(0, tempFolder_.size() + 3), tempFolder_ + u"TMP");
    EXPECT_TRUE(std::regex_match(Utf16ToUtf8(arguments[2]), std::regex("-signal_event_got_files=fsqrv--?[0-9]+")))
        << Utf16ToUtf8(arguments[2]);
    EXPECT_EQ(arguments[3], u"-centeronwnd=" + AsciiToUtf16(std::to_string(host_.window)));
    if (arguments.size() == 5) {
      EXPECT_EQ(arguments[4], u"-additionalprofile=" + host_.profile);
    }

    EXPECT_EQ(test::ReadBytes(record_ / u"accept"), "reset") << "no paths taken while the converter runs";
    EXPECT_TRUE(accept_.Wait(std::chrono::milliseconds(0))) << "taking paths again afterwards";
    EXPECT_FALSE(test::FileExists(listFile)) << "the list file is deleted";
    EXPECT_TRUE(test::ListFolder(tempFolder_).empty());
    return listFile;
  }

  std::deque<test::ScopedEnv> env_;  // a deque: ScopedEnv does not move
  test::TempDir music_;
  test::TempDir temp_;
  test::TempDir record_;
  std::u16string tempFolder_;
  NamedEvent accept_;
  NamedEvent release_;
  RecordingHost host_;
};

const std::vector<std::string> kLogOfAHiddenRun = {"stop-reader", "busy", "arrow",   "busy", "arrow",
                                                   "hide",        "show", "refresh", "arrow"};

TEST_F(ConvertTest, HandsTheGatheredListToTheConverterBesideTheExecutable) {
  Make({u"m/sub/x.flac", u"n/Caf\u00e9 \u266b.ogg", u"n/deeper/not-taken.mp3", u"n/notes.txt", u"s/d.wav"});
  host_.lists.lstFoldersAndSub = {At(u"m/")};
  host_.lists.lstFoldersNoSub = {At(u"n/")};
  host_.lists.lstSingleFiles = {At(u"s/d.wav"), At(u"m/sub/x.flac")};
  host_.window = -42;
  host_.profile = u"My \"loud\" profile";

  ASSERT_EQ(ConverterPath(), ExecutableFolder() + std::u16string(kConverterFileName));
  ConvertAndCheckTheContract(ConverterPath());
  EXPECT_EQ(test::ReadBytes(record_ / u"list"), test::ListFileBytes({At(u"m/sub/x.flac"), At(u"n/Caf\u00e9 \u266b.ogg"),
                                                                     At(u"s/d.wav"), At(u"m/sub/x.flac")}))
      << "folders with sub-folders, folders without, single files; duplicates kept";
  EXPECT_EQ(host_.log, kLogOfAHiddenRun);
  EXPECT_EQ(host_.lists.lstSingleFiles.size(), 2u) << "the selection stays as it was";
}

// The converter and the list file in folders with spaces are passed whole. A
// converter that never signals leaves the window shown.
TEST_F(ConvertTest, ConverterThatNeverSignalsLeavesTheWindowShown) {
  UseTempFolder(temp_ / Native(u"Local Settings/Temp Files/"));
  Make({u"a.mp3"});
  host_.lists.lstSingleFiles = {At(u"a.mp3")};
  const std::u16string converter = music_ / Native(u"Program Files/Kovantrix 2/") + std::u16string(kConverterFileName);
  PlaceConverterCopy(converter);
  SetConverterPathOverride(converter);
  env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_SILENT", "1");

  ConvertAndCheckTheContract(converter);
  EXPECT_EQ(test::ReadBytes(record_ / u"list"), test::ListFileBytes({At(u"a.mp3")}));
  EXPECT_EQ(host_.log, (std::vector<std::string>{"stop-reader", "busy", "arrow", "busy", "show", "refresh", "arrow"}));
}

TEST_F(ConvertTest, NothingGatheredShowsTheMessageAndStartsNothing) {
  Make({u"n/notes.txt", u"n/cover.jpg"});
  host_.lists.lstFoldersAndSub = {At(u"n/")};
  test::ScriptedPrompts prompts;

  EXPECT_EQ(Convert(host_), ConversionResult::kNothingGathered);
  ASSERT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(prompts.Shown()[0].text, u"No audio files selected for conversion");
  EXPECT_EQ(prompts.Shown()[0].caption, u"Tessaroven Batch Converter");
  EXPECT_EQ(prompts.Shown()[0].style, kPromptOk | kPromptIconError);
  EXPECT_FALSE(ConverterRan());
  EXPECT_TRUE(test::ListFolder(temp_.Path()).empty()) << "no list file is written";
  EXPECT_TRUE(accept_.Wait(std::chrono::milliseconds(0)));
  EXPECT_EQ(host_.log, (std::vector<std::string>{"stop-reader", "busy", "arrow", "busy", "arrow"}));
}

TEST_F(ConvertTest, MissingConverterIsSilentAndTheListFileIsStillDeleted) {
  Make({u"a.mp3"});
  host_.lists.lstSingleFiles = {At(u"a.mp3")};
  SetConverterPathOverride(music_ / Native(u"nowhere/") + std::u16string(kConverterFileName));
  test::ScriptedPrompts prompts;

  EXPECT_EQ(Convert(host_), ConversionResult::kConverterNotStarted);
  EXPECT_TRUE(prompts.Shown().empty());
  EXPECT_TRUE(test::ListFolder(temp_.Path()).empty());
  EXPECT_TRUE(accept_.Wait(std::chrono::milliseconds(0)));
  EXPECT_EQ(host_.log, (std::vector<std::string>{"stop-reader", "busy", "arrow", "busy", "show", "refresh", "arrow"}));
}

// Enough entries that the walk is still running when the progress shows at once:
// one folder, ticked a thousand times (duplicates are walked again).
class SlowGatheringTest : public ConvertTest {
 protected:
  void SetUp() override {
    ConvertTest::SetUp();
    for (int i = 0; i < 100; ++i)
      ASSERT_TRUE(test::WriteBytes(At(u"") + AsciiToUtf16("f" + std::to_string(i) + ".mp3"), "x"));
    host_.lists.lstFoldersNoSub.assign(1000, At(u""));
    host_.cancelProgress = true;
  }
};

TEST_F(SlowGatheringTest, CancelledGatheringStartsNothingAndSaysNothing) {
  test::ScriptedPrompts prompts;
  EXPECT_EQ(Convert(host_, std::chrono::milliseconds(0)), ConversionResult::kCancelled);
  EXPECT_TRUE(prompts.Shown().empty());
  EXPECT_FALSE(ConverterRan());
  EXPECT_TRUE(test::ListFolder(temp_.Path()).empty());
  EXPECT_TRUE(accept_.Wait(std::chrono::milliseconds(0)));
  EXPECT_EQ(host_.log, (std::vector<std::string>{"stop-reader", "busy", "progress", "arrow", "arrow"}));
}

// The converting-list dialog gathers into its own list with its own progress dialog.
TEST_F(SlowGatheringTest, GatheringShowsProgressInTheGivenWindowWithTheGivenText) {
  RecordingHost dialog;
  dialog.cancelProgress = true;
  std::vector<std::u16string> files;
  EXPECT_FALSE(GatherFiles(host_, files, u"Listing ", &dialog, std::chrono::milliseconds(0)));
  EXPECT_EQ(dialog.log, (std::vector<std::string>{"busy", "progress", "arrow"}));
  EXPECT_TRUE(host_.log.empty());
  EXPECT_EQ(dialog.progressText.substr(0, 8), u"Listing ");
}

}  // namespace
}  // namespace tessaroven
