// The helpers both real plug-ins share: quality labels, column names, the tag block
// bytes and the UTF conversions at the plug-in boundary.
#include "plugin_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "decode/file_info.h"

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

// The labels must land in the groups of the "Audio Quality" column's own sort: every
// "High ..." before the "CD ", "DAT " and "DVD " labels.
TEST(QualityLabel, HighResolutionSortsBeforeTheStandardLabels) {
  std::vector<std::u16string> labels;
  for (const auto& c : kQualityCases) {
    if (*c.label && std::u16string_view(c.label).rfind(u"Lossless", 0) != 0) labels.push_back(c.label);
  }
  std::sort(labels.begin(), labels.end(),
            [](const auto& a, const auto& b) { return CompareAudioQuality(a, b) < 0; });
  const auto firstStandard = std::find_if(labels.begin(), labels.end(), [](const auto& l) { return l[0] != u'H'; });
  ASSERT_NE(firstStandard, labels.end());
  EXPECT_TRUE(std::all_of(labels.begin(), firstStandard, [](const auto& l) { return l.rfind(u"High", 0) == 0; }));
  // CD, then DAT, then DVD: rising resolution reads in order too.
  EXPECT_EQ(firstStandard->substr(0, 3), u"CD ");
  EXPECT_EQ(labels.back().substr(0, 4), u"DVD ");
}

TEST(KiloHertzText, DropsTrailingZerosAndUsesADot) {
  EXPECT_EQ(KiloHertzText(44100), u"44.1 kHz");
  EXPECT_EQ(KiloHertzText(48000), u"48 kHz");
  EXPECT_EQ(KiloHertzText(22050), u"22.05 kHz");
  EXPECT_EQ(KiloHertzText(11025), u"11.025 kHz");
  EXPECT_EQ(KiloHertzText(8000), u"8 kHz");
}

TEST(DsdMultiple, KnowsTheDsdRatesOnly) {
  EXPECT_EQ(DsdMultiple(2822400), 64);
  EXPECT_EQ(DsdMultiple(5644800), 128);
  EXPECT_EQ(DsdMultiple(11289600), 256);
  EXPECT_EQ(DsdMultiple(22579200), 512);
  EXPECT_EQ(DsdMultiple(44100), 0);
  EXPECT_EQ(DsdMultiple(3072000), 0);  // a 48 kHz family rate is not a DSD type
  EXPECT_EQ(DsdMultiple(0), 0);
}

struct KeyCase {
  const char* key;
  const char16_t* column;
};

const KeyCase kKeyCases[] = {
    {"TITLE", u"Title"},
    {"title", u"Title"},
    {"ALBUMARTIST", u"Album Artist"},
    {"album_artist", u"Album Artist"},
    {"TRACKNUMBER", u"Track"},
    {"track", u"Track"},
    {"DISCNUMBER", u"Disc"},
    {"DATE", u"Year"},
    {"ENCODEDBY", u"Encoded by"},
    {"BPM", u"Tempo"},
    {"REPLAYGAIN_TRACK_GAIN", u"Replaygain_Track_Gain"},
    {"musicbrainz_albumid", u"Musicbrainz_Albumid"},
    {"", u""},
};

TEST(ColumnNameForKey, MapsKeysOfBothLibrariesToOneColumn) {
  for (const KeyCase& c : kKeyCases) EXPECT_EQ(ColumnNameForKey(c.key), c.column) << c.key;
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
