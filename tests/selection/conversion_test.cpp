#include "selection/conversion.h"

#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <regex>
#include <vector>

#include "base/platform.h"
#include "base/temp_file.h"
#include "base/text.h"
#include "conversion_test_support.h"
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
// unless none is selected (compared with its case), an empty one included. The
// event's name is the tick count as a signed 32-bit decimal.
TEST(Conversion, ArgumentsNameTheProfileUnlessNoneIsSelectedAndTheEventTheTickCount) {
  const std::u16string start = u"-list_to_conv=\"C:\\T\\TMP1.tmp\" -signal_event_got_files=\"fsqrv-99\" -centeronwnd=";
  EXPECT_EQ(BuildConverterArguments(u"C:\\T\\TMP1.tmp", u"fsqrv-99", -9223372036854775807LL - 1, u"(none selected)"),
            start + u"-9223372036854775808");
  EXPECT_EQ(BuildConverterArguments(u"C:\\T\\TMP1.tmp", u"fsqrv-99", 1, u""), start + u"1 -additionalprofile=\"\"");
  EXPECT_EQ(BuildConverterArguments(u"C:\\T\\TMP1.tmp", u"fsqrv-99", 1, u"(None selected)"),
            start + u"1 -additionalprofile=\"(None selected)\"");
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

// The fake converter is a real process; the temporary folder and the converter lie
// in folders with spaces, which must reach it whole.
class ConvertTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(test::MakeFolder(tempFolder_));
    // The variables the temporary folder is read from; the converter inherits them.
    for (const char* name : kIsWindows ? std::vector{"TMP", "TEMP"} : std::vector{"TMPDIR"})
      env_.emplace_back(name, tempFolder_);
    env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_RECORD", record_.Path());
    const std::u16string acceptName =
        u"handoff-test-accept-" + AsciiToUtf16(std::to_string(SharedRandomNumber(0x7FFFFFFF)));
    ASSERT_TRUE(accept_.Create(acceptName));
    ASSERT_TRUE(accept_.Set());
    env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_ACCEPT", acceptName);
    host_.accept = &accept_;
  }
  void TearDown() override { SetConverterPathOverride(std::nullopt); }

  std::deque<test::ScopedEnv> env_;  // a deque: ScopedEnv does not move
  test::TempDir music_;
  test::TempDir temp_;
  test::TempDir record_;
  const std::u16string tempFolder_ = temp_ / Native(u"Local Settings/Temp Files/");
  NamedEvent accept_;
  RecordingHost host_;
};

// A converter that never signals leaves the window shown; everything else is what
// every hand-off must show.
TEST_F(ConvertTest, ConverterThatNeverSignalsLeavesTheWindowShown) {
  ASSERT_TRUE(test::WriteBytes(music_ / u"a.mp3", "x"));
  host_.lists.lstSingleFiles = {music_ / u"a.mp3"};
  host_.window = -42;
  host_.profile = u"My \"loud\" profile";
  const std::u16string converter = music_ / Native(u"Program Files/Kovantrix 2/") + std::u16string(kConverterFileName);
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(ToOsString(converter)).parent_path(), error);
  ASSERT_TRUE(std::filesystem::copy_file(ToOsString(ConverterPath()), ToOsString(converter), error)) << error.message();
  SetConverterPathOverride(converter);
  env_.emplace_back("TESSAROVEN_FAKE_CONVERTER_SILENT", "1");

  test::ScriptedPrompts prompts;
  EXPECT_EQ(Convert(host_), ConversionResult::kConverterEnded);
  EXPECT_TRUE(prompts.Shown().empty());
  const auto arguments = test::RecordedWords(test::ReadBytes(record_ / u"args"));
  ASSERT_EQ(arguments.size(), 5u);
  EXPECT_EQ(arguments[0], converter);
  EXPECT_EQ(arguments[1].substr(0, 17 + tempFolder_.size()), u"-list_to_conv=" + tempFolder_ + u"TMP");
  EXPECT_TRUE(std::regex_match(Utf16ToUtf8(arguments[2]), std::regex("-signal_event_got_files=fsqrv--?[0-9]+")))
      << Utf16ToUtf8(arguments[2]);
  EXPECT_EQ(arguments[3], u"-centeronwnd=-42");
  EXPECT_EQ(arguments[4], u"-additionalprofile=My \"loud\" profile");
  EXPECT_EQ(test::ReadBytes(record_ / u"list"), test::ListFileBytes({music_ / u"a.mp3"}));
  EXPECT_EQ(test::ReadBytes(record_ / u"accept"), "reset") << "no paths taken while the converter runs";
  EXPECT_TRUE(accept_.Wait(std::chrono::milliseconds(0))) << "taking paths again afterwards";
  EXPECT_TRUE(test::ListFolder(tempFolder_).empty()) << "the list file is deleted";
  EXPECT_EQ(host_.log, (std::vector<std::string>{"stop-reader", "busy", "arrow", "busy", "show", "refresh", "arrow"}));
}

TEST_F(ConvertTest, NothingGatheredShowsTheMessageAndStartsNothing) {
  host_.lists.lstFoldersAndSub = {music_.Path()};
  test::ScriptedPrompts prompts;

  EXPECT_EQ(Convert(host_), ConversionResult::kNothingGathered);
  ASSERT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(prompts.Shown()[0].text, u"No audio files selected for conversion");
  EXPECT_EQ(prompts.Shown()[0].caption, u"Tessaroven Batch Converter");
  EXPECT_EQ(prompts.Shown()[0].style, kPromptOk | kPromptIconError);
  EXPECT_FALSE(test::FileExists(record_ / u"args"));
  EXPECT_TRUE(test::ListFolder(tempFolder_).empty()) << "no list file is written";
  EXPECT_TRUE(accept_.Wait(std::chrono::milliseconds(0)));
  EXPECT_EQ(host_.log, (std::vector<std::string>{"stop-reader", "busy", "arrow", "busy", "arrow"}));
}

// Enough entries that the walk is still running when the progress shows at once:
// one folder, ticked a thousand times (duplicates are walked again).
class SlowGatheringTest : public ConvertTest {
 protected:
  void SetUp() override {
    ConvertTest::SetUp();
    for (int i = 0; i < 100; ++i)
      ASSERT_TRUE(test::WriteBytes(music_ / AsciiToUtf16("f" + std::to_string(i) + ".mp3"), "x"));
    host_.lists.lstFoldersNoSub.assign(1000, music_.Path());
    host_.cancelProgress = true;
  }
};

TEST_F(SlowGatheringTest, CancelledGatheringStartsNothingAndSaysNothing) {
  test::ScriptedPrompts prompts;
  EXPECT_EQ(Convert(host_, std::chrono::milliseconds(0)), ConversionResult::kCancelled);
  EXPECT_TRUE(prompts.Shown().empty());
  EXPECT_FALSE(test::FileExists(record_ / u"args"));
  EXPECT_TRUE(test::ListFolder(tempFolder_).empty());
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
