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

struct FormatCase {
  const char* name;
  TsvWaveFormatEx in;
  std::uint16_t blockAlign;
  std::uint32_t avgBytes;
};

TEST(CopyAudioFormatTest, PcmAlignmentAndRateAreRecomputed) {
  for (const FormatCase& c : {FormatCase{"pcm_wrong_alignment", {1, 2, 44100, 1000, 3, 16, 0}, 4, 176400},
                                           FormatCase{"pcm_24bit_5_1", {1, 6, 48000, 0, 0, 24, 0}, 18, 864000},
                                           FormatCase{"pcm_8bit_mono", {1, 1, 8000, 7, 9, 8, 0}, 1, 8000},
                                           FormatCase{"float_stereo", {3, 2, 96000, 1, 1, 32, 0}, 8, 768000},
                                           // Compressed formats keep the plug-in's values.
                                           FormatCase{"adpcm_kept", {2, 2, 22050, 22311, 1024, 4, 0}, 1024, 22311},
                                           FormatCase{"extensible_kept", {0xFFFE, 2, 44100, 1, 3, 16, 0}, 3, 1}}) {
    SCOPED_TRACE(c.name);
    TsvOpenRecord record;
    std::memset(&record, 0, sizeof(record));
    record.format = c.in;
    const AudioFormat format = CopyAudioFormat(record);
    EXPECT_EQ(format.wave.block_align, c.blockAlign);
    EXPECT_EQ(format.wave.avg_bytes_per_sec, c.avgBytes);
    EXPECT_EQ(format.wave.channels, c.in.channels);
    EXPECT_EQ(format.wave.samples_per_sec, c.in.samples_per_sec);
    EXPECT_EQ(format.wave.bits_per_sample, c.in.bits_per_sample);
  }
}

TEST(CopyAudioFormatTest, ExtraBytesFollowTheFormatButNeverPassTheRecord) {
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof(record));
  record.format.format_tag = 0xFFFE;
  record.format.cb_size = 3;
  record.reserved0[0] = 1;
  record.reserved0[1] = 2;
  record.reserved0[2] = 3;
  record.reserved0[3] = 4;
  EXPECT_EQ(CopyAudioFormat(record).extra, (std::vector<std::uint8_t>{1, 2, 3}));
  record.format.cb_size = 0;
  EXPECT_TRUE(CopyAudioFormat(record).extra.empty());
  record.format.cb_size = 0xFFFF;
  EXPECT_EQ(CopyAudioFormat(record).extra.size(), sizeof(record) - 30);
}

// --- Column values from what a plug-in reported ---

struct Raw {
  TagList tags1;
  TagList tags2;
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

Raw WithTags(TagList tags1, TagList tags2 = {}) {
  Raw r;
  r.tags1 = std::move(tags1);
  r.tags2 = std::move(tags2);
  return r;
}

using Expect = std::pair<std::u16string, std::optional<std::u16string>>;  // nullopt: tag absent

struct PresentCase {
  const char* name;
  Raw raw;
  std::u16string file;
  std::uint32_t unitsFreq;
  std::vector<Expect> expected;
};

void CheckColumns(const PresentCase& c) {
  const FileInfo info = PresentFileInfo(c.raw.Make(), c.file, c.unitsFreq);
  for (const auto& [name, value] : c.expected) {
    if (value) {
      EXPECT_TRUE(HasTag(info.tags, name)) << Utf16ToUtf8(name);
      EXPECT_EQ(TagValue(info.tags, name), *value) << Utf16ToUtf8(name);
    } else {
      EXPECT_FALSE(HasTag(info.tags, name)) << Utf16ToUtf8(name) << " = " << Utf16ToUtf8(TagValue(info.tags, name));
    }
  }
}

Raw Set(Raw r, auto member, auto value) {
  r.*member = value;
  return r;
}

const TagList kLossless{{u"audio quality", u"Lossless", {}}};

// clang-format off
const PresentCase kPresentCases[] = {
    // SampleRate
    {"units_khz", Raw{}, u"a.flac", 0, {{u"Sample Rate", u"44.1 kHz"}}},
    {"units_hz", Raw{}, u"a.flac", 1, {{u"Sample Rate", u"44100 Hz"}}},
    {"units_any_nonzero_is_hz", Raw{}, u"a.flac", 7, {{u"Sample Rate", u"44100 Hz"}}},
    {"khz_one_decimal", Set(Raw{}, &Raw::rate, 48000u), u"a.flac", 0, {{u"Sample Rate", u"48.0 kHz"}}},
    {"channels", Set(Raw{}, &Raw::channels, std::uint16_t{6}), u"a.flac", 0, {{u"Channels", u"6"}}},

    // Dsd
    {"dsd256_stereo_lossless", WithTags({{u"DSD Type", u"DSD256", {}}, {u"audio quality", u"Lossless", {}}}), u"a.dsf",
        1, {{u"Sample Rate", u"DSD256"}, {u"Sample Size", u"1 bit"}, {u"Bit Rate", u"22579 kbps"}}},
    {"dsd64_lossy_has_no_sample_size", WithTags({{u"DSD Type", u"DSD64", {}}}), u"a.dsf", 0,
        {{u"Sample Rate", u"DSD64"}, {u"Bit Rate", u"5644 kbps"}, {u"Sample Size", std::nullopt}}},
    {"unknown_dsd_type_counts_as_64", WithTags({{u"DSD Type", u"DSD1024", {}}}), u"a.dsf", 0,
        {{u"Bit Rate", u"5644 kbps"}}},
    {"dsd128_case_folded", WithTags({{u"DSD Type", u"dsd128", {}}}), u"a.dsf", 0,
        {{u"Bit Rate", u"11289 kbps"}, {u"Sample Rate", u"dsd128"}}},
    // 1-bit samples give no PCM size at all: the file counts as not compressed.
    {"dsd_without_pcm_size_shows_100", Set(WithTags({{u"DSD Type", u"DSD64", {}}}), &Raw::bits, std::uint16_t{1}),
        u"a.dsf", 0, {{u"Compression", u"100%"}}},
    {"dsd512_mono", Set(WithTags({{u"DSD Type", u"DSD512", {}}}), &Raw::channels, std::uint16_t{1}), u"a.dsf", 0,
        {{u"Bit Rate", u"22579 kbps"}}},
    // The DSD type is looked up before the merge.
    {"dsd_type_only_in_second_list_is_ignored", WithTags({}, {{u"DSD Type", u"DSD256", {}}}), u"a.dsf", 0,
        {{u"Sample Rate", u"44.1 kHz"}, {u"Bit Rate", u"1411 kbps"}}},

    // SampleSize
    {"wav_without_quality_is_lossless", Raw{}, u"/m/a.WAV", 0, {{u"Sample Size", u"16 bit"}}},
    {"float_wav", Set(Set(Raw{}, &Raw::formatTag, std::uint16_t{3}), &Raw::bits, std::uint16_t{32}), u"a.wav", 0,
        {{u"Sample Size", u"32 bit floating point"}}},
    {"lossy_file_has_none", WithTags({{u"audio quality", u"Lossy 320", {}}}), u"a.mp3", 0,
        {{u"Sample Size", std::nullopt}}},
    {"quality_perfect_any_case", WithTags({{u"audio quality", u"PERFECT rip", {}}}), u"a.mp3", 0,
        {{u"Sample Size", u"16 bit"}}},
    {"quality_lossless_inside_text", WithTags({}, {{u"Audio Quality", u"CD lossless (FLAC)", {}}}), u"a.flac", 0,
        {{u"Sample Size", u"16 bit"}}},
    {"wav_only_as_extension", Raw{}, u"/m/a.wav.mp3", 0, {{u"Sample Size", std::nullopt}}},

    // BitRateAndCompression
    {"bit_rate_zero_still_shown", Set(Raw{}, &Raw::bitRate, 0u), u"a.mp3", 0, {{u"Bit Rate", u"0 kbps"}}},
    {"bit_rate_truncated", Set(Raw{}, &Raw::bitRate, 320999u), u"a.mp3", 0, {{u"Bit Rate", u"320 kbps"}}},
    {"compressed_equals_pcm", Raw{}, u"a.wav", 0, {{u"Compression", u"100%"}}},
    {"half", Set(Raw{}, &Raw::compressed, std::int64_t{220500}), u"a.flac", 0, {{u"Compression", u"50%"}}},
    {"within_a_kilobyte_counts_as_equal", Set(Raw{}, &Raw::compressed, std::int64_t{441000 - 1023}), u"a.flac", 0,
        {{u"Compression", u"100%"}}},
    {"a_kilobyte_smaller", Set(Raw{}, &Raw::compressed, std::int64_t{441000 - 1024}), u"a.flac", 0,
        {{u"Compression", u"99%"}}},
    {"bigger_than_pcm", Set(Raw{}, &Raw::compressed, std::int64_t{900000}), u"a.flac", 0, {{u"Compression", u"100%"}}},
    {"no_compressed_size", Set(Raw{}, &Raw::compressed, std::int64_t{0}), u"a.flac", 0,
        {{u"Compression", std::nullopt}}},
    {"no_length_counts_as_not_compressed", Set(Raw{}, &Raw::lengthMs, std::int64_t{0}), u"a.flac", 0,
        {{u"Compression", u"100%"}, {u"Length", u"0 seconds"}}},
    {"length_replaces_plugin_text", WithTags({{u"Length", u"bogus", {}}}), u"a.flac", 0,
        {{u"Length", u"2 seconds, 500 mili-seconds"}}},

    // AlbumOrder
    {"track_gets_leading_zero", WithTags({{u"Artist", u"B", {}}, {u"Album", u"A", {}}, {u"Track", u"3", {}}}),
        u"a.flac", 0, {{u"Track", u"03"}, {u"Album Artist - Album - Disc - Track", u"B - A - 03"},
                       {u"Album - Disc - Track", u"A - 03"}}},
    {"disc_and_album_artist", WithTags({{u"Album Artist", u"AA", {}}, {u"Artist", u"B", {}}, {u"Album", u"A", {}},
                                        {u"Disc", u"2", {}}, {u"Track", u"12", {}}}), u"a.flac", 0,
        {{u"Track", u"12"}, {u"Disc", u"2"}, {u"Album Artist - Album - Disc - Track", u"AA - A - 02 - 12"},
         {u"Album - Disc - Track", u"A - 02 - 12"}}},
    {"track_of_total", WithTags({{u"Track", u"3/12", {}}}), u"a.flac", 0,
        {{u"Track", u"03"}, {u"Album - Disc - Track", u"03"}}},
    {"track_zero_or_text_left_alone", WithTags({{u"Track", u"0", {}}, {u"Disc", u"x", {}}}), u"a.flac", 0,
        {{u"Track", u"0"}, {u"Album Artist - Album - Disc - Track", u""}}},
    {"empty_parts_add_nothing", WithTags({{u"Artist", u"B", {}}, {u"Disc", u"1", {}}}), u"a.flac", 0,
        {{u"Album Artist - Album - Disc - Track", u"B - 01"}, {u"Album - Disc - Track", u"01"}}},
    {"compilation_number", WithTags({{u"Compilation", u" 1", {}}}), u"a.flac", 0, {{u"Compilation", u"Yes"}}},
    {"compilation_zero", WithTags({{u"Compilation", u"0", {}}}), u"a.flac", 0, {{u"Compilation", u"No"}}},
    {"compilation_absent", Raw{}, u"a.flac", 0, {{u"Compilation", u"No"}}},
    {"accurate_rip_kept", WithTags({{u"AccurateRipResult", u"Accurate (confidence 7)", {}}}), u"a.flac", 0,
        {{u"AccurateRipResult", u"Accurate (confidence 7)"}}},
    {"accurate_rip_written_even_when_absent", Raw{}, u"a.flac", 0, {{u"AccurateRipResult", u""}}},
    {"second_list_fills_gaps_only",
        WithTags({{u"Artist", u"First", {}}}, {{u"ARTIST", u"Second", {}}, {u"Album", u"Alb", {}}}), u"a.flac", 0,
        {{u"Artist", u"First"}, {u"Album Artist - Album - Disc - Track", u"First - Alb"}}}
};
// clang-format on

TEST(PresentFileInfoTest, ColumnValues) {
  for (const PresentCase& c : kPresentCases) {
    SCOPED_TRACE(c.name);
    CheckColumns(c);
  }
}

TEST(PresentFileInfoRecordTest, NumbersGoIntoTheRecord) {
  Raw raw = WithTags({{u"Rating", u"  4abc", {}}});
  raw.lengthMs = 123456;
  raw.bitRate = 999;
  const FileInfo info = PresentFileInfo(raw.Make(), u"a.flac", 0);
  EXPECT_TRUE(info.opened);
  EXPECT_EQ(info.rating, 4);
  EXPECT_EQ(info.lengthMs, 123456);
  EXPECT_EQ(info.bitRate, 999u);
  EXPECT_EQ(PresentFileInfo(WithTags({{u"Rating", u"x4", {}}}).Make(), u"a.flac", 0).rating, 0);
}

struct NumberCase {
  std::u16string_view text;
  std::int32_t value;
};

TEST(LeadingNumberTest, ReadsSignAndDigitsAfterBlanks) {
  for (const NumberCase& c : {NumberCase{u"  4abc", 4}, NumberCase{u"x4", 0}, NumberCase{u"", 0},
                                           NumberCase{u"-3", -3}, NumberCase{u"+7", 7}, NumberCase{u"4 5", 4},
                                           NumberCase{u"-", 0}, NumberCase{u"- 4", 0}, NumberCase{u"007", 7},
                                           NumberCase{u"99999999999", std::numeric_limits<std::int32_t>::max()},
                                           NumberCase{u"-99999999999", std::numeric_limits<std::int32_t>::min()}})
    EXPECT_EQ(LeadingNumber(c.text), c.value) << Utf16ToUtf8(c.text);
}

struct SortKeyCase {
  std::u16string_view value;
  std::u16string_view key;
};

TEST(AudioQualitySortKeyTest, LabelPrefixesIgnoringCase) {
  for (const SortKeyCase& c : {SortKeyCase{u"High", u"SHigh"}, SortKeyCase{u"hIGH 24/96", u"ShIGH 24/96"},
                                           SortKeyCase{u"CD ", u"xCD "}, SortKeyCase{u"cd 16/44.1", u"xcd 16/44.1"},
                                           SortKeyCase{u"dvd 24/48", u"xdvd 24/48"},
                                           SortKeyCase{u"Dat 16/48", u"xDat 16/48"},
                                           SortKeyCase{u"perfect", u"xperfect"},
                                           SortKeyCase{u"PERFECT rip", u"xPERFECT rip"},
                                           // The blank belongs to the prefix; shorter texts stay.
                                           SortKeyCase{u"CDX", u"CDX"}, SortKeyCase{u"DVD", u"DVD"},
                                           SortKeyCase{u"Perfec", u"Perfec"}, SortKeyCase{u"Hig", u"Hig"},
                                           SortKeyCase{u"Lossless", u"Lossless"}, SortKeyCase{u"", u""}})
    EXPECT_EQ(AudioQualitySortKey(c.value), c.key) << Utf16ToUtf8(c.value);
}

TEST(AudioQualitySortTest, HighSortsBeforeTheLabelledQualitiesWhateverTheirCase) {
  std::vector<std::u16string> values{u"perfect (rip)", u"CD 16/44.1", u"high 24/192", u"dvd 24/96",
                                     u"DAT 16/48",     u"High 24/48", u"HIGH res"};
  std::sort(values.begin(), values.end(), [](const auto& a, const auto& b) { return CompareAudioQuality(a, b) < 0; });
  for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(AsciiFoldEquals(values[i].substr(0, 4), u"high")) << i;
  EXPECT_EQ(values[3], u"CD 16/44.1");
  EXPECT_EQ(values[4], u"DAT 16/48");
  EXPECT_EQ(values[5], u"dvd 24/96");
  EXPECT_EQ(values[6], u"perfect (rip)");
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

TEST_F(ReadFileInfoTest, CopiesFixesFormatMergesTagsAndDestroysTheInstance) {
  Install(u"alpha");
  clQzDecoder decoder;
  FileInfo info;
  ASSERT_TRUE(ReadFileInfo(u"song.fka", decoder, info));
  EXPECT_TRUE(info.opened);
  EXPECT_EQ(decoder.Instance(), nullptr);
  EXPECT_TRUE(decoder.HasModule());  // kept for the next file of this type

  EXPECT_EQ(info.format.wave.block_align, 4);
  EXPECT_EQ(info.format.wave.avg_bytes_per_sec, 176400u);
  EXPECT_EQ(info.format.extra, (std::vector<std::uint8_t>{0xAB, 0xCD}));
  EXPECT_EQ(info.properties.compressed_size, 441000);
  EXPECT_EQ(info.lengthMs, 2500);
  EXPECT_EQ(info.rating, 4);

  EXPECT_EQ(TagValue(info.tags, u"Plugin"), u"alpha");
  EXPECT_EQ(TagValue(info.tags, u"Artist"), u"Alpha Artist");
  EXPECT_EQ(TagValue(info.tags, u"Album"), u"Second Album");
  EXPECT_EQ(TagValue(info.tags, u"Track"), u"03");
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"44.1 kHz");
  EXPECT_EQ(TagValue(info.tags, u"Compression"), u"100%");
  EXPECT_EQ(TagValue(info.tags, u"Album Artist - Album - Disc - Track"), u"Alpha Artist - Second Album - 03");
  const auto cover = std::find_if(info.tags.begin(), info.tags.end(), [](const Tag& t) { return t.name == u"Cover"; });
  ASSERT_NE(cover, info.tags.end());
  EXPECT_EQ(cover->binary, (std::vector<std::uint8_t>{0x89, 'P', 0, 'N', 0xFF}));

  // A second file of the type goes through the same library again.
  FileInfo again;
  ASSERT_TRUE(ReadFileInfo(u"other.FKA", decoder, again));
  EXPECT_EQ(TagValue(again.tags, u"Plugin"), u"alpha");
}

TEST_F(ReadFileInfoTest, UnitsFreqSettingIsReadForEveryFile) {
  Install(u"alpha");
  clQzDecoder decoder;
  FileInfo info;
  SetUnitsFreq(1);
  ASSERT_TRUE(ReadFileInfo(u"song.fka", decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"44100 Hz");
  // A value of another type counts as 0.
  SettingsSetString(u"1", kUnitsFreqValue, SettingsRoot::CurrentUser, kRefSettingsKey);
  ASSERT_TRUE(ReadFileInfo(u"song.fka", decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"44.1 kHz");
}

TEST_F(ReadFileInfoTest, DsdFile) {
  Install(u"dsd");
  clQzDecoder decoder;
  FileInfo info;
  ASSERT_TRUE(ReadFileInfo(u"song.fkd", decoder, info));
  EXPECT_EQ(TagValue(info.tags, u"Sample Rate"), u"DSD256");
  EXPECT_EQ(TagValue(info.tags, u"Sample Size"), u"1 bit");
  EXPECT_EQ(TagValue(info.tags, u"Bit Rate"), u"22579 kbps");
  EXPECT_FALSE(HasTag(info.tags, u"Compression"));
}

TEST_F(ReadFileInfoTest, FailedOpenOrNoPluginGivesNothing) {
  Install(u"open_fail");
  clQzDecoder decoder;
  FileInfo info;
  info.tags.push_back(Tag{u"Kept", u"by caller", {}});
  EXPECT_FALSE(ReadFileInfo(u"song.fko", decoder, info));
  EXPECT_FALSE(info.opened);
  EXPECT_EQ(decoder.Instance(), nullptr);
  EXPECT_FALSE(ReadFileInfo(u"song.nothing", decoder, info));
  ASSERT_EQ(info.tags.size(), 1u);
  EXPECT_EQ(info.tags[0].name, u"Kept");
}

TEST_F(ReadFileInfoTest, BrokenTagBlocksKeepTheTagsBeforeTheBadEntry) {
  for (const auto& [fake, artist] : {std::pair{u"tags_len4", u""}, std::pair{u"tags_past_end", u"Kept"},
                                     std::pair{u"tags_negative", u"Kept"}}) {
    SCOPED_TRACE(Utf16ToUtf8(fake));
    // Each fake alone in the folder and not cached, as if it were the only one installed.
    const std::filesystem::path installed = test::FsPath(Install(fake));
    test::SetCachedLibrary(u".fkt", u"");
    {  // the library unloaded before its file goes
      clQzDecoder decoder;
      FileInfo info;
      EXPECT_TRUE(ReadFileInfo(u"song.fkt", decoder, info));
      EXPECT_EQ(TagValue(info.tags, u"Artist"), artist);
      EXPECT_FALSE(HasTag(info.tags, u"Album"));
      EXPECT_FALSE(HasTag(info.tags, u"Genre"));
      // The computed values are there all the same.
      EXPECT_EQ(TagValue(info.tags, u"Channels"), u"2");
    }
    std::filesystem::remove(installed);
  }
}

}  // namespace
}  // namespace tessaroven
