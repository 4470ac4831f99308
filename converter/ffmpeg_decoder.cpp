#include "converter/ffmpeg_decoder.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/mathematics.h>
}

#include "base/text.h"

namespace kovantrix {
namespace {

struct FormatCloser {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecCloser {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketFreer {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameFreer {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

bool SameName(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

void AddTags(const AVDictionary* dictionary, std::vector<std::pair<std::string, std::string>>& tags) {
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
    const std::string name = entry->key;
    bool known = false;
    for (const auto& tag : tags) known = known || SameName(tag.first, name);
    if (!known) tags.emplace_back(name, entry->value);
  }
}

bool DescribesAudioFully(const AVFormatContext& format) {
  if (format.ctx_flags & AVFMTCTX_NOHEADER) return false;
  for (unsigned i = 0; i < format.nb_streams; ++i) {
    const AVCodecParameters& codec = *format.streams[i]->codecpar;
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO && codec.codec_id != AV_CODEC_ID_NONE && codec.sample_rate > 0 &&
        codec.ch_layout.nb_channels > 0)
      return true;
  }
  return false;
}

class FfmpegDecoder final : public AudioDecoder {
 public:
  const SourceInfo& Info() const override { return info_; }

  bool Open(const std::u16string& path, std::u16string& error) {
    // "file:" keeps a name with a colon in it from being taken for a protocol.
    const std::string url = "file:" + tessaroven::Utf16ToUtf8(path);
    AVFormatContext* format = nullptr;
    std::error_code sizeError;
    if (std::filesystem::file_size(std::filesystem::path(tessaroven::ToOsString(path)), sizeError) == 0 && !sizeError) {
      error = u"The file is empty.";
      return false;
    }
    int code = avformat_open_input(&format, url.c_str(), nullptr, nullptr);
    if (code < 0) {
      // A header that ends early reads as an I/O error or the end of the file.
      error = code == AVERROR(ENOENT)                            ? u"The file does not exist (any more)."
              : code == AVERROR_INVALIDDATA                     ? u"This is not an audio file that can be read."
              : code == AVERROR(EIO) || code == AVERROR_EOF      ? u"The file is damaged or cut short."
                                                                 : u"The file cannot be read: " + FfmpegErrorText(code);
      return false;
    }
    format_.reset(format);
    // Reading ahead to learn the streams costs more than encoding a short FLAC
    // file; containers whose header already describes an audio stream fully
    // (WAV, FLAC, MP3, Ogg, MP4, ...) do without it. Those that find their streams
    // only in the data (MPEG-TS, ADTS AAC) still read ahead.
    if (!DescribesAudioFully(*format)) {
      code = avformat_find_stream_info(format, nullptr);
      if (code < 0) {
        error = u"This is not an audio file that can be read: " + FfmpegErrorText(code);
        return false;
      }
    }
    // Some demuxers keep sniffing the packets of a stream whose codec might be
    // something else (compressed audio inside WAV) until `probesize` bytes went
    // by, running every format's probe at each doubling: for a 10 s WAV that is
    // the whole file, and costs as much as encoding it to FLAC. The first packet
    // tells as well; finding the streams above had the full amount.
    format->probesize = 4096;
    const AVCodec* codec = nullptr;
    stream_ = av_find_best_stream(format, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    if (stream_ < 0 || codec == nullptr) {
      // A demuxer chosen by the extension alone may announce an audio stream in
      // a file that is not of its kind, without any of its parameters; a video or
      // picture file has streams, none of them audio.
      bool announcesAudio = false;
      for (unsigned i = 0; i < format->nb_streams; ++i)
        announcesAudio = announcesAudio || format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
      error = stream_ == AVERROR_DECODER_NOT_FOUND        ? u"Its audio is in a format that cannot be decoded."
              : announcesAudio || format->nb_streams == 0 ? u"This is not an audio file that can be read."
                                                          : u"The file has no audio stream.";
      return false;
    }
    const AVStream* stream = format->streams[stream_];
    for (unsigned i = 0; i < format->nb_streams; ++i) {
      if (static_cast<int>(i) != stream_) format->streams[i]->discard = AVDISCARD_ALL;
    }
    codec_.reset(avcodec_alloc_context3(codec));
    if (!codec_ || avcodec_parameters_to_context(codec_.get(), stream->codecpar) < 0) {
      error = u"The decoder cannot be set up.";
      return false;
    }
    // The converter runs one file per core; threads inside one decoder would only
    // compete with the other files.
    codec_->thread_count = 1;
    codec_->pkt_timebase = stream->time_base;
    code = avcodec_open2(codec_.get(), codec, nullptr);
    if (code < 0) {
      error = u"Its audio cannot be decoded: " + FfmpegErrorText(code);
      return false;
    }
    packet_.reset(av_packet_alloc());
    pending_.reset(av_frame_alloc());

    // Some decoders learn their sample format only from the first frame, and the
    // encoder is chosen by it: decode it now and hand it out first.
    std::u16string readError;
    const Read first = Decode(pending_.get(), readError);
    if (first == Read::kError) {
      error = readError;
      return false;
    }
    hasPending_ = first == Read::kFrame;
    // With the sniffing over, the PCM demuxers (WAV, AIFF, ...) may hand out 64 KB
    // packets instead of 4 KB ones: fewer trips through demuxer and decoder for
    // the same bytes. Only a demuxer with options has an AVClass to set it through.
    if (format->priv_data != nullptr && format->iformat->priv_class != nullptr)
      av_opt_set(format->priv_data, "max_size", "65536", 0);
    Describe(first == Read::kFrame ? pending_.get() : nullptr);
    if (info_.sampleRate <= 0 || info_.layout.nb_channels <= 0 || info_.sampleFormat == AV_SAMPLE_FMT_NONE) {
      error = u"The file has no audio that can be decoded.";
      return false;
    }
    CollectTags();
    return true;
  }

  double Progress() const override {
    AVIOContext* io = format_->pb;
    if (io == nullptr) return 0;
    const std::int64_t size = avio_size(io);
    return size > 0 ? std::min(1.0, static_cast<double>(avio_tell(io)) / static_cast<double>(size)) : 0;
  }

  Read ReadFrame(AVFrame* frame, std::u16string& error) override {
    if (hasPending_) {
      hasPending_ = false;
      av_frame_move_ref(frame, pending_.get());
      return Read::kFrame;
    }
    return Decode(frame, error);
  }

 private:
  Read Decode(AVFrame* frame, std::u16string& error) {
    for (;;) {
      int code = avcodec_receive_frame(codec_.get(), frame);
      if (code == 0) {
        if (frame->nb_samples > 0) return Read::kFrame;
        av_frame_unref(frame);
        continue;
      }
      if (code == AVERROR_EOF) return Read::kEnd;
      if (code != AVERROR(EAGAIN)) {
        error = u"Decoding failed: " + FfmpegErrorText(code);
        return Read::kError;
      }
      if (flushed_) return Read::kEnd;
      code = av_read_frame(format_.get(), packet_.get());
      if (code == AVERROR_EOF) {
        flushed_ = true;
        avcodec_send_packet(codec_.get(), nullptr);
        continue;
      }
      if (code < 0) {
        // A damaged ending reads as the end; a failing disk does not.
        if (code == AVERROR_INVALIDDATA) {
          flushed_ = true;
          avcodec_send_packet(codec_.get(), nullptr);
          continue;
        }
        error = u"Reading the file failed: " + FfmpegErrorText(code);
        return Read::kError;
      }
      if (packet_->stream_index == stream_) {
        code = avcodec_send_packet(codec_.get(), packet_.get());
        // A damaged packet is skipped, as players do, rather than failing the file.
        if (code < 0 && code != AVERROR_INVALIDDATA && code != AVERROR(EAGAIN)) {
          av_packet_unref(packet_.get());
          error = u"Decoding failed: " + FfmpegErrorText(code);
          return Read::kError;
        }
      }
      av_packet_unref(packet_.get());
    }
  }

  void Describe(const AVFrame* first) {
    const AVStream* stream = format_->streams[stream_];
    info_.codec = codec_->codec_id;
    info_.sampleRate = first ? first->sample_rate : codec_->sample_rate;
    if (info_.sampleRate <= 0) info_.sampleRate = codec_->sample_rate;
    const AVChannelLayout& layout = first && first->ch_layout.nb_channels > 0 ? first->ch_layout : codec_->ch_layout;
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC) av_channel_layout_default(&info_.layout, layout.nb_channels);
    else av_channel_layout_copy(&info_.layout, &layout);
    info_.sampleFormat = first ? static_cast<AVSampleFormat>(first->format) : codec_->sample_fmt;
    info_.bitsPerSample = codec_->bits_per_raw_sample > 0 ? codec_->bits_per_raw_sample
                                                          : stream->codecpar->bits_per_raw_sample;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec_->codec_id);
    info_.lossless = descriptor && (descriptor->props & AV_CODEC_PROP_LOSSLESS) != 0;
    if (stream->duration > 0 && stream->duration != AV_NOPTS_VALUE) {
      info_.lengthInSamples = av_rescale_q(stream->duration, stream->time_base, AVRational{1, info_.sampleRate});
    } else if (format_->duration > 0) {
      info_.lengthInSamples = av_rescale(format_->duration, info_.sampleRate, AV_TIME_BASE);
    }
  }

  void CollectTags() {
    AddTags(format_->metadata, info_.tags);
    AddTags(format_->streams[stream_]->metadata, info_.tags);
    for (unsigned i = 0; i < format_->nb_streams; ++i) {
      const AVStream* stream = format_->streams[i];
      if (!(stream->disposition & AV_DISPOSITION_ATTACHED_PIC) || stream->attached_pic.size <= 0) continue;
      const AVCodecID id = stream->codecpar->codec_id;
      if (id != AV_CODEC_ID_MJPEG && id != AV_CODEC_ID_PNG) continue;
      CoverPicture cover;
      cover.codec = id;
      cover.data.assign(stream->attached_pic.data, stream->attached_pic.data + stream->attached_pic.size);
      cover.width = stream->codecpar->width;
      cover.height = stream->codecpar->height;
      info_.cover = std::move(cover);
      break;
    }
  }

  std::unique_ptr<AVFormatContext, FormatCloser> format_;
  std::unique_ptr<AVCodecContext, CodecCloser> codec_;
  std::unique_ptr<AVPacket, PacketFreer> packet_;
  std::unique_ptr<AVFrame, FrameFreer> pending_;
  bool hasPending_ = false;
  bool flushed_ = false;
  int stream_ = -1;
  SourceInfo info_;
};

}  // namespace

std::u16string FfmpegErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return tessaroven::Utf8ToUtf16(text);
}

std::unique_ptr<AudioDecoder> OpenFfmpegDecoder(const std::u16string& path, std::u16string& error) {
  auto decoder = std::make_unique<FfmpegDecoder>();
  if (!decoder->Open(path, error)) return nullptr;
  return decoder;
}

}  // namespace kovantrix
