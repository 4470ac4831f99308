// The two real decoder plug-ins on the audio files of tests/data (made by
// tests/data/make-fixtures.sh): what they declare, what they read, and that broken
// files neither crash nor hang them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <string>

#include "base/text.h"
#include "real_plugin.h"
#include "support/test_env.h"

namespace tessaroven::test {
namespace {

namespace fs = std::filesystem;

const RealPlugin& Plugin(const std::string& name) {
  // Loaded once per run: dlopen of TagLib and FFmpeg is the slow part.
  static RealPlugin taglib("taglib");
  static RealPlugin ffmpeg("ffmpeg");
  return name == "taglib" ? taglib : ffmpeg;
}

std::string Lower(std::string text) {
  for (auto& c : text) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
  return text;
}

// Which plug-in declares the extension of path ("" when none does).
std::string OwnerOf(const std::string& path) {
  const std::u16string ext = Utf8ToUtf16(Lower(fs::path(path).extension().string()));
  for (const char* name : {"taglib", "ffmpeg"}) {
    for (const auto& row : Plugin(name).Decodes()) {
      if (row.first == ext) return name;
    }
  }
  return {};
}

std::vector<std::string> AudioFixtures() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(DataFolder())) {
    const std::string ext = entry.path().extension().string();
    if (ext != ".sh" && ext != ".py" && ext != ".md") files.push_back(entry.path().filename().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

struct Expected {
  const char* file;
  int formatTag;
  int channels;
  int rate;
  int bits;
  int lengthMs;  // the tone is 200 ms; codecs pad a little
  int lengthSlackMs;
  int minKbps, maxKbps;
  const char* quality;  // prefix of "audio quality", "" when there must be none
  int tagged;           // tags of make-fixtures.sh: 0 none, 1 title to album, 2 also the track
};

void CheckFixture(const Expected& e) {
  const std::string path = DataFolder() + e.file;
  const ReadResult r = Plugin(OwnerOf(path)).Read(path);
  ASSERT_TRUE(r.opened);
  EXPECT_EQ(r.format.format_tag, e.formatTag);
  EXPECT_EQ(r.format.channels, e.channels);
  EXPECT_EQ(r.format.samples_per_sec, static_cast<std::uint32_t>(e.rate));
  EXPECT_EQ(r.format.bits_per_sample, e.bits);
  EXPECT_EQ(r.format.block_align, e.channels * e.bits / 8);
  EXPECT_EQ(r.format.avg_bytes_per_sec, static_cast<std::uint32_t>(e.channels * e.bits / 8 * e.rate));
  EXPECT_NEAR(r.lengthMs, e.lengthMs, e.lengthSlackMs);
  EXPECT_GE(r.bitRate, static_cast<std::uint32_t>(e.minKbps) * 1000);
  EXPECT_LE(r.bitRate, static_cast<std::uint32_t>(e.maxKbps) * 1000);
  const auto fileSize = static_cast<std::int64_t>(fs::file_size(path));
  EXPECT_GT(r.compressedSize, 0);
  EXPECT_LE(r.compressedSize, fileSize);

  const std::u16string quality = r.Tag(u"audio quality");
  if (*e.quality == 0) {
    EXPECT_EQ(quality, u"");
  } else {
    EXPECT_EQ(quality.rfind(Utf8ToUtf16(e.quality), 0), 0u) << Utf16ToUtf8(quality);
    EXPECT_NE(quality.find(u"Lossless"), std::u16string::npos);
  }
  EXPECT_FALSE(r.Tag(u"Codec").empty());

  if (e.tagged >= 1) {
    EXPECT_EQ(r.Tag(u"Title"), u"Grüße ☃ Ωmega");
    EXPECT_EQ(r.Tag(u"Artist").substr(0, 14), u"Fixture Artist");
    EXPECT_EQ(r.Tag(u"Album"), u"Fixture Album");
  } else {
    EXPECT_EQ(r.Tag(u"Title"), u"");
  }
  if (e.tagged >= 2) {
    EXPECT_EQ(r.Tag(u"Track"), u"3");
  }
  // Names never repeat: several values share one tag.
  std::set<std::u16string> names;
  for (const auto& tag : r.tags) EXPECT_TRUE(names.insert(AsciiFold(tag.name)).second) << Utf16ToUtf8(tag.name);
}

// clang-format off
const Expected kFixtures[] = {
    // file             tag ch  rate  bits len slack kbps       quality                    tagged
    {"tone.mp3",         1, 2, 44100, 16, 200, 60,  48,   96,  "",                         2},
    {"tone.mp2",         1, 2, 44100, 16, 200, 60,  112,  144, "",                         0},
    {"tone.flac",        1, 2, 44100, 16, 200, 5,   100,  1411, "CD Lossless (16 bit / 44.1 kHz)", 2},
    {"tone.ogg",         1, 2, 44100, 16, 200, 30,  20,   160, "",                         2},
    {"tone.oga",         1, 2, 44100, 24, 200, 5,   100,  2117, "DVD Lossless (24 bit / 44.1 kHz)", 2},
    {"tone.opus",        1, 2, 48000, 16, 200, 30,  16,   96,  "",                         2},
    {"tone.spx",         1, 1, 16000, 16, 200, 30,  8,    64,  "",                         2},
    {"tone.m4a",         1, 2, 44100, 16, 200, 40,  32,   96,  "",                         2},
    {"tone-alac.m4a",    1, 2, 44100, 16, 200, 5,   1000, 1411, "CD Lossless",             2},
    {"tone.wav",         1, 2, 44100, 16, 200, 2,   1411, 1411, "CD Lossless",             2},
    {"tone-float.wav",   3, 1, 96000, 32, 200, 2,   3072, 3072, "High Resolution Lossless (32 bit float / 96 kHz)", 2},
    {"tone.aiff",        1, 2, 48000, 16, 200, 2,   1536, 1536, "DAT Lossless (16 bit / 48 kHz)", 2},
    {"tone.wv",          1, 2, 44100, 16, 200, 5,   100,  1411, "CD Lossless",             2},
    {"tone.tta",         1, 2, 44100, 24, 200, 5,   100,  2117, "DVD Lossless",            0},
    {"tone.wma",         1, 2, 44100, 16, 200, 60,  48,   96,  "",                         2},
    // Claimed by the TagLib plug-in, whose format TagLib cannot read: FFmpeg reads it.
    {"tone-opus.m4a",    1, 2, 48000, 16, 200, 30,  16,   64,  "",                         2},
    {"tone-flac.m4a",    1, 1, 8000,  16, 200, 5,   20,   128, "Lossless (16 bit / 8 kHz)", 2},
    {"tone-ac3.m4a",     1, 2, 48000, 16, 200, 40,  64,   64,  "",                         2},
    {"tone-eac3.m4a",    1, 2, 48000, 16, 200, 40,  64,   64,  "",                         2},
    {"tone-rf64.wav",    1, 1, 8000,  16, 200, 2,   128,  128, "Lossless (16 bit / 8 kHz)", 2},
    {"tone-zero-size.wav", 1, 1, 8000, 16, 200, 2,  128,  128, "Lossless (16 bit / 8 kHz)", 2},
    {"tone-multiplexed.ogg", 1, 1, 22050, 16, 200, 30, 16, 64, "",                         2},
    {"tone.dsf",         1, 2, 2822400, 1, 10, 5,   5644, 5645, "High Resolution Lossless (DSD64)", 2},
    {"tone.dff",         1, 2, 5644800, 1, 10, 5,   11289, 11290, "High Resolution Lossless (DSD128)", 0},
    {"tone.ac3",         1, 2, 48000, 16, 200, 40,  96,   96,  "",                         0},
    {"tone.dts",         1, 2, 48000, 16, 200, 40,  768,  768, "",                         0},
    {"tone.aac",         1, 2, 44100, 16, 200, 60,  32,   96,  "",                         0},
    {"tone.mka",         1, 2, 44100, 16, 200, 30,  0,    400, "",                         2},
    {"tone.mkv",         1, 2, 44100, 16, 200, 30,  0,    400, "",                         2},
    {"tone.mov",         1, 2, 44100, 16, 200, 40,  32,   96,  "",                         1},
    {"tone.ts",          1, 2, 44100, 16, 200, 40,  128,  128, "",                         0},
};
// clang-format on

// One row per kind of file each plug-in tells apart; the truncation test below opens
// every fixture whole.
TEST(RealPlugins, FixturesReadFormatLengthBitRateQualityAndTags) {
  for (const Expected& e : kFixtures) {
    SCOPED_TRACE(e.file);
    CheckFixture(e);
  }
}

TEST(RealPlugins, KeysBecomeColumnNamesAndSeveralValuesAreJoinedByCarriageReturn) {
  EXPECT_EQ(Plugin("taglib").Read(DataFolder() + "tone.flac").Tag(u"Artist"), u"Fixture Artist\rSecond Artist");
  const ReadResult r = Plugin("taglib").Read(DataFolder() + "tone.mp3");
  ASSERT_TRUE(r.opened);
  EXPECT_EQ(r.Tag(u"Album Artist"), u"Fixture Album Artist");
  EXPECT_EQ(r.Tag(u"Disc"), u"1/2");
  EXPECT_EQ(r.Tag(u"Year"), u"2021");
  EXPECT_EQ(r.Tag(u"Composer"), u"Fixture Composer");
  EXPECT_EQ(r.Tag(u"Comment"), u"Made from a sine");
  EXPECT_EQ(r.Tag(u"Codec"), u"MPEG-1 Layer 3");
}

// `bytes` written as a file called `name` and read by the plug-in that declares it.
ReadResult ReadBytesAs(const std::string& name, std::string_view bytes) {
  TempDir dir;
  const std::u16string file = dir / Utf8ToUtf16(name);
  EXPECT_TRUE(WriteBytes(file, bytes));
  return Plugin(OwnerOf(name)).Read(Utf16ToUtf8(file));
}

std::string Fixture(const std::string& file) { return ReadBytes(Utf8ToUtf16(DataFolder() + file)); }

TEST(RealPlugins, FileNamesThatAreNotAsciiOpenAndMissingFilesDoNot) {
  EXPECT_TRUE(ReadBytesAs("Grüße ♫.flac", Fixture("tone.flac")).opened);
  for (const char* name : {"taglib", "ffmpeg"}) {
    EXPECT_FALSE(Plugin(name).Read(DataFolder() + "no-such-file.mp3").opened) << name;
    EXPECT_FALSE(Plugin(name).Read("").opened) << name;
  }
}

TEST(RealPlugins, AnInstanceOpensOneFileOnly) {
  // Dropping the first file's blocks for a second would break the pointers the
  // caller still holds; a second Open on one instance is refused instead.
  for (const auto& [name, file] : {std::pair{"taglib", "tone.mp3"}, std::pair{"ffmpeg", "tone.mka"}}) {
    const auto [first, second] = Plugin(name).OpenTwice(DataFolder() + file);
    EXPECT_TRUE(first) << name;
    EXPECT_FALSE(second) << name;
  }
}

// Broken input: every fixture whole and cut short at several places, noise with an
// audio extension and folders named like audio files. Nothing may crash or hang;
// what opens must still make sense.
TEST(RealPlugins, TruncatedCopiesOfEveryFixtureOpenOrFailCleanly) {
  const auto files = AudioFixtures();
  EXPECT_GE(files.size(), 30u);
  for (const std::string& file : files) {
    const std::string whole = Fixture(file);
    ASSERT_FALSE(OwnerOf(file).empty()) << file << " has no plug-in";
    for (std::size_t cut : {std::size_t{0}, std::size_t{1}, std::size_t{12}, std::size_t{64}, whole.size() / 4,
                            whole.size() / 2, whole.size() - 1, whole.size()}) {
      const ReadResult r = ReadBytesAs(file, std::string_view(whole).substr(0, cut));
      if (cut == 0 || cut == whole.size()) {
        EXPECT_EQ(r.opened, cut != 0) << file << " cut at " << cut;
      }
      if (r.opened) {
        EXPECT_GT(r.format.channels, 0) << file << " cut at " << cut;
        EXPECT_LE(r.compressedSize, static_cast<std::int64_t>(cut)) << file << " cut at " << cut;
        EXPECT_GE(r.lengthMs, 0);
      }
    }
  }
}

// One test for every declared extension rather than one per case: each test
// process loads both plug-ins, which costs more than the reads.
TEST(RealPlugins, NoiseAndFoldersWithAnAudioExtensionNeitherCrashNorOpenWrongly) {
  TempDir dir;
  std::mt19937 random(12345);
  std::string bytes(4096, '\0');
  for (auto& b : bytes) b = static_cast<char>(random() & 0xFF);
  for (const char* name : {"taglib", "ffmpeg"}) {
    for (const auto& row : Plugin(name).Decodes()) {
      const std::string ext = Utf16ToUtf8(row.first);
      const ReadResult r = ReadBytesAs("noise" + ext, bytes);
      if (r.opened) {
        // Raw streams (AC-3, DTS, MPEG) resync on anything; what they report must
        // still be a format.
        EXPECT_GT(r.format.channels, 0) << ext;
        EXPECT_GT(r.format.samples_per_sec, 0u) << ext;
      }
      const std::u16string folder = dir / Utf8ToUtf16("folder" + ext);
      ASSERT_TRUE(MakeFolder(folder));
      EXPECT_FALSE(Plugin(name).Read(Utf16ToUtf8(folder)).opened) << ext;
    }
  }
}

// A header claiming an absurd channel count (found by fuzzing): the format handed
// back must stay self-consistent instead of overflowing while it is computed.
TEST(RealPlugins, AbsurdChannelCountKeepsTheFormatConsistent) {
  std::string bytes = Fixture("tone.spx");
  // The Speex header starts after the first Ogg page header (27 bytes + one lacing
  // byte); its channel count is at offset 48 of it.
  constexpr std::size_t kChannels = 28 + 48;
  ASSERT_EQ(bytes.substr(28, 5), "Speex");
  ASSERT_EQ(bytes.substr(kChannels, 4), std::string("\x01\0\0\0", 4));
  bytes.replace(kChannels, 4, "\x1d\x1d\x1d\x1d");
  const ReadResult r = ReadBytesAs("channels.spx", bytes);
  if (r.opened) {
    const std::int64_t expected =
        std::min<std::int64_t>(std::int64_t{r.format.channels} * r.format.bits_per_sample / 8, 0xFFFF);
    EXPECT_EQ(r.format.block_align, expected);
    EXPECT_EQ(std::int64_t{r.format.avg_bytes_per_sec}, std::int64_t{r.format.block_align} * r.format.samples_per_sec);
  }
}

// The little-endian 64-bit granule position of an Ogg page.
std::string Granule(std::int64_t position) {
  std::string bytes;
  for (int i = 0; i < 8; ++i) bytes += static_cast<char>((position >> (8 * i)) & 0xFF);
  return bytes;
}

// tone.oga leaves the sample count of its header at 0, so its length comes from the
// last page's position. A damaged position near the 64-bit limit (found by fuzzing)
// must give the length it stands for, not an overflowed one.
TEST(RealPlugins, HugeLastPagePositionGivesItsLengthWithoutOverflow) {
  std::string bytes = Fixture("tone.oga");
  const std::size_t lastPage = bytes.rfind("OggS");
  ASSERT_NE(lastPage, std::string::npos);
  ASSERT_GT(lastPage, 0u);
  constexpr std::int64_t kPosition = 0x0404040404040404;
  bytes.replace(lastPage + 6, 8, Granule(kPosition));
  const ReadResult r = ReadBytesAs("position.oga", bytes);
  ASSERT_EQ(r.format.samples_per_sec, 44100u);
  EXPECT_EQ(r.lengthMs, kPosition / 44100 * 1000 + kPosition % 44100 * 1000 / 44100);
}

// The last page is looked for in the last few kilobytes first (tone.oga's own last page
// starts further back, which the test above covers). A short page appended at the end
// must be the one whose position counts.
TEST(RealPlugins, ShortLastPageNearTheEndGivesTheLength) {
  const std::string bytes = Fixture("tone.oga");
  // An empty page of the same stream: "OggS", version 0, "end of stream", granule
  // position 88200 (two seconds at 44.1 kHz), then serial, sequence, CRC and no segments.
  std::string page = std::string("OggS") + '\0' + '\x04' + Granule(88200);
  const std::size_t firstPage = bytes.find("OggS");
  ASSERT_NE(firstPage, std::string::npos);
  page += bytes.substr(firstPage + 14, 4);  // serial number
  page += std::string("\xFF\xFF\x00\x00", 4) + std::string(4, '\0') + '\0';
  ASSERT_EQ(page.size(), 27u);
  const ReadResult r = ReadBytesAs("short-last-page.oga", bytes + page);
  ASSERT_TRUE(r.opened);
  EXPECT_EQ(r.lengthMs, 2000);
}

// An MP3 whose Xing header counts far more frames than its bytes can hold (seen in the
// wild: 31 minutes for a 0.7-second file) must not show the header's length.
TEST(RealPlugins, XingFrameCountBeyondTheDataGivesTheLengthOfTheData) {
  std::string bytes = Fixture("tone.mp3");
  std::size_t xing = bytes.find("Info");
  if (xing == std::string::npos) xing = bytes.find("Xing");
  ASSERT_NE(xing, std::string::npos);
  // Big-endian flags, then the frame count when flag bit 0 is set.
  ASSERT_TRUE(bytes[xing + 7] & 1);
  constexpr std::uint32_t kFrames = 71000;  // 31 minutes of 1152-sample frames at 44.1 kHz
  for (int i = 0; i < 4; ++i) bytes[xing + 8 + i] = static_cast<char>((kFrames >> (8 * (3 - i))) & 0xFF);
  const ReadResult r = ReadBytesAs("frames.mp3", bytes);
  ASSERT_TRUE(r.opened);
  EXPECT_NEAR(r.lengthMs, 200, 60);
  EXPECT_GE(r.bitRate, 48000u);
  EXPECT_LE(r.bitRate, 96000u);
}

// Decoding through the ffmpeg plug-in: stereo tones in the formats whose decoders take
// different paths (lossy with priming and padding, Vorbis in Matroska, DSD turned
// into PCM at an eighth of its 1-bit rate, the audio of a video).
struct DecodeCase {
  const char* file;
  int rate;      // of the PCM, not of the record
  int ms;        // the tone's length
  int slackEnd;  // sample frames the codec may add (its frames filled up, no trimming)
};

constexpr DecodeCase kDecodeCases[] = {
    {"tone.ac3", 48000, 200, 1536},
    {"tone.mka", 44100, 200, 1024},
    {"tone.dsf", 352800, 10, 0},
    {"tone.mkv", 44100, 200, 1024},
};

void CheckDecode(const DecodeCase& c) {
  const std::string path = DataFolder() + c.file;
  const std::int64_t expected = static_cast<std::int64_t>(c.rate) * c.ms / 1000;
  const DecodeRun whole = Plugin("ffmpeg").Decode(path);
  ASSERT_TRUE(whole.opened);
  EXPECT_EQ(whole.channels, 2);
  EXPECT_GT(whole.firstBlock, 0);
  EXPECT_FALSE(whole.failedMidway);
  EXPECT_TRUE(whole.wholeFrames);
  EXPECT_GE(whole.frames, expected);
  EXPECT_LE(whole.frames, expected + c.slackEnd);
  // Silence, or integers taken for floats, would show.
  EXPECT_GT(whole.peak, 0.01f);
  EXPECT_LT(whole.peak, 2.0f);
  EXPECT_EQ(whole.afterEnd, 0);
  EXPECT_NE(whole.closed, 0);
  EXPECT_LT(whole.afterClose, 0);

  // Half-way in, half the tone is left, up to where the format can start from.
  const DecodeRun half = Plugin("ffmpeg").Decode(path, c.ms / 2);
  EXPECT_NE(half.seeked, 0);
  EXPECT_LE(half.frames, whole.frames - expected / 2 + c.slackEnd);
  EXPECT_GE(half.frames, whole.frames - expected / 2 - c.slackEnd);
  EXPECT_LT(half.frames, whole.frames);

  // Back to the start after a move gives everything again.
  const DecodeRun again = Plugin("ffmpeg").Decode(path, 0);
  EXPECT_NE(again.seeked, 0);
  EXPECT_NEAR(static_cast<double>(again.frames), static_cast<double>(whole.frames), c.slackEnd);
}

TEST(RealPlugins, FfmpegDecodesTheWholeToneAndMovesWhenAsked) {
  for (const DecodeCase& c : kDecodeCases) {
    SCOPED_TRACE(c.file);
    CheckDecode(c);
  }
}

TEST(RealPlugins, TaglibDecodesNothingAndTheFfmpegPluginNothingUnopened) {
  const DecodeRun tags = Plugin("taglib").Decode(DataFolder() + "tone.flac", 100);
  ASSERT_TRUE(tags.opened);
  EXPECT_EQ(tags.seeked, 0);
  EXPECT_LT(tags.firstBlock, 0);
  EXPECT_EQ(tags.closed, 0);
  // A file the plug-in could not open leaves nothing to decode or close.
  const DecodeRun missing = Plugin("ffmpeg").Decode(DataFolder() + "no-such-file.ac3");
  EXPECT_FALSE(missing.opened);
}

}  // namespace
}  // namespace tessaroven::test
