#include "app/startup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "app/test_files.h"
#include "base/known_folders.h"
#include "base/settings.h"
#include "base/text.h"
#include "support/child_process.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using std::chrono::milliseconds;
using test::AppendBytes;
using test::ChildProcess;
using test::Hex;
using test::Records;
using test::TempDir;
using test::Unhex;
using test::WaitForContent;

constexpr std::u16string_view kProgram = u"\"C:\\Program Files\\Tessaroven\\tessaroven.exe\"";

std::u16string CommandLine(std::u16string_view rest) { return std::u16string(kProgram) + std::u16string(rest); }

std::u16string FileIn(const std::string& dir, const std::string& tag, const char* what) {
  return Utf8ToUtf16(dir) + Utf8ToUtf16(tag) + Utf8ToUtf16(what);
}

// A running selector without its window: the start-up, then the 50 ms tick's
// Receive, appending every path it gets to "<tag>.got", until "<tag>.stop" appears
// (a clean end).
// Arguments: folder, tag, command line in hex.
// With a fourth argument "hung" it never collects anything: a selector that lives
// but hangs.
TESSAROVEN_TEST_CHILD(selector) {
  const std::string& dir = args.at(0);
  const std::string& tag = args.at(1);
  const bool hung = args.size() > 3 && args[3] == "hung";
  SingleInstance instance;
  const StartRole role = Startup(Unhex(args.at(2)), instance, {});
  test::WriteBytes(FileIn(dir, tag, ".ready"), std::to_string(static_cast<int>(role)));
  for (;;) {
    if (!hung) {
      instance.Receive([&](const std::u16string& path) {
        AppendBytes(FileIn(dir, tag, ".got"), Utf16ToUtf8(path) + std::string(1, '\0'));
      });
    }
    if (test::FileExists(FileIn(dir, tag, ".stop"))) break;
    std::this_thread::sleep_for(milliseconds(50));
  }
  instance.Close();
  return static_cast<int>(role);
}

// A second start: the start-up alone, as the real entry runs it before it would
// open a window. A sender notes its tag in "order" while it holds the channel
// mutex. Exit code: the role. Arguments: folder, tag, command line in hex.
TESSAROVEN_TEST_CHILD(start) {
  const std::string& dir = args.at(0);
  const std::string& tag = args.at(1);
  StartupHooks hooks;
  hooks.handedOff = [&] { AppendBytes(Utf8ToUtf16(dir) + u"order", tag + std::string(1, '\0')); };
  SingleInstance instance;
  const StartRole role = Startup(Unhex(args.at(2)), instance, hooks);
  instance.Close();
  return static_cast<int>(role);
}

class RunningSelector {
 public:
  RunningSelector(const TempDir& dir, std::string tag, std::u16string_view rest = u"", bool hung = false)
      : dir_(Utf16ToUtf8(dir.Path())),
        tag_(std::move(tag)),
        child_("selector", {dir_, tag_, Hex(CommandLine(rest)), hung ? "hung" : "answers"}) {}

  // Whether its start-up has returned (without waiting for it).
  bool Started() const { return test::FileExists(FileIn(dir_, tag_, ".ready")); }

  // The role it took; 0 when it never got that far.
  int Role() const {
    const std::string ready = WaitForContent(FileIn(dir_, tag_, ".ready"));
    return ready.empty() ? 0 : std::stoi(ready);
  }
  // The paths it received, once at least `count` have arrived.
  std::vector<std::u16string> Received(std::size_t count = 0) const {
    const auto file = FileIn(dir_, tag_, ".got");
    for (int i = 0; i < 3000 && Records(test::ReadBytes(file)).size() < count; ++i)
      std::this_thread::sleep_for(milliseconds(10));
    return Records(test::ReadBytes(file));
  }
  int Stop() {
    test::WriteBytes(FileIn(dir_, tag_, ".stop"), "x");
    return child_.Wait();
  }
  int Kill() {
    child_.Kill();
    return child_.Wait();
  }

 private:
  std::string dir_;
  std::string tag_;
  ChildProcess child_;
};

int StartAgain(const TempDir& dir, const std::string& tag, std::u16string_view rest) {
  ChildProcess child("start", {Utf16ToUtf8(dir.Path()), tag, Hex(CommandLine(rest))});
  return child.Wait();
}

constexpr int kFirst = static_cast<int>(StartRole::FirstSelector);
constexpr int kOwnWindow = static_cast<int>(StartRole::OwnWindow);
constexpr int kHandedOff = static_cast<int>(StartRole::HandedOff);

// Paths with quotes, a line break, characters beyond the BMP and a Latin-1 byte of a
// Linux file name (as the lossless conversion carries it) arrive intact; trimming,
// cutting and dropping short paths are the channel's own tests.
std::u16string AwkwardPath(int i) {
  const std::u16string_view kinds[] = {u"/music/\"quoted\" name", u"/music/two\nlines",
                                       u"/music/Caf\u00E9 \u65E5\u672C \U0001F3B5", u"/music/Caf\xDCE9.flac"};
  return std::u16string(kinds[i % 4]) + u" " + AsciiToUtf16(std::to_string(i));
}

TEST(Startup, TwentyStartsInQuickSuccessionDeliverEveryPathInTheOrderTheyGotTheChannel) {
  TempDir dir;
  RunningSelector first(dir, "first");
  ASSERT_EQ(first.Role(), kFirst);

  constexpr int kStarts = 20;
  std::vector<std::unique_ptr<ChildProcess>> starts;
  for (int i = 0; i < kStarts; ++i) {
    starts.push_back(std::make_unique<ChildProcess>(
        "start",
        std::vector<std::string>{Utf16ToUtf8(dir.Path()), std::to_string(i), Hex(CommandLine(u" " + AwkwardPath(i)))}));
  }
  for (auto& start : starts) EXPECT_EQ(start->Wait(), kHandedOff);

  const auto received = first.Received(kStarts);
  EXPECT_EQ(first.Stop(), kFirst);
  std::vector<std::u16string> expected;
  for (const auto& tag : Records(test::ReadBytes(dir / u"order")))
    expected.push_back(AwkwardPath(std::stoi(Utf16ToUtf8(tag))));
  ASSERT_EQ(expected.size(), static_cast<std::size_t>(kStarts));
  EXPECT_EQ(received, expected);
}

// While the accept event is reset (as while the selector hands files to the
// converter) a second start opens its own window; so does one with only spaces,
// and once the first is gone that window alone is left to take paths.
TEST(Startup, ASecondStartOpensItsOwnWindowWhileTheSelectorDoesNotAcceptOrWithoutAPath) {
  TempDir dir;
  RunningSelector first(dir, "first");
  ASSERT_EQ(first.Role(), kFirst);
  NamedEvent accept, pickup;
  ASSERT_TRUE(accept.Create(kAcceptEventName));
  ASSERT_TRUE(pickup.Create(kPickupEventName));
  ASSERT_TRUE(accept.ExistedBefore());
  accept.Reset();
  EXPECT_EQ(StartAgain(dir, "busy", u" /music/busy"), kOwnWindow);
  EXPECT_FALSE(pickup.Wait(milliseconds(0)));
  accept.Set();
  EXPECT_EQ(StartAgain(dir, "ready", u" /music/ready"), kHandedOff);
  EXPECT_EQ(first.Received(1), std::vector<std::u16string>{u"/music/ready"});

  RunningSelector second(dir, "second", u"   ");
  ASSERT_EQ(second.Role(), kOwnWindow);
  EXPECT_EQ(first.Stop(), kFirst);
  EXPECT_EQ(StartAgain(dir, "late", u" /music/late"), kHandedOff);
  EXPECT_EQ(second.Received(1), std::vector<std::u16string>{u"/music/late"});
  EXPECT_EQ(second.Stop(), kOwnWindow);
}

// A killed selector looks to the next start as one that ended: a path handed to a
// selector that no longer runs would be lost, so that start becomes the first.
TEST(Startup, WhenTheFirstSelectorIsKilledTheNextStartWithAPathBecomesTheFirst) {
  TempDir dir;
  {
    RunningSelector first(dir, "first");
    ASSERT_EQ(first.Role(), kFirst);
    EXPECT_NE(first.Kill(), 0);
  }
  EXPECT_EQ(StartAgain(dir, "next", u" /music/next"), kFirst);
  RunningSelector again(dir, "again");
  EXPECT_EQ(again.Role(), kFirst);
  EXPECT_EQ(StartAgain(dir, "after", u" /music/after"), kHandedOff);
  EXPECT_EQ(again.Received(1), std::vector<std::u16string>{u"/music/after"});
  EXPECT_EQ(again.Stop(), kFirst);
}

// A sender waits, without a time-out, for a receiver that lives but never
// collects. A receiver that was killed is another case: the starts
// waiting for it must not wedge for ever. The first of them notices, takes over as
// the first selector (its window opens its own path) and collects the path that
// was left in the block; later starts hand their paths to it.
TEST(Startup, AHungSelectorKeepsItsSendersWaitingAKilledOneDoesNot) {
  TempDir dir;
  RunningSelector hung(dir, "hung", u"", true);
  ASSERT_EQ(hung.Role(), kFirst);
  EXPECT_EQ(StartAgain(dir, "left", u" /music/left in the block"), kHandedOff);
  RunningSelector waiting(dir, "waiting", u" /music/waiting");
  std::this_thread::sleep_for(milliseconds(1500));
  EXPECT_FALSE(waiting.Started()) << "a living receiver keeps its senders waiting";

  EXPECT_NE(hung.Kill(), 0);
  EXPECT_EQ(waiting.Role(), kFirst) << "the waiting start took over";
  EXPECT_EQ(waiting.Received(1), std::vector<std::u16string>{u"/music/left in the block"});
  EXPECT_EQ(StartAgain(dir, "later", u" /music/later"), kHandedOff);
  EXPECT_EQ(waiting.Received(2), (std::vector<std::u16string>{u"/music/left in the block", u"/music/later"}));
  EXPECT_EQ(waiting.Stop(), kFirst);
}

TEST(Startup, FixesTheSettingsRootAndThePerUserDataFolder) {
  SetDefaultSettingsRoot(SettingsRoot::LocalMachine);
  SetDefaultSettingsKeyPath(u"Elsewhere");
  SingleInstance instance;
  std::u16string handedFolder;
  StartupHooks hooks;
  hooks.installCrashReporting = [&](const std::u16string& folder, std::u16string_view) { handedFolder = folder; };
  EXPECT_EQ(Startup(CommandLine(u""), instance, hooks), StartRole::FirstSelector);
  instance.Close();
  UninitialiseCom();
  EXPECT_EQ(DefaultSettingsRoot(), SettingsRoot::CurrentUser);
  EXPECT_EQ(DefaultSettingsKeyPath(), u"Software\\Orvandelle\\Tessaroven");
  EXPECT_EQ(handedFolder, GetSpecialFolder(kFolderAppData) + u"qRV");
}

}  // namespace
}  // namespace tessaroven
