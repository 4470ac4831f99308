#include "base/text.h"

#include <gtest/gtest.h>

namespace tessaroven {
namespace {

// Bytes that are no UTF-8 travel as U+DC80..U+DCFF, one unit per byte, and come
// back unchanged: a Linux file name of any bytes survives the round trip.
TEST(Text, Utf8DecodesAndRoundTripsByteForByte) {
  const std::pair<std::string, std::u16string> cases[] = {
      {"", u""},
      {"Track 01.flac", u"Track 01.flac"},
      {"Caf\xC3\xA9", u"Caf\u00E9"},
      {"\xE6\x97\xA5", u"\u65E5"},
      {"\xF0\x9F\x8E\xB5", u"\U0001F3B5"},
      {"Caf\xE9.mp3", u"Caf\xDCE9.mp3"},  // "Café" written in Latin-1
      {"a\x80z", u"a\xDC80z"},
      {"ab\xE6\x97", u"ab\xDCE6\xDC97"},  // cut short at the end
      {"\xC0\xAF", u"\xDCC0\xDCAF"},      // overlong "/"
      {"\xE0\x80\xAF", u"\xDCE0\xDC80\xDCAF"},
      {"\xED\xB2\x80", u"\xDCED\xDCB2\xDC80"},  // an encoded surrogate is not trusted
      {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},
      {"\xFF\xFE", u"\xDCFF\xDCFE"},
      {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
      // ASCII runs before, between and after every other kind of sequence.
      {"Music/Caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x8E\xB5 \xE9 01.flac",
       u"Music/Caf\u00E9 \u65E5 \U0001F3B5 \xDCE9 01.flac"},
      {"\xC3\xA9t\xC3\xA9", u"\u00E9t\u00E9"},
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(Utf8ToUtf16(bytes), text) << bytes;
    EXPECT_EQ(Utf16ToUtf8(text), bytes);
    // Appending must keep what the buffer already holds and size the new bytes exactly.
    std::string appended = "kept/";
    AppendUtf8(appended, text);
    EXPECT_EQ(appended, "kept/" + bytes);
  }
}

TEST(Text, EveryByteSequenceOfLengthTwoRoundTrips) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const std::string bytes{static_cast<char>(a), static_cast<char>(b)};
      ASSERT_EQ(Utf16ToUtf8(Utf8ToUtf16(bytes)), bytes) << a << "," << b;
    }
  }
}

}  // namespace
}  // namespace tessaroven
