// The part of the "ffmpeg" plug-in that uses FFmpeg: reading one file's format,
// length, bit rate, sizes and tags through libavformat, and decoding its audio to
// the plug-ins' PCM (interleaved float) through libavcodec and libswresample.
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
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

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

// One file being decoded: its own demuxer and decoder, apart from the ones Open
// used and closed, and the PCM of the last decoded frame not yet handed out.
class Decoding {
 public:
  ~Decoding() {
    swr_free(&resampler_);
    av_frame_free(&frame_);
    av_packet_free(&packet_);
    avcodec_free_context(&codec_);
  }

  bool Start(const std::u16string& path) {
    deadline_.end = std::chrono::steady_clock::now() + kOpenTimeLimit;
    if (!input_.Open(PathToNative(path.c_str()), nullptr, &deadline_)) return false;
    AVFormatContext* ctx = input_.get();
    const AVCodec* decoder = nullptr;
    stream_ = av_find_best_stream(ctx, AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (stream_ < 0 || decoder == nullptr) return false;
    for (unsigned i = 0; i < ctx->nb_streams; ++i) {
      if (static_cast<int>(i) != stream_) ctx->streams[i]->discard = AVDISCARD_ALL;
    }
    const AVStream* stream = ctx->streams[stream_];
    codec_ = avcodec_alloc_context3(decoder);
    if (!codec_ || avcodec_parameters_to_context(codec_, stream->codecpar) < 0) return false;
    // The converter decodes one file per core already.
    codec_->thread_count = 1;
    codec_->pkt_timebase = stream->time_base;
    if (avcodec_open2(codec_, decoder, nullptr) < 0) return false;
    channels_ = codec_->ch_layout.nb_channels;
    // The rate Open reported (for DSD already an eighth of the 1-bit rate): the PCM
    // comes at it even where the decoder's frames say otherwise (HE-AAC whose
    // container gives the core rate).
    rate_ = stream->codecpar->sample_rate;
    if (rate_ <= 0) return false;
    packet_ = av_packet_alloc();
    frame_ = av_frame_alloc();
    return channels_ > 0 && packet_ && frame_;
  }

  std::int32_t Block(void* buffer, std::uint32_t capacity) {
    const std::size_t frameBytes = static_cast<std::size_t>(channels_) * sizeof(float);
    const std::size_t wanted = capacity / frameBytes;
    if (wanted == 0) return -1;
    deadline_.end = std::chrono::steady_clock::now() + kOpenTimeLimit;
    while (next_ == pcm_.size()) {
      pcm_.clear();
      next_ = 0;
      const int got = DecodeFrame();
      if (got <= 0) return got;
    }
    const std::size_t frames =
        std::min({wanted, (pcm_.size() - next_) / channels_, static_cast<std::size_t>(INT32_MAX) / frameBytes});
    std::memcpy(buffer, pcm_.data() + next_, frames * frameBytes);
    next_ += frames * channels_;
    return static_cast<std::int32_t>(frames * frameBytes);
  }

  std::int32_t Seek(std::int64_t positionMs) {
    const AVStream* stream = input_.get()->streams[stream_];
    const std::int64_t start = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;
    const std::int64_t target = start + av_rescale_q(positionMs, AVRational{1, 1000}, stream->time_base);
    deadline_.end = std::chrono::steady_clock::now() + kOpenTimeLimit;
    if (av_seek_frame(input_.get(), stream_, target, AVSEEK_FLAG_BACKWARD) < 0) {
      // A position past the end has nowhere to land in some demuxers.
      const std::int64_t length = stream->duration != AV_NOPTS_VALUE ? stream->duration : 0;
      if (length <= 0 || target < start + length) return 0;
      pcm_.clear();
      next_ = 0;
      ended_ = true;
      return 1;
    }
    avcodec_flush_buffers(codec_);
    swr_free(&resampler_);
    pcm_.clear();
    next_ = 0;
    flushed_ = ended_ = false;
    skipToMs_ = positionMs;
    return 1;
  }

 private:
  // Decodes the next frame into pcm_: 1 when it holds samples, 0 at the end, -1 on
  // error. After a seek, the samples before the asked position are dropped.
  int DecodeFrame() {
    while (!ended_) {
      const int code = avcodec_receive_frame(codec_, frame_);
      if (code == 0) {
        const int kept = Convert();
        av_frame_unref(frame_);
        if (kept < 0) return -1;
        if (kept > 0) return 1;
        continue;
      }
      if (code == AVERROR_EOF) {
        ended_ = true;
        break;
      }
      if (code != AVERROR(EAGAIN)) return -1;
      if (flushed_) {
        ended_ = true;
        break;
      }
      const int read = av_read_frame(input_.get(), packet_);
      if (read < 0) {
        // The end, or a damaged ending, which players too treat as the end; a failing
        // disk is an error.
        if (read != AVERROR_EOF && read != AVERROR_INVALIDDATA) return -1;
        flushed_ = true;
        avcodec_send_packet(codec_, nullptr);
        continue;
      }
      if (packet_->stream_index == stream_) {
        const int sent = avcodec_send_packet(codec_, packet_);
        // A damaged packet is skipped rather than failing the file.
        if (sent < 0 && sent != AVERROR_INVALIDDATA && sent != AVERROR(EAGAIN)) {
          av_packet_unref(packet_);
          return -1;
        }
      }
      av_packet_unref(packet_);
    }
    return Drain();
  }

  // What a resampler between two rates still holds at the end; nothing when the
  // rates are the same. Dropped when a move's position was never reached.
  int Drain() {
    if (resampler_ == nullptr || skipToMs_ >= 0) return 0;
    const int room = swr_get_out_samples(resampler_, 0);
    if (room <= 0) return 0;
    pcm_.resize(static_cast<std::size_t>(room) * channels_);
    std::uint8_t* out[] = {reinterpret_cast<std::uint8_t*>(pcm_.data())};
    const int made = swr_convert(resampler_, out, room, nullptr, 0);
    swr_free(&resampler_);
    if (made < 0) return -1;
    pcm_.resize(static_cast<std::size_t>(made) * channels_);
    return made > 0 ? 1 : 0;
  }

  // Appends frame_'s samples (those at or after skipToMs_) to pcm_ as interleaved
  // float; the number of sample frames kept, or -1.
  int Convert() {
    const int count = frame_->nb_samples;
    if (count <= 0 || frame_->ch_layout.nb_channels != channels_) return count <= 0 ? 0 : -1;
    if (!FitResampler()) return -1;
    const int room = swr_get_out_samples(resampler_, count);
    if (room < 0) return -1;
    pcm_.resize(static_cast<std::size_t>(room) * channels_);
    std::uint8_t* out[] = {reinterpret_cast<std::uint8_t*>(pcm_.data())};
    const int made = swr_convert(resampler_, out, room, const_cast<const std::uint8_t**>(frame_->extended_data), count);
    if (made < 0) return -1;
    pcm_.resize(static_cast<std::size_t>(made) * channels_);
    if (skipToMs_ >= 0) {
      const AVStream* stream = input_.get()->streams[stream_];
      const std::int64_t pts = frame_->best_effort_timestamp;
      std::int64_t drop = 0;
      if (pts != AV_NOPTS_VALUE) {
        const std::int64_t start = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;
        const std::int64_t first = av_rescale_q(pts - start, stream->time_base, AVRational{1, rate_});
        const std::int64_t wanted = av_rescale(skipToMs_, rate_, 1000);
        drop = std::clamp<std::int64_t>(wanted - first, 0, made);
      }
      // Without a timestamp the frame is taken as it comes: the nearest point before.
      if (drop < made) skipToMs_ = -1;
      pcm_.erase(pcm_.begin(), pcm_.begin() + drop * channels_);
      return made - static_cast<int>(drop);
    }
    return made;
  }

  // Same channels; mostly the same rate, when the resampler only turns the decoder's
  // sample format (planar or not, integer or float) into interleaved float. Made anew
  // when a stream changes its format mid-way.
  bool FitResampler() {
    const auto format = static_cast<AVSampleFormat>(frame_->format);
    if (resampler_ && format == inFormat_ && frame_->sample_rate == inRate_) return true;
    swr_free(&resampler_);
    AVChannelLayout layout{};
    if (frame_->ch_layout.order == AV_CHANNEL_ORDER_NATIVE) av_channel_layout_copy(&layout, &frame_->ch_layout);
    else av_channel_layout_default(&layout, channels_);
    const int code = swr_alloc_set_opts2(&resampler_, &layout, AV_SAMPLE_FMT_FLT, rate_, &layout, format,
                                         frame_->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&layout);
    if (code < 0 || swr_init(resampler_) < 0) return false;
    inFormat_ = format;
    inRate_ = frame_->sample_rate;
    return true;
  }

  Deadline deadline_{};
  FormatContext input_;
  AVCodecContext* codec_ = nullptr;
  AVPacket* packet_ = nullptr;
  AVFrame* frame_ = nullptr;
  SwrContext* resampler_ = nullptr;
  AVSampleFormat inFormat_ = AV_SAMPLE_FMT_NONE;
  int inRate_ = 0;
  int rate_ = 0;
  int stream_ = -1;
  int channels_ = 0;
  bool flushed_ = false;
  bool ended_ = false;
  std::int64_t skipToMs_ = -1;
  std::vector<float> pcm_;
  std::size_t next_ = 0;
};

// The decoder of the instance, made on first use; null when the file cannot be
// decoded, which every later call then reports again.
Decoding* DecodingOf(InstanceBase& instance) {
  if (instance.decoding == nullptr) {
    auto decoding = std::make_unique<Decoding>();
    if (!decoding->Start(instance.decodePath)) {
      instance.decodePath.clear();
      return nullptr;
    }
    instance.decoding = decoding.release();
  }
  return static_cast<Decoding*>(instance.decoding);
}

}  // namespace
}  // namespace tessaroven::plugin

// The entry points the plug-ins look up (ffmpeg_reader_module.cpp). Same thread rules
// as a plug-in's exports.
TSV_PLUGIN_EXPORT void TsvFfmpegPrepare() { tessaroven::plugin::SilenceFfmpeg(); }
TSV_PLUGIN_EXPORT bool TsvFfmpegOpenInto(tessaroven::plugin::InstanceBase& instance, TsvOpenRecord* record,
                                         const tessaroven::plugin::FfmpegReadOptions& options) {
  return tessaroven::plugin::OpenInto(instance, record, options);
}
TSV_PLUGIN_EXPORT std::int32_t TsvFfmpegDecodeBlock(tessaroven::plugin::InstanceBase& instance, void* buffer,
                                                    std::uint32_t capacity) {
  tessaroven::plugin::Decoding* decoding = tessaroven::plugin::DecodingOf(instance);
  return decoding ? decoding->Block(buffer, capacity) : -1;
}
TSV_PLUGIN_EXPORT std::int32_t TsvFfmpegSetPosition(tessaroven::plugin::InstanceBase& instance,
                                                    std::int64_t positionMs) {
  tessaroven::plugin::Decoding* decoding = tessaroven::plugin::DecodingOf(instance);
  return decoding ? decoding->Seek(positionMs) : 0;
}
TSV_PLUGIN_EXPORT void TsvFfmpegRelease(tessaroven::plugin::InstanceBase& instance) {
  delete static_cast<tessaroven::plugin::Decoding*>(instance.decoding);
  instance.decoding = nullptr;
}
