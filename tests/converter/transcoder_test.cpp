#include "converter/transcoder.h"

#include <gtest/gtest.h>
#include <cstring>
#include <filesystem>

#include "base/text.h"
#include "converter/ffmpeg_decoder.h"
#include "converter/output_file.h"
#include "converter/plugin_decoder.h"
#include "decode/plugin_folder.h"
#include "plugins/fake_pcm.h"
#include "converter_test_support.h"
#include "support/test_env.h"

namespace kovantrix {
namespace {

using test::CoverFile;
using test::DataFile;
using test::DecodeWhole;
using tessaroven::test::ListFolder;
using tessaroven::test::ReadBytes;
using tessaroven::test::TempDir;
using tessaroven::test::WriteBytes;

const std::atomic<bool> kGoOn{false};

JobResult Convert(const std::u16string& source, const std::u16string& target, Format format,
                  std::u16string_view preset = u"", bool overwrite = false) {
  const ConvertJob job{source, target, format, PresetOrDefault(InfoOf(format), preset), overwrite};
  return ConvertFile(job, kGoOn, nullptr);
}

struct ConversionCase {
  const char* name;
  std::u16string source;
  Format format;
  std::u16string preset;
  AVCodecID codec;
  int rate;
  int channels;
  AVSampleFormat sampleFormat;  // checked when not NONE
  int bits;                     // checked when not 0
  bool sameLength;              // to the sample (lossless targets at the source's rate)
  AVCodecID cover;
};

// One helper per row, so that a failed ASSERT ends the row and the table goes on.
void CheckConversion(const ConversionCase& c) {
  TempDir dir;
  const std::u16string target = dir / (u"out" + std::u16string(InfoOf(c.format).extension));
  const JobResult result = Convert(c.source, target, c.format, c.preset);
  ASSERT_EQ(result.outcome, Outcome::kDone) << tessaroven::Utf16ToUtf8(result.message);
  EXPECT_EQ(ListFolder(dir.Path()).size(), 1u);  // no temporary file left beside it

  const test::Decoded source = DecodeWhole(c.source);
  const test::Decoded output = DecodeWhole(target);
  ASSERT_TRUE(output.opened) << tessaroven::Utf16ToUtf8(output.error);
  EXPECT_EQ(output.info.codec, c.codec);
  EXPECT_EQ(output.info.sampleRate, c.rate);
  EXPECT_EQ(output.info.layout.nb_channels, c.channels);
  if (c.sampleFormat != AV_SAMPLE_FMT_NONE) {
    EXPECT_EQ(av_get_packed_sample_fmt(output.info.sampleFormat), c.sampleFormat);
  }
  if (c.bits != 0) {
    EXPECT_EQ(output.info.bitsPerSample, c.bits);
  }
  if (c.sameLength) {
    EXPECT_EQ(output.samples, source.samples);
  } else {
    // Lossy encoders may pad; the length must still be that of the source.
    const double seconds = static_cast<double>(source.samples) / source.info.sampleRate;
    EXPECT_NEAR(static_cast<double>(output.samples) / output.info.sampleRate, seconds, 0.03);
  }
  EXPECT_EQ(output.Tag("title"), source.Tag("title"));
  EXPECT_EQ(output.Tag("artist"), source.Tag("artist"));
  EXPECT_EQ(output.Tag("album"), source.Tag("album"));
  EXPECT_EQ(output.Tag("track"), source.Tag("track"));
  if (c.cover == AV_CODEC_ID_NONE) {
    EXPECT_FALSE(output.info.cover.has_value());
  } else {
    ASSERT_TRUE(output.info.cover.has_value());
    EXPECT_EQ(output.info.cover->codec, c.cover);
    EXPECT_EQ(output.info.cover->data, source.info.cover->data);
  }
}

constexpr auto kNone = AV_SAMPLE_FMT_NONE;
constexpr auto kNoPicture = AV_CODEC_ID_NONE;

const ConversionCase kConversions[] = {
        ConversionCase{"WavToFlac", DataFile(u"tone.wav"), Format::kFlac, u"", AV_CODEC_ID_FLAC, 44100, 2,
                       AV_SAMPLE_FMT_S16, 16, true, kNoPicture},
        ConversionCase{"OggFlac24ToFlacKeeps24Bits", DataFile(u"tone.oga"), Format::kFlac, u"best", AV_CODEC_ID_FLAC,
                       44100, 2, AV_SAMPLE_FMT_S32, 24, true, kNoPicture},
        ConversionCase{"FloatWavToWavStaysFloat", DataFile(u"tone-float.wav"), Format::kWav, u"source",
                       AV_CODEC_ID_PCM_F32LE, 96000, 1, AV_SAMPLE_FMT_FLT, 0, true, kNoPicture},
        ConversionCase{"FlacToWav24", DataFile(u"tone.flac"), Format::kWav, u"24bit", AV_CODEC_ID_PCM_S24LE, 44100, 2,
                       AV_SAMPLE_FMT_S32, 24, true, kNoPicture},
        ConversionCase{"DsdToFlac", DataFile(u"tone.dsf"), Format::kFlac, u"fast", AV_CODEC_ID_FLAC, 352800, 2,
                       AV_SAMPLE_FMT_S32, 24, true, kNoPicture},
        ConversionCase{"Dsd128IsHalvedToFitFlac", DataFile(u"tone.dff"), Format::kFlac, u"fast", AV_CODEC_ID_FLAC,
                       352800, 2, AV_SAMPLE_FMT_S32, 24, false, kNoPicture},
        ConversionCase{"PictureFromFlacIntoMp3", CoverFile(u"cover.flac"), Format::kMp3, u"v2", AV_CODEC_ID_MP3, 44100,
                       2, kNone, 0, false, AV_CODEC_ID_PNG},
        ConversionCase{"PictureFromMp3IntoFlac", CoverFile(u"cover.mp3"), Format::kFlac, u"", AV_CODEC_ID_FLAC, 44100,
                       2, kNone, 0, true, AV_CODEC_ID_MJPEG},
        ConversionCase{"PictureIntoAac", CoverFile(u"cover.flac"), Format::kAac, u"128k", AV_CODEC_ID_AAC, 44100, 2,
                       kNone, 0, false, AV_CODEC_ID_PNG},
        ConversionCase{"PictureIntoOpusComment", CoverFile(u"cover.mp3"), Format::kOpus, u"64k", AV_CODEC_ID_OPUS,
                       48000, 2, kNone, 0, false, AV_CODEC_ID_MJPEG},
        ConversionCase{"HighRateMonoToMp3Resamples", DataFile(u"tone-float.wav"), Format::kMp3, u"cbr128",
                       AV_CODEC_ID_MP3, 48000, 1, kNone, 0, false, kNoPicture},
        ConversionCase{"VideoContainerGivesItsAudioOnly", DataFile(u"tone.mkv"), Format::kOpus, u"", AV_CODEC_ID_OPUS,
                       48000, 2, kNone, 0, false, kNoPicture}};

TEST(ConversionTest, TheOutputDecodesWithTagsPictureAndLength) {
  for (const ConversionCase& c : kConversions) {
    SCOPED_TRACE(c.name);
    CheckConversion(c);
  }
}

// Every container and codec of the test files, through the decoder and into FLAC
// at its own rate: the FLAC file holds exactly the samples the source decodes to.
void CheckToFlac(const char16_t* file) {
  TempDir dir;
  const std::u16string source = DataFile(file);
  const JobResult result = Convert(source, dir / u"out.flac", Format::kFlac, u"fast");
  ASSERT_EQ(result.outcome, Outcome::kDone) << tessaroven::Utf16ToUtf8(result.message);
  const test::Decoded input = DecodeWhole(source);
  const test::Decoded output = DecodeWhole(dir / u"out.flac");
  EXPECT_GT(input.samples, 0);
  EXPECT_EQ(output.samples, input.samples);
  EXPECT_EQ(output.info.sampleRate, input.info.sampleRate);
}

TEST(EverySourceTest, ConvertsToFlacSampleForSample) {
  for (const char16_t* file : {u"tone.mp3", u"tone.mp2", u"tone.ogg", u"tone.opus", u"tone.spx", u"tone.m4a", u"tone-alac.m4a",
                                u"tone.aiff", u"tone.wv", u"tone.tta", u"tone.wma", u"tone-rf64.wav",
                                u"tone-zero-size.wav", u"tone-multiplexed.ogg", u"tone.ac3", u"tone.dts", u"tone.aac",
                                u"tone.ts", u"tone.3gp", u"tone-eac3.m4a", u"tone-opus.m4a"}) {
    SCOPED_TRACE(tessaroven::Utf16ToUtf8(file));
    CheckToFlac(file);
  }
}

struct BadSource {
  const char* name;
  std::string bytes;  // written as the source; none for a missing file
  bool exists;
  const char16_t* says;
};

TEST(BadSourceTest, FailsWithAReasonAndLeavesNothing) {
  for (const BadSource& c : {BadSource{"Missing", "", false, u"does not exist"},
                    BadSource{"Empty", "", true, u"is empty"},
                    BadSource{"RandomBytes", std::string("\x13\x37\xC0\xDE\x00\xFF\x42", 7) + std::string(5000, 'z'), true, u"not an audio file"},
                    BadSource{"TruncatedFlacHeader", std::string("fLaC\0\0\0\x22", 8), true, u"damaged or cut short"}}) {
    SCOPED_TRACE(c.name);
    TempDir in;
    TempDir out;
    const std::u16string source = in / u"song.flac";
    if (c.exists) {
      EXPECT_TRUE(WriteBytes(source, c.bytes));
    }
    const JobResult result = Convert(source, out / u"song.mp3", Format::kMp3);
    EXPECT_EQ(result.outcome, Outcome::kFailed);
    EXPECT_NE(result.message.find(c.says), std::u16string::npos) << tessaroven::Utf16ToUtf8(result.message);
    EXPECT_TRUE(ListFolder(out.Path()).empty());
  }
}

// An existing target is the user's: skipped unless overwriting, and a source is
// never written over, whatever the choice.
TEST(TargetTest, AnExistingTargetIsSkippedUnlessOverwritingAndNeverTheSource) {
  TempDir dir;
  const std::u16string target = dir / u"tone.flac";
  ASSERT_TRUE(WriteBytes(target, "the user's own"));
  EXPECT_EQ(Convert(DataFile(u"tone.wav"), target, Format::kFlac).outcome, Outcome::kSkipped);
  EXPECT_EQ(ReadBytes(target), "the user's own");

  EXPECT_EQ(Convert(DataFile(u"tone.wav"), target, Format::kFlac, u"", true).outcome, Outcome::kDone);
  EXPECT_EQ(DecodeWhole(target).samples, DecodeWhole(DataFile(u"tone.wav")).samples);
  EXPECT_EQ(ListFolder(dir.Path()).size(), 1u);

  const std::string converted = ReadBytes(target);
  EXPECT_EQ(Convert(target, target, Format::kFlac, u"", true).outcome, Outcome::kSkipped);
  EXPECT_EQ(ReadBytes(target), converted);
}

TEST(TargetTest, AnOutputFolderThatCannotBeMadeFails) {
  TempDir dir;
  ASSERT_TRUE(WriteBytes(dir / u"Album", "a file where the folder should go"));
  const JobResult result = Convert(DataFile(u"tone.wav"), dir / u"Album/tone.flac", Format::kFlac);
  EXPECT_EQ(result.outcome, Outcome::kFailed);
  EXPECT_NE(result.message.find(u"cannot be made"), std::u16string::npos);
}

// The decoded samples of a file, plane after plane of each frame, as FFmpeg's own
// decoder gives them.
std::vector<std::uint8_t> SamplesOf(const std::u16string& path) {
  std::vector<std::uint8_t> bytes;
  std::u16string error;
  const auto decoder = OpenFfmpegDecoder(path, error);
  if (!decoder) return bytes;
  AVFrame* frame = av_frame_alloc();
  while (decoder->ReadFrame(frame, error) == AudioDecoder::Read::kFrame) {
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const int channels = frame->ch_layout.nb_channels;
    const std::size_t plane =
        static_cast<std::size_t>(frame->nb_samples) * av_get_bytes_per_sample(format) * (planar ? 1 : channels);
    for (int p = 0; p < (planar ? channels : 1); ++p)
      bytes.insert(bytes.end(), frame->extended_data[p], frame->extended_data[p] + plane);
    av_frame_unref(frame);
  }
  av_frame_free(&frame);
  return bytes;
}

// The build's plug-in folder for the length of a test; an empty folder stands for a
// system without plug-ins, where FFmpeg decodes everything.
class PluginFolder {
 public:
  explicit PluginFolder(const std::u16string& folder) { tessaroven::SetPluginFolderOverride(folder); }
  ~PluginFolder() { tessaroven::SetPluginFolderOverride(std::nullopt); }
};

struct PluginCase {
  const char16_t* file;
  bool pluginDecodes;  // the ffmpeg plug-in declares it; the taglib one reads tags only
};

void CheckPluginDecoding(const PluginCase& c) {
  const std::u16string source = DataFile(c.file);
  TempDir dir;
  TempDir noPlugins;
  const std::uint64_t before = PluginDecodedFileCount();
  {
    PluginFolder folder(tessaroven::Utf8ToUtf16(TESSAROVEN_PLUGIN_DIR "/"));
    const JobResult result = Convert(source, dir / u"plugin.flac", Format::kFlac);
    ASSERT_EQ(result.outcome, Outcome::kDone) << tessaroven::Utf16ToUtf8(result.message);
  }
  EXPECT_EQ(PluginDecodedFileCount(), before + (c.pluginDecodes ? 1 : 0));
  {
    PluginFolder folder(noPlugins.Path());
    const JobResult result = Convert(source, dir / u"ffmpeg.flac", Format::kFlac);
    ASSERT_EQ(result.outcome, Outcome::kDone) << tessaroven::Utf16ToUtf8(result.message);
  }
  EXPECT_EQ(PluginDecodedFileCount(), before + (c.pluginDecodes ? 1 : 0));

  const std::vector<std::uint8_t> viaPlugin = SamplesOf(dir / u"plugin.flac");
  EXPECT_FALSE(viaPlugin.empty());
  EXPECT_TRUE(viaPlugin == SamplesOf(dir / u"ffmpeg.flac"));
  const test::Decoded pluginOutput = DecodeWhole(dir / u"plugin.flac");
  const test::Decoded ffmpegOutput = DecodeWhole(dir / u"ffmpeg.flac");
  EXPECT_EQ(pluginOutput.info.sampleRate, ffmpegOutput.info.sampleRate);
  EXPECT_EQ(pluginOutput.info.bitsPerSample, ffmpegOutput.info.bitsPerSample);
  for (const char* tag : {"title", "artist", "album_artist", "album", "date", "genre"})
    EXPECT_EQ(pluginOutput.Tag(tag), ffmpegOutput.Tag(tag)) << tag;
}

TEST(PluginDecodingTest, TheFilesPluginDecodesWhereItCanAndTheOutputIsFfmpegs) {
  for (const PluginCase& c : {PluginCase{u"tone.ac3", true}, PluginCase{u"tone.mka", true},
                              PluginCase{u"tone.dsf", true}, PluginCase{u"tone.flac", false}}) {
    SCOPED_TRACE(tessaroven::Utf16ToUtf8(c.file));
    CheckPluginDecoding(c);
  }
}

// A third-party plug-in's format converts too, the edge cases of its blocks handled
// by the host: blocks that end anywhere, a lossless 16-bit source that must stay
// 16-bit, tags under the plug-ins' column names, and a plug-in failing mid-way.
TEST(ThirdPartyPluginTest, ItsFormatConvertsSampleForSample) {
  TempDir plugins;
  TempDir dir;
  for (const char* fake : {"pcm", "pcm_breaks"}) {
    const std::string name = std::string(fake) + ".so";
    std::filesystem::copy_file(std::string(FAKE_PLUGIN_DIR "/") + name,
                               tessaroven::ToOsString(plugins.Path()) + name);
  }
  PluginFolder folder(plugins.Path());
  ASSERT_TRUE(WriteBytes(dir / u"song.fkp", "not read by the fake"));
  ASSERT_TRUE(WriteBytes(dir / u"song.fkx", "not read by the fake"));

  const JobResult done = Convert(dir / u"song.fkp", dir / u"song.flac", Format::kFlac);
  ASSERT_EQ(done.outcome, Outcome::kDone) << tessaroven::Utf16ToUtf8(done.message);
  const test::Decoded output = DecodeWhole(dir / u"song.flac");
  EXPECT_EQ(output.info.bitsPerSample, 16);
  EXPECT_EQ(output.info.sampleRate, 44100);
  EXPECT_EQ(output.Tag("title"), "Fake Title");
  EXPECT_EQ(output.Tag("album_artist"), "Fake Album Artist");
  EXPECT_EQ(output.Tag("date"), "1999");
  EXPECT_EQ(output.Tag("audio quality"), "");
  const std::vector<std::uint8_t> bytes = SamplesOf(dir / u"song.flac");
  ASSERT_EQ(bytes.size(), FAKE_PCM_FRAMES * 2 * sizeof(std::int16_t));
  std::int64_t wrong = 0;
  for (std::int64_t i = 0; i < FAKE_PCM_FRAMES * 2; ++i) {
    std::int16_t sample = 0;
    std::memcpy(&sample, bytes.data() + i * 2, 2);
    wrong += sample != FakePcmSample(i / 2, static_cast<int>(i % 2)) ? 1 : 0;
  }
  EXPECT_EQ(wrong, 0);

  const JobResult broken = Convert(dir / u"song.fkx", dir / u"broken.flac", Format::kFlac);
  EXPECT_EQ(broken.outcome, Outcome::kFailed);
  EXPECT_NE(broken.message.find(u"plug-in"), std::u16string::npos) << tessaroven::Utf16ToUtf8(broken.message);
  EXPECT_EQ(ListFolder(dir.Path()).size(), 3u);  // the two sources and song.flac
}

}  // namespace
}  // namespace kovantrix
