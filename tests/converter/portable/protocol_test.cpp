#include "converter/protocol.h"

#include <gtest/gtest.h>

#include <chrono>

#include "app/named_objects.h"
#include "base/platform.h"
#include "base/text.h"
#include "converter/output_file.h"
#include "selection/conversion.h"
#include "support/child_process.h"
#include "support/test_env.h"

namespace kovantrix {
namespace {

using tessaroven::NamedEvent;
using tessaroven::test::TempDir;

std::u16string UniqueEventName(std::string_view what) {
  static int counter = 0;
  return tessaroven::AsciiToUtf16("kovantrix-test-" + std::string(what) + "-" + std::to_string(CurrentProcessId()) + "-" +
                                  std::to_string(counter++));
}

struct ArgumentCase {
  const char* name;
  std::vector<std::u16string> arguments;
  std::optional<std::u16string> listFile;
  std::optional<std::u16string> eventName;
  std::optional<std::int64_t> window;
  std::optional<std::u16string> profile;
  std::vector<std::u16string> ignored;
  std::size_t usageErrors;
};

const ArgumentCase kArgumentCases[] = {
    ArgumentCase{"AllFour",
                 {u"-list_to_conv=/tmp/TMP1.tmp", u"-signal_event_got_files=fsqrv-123", u"-centeronwnd=-42",
                  u"-additionalprofile=Phone"},
                 u"/tmp/TMP1.tmp", u"fsqrv-123", -42, u"Phone", {}, 0},
    ArgumentCase{"ValuesKeepSpacesQuotesAndEquals",
                 {u"-list_to_conv=/a b/c=\"d\".tmp", u"-additionalprofile=My \"best\" = songs"},
                 u"/a b/c=\"d\".tmp", std::nullopt, std::nullopt, u"My \"best\" = songs", {}, 0},
    ArgumentCase{"UnknownArgumentsAreKeptInOrderAndIgnored",
                 {u"-newthing=1", u"-list_to_conv=l", u"stray", u"--frobnicate", u"-LIST_TO_CONV=x"},
                 u"l", std::nullopt, std::nullopt, std::nullopt,
                 {u"-newthing=1", u"stray", u"--frobnicate", u"-LIST_TO_CONV=x"}, 0},
    ArgumentCase{"ABadWindowNumberIsIgnored", {u"-list_to_conv=l", u"-centeronwnd=12ab"}, u"l", std::nullopt,
                 std::nullopt, std::nullopt, {u"-centeronwnd=12ab"}, 0},
    ArgumentCase{"NoListIsBadUsage", {u"-signal_event_got_files=e"}, std::nullopt, u"e", std::nullopt,
                 std::nullopt, {}, 1},
    ArgumentCase{"JobsOutOfRangeIsBadUsage", {u"-list_to_conv=l", u"--jobs=0", u"--jobs=x"}, u"l", std::nullopt,
                 std::nullopt, std::nullopt, {}, 2},
    ArgumentCase{"HelpNeedsNoList", {u"--help"}, std::nullopt, std::nullopt, std::nullopt, std::nullopt, {}, 0},
    // The man page is made from --help and --version.
    ArgumentCase{"VersionNeedsNoList", {u"--version"}, std::nullopt, std::nullopt, std::nullopt, std::nullopt, {},
                 0}};

TEST(ArgumentTest, ParsesAsTheSelectorWritesThem) {
  for (const ArgumentCase& c : kArgumentCases) {
    SCOPED_TRACE(c.name);
    const Arguments parsed = ParseArguments(c.arguments);
    EXPECT_EQ(parsed.listFile, c.listFile);
    EXPECT_EQ(parsed.eventName, c.eventName);
    EXPECT_EQ(parsed.centerOnWindow, c.window);
    EXPECT_EQ(parsed.profile, c.profile);
    EXPECT_EQ(parsed.ignored, c.ignored);
    EXPECT_EQ(parsed.usageErrors.size(), c.usageErrors);
  }
}

TEST(ArgumentTest, OwnOptions) {
  const Arguments parsed = ParseArguments(
      {u"-list_to_conv=l", u"--no-window", u"--output=/out", u"--format=mp3", u"--preset=v0", u"--overwrite", u"--jobs=3"});
  EXPECT_TRUE(parsed.noWindow);
  EXPECT_EQ(parsed.outputFolder, u"/out");
  EXPECT_EQ(parsed.format, u"mp3");
  EXPECT_EQ(parsed.preset, u"v0");
  EXPECT_EQ(parsed.overwrite, true);
  EXPECT_EQ(parsed.jobs, 3);
  EXPECT_TRUE(parsed.ignored.empty());
  EXPECT_TRUE(parsed.usageErrors.empty());
}

std::string Utf16Le(std::u16string_view text) {
  const auto bytes = tessaroven::Utf16LeBytes(text, false);
  return std::string(bytes.begin(), bytes.end());
}

// Paths split at CR LF only: a lone CR or LF belongs to the name.
TEST(ListBytesTest, SplitsAtCrLfOnly) {
  for (const auto& [bytes, paths] : {
           std::pair{Utf16Le(u"/a/1.flac\r\n/b/2.mp3\r\n"), std::vector<std::u16string>{u"/a/1.flac", u"/b/2.mp3"}},
           std::pair{Utf16Le(u"\r\n/a\r\n\r\n/b"), std::vector<std::u16string>{u"/a", u"/b"}},  // no last break
           std::pair{Utf16Le(u"/a\nb.wav\r\n"), std::vector<std::u16string>{u"/a\nb.wav"}},
           std::pair{std::string(), std::vector<std::u16string>{}},
           std::pair{Utf16Le(u"\xFEFF/a\r\n") + "x", std::vector<std::u16string>{u"/a"}},  // mark, odd byte
           std::pair{Utf16Le(u"/\U0001F3B5/\xDCE9t\xDCE9.flac\r\n"), std::vector<std::u16string>{u"/\U0001F3B5/\xDCE9t\xDCE9.flac"}}}) {
    EXPECT_EQ(ParseListBytes(bytes), paths) << bytes;
  }
}

TEST(ListFileTest, ReadsWhatTheSelectorWrites) {
  TempDir dir;
  // A name that is not UTF-8 on Linux travels as escaped units; on Windows any
  // UTF-16 name is a name.
  const std::vector<std::u16string> files{dir / u"Grüße ☃.flac", dir / u"with \"quote\".mp3",
                                          dir / (tessaroven::kIsWindows ? u"plain.ogg" : u"latin-\xDCE9.ogg")};
  const std::u16string list = dir / u"TMP1.tmp";
  ASSERT_TRUE(tessaroven::WriteListFile(list, files));
  const ListFile read = ReadListFile(list);
  ASSERT_TRUE(read.read) << tessaroven::Utf16ToUtf8(read.error);
  EXPECT_EQ(read.paths, files);
  if constexpr (!tessaroven::kIsWindows) {
    const std::string onDisk = tessaroven::Utf16ToUtf8(read.paths[2]);  // as Linux names it on disk
    const std::string name = "latin-\xE9.ogg";
    EXPECT_EQ(onDisk.substr(onDisk.size() - name.size()), name);
  }
  const ListFile missing = ReadListFile(dir / u"gone.tmp");
  EXPECT_FALSE(missing.read);
  EXPECT_NE(missing.error.find(u"does not exist"), std::u16string::npos);
}

// An event nobody holds is reported and not left behind for a later selector.
TEST(SignalTest, SetsTheSelectorsEventOnlyWhenItIsHeld) {
  const std::u16string name = UniqueEventName("signal");
  std::u16string error;
  EXPECT_EQ(SignalGotFiles(name, error), SignalResult::kNoSuchEvent);
  EXPECT_NE(error.find(u"does not exist"), std::u16string::npos);
  NamedEvent selector;
  ASSERT_TRUE(selector.Create(name));
  EXPECT_FALSE(selector.ExistedBefore());
  EXPECT_FALSE(selector.Wait(std::chrono::milliseconds(0)));
  error.clear();
  EXPECT_EQ(SignalGotFiles(name, error), SignalResult::kSignalled);
  EXPECT_TRUE(selector.Wait(std::chrono::milliseconds(0)));
  EXPECT_TRUE(error.empty());
}

// The converter's side in a process of its own: it reads the list, writes what it
// read next to it, and only then sets the event.
TESSAROVEN_TEST_CHILD(receive_list) {
  std::vector<std::u16string> arguments;
  for (const std::string& argument : args) arguments.push_back(tessaroven::Utf8ToUtf16(argument));
  const Received received = ReceiveList(ParseArguments(arguments));
  if (!received.list.read) return 10;
  return static_cast<int>(received.list.paths.size());
}

// An unreadable list leaves the event alone; a readable one sets it only once read whole.
TEST(ReceiveListTest, TheEventComesOnlyAfterTheWholeListWasRead) {
  TempDir dir;
  std::vector<std::u16string> files;
  for (int i = 0; i < 200; ++i) files.push_back(dir / tessaroven::AsciiToUtf16("file " + std::to_string(i) + ".wav"));
  const std::u16string list = dir / u"TMP2.tmp";
  ASSERT_TRUE(tessaroven::WriteListFile(list, files));
  const std::u16string name = UniqueEventName("receive");
  const std::string signal = "-signal_event_got_files=" + tessaroven::Utf16ToUtf8(name);
  NamedEvent selector;
  ASSERT_TRUE(selector.Create(name));

  tessaroven::test::ChildProcess unread("receive_list",
                                        {"-list_to_conv=" + tessaroven::Utf16ToUtf8(dir / u"none.tmp"), signal});
  ASSERT_TRUE(unread.Started());
  EXPECT_EQ(unread.Wait(), 10);
  EXPECT_FALSE(selector.Wait(std::chrono::milliseconds(0)));

  tessaroven::test::ChildProcess converter("receive_list", {"-list_to_conv=" + tessaroven::Utf16ToUtf8(list), signal});
  ASSERT_TRUE(converter.Started());
  ASSERT_TRUE(selector.Wait(std::chrono::seconds(60)));
  // What the selector does once the converter has ended; done at once here, the
  // list must already be in the converter's hands.
  ASSERT_TRUE(tessaroven::DeleteListFile(list));
  EXPECT_EQ(converter.Wait(), static_cast<int>(files.size()));
}

}  // namespace
}  // namespace kovantrix
