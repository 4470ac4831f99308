#include "app/single_instance.h"

#include <gtest/gtest.h>

#include <optional>

#include "base/command_line.h"
#include "base/text.h"

namespace tessaroven {
namespace {

using std::chrono::milliseconds;

// The program path goes and the spaces around the rest; nothing else is touched.
TEST(SingleInstance, ArgumentIsTheCommandLineAfterTheProgramTrimmedOfSpaces) {
  const std::pair<std::u16string, std::u16string> cases[] = {
      {u"\"C:\\Tessaroven\\tessaroven.exe\"   D:\\Music   ", u"D:\\Music"},
      {u"\"C:\\Program Files\\tessaroven.exe\"     ", u""},
      {u"\"C:\\t.exe\"D:\\Music", u"D:\\Music"},       // right after the closing quote
      {u"\"C:\\t.exe D:\\Music", u""},                 // an unclosed quote swallows everything
      {u"C:\\t.exe  D:\\My Music ", u"D:\\My Music"},  // an unquoted program ends at the first space
      {u"C:\\t.exe", u""},
      {u" t.exe D:\\x", u"D:\\x"},              // the search for the space starts at the second character
      {u"\"t.exe\" \tD:\\x\t ", u"\tD:\\x\t"},  // tabs are no spaces
      // One quoted word is that word, as a shell verb's "%1" means it.
      {u"\"t.exe\" \"D:\\My Music\"", u"D:\\My Music"},
      {u"\"t.exe\" \"D:\\My\" Music", u"\"D:\\My\" Music"},
      {u"\"t.exe\" -crashed ", u"-crashed"},
      {u"", u""},
  };
  for (const auto& [line, argument] : cases) EXPECT_EQ(ExtractArgument(line), argument) << Utf16ToUtf8(line);
}

// Linux: a folder handed to a second start must stay one word all the way, or
// "x -crashed crash-1.dmp" would read as the crash restart's switch; a quote in the
// program path must not cut the argument short either.
TEST(SingleInstance, JoinedCommandLineKeepsEveryArgumentOneWord) {
  const std::vector<std::u16string> arguments = {
      u"/music/x -crashed crash-1.dmp", u"a\"b", u"", u"tab\there", u"ends\\",
      u"q\" -crashed crash-2.dmp \"r",  u"plain"};
  const std::u16string line = JoinCommandLine(u"/usr/bin/tessaroven", arguments);
  std::vector<std::u16string> expected = {u"/usr/bin/tessaroven"};
  expected.insert(expected.end(), arguments.begin(), arguments.end());
  EXPECT_EQ(SplitWindowsCommandLine(line), expected) << Utf16ToUtf8(line);
  for (const auto& argument : arguments)
    EXPECT_EQ(ExtractArgument(JoinCommandLine(u"/opt/odd\"name/tessaroven", {argument})), argument);
  // Several arguments reach a second start as one path, joined by a space.
  EXPECT_EQ(ExtractArgument(JoinCommandLine(u"/usr/bin/tessaroven", {u"/music/a", u"b"})), u"/music/a b");
  EXPECT_EQ(ExtractArgument(JoinCommandLine(u"/usr/bin/tessaroven", {})), u"");
}

// A receiving selector and a sender in one process, each with its own handles.
class Channel : public testing::Test {
 protected:
  void SetUp() override {
    receiver_.Open();
    sender_.Open();
    ASSERT_TRUE(receiver_.AcceptEvent().IsOpen());
    ASSERT_TRUE(receiver_.Channel().Open());
    receiver_.AcceptEvent().Set();
  }
  void TearDown() override {
    sender_.Close();
    receiver_.Close();
  }
  std::optional<std::u16string> ReceiveOne() {
    std::optional<std::u16string> got;
    receiver_.Receive([&](const std::u16string& path) { got = path; });
    return got;
  }
  SingleInstance receiver_;
  SingleInstance sender_;
};

// Received paths are trimmed of spaces, cut to the block's 260 units, and those
// shorter than three units dropped; a block is collected once, even when dropped.
TEST_F(Channel, ReceivedPathsAreTrimmedCutAndTooShortOnesDropped) {
  const std::u16string longPath = u"/music/" + std::u16string(300, u'x');
  const std::pair<std::u16string, std::optional<std::u16string>> cases[] = {
      {u"  /music/a  ", u"/music/a"},
      {u"abc", u"abc"},
      {u"ab", std::nullopt},
      {u"  a   b", u"a   b"},
      {u"   ab   ", std::nullopt},
      {u"\tab", u"\tab"},
      {std::u16string(260, u'z'), std::u16string(260, u'z')},
      {longPath, longPath.substr(0, 260)},
      {u"/music/\U0001F3B5\xDCE9", u"/music/\U0001F3B5\xDCE9"},
  };
  for (const auto& [sent, received] : cases) {
    SCOPED_TRACE(Utf16ToUtf8(sent));
    sender_.Send(sent);
    EXPECT_TRUE(receiver_.PickupEvent().Wait(milliseconds(0)));
    EXPECT_EQ(ReceiveOne(), received);
    EXPECT_FALSE(receiver_.PickupEvent().Wait(milliseconds(0))) << "collected, even when dropped";
    EXPECT_EQ(ReceiveOne(), std::nullopt) << "a block is collected once";
  }
}

// Blocks written directly, as Send never writes them: without a terminator at most
// 260 units count, and after the terminator nothing does.
TEST_F(Channel, ABlockIsReadUpToItsTerminatorOr260Units) {
  for (const bool terminated : {false, true}) {
    std::array<std::uint8_t, kChannelBlockSize> bytes;
    bytes.fill(0x41);  // U+4141 in every unit, no 0 anywhere
    const std::u16string path = u"/music";
    for (std::size_t i = 0; terminated && i <= path.size(); ++i) {
      bytes[2 * i] = static_cast<std::uint8_t>(i < path.size() ? path[i] : 0);
      bytes[2 * i + 1] = 0;
    }
    ASSERT_TRUE(sender_.Channel().Lock());
    sender_.Channel().Write(bytes);
    sender_.PickupEvent().Set();
    sender_.Channel().Unlock();
    EXPECT_EQ(ReceiveOne(), terminated ? path : std::u16string(260, u'\x4141'));
  }
}

}  // namespace
}  // namespace tessaroven
