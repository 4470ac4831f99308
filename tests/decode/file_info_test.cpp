#include "decode/file_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "base/settings.h"
#include "decode/fake_plugins.h"

namespace tessaroven {
namespace {

// --- The audio format copied out of an open record ---

TEST(CopyAudioFormatTest, ExtraBytesFollowTheFormatButNeverPassTheRecord) {
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof(record));
  record.format.format_tag = 0xFFFE;
  record.format.cb_size = 3;
  for (std::uint8_t i = 0; i < 4; ++i) record.reserved0[i] = i + 1;
  EXPECT_EQ(CopyAudioFormat(record).extra, (std::vector<std::uint8_t>{1, 2, 3}));
  record.format.cb_size = 0xFFFF;
  EXPECT_EQ(CopyAudioFormat(record).extra.size(), sizeof(record) - 30);
}

// --- Column values from what a plug-in reported ---

struct Raw {
  TagList tags1{};
  TagList tags2{};
  std::uint16_t formatTag = 1;
  std::uint16_t channels = 2;
  std::uint32_t rate = 44100;
  std::uint16_t bits = 16;
  std::uint32_t bitRate = 1411200;
  std::int64_t lengthMs = 2500;
  std::int64_t compressed = 441000;

  RawFileInfo Make() const {
    RawFileInfo raw;
    raw.format.wave = {formatTag, channels, rate, 0, static_cast<std::uint16_t>(channels * bits / 8), bits, 0};
    raw.format.wave.avg_bytes_per_sec = raw.format.wave.block_align * rate;
    raw.properties.bit_rate = bitRate;
    raw.properties.length_ms = lengthMs;
    raw.properties.compressed_size = compressed;
    raw.tags1 = tags1;
    raw.tags2 = tags2;
    return raw;
  }
};

struct PresentCase {
  const char* name;
  Raw raw;
  std::u16string file;
  std::uint32_t unitsFreq;
  std::vector<std::pair<std::u16string, std::optional<std::u16string>>> expected;  // nullopt: tag absent
};

// clang-format off
const PresentCase kPresentCases[] = {
    {"plain_wav_is_lossless", Raw{}, u"/m/a.WAV", 0,
        {{u"Sample Rate", u"44.1 kHz"}, {u"Channels", u"2"}, {u"Sample Size", u"16 bit"}, {u"Bit Rate", u"1411 kbps"},
         {u"Compression", u"100%"}, {u"Compilation", u"No"}, {u"AccurateRipResult", u""}}},
    {"units_any_nonzero_is_hz", Raw{}, u"a.flac", 7, {{u"Sample Rate", u"44100 Hz"}, {u"Sample Size", std::nullopt}}},
    {"khz_one_decimal", Raw{.rate = 48000, .bitRate = 320999}, u"a.flac", 0,
        {{u"Sample Rate", u"48.0 kHz"}, {u"Bit Rate", u"320 kbps"}}},

    {"dsd256_lossless", Raw{.tags1 = {{u"DSD Type", u"DSD256", {}}, {u"audio quality", u"Lossless", {}}}}, u"a.dsf",
        1, {{u"Sample Rate", u"DSD256"}, {u"Sample Size", u"1 bit"}, {u"Bit Rate", u"22579 kbps"}}},
    // 1-bit samples give no PCM size at all: the file counts as not compressed.
    {"dsd64_lossy_1bit", Raw{.tags1 = {{u"DSD Type", u"DSD64", {}}}, .bits = 1}, u"a.dsf", 0,
        {{u"Sample Rate", u"DSD64"}, {u"Bit Rate", u"5644 kbps"}, {u"Sample Size", std::nullopt},
         {u"Compression", u"100%"}}},
    {"dsd128_case_folded", Raw{.tags1 = {{u"DSD Type", u"dsd128", {}}}}, u"a.dsf", 0,
        {{u"Bit Rate", u"11289 kbps"}, {u"Sample Rate", u"dsd128"}}},
    {"dsd512_mono", Raw{.tags1 = {{u"DSD Type", u"DSD512", {}}}, .channels = 1}, u"a.dsf", 0,
        {{u"Bit Rate", u"22579 kbps"}}},
    // The DSD type is looked up before the merge.
    {"dsd_type_only_in_second_list_is_ignored", Raw{.tags2 = {{u"DSD Type", u"DSD256", {}}}}, u"a.dsf", 0,
        {{u"Sample Rate", u"44.1 kHz"}, {u"Bit Rate", u"1411 kbps"}}},

    {"float_wav", Raw{.formatTag = 3, .bits = 32}, u"a.wav", 0, {{u"Sample Size", u"32 bit floating point"}}},
    {"quality_perfect_any_case", Raw{.tags1 = {{u"audio quality", u"PERFECT rip", {}}}}, u"a.mp3", 0,
        {{u"Sample Size", u"16 bit"}}},
    {"quality_lossless_inside_text", Raw{.tags2 = {{u"Audio Quality", u"CD lossless (FLAC)", {}}}}, u"a.flac", 0,
        {{u"Sample Size", u"16 bit"}}},
    {"wav_only_as_extension", Raw{}, u"/m/a.wav.mp3", 0, {{u"Sample Size", std::nullopt}}},

    {"a_kilobyte_smaller", Raw{.compressed = 441000 - 1024}, u"a.flac", 0, {{u"Compression", u"99%"}}},
    {"bigger_than_pcm", Raw{.compressed = 900000}, u"a.flac", 0, {{u"Compression", u"100%"}}},
    {"no_compressed_size", Raw{.compressed = 0}, u"a.flac", 0, {{u"Compression", std::nullopt}}},
    {"no_length_counts_as_not_compressed", Raw{.lengthMs = 0}, u"a.flac", 0,
        {{u"Compression", u"100%"}, {u"Length", u"0 seconds"}}},
    {"length_replaces_plugin_text", Raw{.tags1 = {{u"Length", u"bogus", {}}}, .lengthMs = 3723456}, u"a.flac", 0,
        {{u"Length", u"1 hour, 2 minutes, 3 seconds, 456 mili-seconds"}}},

    {"track_of_total_gets_leading_zero",
        Raw{.tags1 = {{u"Artist", u"B", {}}, {u"Album", u"A", {}}, {u"Track", u"3/12", {}}}}, u"a.flac", 0,
        {{u"Track", u"03"}, {u"Album Artist - Album - Disc - Track", u"B - A - 03"},
         {u"Album - Disc - Track", u"A - 03"}}},
    {"disc_and_album_artist", Raw{.tags1 = {{u"Album Artist", u"AA", {}}, {u"Artist", u"B", {}}, {u"Album", u"A", {}},
                                            {u"Disc", u"2", {}}, {u"Track", u"12", {}}}}, u"a.flac", 0,
        {{u"Disc", u"2"}, {u"Album Artist - Album - Disc - Track", u"AA - A - 02 - 12"},
         {u"Album - Disc - Track", u"A - 02 - 12"}}},
    {"track_zero_or_text_left_alone", Raw{.tags1 = {{u"Track", u"0", {}}, {u"Disc", u"x", {}}}}, u"a.flac", 0,
        {{u"Track", u"0"}, {u"Album Artist - Album - Disc - Track", u""}}},
    {"empty_parts_add_nothing", Raw{.tags1 = {{u"Artist", u"B", {}}, {u"Disc", u"1", {}}}}, u"a.flac", 0,
        {{u"Album Artist - Album - Disc - Track", u"B - 01"}, {u"Album - Disc - Track", u"01"}}},
    {"compilation_and_accurate_rip",
        Raw{.tags1 = {{u"Compilation", u" 1", {}}, {u"AccurateRipResult", u"Accurate (confidence 7)", {}}}}, u"a.flac",
        0, {{u"Compilation", u"Yes"}, {u"AccurateRipResult", u"Accurate (confidence 7)"}}},
    {"second_list_fills_gaps_only",
        Raw{.tags1 = {{u"Artist", u"First", {}}}, .tags2 = {{u"ARTIST", u"Second", {}}, {u"Album", u"Alb", {}}}},
        u"a.flac", 0, {{u"Artist", u"First"}, {u"Album Artist - Album - Disc - Track", u"First - Alb"}}},
};
// clang-format on

TEST(PresentFileInfoTest, ColumnValues) {
  for (const PresentCase& c : kPresentCases) {
    SCOPED_TRACE(c.name);
    const FileInfo info = PresentFileInfo(c.raw.Make(), c.file, c.unitsFreq);
    for (const auto& [name, value] : c.expected) {
      EXPECT_EQ(HasTag(info.tags, name), value.has_value()) << Utf16ToUtf8(name);
      EXPECT_EQ(TagValue(info.tags, name), value.value_or(u"")) << Utf16ToUtf8(name);
    }
  }
}

TEST(LeadingNumberTest, ReadsSignAndDigitsAfterBlanksAndSaturates) {
  constexpr auto kMax = std::numeric_limits<std::int32_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int32_t>::min();
  for (const auto& [text, value] : {std::pair{u"  4abc", 4}, std::pair{u"x4", 0}, std::pair{u"-3", -3},
                                    std::pair{u"+7", 7}, std::pair{u"99999999999", kMax},
                                    std::pair{u"-99999999999", kMin}})
    EXPECT_EQ(LeadingNumber(text), value) << Utf16ToUtf8(text);
}

// "High ..." sorts before the labelled qualities, whatever the case; the blank belongs
// to each label's prefix, and shorter texts stay as they are.
TEST(AudioQualitySortKeyTest, LabelPrefixesIgnoringCase) {
  for (const auto& [value, key] :
       {std::pair{u"hIGH 24/96", u"ShIGH 24/96"}, std::pair{u"cd 16/44.1", u"xcd 16/44.1"},
        std::pair{u"dvd 24/48", u"xdvd 24/48"}, std::pair{u"Dat 16/48", u"xDat 16/48"},
        std::pair{u"PERFECT rip", u"xPERFECT rip"}, std::pair{u"CDX", u"CDX"}, std::pair{u"Hig", u"Hig"},
        std::pair{u"", u""}})
    EXPECT_EQ(AudioQualitySortKey(value), key) << Utf16ToUtf8(value);
  EXPECT_LT(CompareAudioQuality(u"high 24/192", u"CD 16/44.1"), 0);
  EXPECT_LT(CompareAudioQuality(u"DAT 16/48", u"dvd 24/96"), 0);
}

// --- Reading through real (fake) plug-ins ---

class ReadFileInfoTest : public test::PluginFolderFixture {
 protected:
  void SetUp() override {
    PluginFolderFixture::SetUp();
    SetUnitsFreq(0);
  }
  void TearDown() override {
    SetUnitsFreq(0);
    PluginFolderFixture::TearDown();
  }
  static void SetUnitsFreq(std::uint32_t value) {
    SettingsSetDword(value, kUnitsFreqValue, SettingsRoot::CurrentUser, kRefSettingsKey);
  }
};

TEST_F(ReadFileInfoTest, CopiesFixesFormatMergesTagsAndDestroysTheInstanceOrGivesNothing) {
  Install(u"alpha");
  clQzDecoder decoder;
  FileInfo info;
  ASSERT_TRUE(ReadFileInfo(u"song.fka", decoder, info));
  EXPECT_TRUE(info.opened);
  EXPECT_EQ(decoder.Instance(), nullptr);
  EXPECT_TRUE(decoder.HasModule());  // kept for the next file of this type

  EXPECT_EQ(info.format.wave.block_align, 4);
  EXPECT_EQ(info.format.extra, (std::vector<std::uint8_t>{0xAB, 0xCD}));
  EXPECT_EQ(info.properties.compressed_size, 441000);
  EXPECT_EQ(info.lengthMs, 2500);
  EXPECT_EQ(info.bitRate, 1411200u);
  EXPECT_EQ(info.rating, 4);

  EXPECT_EQ(TagValue(info.tags, u"Artist"), u"Alpha Artist");
  EXPECT_EQ(TagValue(info.tags, u"Album"), u"Second Album");
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"44.1 kHz");
  EXPECT_EQ(TagValue(info.tags, u"Album Artist - Album - Disc - Track"), u"Alpha Artist - Second Album - 03");
  const auto cover = std::find_if(info.tags.begin(), info.tags.end(), [](const Tag& t) { return t.name == u"Cover"; });
  ASSERT_NE(cover, info.tags.end());
  EXPECT_EQ(cover->binary, (std::vector<std::uint8_t>{0x89, 'P', 0, 'N', 0xFF}));

  // The setting is read for every file; a value of another type counts as 0.
  SetUnitsFreq(1);
  ASSERT_TRUE(ReadFileInfo(u"other.FKA", decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"44100 Hz");
  SettingsSetString(u"1", kUnitsFreqValue, SettingsRoot::CurrentUser, kRefSettingsKey);
  ASSERT_TRUE(ReadFileInfo(u"song.fka", decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"44.1 kHz");

  // A failed open or a type no plug-in reads gives nothing, and leaves the caller's tags.
  Install(u"open_fail");
  info = FileInfo{};
  info.tags.push_back(Tag{u"Kept", u"by caller", {}});
  EXPECT_FALSE(ReadFileInfo(u"song.fko", decoder, info));
  EXPECT_EQ(decoder.Instance(), nullptr);
  EXPECT_FALSE(ReadFileInfo(u"song.nothing", decoder, info));
  EXPECT_FALSE(info.opened);
  ASSERT_EQ(info.tags.size(), 1u);
}

}  // namespace
}  // namespace tessaroven
