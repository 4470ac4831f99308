#include "base/text.h"

#include <gtest/gtest.h>

namespace tessaroven {
namespace {

struct Utf8Case {
  const char* name;
  std::string bytes;
  std::u16string text;
};

class Utf8Conversion : public testing::TestWithParam<Utf8Case> {};

TEST_P(Utf8Conversion, DecodesAndRoundTripsByteForByte) {
  const auto& c = GetParam();
  EXPECT_EQ(Utf8ToUtf16(c.bytes), c.text);
  EXPECT_EQ(Utf16ToUtf8(c.text), c.bytes);
  // Appending must keep what the buffer already holds and size the new bytes exactly.
  std::string appended = "kept/";
  AppendUtf8(appended, c.text);
  EXPECT_EQ(appended, "kept/" + c.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Text, Utf8Conversion,
    testing::Values(Utf8Case{"Empty", "", u""}, Utf8Case{"Ascii", "Track 01.flac", u"Track 01.flac"},
                    Utf8Case{"TwoByte", "Caf\xC3\xA9", u"Caf\u00E9"}, Utf8Case{"ThreeByte", "\xE6\x97\xA5", u"\u65E5"},
                    Utf8Case{"FourByteBecomesSurrogatePair", "\xF0\x9F\x8E\xB5", u"\U0001F3B5"},
                    // A name written in Latin-1: "Café" with a lone 0xE9 byte.
                    Utf8Case{"Latin1NameEscapes", "Caf\xE9.mp3", u"Caf\xDCE9.mp3"},
                    Utf8Case{"StrayContinuation", "a\x80z", u"a\xDC80z"},
                    Utf8Case{"TruncatedSequenceAtEnd", "ab\xE6\x97", u"ab\xDCE6\xDC97"},
                    Utf8Case{"OverlongSlash", "\xC0\xAF", u"\xDCC0\xDCAF"},
                    Utf8Case{"OverlongThreeByte", "\xE0\x80\xAF", u"\xDCE0\xDC80\xDCAF"},
                    Utf8Case{"EncodedSurrogateIsNotTrusted", "\xED\xB2\x80", u"\xDCED\xDCB2\xDC80"},
                    Utf8Case{"AboveUnicodeRange", "\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},
                    Utf8Case{"HighBytesOnly", "\xFF\xFE", u"\xDCFF\xDCFE"},
                    Utf8Case{"NulInside", std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
                    // ASCII runs before, between and after every other kind of sequence.
                    Utf8Case{"MixedRuns", "Music/Caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x8E\xB5 \xE9 01.flac",
                             u"Music/Caf\u00E9 \u65E5 \U0001F3B5 \xDCE9 01.flac"},
                    Utf8Case{"NonAsciiFirst", "\xC3\xA9t\xC3\xA9", u"\u00E9t\u00E9"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(Text, EveryByteSequenceOfLengthTwoRoundTrips) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const std::string bytes{static_cast<char>(a), static_cast<char>(b)};
      ASSERT_EQ(Utf16ToUtf8(Utf8ToUtf16(bytes)), bytes) << a << "," << b;
    }
  }
}

TEST(Text, LoneSurrogateOutsideEscapeRangeStillEncodes) {
  // Not a name that can come from a Linux disk, but it must not be dropped.
  EXPECT_EQ(Utf16ToUtf8(u"\xD800"), "\xED\xA0\x80");
  EXPECT_EQ(Utf16ToUtf8(u"a\xD800"
                        u"b"),
            "a\xED\xA0\x80"
            "b");
  EXPECT_EQ(Utf16ToUtf8(u"\xDBFF\xDBFF\xDFFF"), "\xED\xAF\xBF\xF4\x8F\xBF\xBF");
}

struct FoldCase {
  std::u16string a;
  std::u16string b;
  int sign;
};

class AsciiFoldOrdering : public testing::TestWithParam<FoldCase> {};

TEST_P(AsciiFoldOrdering, ComparesFoldingOnlyAsciiLetters) {
  const auto& c = GetParam();
  const int got = AsciiFoldCompare(c.a, c.b);
  EXPECT_EQ((got > 0) - (got < 0), c.sign);
  EXPECT_EQ(AsciiFoldEquals(c.a, c.b), c.sign == 0);
}

INSTANTIATE_TEST_SUITE_P(Text, AsciiFoldOrdering,
                         testing::Values(FoldCase{u".FLAC", u".flac", 0}, FoldCase{u"abc", u"ABD", -1},
                                         FoldCase{u"abc", u"ab", 1}, FoldCase{u"", u"", 0},
                                         // Accented letters are not folded: É (U+00C9) differs from é (U+00E9).
                                         FoldCase{u"\u00C9", u"\u00E9", -1},
                                         // "_" (0x5F) sorts after folded "Z" would, but before "a": fold happens first.
                                         FoldCase{u"_", u"A", -1}, FoldCase{u"Z", u"_", 1}));

TEST(Text, SplitUndoesJoin) {
  const std::vector<std::u16string> items = {u"Name", u"", u"Artist"};
  EXPECT_EQ(Join(items, u"\r"), u"Name\r\rArtist");
  EXPECT_EQ(Split(u"Name\r\rArtist", u"\r"), items);
  EXPECT_TRUE(Split(u"", u"\r").empty());
  EXPECT_EQ(Split(u"one", u"{_{_}_}"), std::vector<std::u16string>{u"one"});
  EXPECT_EQ(Split(u"a{_{_}_}", u"{_{_}_}"), (std::vector<std::u16string>{u"a", u""}));
}

}  // namespace
}  // namespace tessaroven
