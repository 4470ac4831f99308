// The part of the "ffmpeg" plug-in that uses FFmpeg: reading one file's format,
// length, bit rate, sizes and tags through libavformat.
//
// A module of its own (decoder/ffmpeg/reader.so), loaded by ffmpeg.so on its first
// Open and by taglib.so for the files TagLib cannot read: FFmpeg's libraries pull in
// some 135 shared libraries, which cost ~50 ms to load, and the selector loads every
// plug-in at start-up only to learn which extensions it reads. Built from the same
// sources and compiler as the plug-ins, so they share InstanceBase and the record
// layouts.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>
#include <string_view>

#include "ffmpeg_reader_module.h"

namespace tessaroven::plugin {
namespace {

// Opening gives up after this long, so a file on a stalled network share or one that
// makes the demuxer read forever cannot hold the reader.
constexpr auto kOpenTimeLimit = std::chrono::seconds(15);

void SilenceFfmpeg() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

struct Deadline {
  std::chrono::steady_clock::time_point end;
};

int PastDeadline(void* opaque) {
  return std::chrono::steady_clock::now() > static_cast<Deadline*>(opaque)->end ? 1 : 0;
}

class FormatContext {
 public:
  ~FormatContext() {
    if (ctx_) avformat_close_input(&ctx_);
  }
  bool Open(const std::string& path, const char* demuxer, Deadline* deadline) {
    const AVInputFormat* format = nullptr;
    if (demuxer != nullptr && (format = av_find_input_format(demuxer)) == nullptr) return false;
    ctx_ = avformat_alloc_context();
    if (!ctx_) return false;
    ctx_->interrupt_callback.callback = PastDeadline;
    ctx_->interrupt_callback.opaque = deadline;
    // avformat_open_input frees the context itself when it fails.
    if (avformat_open_input(&ctx_, path.c_str(), format, nullptr) < 0) {
      ctx_ = nullptr;
      return false;
    }
    return avformat_find_stream_info(ctx_, nullptr) >= 0;
  }
  AVFormatContext* get() const { return ctx_; }

 private:
  AVFormatContext* ctx_ = nullptr;
};

bool IsDsd(AVCodecID id) {
  return id == AV_CODEC_ID_DSD_LSBF || id == AV_CODEC_ID_DSD_MSBF || id == AV_CODEC_ID_DSD_LSBF_PLANAR ||
         id == AV_CODEC_ID_DSD_MSBF_PLANAR;
}

bool IsLossless(const AVCodecParameters* par) {
  if (IsDsd(par->codec_id)) return true;
  if (par->codec_id == AV_CODEC_ID_DTS) return par->profile == FF_PROFILE_DTS_HD_MA;
  const AVCodecDescriptor* desc = avcodec_descriptor_get(par->codec_id);
  return desc && (desc->props & AV_CODEC_PROP_LOSSLESS) && !(desc->props & AV_CODEC_PROP_LOSSY);
}

// "AAC LC", "DTS-HD MA", "ATSC A/52A (AC-3)": the profile says more than the
// codec's long name when there is one, but alone ("LC") it would not name the codec.
std::u16string CodecName(const AVCodecParameters* par) {
  const AVCodecDescriptor* desc = avcodec_descriptor_get(par->codec_id);
  if (!desc) return {};
  if (const char* profile = avcodec_profile_name(par->codec_id, par->profile)) {
    std::string name(desc->name);
    for (auto& c : name) c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
    const std::string_view text(profile);
    if (text.rfind(name, 0) == 0) return FromUtf8(text);
    return FromUtf8(name + " " + std::string(text));
  }
  return FromUtf8(desc->long_name ? desc->long_name : desc->name);
}

// Container keys that describe the file's making rather than the music.
bool IsTechnicalKey(std::string_view key) {
  static constexpr std::string_view kSkip[] = {"duration",        "handler_name",      "vendor_id",     "major_brand",
                                               "minor_version",   "compatible_brands", "creation_time", "language",
                                               "encoder_options", "id3v2_priv"};
  std::string lower(key);
  for (auto& c : lower) c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
  for (auto skip : kSkip) {
    if (lower == skip || lower.rfind(std::string(skip) + ".", 0) == 0) return true;
  }
  return lower.rfind("_statistics", 0) == 0 || lower.rfind("number_of_", 0) == 0 || lower == "bps";
}

void AddMetadata(TagBlock& tags, const AVDictionary* dict, bool onlyNewNames) {
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(dict, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
    if (!entry->key || !entry->value || IsTechnicalKey(entry->key)) continue;
    const std::u16string column = ColumnNameForKey(entry->key);
    if (onlyNewNames && tags.Has(column)) continue;
    tags.Append(column, FromUtf8(entry->value));
  }
}

bool OpenInto(InstanceBase& instance, TsvOpenRecord* record, const FfmpegReadOptions& options) {
  const std::string path = PathToNative(record->path);
  std::int64_t fileSize = 0;
  if (!IsRegularFile(path, &fileSize)) return false;

  Deadline deadline{std::chrono::steady_clock::now() + kOpenTimeLimit};
  FormatContext input;
  if (!input.Open(path, options.demuxer, &deadline)) return false;
  AVFormatContext* ctx = input.get();
  const int index = av_find_best_stream(ctx, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0) return false;
  const AVStream* stream = ctx->streams[index];
  const AVCodecParameters* par = stream->codecpar;
  const int channels = par->ch_layout.nb_channels;
  if (channels <= 0 || par->sample_rate <= 0) return false;
  bool hasVideo = false;
  for (unsigned i = 0; i < ctx->nb_streams; ++i) {
    if (ctx->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
        !(ctx->streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC)) {
      hasVideo = true;
    }
  }

  OpenResult result;
  result.channels = channels;
  AudioShape shape;
  shape.lossless = IsLossless(par);
  if (IsDsd(par->codec_id)) {
    // FFmpeg counts DSD in bytes per channel (eight 1-bit samples each).
    const std::int64_t oneBitRate = static_cast<std::int64_t>(par->sample_rate) * 8;
    shape.dsdMultiple = DsdMultiple(oneBitRate);
    result.sampleRate = static_cast<int>(oneBitRate);
    result.bitsPerSample = 1;
    result.bitRate = static_cast<std::uint32_t>(oneBitRate * channels);
  } else {
    const auto sampleFormat = static_cast<AVSampleFormat>(par->format);
    const bool floatSamples = sampleFormat == AV_SAMPLE_FMT_FLT || sampleFormat == AV_SAMPLE_FMT_FLTP ||
                              sampleFormat == AV_SAMPLE_FMT_DBL || sampleFormat == AV_SAMPLE_FMT_DBLP;
    int bits = par->bits_per_raw_sample > 0 ? par->bits_per_raw_sample : 0;
    if (bits == 0 && shape.lossless) {
      bits = par->bits_per_coded_sample > 0 ? par->bits_per_coded_sample : av_get_bytes_per_sample(sampleFormat) * 8;
    }
    shape.floatingPoint = shape.lossless && floatSamples;
    shape.bitsPerSample = bits > 0 ? bits : 16;
    shape.sampleRate = par->sample_rate;
    result.sampleRate = par->sample_rate;
    result.bitsPerSample = shape.bitsPerSample;
    result.formatTag = shape.floatingPoint ? TSV_FORMAT_TAG_IEEE_FLOAT : TSV_FORMAT_TAG_PCM;
    std::int64_t bitRate = par->bit_rate;
    if (bitRate <= 0 && !hasVideo) bitRate = ctx->bit_rate;
    result.bitRate = static_cast<std::uint32_t>(std::clamp<std::int64_t>(bitRate, 0, UINT32_MAX));
  }

  if (stream->duration > 0 && stream->time_base.den > 0) {
    result.lengthMs = av_rescale_q(stream->duration, stream->time_base, AVRational{1, 1000});
  } else if (ctx->duration > 0) {
    result.lengthMs = av_rescale(ctx->duration, 1000, AV_TIME_BASE);
  }
  result.compressedSize = fileSize;
  if (hasVideo && result.bitRate > 0 && result.lengthMs > 0) {
    // Only the audio track counts; the picture's bytes would make it look tiny.
    result.compressedSize =
        std::min<std::int64_t>(fileSize, static_cast<std::int64_t>(result.bitRate) * result.lengthMs / 8000);
  }

  // "DSD Type" goes first: the selector looks it up before anything else.
  if (shape.dsdMultiple > 0) instance.tags.Add(u"DSD Type", u"DSD" + FromAscii(std::to_string(shape.dsdMultiple)));
  if (options.containerTags) {
    AddMetadata(instance.tags, ctx->metadata, false);
    AddMetadata(instance.tags, stream->metadata, true);
  }
  instance.tags.Add(u"Codec", CodecName(par));
  instance.tags.Add(u"audio quality", QualityLabel(shape));
  Publish(instance, result, record);
  return true;
}

}  // namespace
}  // namespace tessaroven::plugin

// The two entry points the plug-ins look up (ffmpeg_reader_module.cpp). Same thread
// rules as a plug-in's Open.
TSV_PLUGIN_EXPORT void TsvFfmpegPrepare() { tessaroven::plugin::SilenceFfmpeg(); }
TSV_PLUGIN_EXPORT bool TsvFfmpegOpenInto(tessaroven::plugin::InstanceBase& instance, TsvOpenRecord* record,
                                         const tessaroven::plugin::FfmpegReadOptions& options) {
  return tessaroven::plugin::OpenInto(instance, record, options);
}
