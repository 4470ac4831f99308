#include "converter/plugin_decoder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/text.h"
#include "decode/decoder.h"
#include "decode/tag_block.h"

namespace kovantrix {
namespace {

using tessaroven::clQzDecoder;

std::atomic<std::uint64_t> g_decodedFiles{0};

// Sample frames asked for per block: large enough that the calls cost nothing next to
// decoding, small enough to keep progress smooth.
constexpr std::size_t kBlockFrames = 4096;

bool ContainsFolded(std::u16string_view text, std::u16string_view word) {
  std::string lower = tessaroven::Utf16ToUtf8(text);
  for (char& c : lower) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
  return lower.find(tessaroven::Utf16ToUtf8(word)) != std::string::npos;
}

// The plug-ins' column names ("Album Artist", "Year") as FFmpeg's common tag names
// ("album_artist", "date"), which the muxers map to each format's own. Tags about
// the source's coding, and those the selector computes itself, are not the music's.
std::string TagNameFor(std::u16string_view column) {
  static constexpr std::u16string_view kNotCopied[] = {u"Codec",    u"audio quality", u"Encoder",     u"DSD Type",
                                                       u"Length",   u"Channels",      u"Sample Rate", u"Sample Size",
                                                       u"Bit Rate", u"Compression"};
  for (auto skip : kNotCopied)
    if (tessaroven::AsciiFoldEquals(column, skip)) return {};
  if (tessaroven::AsciiFoldEquals(column, u"Year")) return "date";
  if (tessaroven::AsciiFoldEquals(column, u"Original Year")) return "originaldate";
  if (tessaroven::AsciiFoldEquals(column, u"Tempo")) return "bpm";
  std::string name = tessaroven::Utf16ToUtf8(column);
  for (char& c : name) c = c == ' ' ? '_' : (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
  return name;
}

// A picture a plug-in hands out as a tag's binary data, recognised by its signature.
std::optional<CoverPicture> PictureIn(const std::vector<std::uint8_t>& data) {
  static constexpr std::uint8_t kPng[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  static constexpr std::uint8_t kJpeg[] = {0xFF, 0xD8, 0xFF};
  CoverPicture cover;
  if (data.size() > sizeof kPng && std::equal(std::begin(kPng), std::end(kPng), data.begin())) {
    cover.codec = AV_CODEC_ID_PNG;
    // The size stands in the header chunk, big-endian, right after the signature.
    if (data.size() >= 24) {
      cover.width = (data[16] << 24) | (data[17] << 16) | (data[18] << 8) | data[19];
      cover.height = (data[20] << 24) | (data[21] << 16) | (data[22] << 8) | data[23];
    }
  } else if (data.size() > sizeof kJpeg && std::equal(std::begin(kJpeg), std::end(kJpeg), data.begin())) {
    cover.codec = AV_CODEC_ID_MJPEG;
  } else {
    return std::nullopt;
  }
  cover.data = data;
  return cover;
}

class PluginDecoder final : public AudioDecoder {
 public:
  ~PluginDecoder() override {
    if (plugin_.Instance() != nullptr) plugin_.Entry().Close(plugin_.Instance());
  }

  const SourceInfo& Info() const override { return info_; }

  bool Open(const std::u16string& path) {
    TsvCreateBlock block{};
    if (!tessaroven::OpenDecoderForFile(path, plugin_, block)) return false;
    TsvOpenRecord record;
    std::memset(&record, 0, sizeof record);
    record.path = path.c_str();
    record.magic = TSV_OPEN_RECORD_MAGIC;
    if (plugin_.Entry().Open(plugin_.Instance(), &record) == 0) return false;
    const TsvWaveFormatEx& format = record.format;
    channels_ = format.channels;
    if (channels_ <= 0 || format.samples_per_sec == 0) return false;
    blocks_.resize(kBlockFrames * static_cast<std::size_t>(channels_));
    // A plug-in that reads tags only says so here.
    if (!NextBlock()) return false;

    const bool dsd = format.bits_per_sample == 1;
    info_.sampleRate = static_cast<int>(dsd ? format.samples_per_sec / 8 : format.samples_per_sec);
    av_channel_layout_default(&info_.layout, channels_);
    tessaroven::TagList tags = tessaroven::ParseTagBlock(record.tags1, record.tags1_length);
    tessaroven::MergeTags(tags, tessaroven::ParseTagBlock(record.tags2, record.tags2_length));
    const std::u16string quality = tessaroven::TagValue(tags, u"audio quality");
    info_.lossless = ContainsFolded(quality, u"lossless") || ContainsFolded(quality, u"perfect");
    // The blocks are float, which holds 16- and 24-bit integers exactly: a lossless
    // integer source goes on as integers again, so a lossless target keeps its depth
    // (16-bit FLAC from 16-bit sources) as when FFmpeg decodes it.
    const int bits = format.bits_per_sample;
    if (info_.lossless && format.format_tag == TSV_FORMAT_TAG_PCM && bits > 1 && bits <= 24) {
      info_.sampleFormat = bits <= 16 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S32;
      info_.bitsPerSample = bits;
    } else {
      info_.sampleFormat = AV_SAMPLE_FMT_FLT;
    }
    info_.lengthInSamples = record.properties.length_ms * info_.sampleRate / 1000;
    for (const tessaroven::Tag& tag : tags) {
      if (!info_.cover && !tag.binary.empty()) info_.cover = PictureIn(tag.binary);
      const std::string name = TagNameFor(tag.name);
      if (name.empty() || tag.value.empty()) continue;
      // Several values of one tag come joined by carriage returns.
      std::string value = tessaroven::Utf16ToUtf8(tag.value);
      for (std::size_t at = 0; (at = value.find('\r', at)) != std::string::npos;) value.replace(at, 1, "; ");
      info_.tags.emplace_back(name, value);
    }
    g_decodedFiles.fetch_add(1, std::memory_order_relaxed);
    return true;
  }

  Read ReadFrame(AVFrame* frame, std::u16string& error) override {
    if (pendingBytes_ == 0 && !NextBlock()) {
      if (ended_) return Read::kEnd;
      error = u"The decoder plug-in failed while decoding.";
      return Read::kError;
    }
    const int count = static_cast<int>(pendingBytes_ / (sizeof(float) * channels_));
    pendingBytes_ = 0;
    frame->nb_samples = count;
    frame->format = info_.sampleFormat;
    frame->sample_rate = info_.sampleRate;
    if (av_channel_layout_copy(&frame->ch_layout, &info_.layout) < 0 || av_frame_get_buffer(frame, 0) < 0) {
      error = u"Out of memory.";
      return Read::kError;
    }
    const std::size_t values = static_cast<std::size_t>(count) * channels_;
    switch (info_.sampleFormat) {
      case AV_SAMPLE_FMT_S16: {
        auto* out = reinterpret_cast<std::int16_t*>(frame->data[0]);
        for (std::size_t i = 0; i < values; ++i)
          out[i] = static_cast<std::int16_t>(std::clamp(std::lrint(blocks_[i] * 32768.0), -32768L, 32767L));
        break;
      }
      case AV_SAMPLE_FMT_S32: {
        // 24 significant bits in the top of the word, as FFmpeg's decoders give them.
        auto* out = reinterpret_cast<std::int32_t*>(frame->data[0]);
        for (std::size_t i = 0; i < values; ++i)
          out[i] = static_cast<std::int32_t>(
              std::clamp(std::llrint(blocks_[i] * 2147483648.0), -2147483648LL, 2147483647LL));
        break;
      }
      default:
        std::memcpy(frame->data[0], blocks_.data(), values * sizeof(float));
        break;
    }
    framesRead_ += count;
    return Read::kFrame;
  }

  double Progress() const override {
    if (info_.lengthInSamples <= 0) return 0;
    return std::min(1.0, static_cast<double>(framesRead_) / static_cast<double>(info_.lengthInSamples));
  }

 private:
  // Fills blocks_ with the plug-in's next block; false at the end (ended_) or on error.
  bool NextBlock() {
    const auto capacity = static_cast<std::uint32_t>(blocks_.size() * sizeof(float));
    const std::int32_t bytes = plugin_.Entry().DecodeBlock(plugin_.Instance(), blocks_.data(), capacity);
    const std::size_t frameBytes = sizeof(float) * static_cast<std::size_t>(channels_);
    if (bytes == 0) ended_ = true;
    // A block of part of a frame breaks the interleaving of all that follow.
    if (bytes <= 0 || static_cast<std::size_t>(bytes) > capacity || bytes % frameBytes != 0) return false;
    pendingBytes_ = static_cast<std::size_t>(bytes);
    return true;
  }

  clQzDecoder plugin_;
  SourceInfo info_;
  int channels_ = 0;
  std::vector<float> blocks_;
  std::size_t pendingBytes_ = 0;
  std::int64_t framesRead_ = 0;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<AudioDecoder> OpenPluginDecoder(const std::u16string& path) {
  auto decoder = std::make_unique<PluginDecoder>();
  if (!decoder->Open(path)) return nullptr;
  return decoder;
}

std::uint64_t PluginDecodedFileCount() { return g_decodedFiles.load(std::memory_order_relaxed); }

}  // namespace kovantrix
