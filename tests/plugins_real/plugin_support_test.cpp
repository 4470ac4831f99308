// The helpers both real plug-ins share: quality labels, column names, the tag block
// bytes and the UTF conversions at the plug-in boundary.
#include "plugin_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/text.h"

namespace tessaroven::plugin {
namespace {

struct QualityCase {
  AudioShape shape;
  const char16_t* label;
};

// shape: lossless, float, bits, rate, DSD multiple
const QualityCase kQualityCases[] = {
    {{false, false, 16, 44100, 0}, u""},
    {{true, false, 16, 44100, 0}, u"CD Lossless (16 bit / 44.1 kHz)"},
    {{true, false, 16, 48000, 0}, u"DAT Lossless (16 bit / 48 kHz)"},
    {{true, false, 16, 32000, 0}, u"DAT Lossless (16 bit / 32 kHz)"},
    {{true, false, 24, 48000, 0}, u"DVD Lossless (24 bit / 48 kHz)"},
    {{true, false, 20, 44100, 0}, u"DVD Lossless (20 bit / 44.1 kHz)"},
    {{true, false, 24, 96000, 0}, u"High Resolution Lossless (24 bit / 96 kHz)"},
    {{true, false, 16, 88200, 0}, u"High Resolution Lossless (16 bit / 88.2 kHz)"},
    {{true, false, 32, 44100, 0}, u"High Resolution Lossless (32 bit / 44.1 kHz)"},
    {{true, true, 32, 44100, 0}, u"High Resolution Lossless (32 bit float / 44.1 kHz)"},
    {{true, false, 8, 22050, 0}, u"Lossless (8 bit / 22.05 kHz)"},
    {{true, false, 24, 32000, 0}, u"Lossless (24 bit / 32 kHz)"},
    {{true, false, 1, 2822400, 64}, u"High Resolution Lossless (DSD64)"},
};

TEST(QualityLabel, NamesTheClassOfTheSource) {
  for (const QualityCase& c : kQualityCases) EXPECT_EQ(QualityLabel(c.shape), c.label) << Utf16ToUtf8(c.label);
}

// A 48 kHz family rate is not a DSD type.
TEST(DsdMultiple, KnowsTheDsdRatesOnly) {
  for (const auto& [rate, multiple] : {std::pair{2822400, 64}, std::pair{22579200, 512}, std::pair{44100, 0},
                                       std::pair{3072000, 0}, std::pair{0, 0}})
    EXPECT_EQ(DsdMultiple(rate), multiple) << rate;
}

// Keys of either library land on one column; unknown keys keep their words,
// capitalised.
TEST(ColumnNameForKey, MapsKeysOfBothLibrariesToOneColumn) {
  for (const auto& [key, column] :
       {std::pair{"title", u"Title"}, std::pair{"ALBUMARTIST", u"Album Artist"}, std::pair{"album_artist", u"Album Artist"},
        std::pair{"DATE", u"Year"}, std::pair{"BPM", u"Tempo"}, std::pair{"REPLAYGAIN_TRACK_GAIN", u"Replaygain_Track_Gain"},
        std::pair{"musicbrainz album-id", u"Musicbrainz Album-Id"}, std::pair{"", u""}})
    EXPECT_EQ(ColumnNameForKey(key), column) << key;
}

TEST(TagBlock, WritesCountThenSizedEntriesWithBothTextsTerminated) {
  TagBlock block;
  block.Add(u"Ab", u"x");
  block.Add(u"Skipped", u"");
  block.Append(u"ab", u"y");  // same name in another case joins the first
  block.Add(u"C", u"\u00e9");
  const auto& bytes = block.Bytes();
  const std::uint8_t expected[] = {2,  0, 0, 0,                                                          // count
                                   18, 0, 0, 0, 'A', 0, 'b', 0, 0,    0, 'x', 0, '\r', 0, 'y', 0, 0, 0,  // entry 1
                                   12, 0, 0, 0, 'C', 0, 0,   0, 0xE9, 0, 0,   0};                        // entry 2
  ASSERT_EQ(bytes.size(), sizeof expected);
  EXPECT_EQ(std::memcmp(bytes.data(), expected, sizeof expected), 0);
  EXPECT_TRUE(block.Has(u"AB"));
  EXPECT_FALSE(block.Has(u"Skipped"));
}

TEST(Utf, PathEscapesTurnBackIntoTheirBytes) {
  // "a", U+00E9, U+1F3B5 (a surrogate pair), then the escaped byte 0xFF.
  const char16_t path[] = {u'a', 0x00E9, 0xD83C, 0xDFB5, 0xDCFF, 0};
  EXPECT_EQ(PathToNative(path), std::string("a\xC3\xA9\xF0\x9F\x8E\xB5\xFF"));
  EXPECT_EQ(PathToNative(nullptr), "");
}

TEST(Utf, InvalidUtf8InTagsIsEscapedNotDropped) {
  EXPECT_EQ(FromUtf8("Gr\xC3\xBC\xC3\x9F"
                     "e"),
            u"Grüße");
  EXPECT_EQ(FromUtf8("\xF0\x9F\x8E\xB5"), u"\U0001F3B5");
  EXPECT_EQ(FromUtf8("a\xFF"
                     "b"),
            std::u16string({u'a', 0xDCFF, u'b'}));
  EXPECT_EQ(FromUtf8("\xC3"), std::u16string(1, 0xDCC3));                         // cut short
  EXPECT_EQ(FromUtf8("\xC0\xAF"), std::u16string({0xDCC0, 0xDCAF}));              // overlong "/"
  EXPECT_EQ(FromUtf8("\xED\xA0\x80"), std::u16string({0xDCED, 0xDCA0, 0xDC80}));  // a surrogate
}

}  // namespace
}  // namespace tessaroven::plugin
