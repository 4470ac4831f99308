#include "converter/transcoder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/base64.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "base/path.h"
#include "base/text.h"
#include "converter/audio_decoder.h"
#include "converter/ffmpeg_decoder.h"
#include "converter/output_file.h"

namespace kovantrix {
namespace {

struct CodecCloser {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct OutputCloser {
  void operator()(AVFormatContext* context) const {
    if (context->pb) avio_closep(&context->pb);
    avformat_free_context(context);
  }
};
struct FrameFreer {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFreer {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FifoFreer {
  void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
struct ResamplerFreer {
  void operator()(SwrContext* context) const { swr_free(&context); }
};

// Tags that describe the source's container or encoder rather than the music; the
// new file gets its own.
bool IsTechnicalTag(const std::string& name) {
  static constexpr std::array kNames{"encoder", "major_brand", "minor_version", "compatible_brands",
                                     "creation_time", "itunsmpb", "itunnorm", "metadata_block_picture",
                                     "encoder_options", "handler_name", "vendor_id"};
  std::string lower = name;
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return std::find(kNames.begin(), kNames.end(), lower) != kNames.end();
}

bool IsFloat(AVSampleFormat format) {
  const AVSampleFormat packed = av_get_packed_sample_fmt(format);
  return packed == AV_SAMPLE_FMT_FLT || packed == AV_SAMPLE_FMT_DBL;
}

// Significant bits of the source's samples.
int SourceBits(const SourceInfo& source) {
  if (source.bitsPerSample > 0) return source.bitsPerSample;
  if (IsFloat(source.sampleFormat)) return 32;
  return av_get_bytes_per_sample(source.sampleFormat) * 8;
}

// The encoder's sample format closest to the source's: the same, else the same in
// the other arrangement (planar / packed), else the encoder's first choice.
AVSampleFormat ClosestFormat(const AVCodec* codec, AVSampleFormat source) {
  if (codec->sample_fmts == nullptr) return source;
  for (const AVSampleFormat* f = codec->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f)
    if (*f == source) return *f;
  for (const AVSampleFormat* f = codec->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f)
    if (av_get_packed_sample_fmt(*f) == av_get_packed_sample_fmt(source)) return *f;
  return codec->sample_fmts[0];
}

// The source's rate when the encoder takes it; otherwise the nearest rate it takes
// from the same family (44.1 kHz or 48 kHz), so that 88.2 kHz becomes 44.1 kHz.
int ChooseRate(const AVCodec* codec, int source) {
  if (codec->supported_samplerates == nullptr) return source;
  int above = 0;
  int highest = 0;
  for (const int* r = codec->supported_samplerates; *r != 0; ++r) {
    if (*r == source) return source;
    highest = std::max(highest, *r);
    if (*r > source && (above == 0 || *r < above)) above = *r;
  }
  const auto takes = [&](int rate) {
    for (const int* r = codec->supported_samplerates; *r != 0; ++r)
      if (*r == rate) return true;
    return false;
  };
  if (source > 48000) {
    if (source % 44100 == 0 && takes(44100)) return 44100;
    if (takes(48000)) return 48000;
  }
  return above != 0 ? above : highest;
}

// The FLAC picture block that Ogg files carry base64-encoded in a Vorbis comment.
std::string PictureBlockBase64(const CoverPicture& cover) {
  const std::string mime = cover.codec == AV_CODEC_ID_PNG ? "image/png" : "image/jpeg";
  std::vector<std::uint8_t> block;
  const auto put32 = [&](std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) block.push_back(static_cast<std::uint8_t>(value >> shift));
  };
  put32(3);  // front cover
  put32(static_cast<std::uint32_t>(mime.size()));
  block.insert(block.end(), mime.begin(), mime.end());
  put32(0);  // no description
  put32(static_cast<std::uint32_t>(cover.width));
  put32(static_cast<std::uint32_t>(cover.height));
  put32(24);
  put32(0);
  put32(static_cast<std::uint32_t>(cover.data.size()));
  block.insert(block.end(), cover.data.begin(), cover.data.end());
  std::string text(AV_BASE64_SIZE(block.size()), '\0');
  av_base64_encode(text.data(), static_cast<int>(text.size()), block.data(), static_cast<int>(block.size()));
  text.resize(std::strlen(text.c_str()));
  return text;
}

class Conversion {
 public:
  Conversion(const ConvertJob& job, const std::atomic<bool>& cancel, const ProgressCallback& progress)
      : job_(job), cancel_(cancel), progress_(progress) {}
  ~Conversion() {
    av_channel_layout_uninit(&inLayout_);
    FreeScratch();
  }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  JobResult Run() {
    if (PathExists(job_.target)) {
      if (SameExistingFile(job_.source, job_.target))
        return {Outcome::kSkipped, u"The converted file would replace its own source."};
      if (!job_.overwrite) return {Outcome::kSkipped, u"'" + job_.target + u"' exists already; it was kept."};
    }
    std::u16string error;
    decoder_ = OpenAudioDecoder(job_.source, error);
    if (!decoder_) return {Outcome::kFailed, error};
    if (!MakeFolders(std::u16string(tessaroven::FolderOf(job_.target)), error)) return {Outcome::kFailed, error};
    if (!output_.Create(job_.target, error)) return {Outcome::kFailed, error};
    if (!SetUpEncoder(error) || !SetUpMuxer(error)) return Fail(error);
    if (!Pump(error)) return cancelled_ ? Cancelled() : Fail(error);
    if (!Finish(error)) return Fail(error);
    if (cancel_.load()) return Cancelled();
    switch (output_.Publish(job_.overwrite, error)) {
      case PublishResult::kPublished:
        return {Outcome::kDone, {}};
      case PublishResult::kTargetExists:
        return {Outcome::kSkipped, error};
      case PublishResult::kFailed:
        break;
    }
    return {Outcome::kFailed, error};
  }

 private:
  JobResult Fail(const std::u16string& error) {
    muxer_.reset();
    output_.Discard();
    return {Outcome::kFailed, error};
  }
  JobResult Cancelled() {
    muxer_.reset();
    output_.Discard();
    return {Outcome::kCancelled, u"Cancelled."};
  }

  bool SetUpEncoder(std::u16string& error) {
    const SourceInfo& source = decoder_->Info();
    const Preset& preset = job_.preset;
    const AVCodec* codec = nullptr;
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    int rawBits = 0;
    int maxChannels = 2;
    switch (job_.format) {
      case Format::kFlac:
        codec = avcodec_find_encoder(AV_CODEC_ID_FLAC);
        muxerName_ = "flac";
        // 16-bit sources stay 16-bit; deeper and floating-point ones become 24-bit,
        // the most that FLAC decoders commonly play.
        if (SourceBits(source) <= 16 && !IsFloat(source.sampleFormat)) {
          format = AV_SAMPLE_FMT_S16;
        } else {
          format = AV_SAMPLE_FMT_S32;
          rawBits = 24;
        }
        maxChannels = 8;
        break;
      case Format::kMp3:
        codec = avcodec_find_encoder_by_name("libmp3lame");
        muxerName_ = "mp3";
        break;
      case Format::kOpus:
        codec = avcodec_find_encoder_by_name("libopus");
        muxerName_ = "opus";
        break;
      case Format::kAac:
        codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
        muxerName_ = "ipod";
        break;
      case Format::kWav: {
        muxerName_ = "wav";
        maxChannels = 0;
        const int bits = preset.bitsPerSample;
        AVCodecID id = AV_CODEC_ID_PCM_S16LE;
        if (bits == 24 || (bits == 0 && !IsFloat(source.sampleFormat) && SourceBits(source) > 16)) {
          id = AV_CODEC_ID_PCM_S24LE;
          format = AV_SAMPLE_FMT_S32;
          rawBits = 24;
        } else if (bits == 0 && IsFloat(source.sampleFormat)) {
          id = AV_CODEC_ID_PCM_F32LE;
          format = AV_SAMPLE_FMT_FLT;
        } else {
          format = AV_SAMPLE_FMT_S16;
        }
        codec = avcodec_find_encoder(id);
        break;
      }
    }
    if (codec == nullptr) {
      error = u"This system's FFmpeg has no " + std::u16string(InfoOf(job_.format).label) + u" encoder.";
      return false;
    }
    if (format == AV_SAMPLE_FMT_NONE) format = ClosestFormat(codec, source.sampleFormat);

    encoder_.reset(avcodec_alloc_context3(codec));
    AVCodecContext& encoder = *encoder_;
    encoder.sample_fmt = format;
    encoder.sample_rate = ChooseRate(codec, source.sampleRate);
    // FLAC's frame header stops at 655,350 Hz: DSD128 and above decode faster than
    // that and are halved until they fit, which keeps the rate's family.
    if (job_.format == Format::kFlac)
      while (encoder.sample_rate > 655350) encoder.sample_rate /= 2;
    if (maxChannels != 0 && source.layout.nb_channels > maxChannels) {
      av_channel_layout_default(&encoder.ch_layout, 2);
    } else if (source.layout.order == AV_CHANNEL_ORDER_NATIVE || maxChannels == 0) {
      av_channel_layout_copy(&encoder.ch_layout, &source.layout);
    } else {
      av_channel_layout_default(&encoder.ch_layout, source.layout.nb_channels);
    }
    encoder.time_base = AVRational{1, encoder.sample_rate};
    encoder.thread_count = 1;
    if (rawBits != 0) encoder.bits_per_raw_sample = rawBits;
    if (preset.compressionLevel >= 0) encoder.compression_level = preset.compressionLevel;
    if (preset.vbrQuality >= 0) {
      encoder.flags |= AV_CODEC_FLAG_QSCALE;
      encoder.global_quality = preset.vbrQuality * FF_QP2LAMBDA;
    }
    if (preset.kbps > 0) encoder.bit_rate = static_cast<std::int64_t>(preset.kbps) * 1000;
    const AVOutputFormat* muxer = av_guess_format(muxerName_, nullptr, nullptr);
    if (muxer && (muxer->flags & AVFMT_GLOBALHEADER)) encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const int code = avcodec_open2(&encoder, codec, nullptr);
    if (code < 0) {
      error = u"The encoder refused this audio: " + FfmpegErrorText(code);
      return false;
    }
    // Encoders without a fixed frame size (PCM) take whatever is handy.
    frameSize_ = encoder.frame_size > 0 ? encoder.frame_size : 4096;
    fifo_.reset(av_audio_fifo_alloc(format, encoder.ch_layout.nb_channels, frameSize_ * 2));
    if (!fifo_) {
      error = u"Out of memory.";
      return false;
    }
    return true;
  }

  bool SetUpMuxer(std::u16string& error) {
    AVFormatContext* context = nullptr;
    if (avformat_alloc_output_context2(&context, nullptr, muxerName_, nullptr) < 0 || context == nullptr) {
      error = u"The output format cannot be set up.";
      return false;
    }
    muxer_.reset(context);
    AVStream* audio = avformat_new_stream(context, nullptr);
    if (audio == nullptr || avcodec_parameters_from_context(audio->codecpar, encoder_.get()) < 0) {
      error = u"The output stream cannot be set up.";
      return false;
    }
    audio->time_base = encoder_->time_base;
    audio_ = audio->index;

    const SourceInfo& source = decoder_->Info();
    for (const auto& [name, value] : source.tags)
      if (!IsTechnicalTag(name)) av_dict_set(&context->metadata, name.c_str(), value.c_str(), 0);

    if (source.cover) {
      if (job_.format == Format::kOpus) {
        // Ogg holds no picture stream; its Vorbis comment holds the picture block.
        av_dict_set(&audio->metadata, "METADATA_BLOCK_PICTURE", PictureBlockBase64(*source.cover).c_str(), 0);
      } else if (job_.format != Format::kWav) {
        AVStream* picture = avformat_new_stream(context, nullptr);
        if (picture != nullptr) {
          picture->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
          picture->codecpar->codec_id = source.cover->codec;
          picture->codecpar->width = source.cover->width;
          picture->codecpar->height = source.cover->height;
          picture->disposition = AV_DISPOSITION_ATTACHED_PIC;
          picture->time_base = AVRational{1, 90000};
          picture_ = picture->index;
        }
      }
    }
    // Vorbis comments of an Ogg file are the audio stream's own.
    if (job_.format == Format::kOpus) av_dict_copy(&audio->metadata, context->metadata, 0);

    const std::string url = "file:" + tessaroven::Utf16ToUtf8(output_.Path());
    int code = avio_open(&context->pb, url.c_str(), AVIO_FLAG_WRITE);
    if (code < 0) {
      error = u"'" + output_.Path() + u"' cannot be written: " + FfmpegErrorText(code);
      return false;
    }
    code = avformat_write_header(context, nullptr);
    if (code < 0) {
      error = u"The output file cannot be started: " + FfmpegErrorText(code);
      return false;
    }
    if (picture_ >= 0) {
      const CoverPicture& cover = *source.cover;
      std::unique_ptr<AVPacket, PacketFreer> packet(av_packet_alloc());
      if (av_new_packet(packet.get(), static_cast<int>(cover.data.size())) < 0) {
        error = u"Out of memory.";
        return false;
      }
      std::copy(cover.data.begin(), cover.data.end(), packet->data);
      packet->stream_index = picture_;
      packet->flags |= AV_PKT_FLAG_KEY;
      packet->pts = packet->dts = 0;
      code = av_interleaved_write_frame(context, packet.get());
      if (code < 0) {
        error = u"The cover picture cannot be written: " + FfmpegErrorText(code);
        return false;
      }
    }
    packet_.reset(av_packet_alloc());
    frame_.reset(av_frame_alloc());
    return true;
  }

  // Makes the resampler fit `frame` when it differs from what the encoder takes,
  // or from what the resampler was made for (a stream may change mid-way).
  bool FitResampler(const AVFrame& frame, std::u16string& error) {
    const AVSampleFormat format = static_cast<AVSampleFormat>(frame.format);
    const bool sameAsBefore = resamplerMadeFor_ && format == inFormat_ && frame.sample_rate == inRate_ &&
                              av_channel_layout_compare(&frame.ch_layout, &inLayout_) == 0;
    if (sameAsBefore) return true;
    if (resampler_) DrainResampler(error);
    resamplerMadeFor_ = true;
    inFormat_ = format;
    inRate_ = frame.sample_rate;
    av_channel_layout_uninit(&inLayout_);
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) av_channel_layout_default(&inLayout_, frame.ch_layout.nb_channels);
    else av_channel_layout_copy(&inLayout_, &frame.ch_layout);
    const AVCodecContext& encoder = *encoder_;
    const bool direct = format == encoder.sample_fmt && frame.sample_rate == encoder.sample_rate &&
                        av_channel_layout_compare(&inLayout_, &encoder.ch_layout) == 0;
    resampler_.reset();
    if (direct) return true;
    SwrContext* context = nullptr;
    // FFmpeg 5.1 declares the layouts without const; they are only read.
    if (swr_alloc_set_opts2(&context, const_cast<AVChannelLayout*>(&encoder.ch_layout), encoder.sample_fmt,
                            encoder.sample_rate, &inLayout_, format,
                            frame.sample_rate, 0, nullptr) < 0 ||
        swr_init(context) < 0) {
      swr_free(&context);
      error = u"The audio cannot be converted to the target's format.";
      return false;
    }
    resampler_.reset(context);
    return true;
  }

  bool Resample(const std::uint8_t** input, int count, std::u16string& error) {
    const int room = swr_get_out_samples(resampler_.get(), count);
    if (room <= 0) return true;
    if (room > scratchSamples_) {
      FreeScratch();
      if (av_samples_alloc_array_and_samples(&scratch_, nullptr, encoder_->ch_layout.nb_channels, room,
                                             encoder_->sample_fmt, 0) < 0) {
        error = u"Out of memory.";
        return false;
      }
      scratchSamples_ = room;
    }
    const int made = swr_convert(resampler_.get(), scratch_, room, input, count);
    if (made < 0) {
      error = u"Resampling failed.";
      return false;
    }
    if (made > 0 && av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(scratch_), made) < made) {
      error = u"Out of memory.";
      return false;
    }
    return true;
  }

  // The samples hang off the first plane's pointer; the array is separate.
  void FreeScratch() {
    if (scratch_) av_freep(&scratch_[0]);
    av_freep(&scratch_);
    scratchSamples_ = 0;
  }

  void DrainResampler(std::u16string& error) {
    if (resampler_) Resample(nullptr, 0, error);
  }

  bool Pump(std::u16string& error) {
    std::unique_ptr<AVFrame, FrameFreer> frame(av_frame_alloc());
    double reported = 0;
    for (;;) {
      if (cancel_.load(std::memory_order_relaxed)) {
        cancelled_ = true;
        return false;
      }
      const AudioDecoder::Read read = decoder_->ReadFrame(frame.get(), error);
      if (read == AudioDecoder::Read::kEnd) break;
      if (read == AudioDecoder::Read::kError) return false;
      if (!FitResampler(*frame, error)) return false;
      if (resampler_) {
        if (!Resample(const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples, error)) return false;
      } else if (av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(frame->extended_data), frame->nb_samples) <
                 frame->nb_samples) {
        error = u"Out of memory.";
        return false;
      }
      av_frame_unref(frame.get());
      while (av_audio_fifo_size(fifo_.get()) >= frameSize_)
        if (!EncodeFromFifo(frameSize_, error)) return false;
      const double done = decoder_->Progress();
      if (progress_ && done - reported >= 0.01) {
        reported = done;
        progress_(done);
      }
    }
    DrainResampler(error);
    while (av_audio_fifo_size(fifo_.get()) > 0)
      if (!EncodeFromFifo(std::min(frameSize_, av_audio_fifo_size(fifo_.get())), error)) return false;
    return true;
  }

  bool EncodeFromFifo(int count, std::u16string& error) {
    AVFrame* frame = frame_.get();
    av_frame_unref(frame);
    frame->nb_samples = count;
    frame->format = encoder_->sample_fmt;
    frame->sample_rate = encoder_->sample_rate;
    av_channel_layout_copy(&frame->ch_layout, &encoder_->ch_layout);
    if (av_frame_get_buffer(frame, 0) < 0 ||
        av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame->data), count) < count) {
      error = u"Out of memory.";
      return false;
    }
    frame->pts = samplesOut_;
    samplesOut_ += count;
    return Encode(frame, error);
  }

  bool Encode(const AVFrame* frame, std::u16string& error) {
    int code = avcodec_send_frame(encoder_.get(), frame);
    if (code < 0) {
      error = u"Encoding failed: " + FfmpegErrorText(code);
      return false;
    }
    for (;;) {
      code = avcodec_receive_packet(encoder_.get(), packet_.get());
      if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return true;
      if (code < 0) {
        error = u"Encoding failed: " + FfmpegErrorText(code);
        return false;
      }
      av_packet_rescale_ts(packet_.get(), encoder_->time_base, muxer_->streams[audio_]->time_base);
      packet_->stream_index = audio_;
      code = av_interleaved_write_frame(muxer_.get(), packet_.get());
      if (code < 0) {
        error = WriteError(code);
        return false;
      }
    }
  }

  bool Finish(std::u16string& error) {
    if (!Encode(nullptr, error)) return false;
    int code = av_write_trailer(muxer_.get());
    if (code < 0) {
      error = WriteError(code);
      return false;
    }
    AVIOContext* io = muxer_->pb;
    avio_flush(io);
    if (io->error < 0) {
      error = WriteError(io->error);
      return false;
    }
    code = avio_closep(&muxer_->pb);
    if (code < 0) {
      error = WriteError(code);
      return false;
    }
    return true;
  }

  std::u16string WriteError(int code) const {
    if (code == AVERROR(ENOSPC)) return u"The output folder's disk is full.";
    return u"Writing '" + job_.target + u"' failed: " + FfmpegErrorText(code);
  }

 private:
  const ConvertJob& job_;
  const std::atomic<bool>& cancel_;
  const ProgressCallback& progress_;
  std::unique_ptr<AudioDecoder> decoder_;
  TemporaryOutput output_;
  const char* muxerName_ = nullptr;
  std::unique_ptr<AVCodecContext, CodecCloser> encoder_;
  std::unique_ptr<AVFormatContext, OutputCloser> muxer_;
  std::unique_ptr<AVAudioFifo, FifoFreer> fifo_;
  std::unique_ptr<SwrContext, ResamplerFreer> resampler_;
  std::unique_ptr<AVPacket, PacketFreer> packet_;
  std::unique_ptr<AVFrame, FrameFreer> frame_;
  bool resamplerMadeFor_ = false;
  AVSampleFormat inFormat_ = AV_SAMPLE_FMT_NONE;
  int inRate_ = 0;
  AVChannelLayout inLayout_{};
  std::uint8_t** scratch_ = nullptr;
  int scratchSamples_ = 0;
  int frameSize_ = 0;
  int audio_ = -1;
  int picture_ = -1;
  std::int64_t samplesOut_ = 0;
  bool cancelled_ = false;
};

}  // namespace

JobResult ConvertFile(const ConvertJob& job, const std::atomic<bool>& cancel, const ProgressCallback& progress) {
  Conversion conversion(job, cancel, progress);
  JobResult result = conversion.Run();
  if (result.outcome == Outcome::kDone && progress) progress(1.0);
  return result;
}

}  // namespace kovantrix
