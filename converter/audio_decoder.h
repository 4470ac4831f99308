// The converter's view of a decoder: a source opened once, described once, then
// read as a stream of PCM frames until its end.
//
// Frames are FFmpeg's AVFrame, which the resampler and the encoders take as they
// are. A file's decoder plug-in (the selector's registry, plugin_decoder.h) is tried
// first and fills them from its blocks; FFmpeg's libraries (ffmpeg_decoder.h) decode
// what no plug-in does.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

namespace kovantrix {

struct CoverPicture {
  AVCodecID codec = AV_CODEC_ID_NONE;  // AV_CODEC_ID_MJPEG or AV_CODEC_ID_PNG
  std::vector<std::uint8_t> data;
  int width = 0;
  int height = 0;
};

struct SourceInfo {
  AVCodecID codec = AV_CODEC_ID_NONE;
  int sampleRate = 0;
  AVChannelLayout layout{};
  AVSampleFormat sampleFormat = AV_SAMPLE_FMT_NONE;
  // Significant bits of integer samples (24 for 24-bit audio in 32-bit words); 0
  // when the decoder does not say.
  int bitsPerSample = 0;
  bool lossless = false;
  // The length in samples when the container states it; 0 when unknown.
  std::int64_t lengthInSamples = 0;
  // Tags as UTF-8 name and value pairs, in FFmpeg's common names (title, artist,
  // album_artist, album, date, track, disc, genre, comment, composer, ...).
  std::vector<std::pair<std::string, std::string>> tags;
  std::optional<CoverPicture> cover;

  SourceInfo() = default;
  SourceInfo(const SourceInfo& other);
  SourceInfo& operator=(const SourceInfo& other);
  ~SourceInfo();
};

class AudioDecoder {
 public:
  virtual ~AudioDecoder() = default;
  virtual const SourceInfo& Info() const = 0;

  enum class Read { kFrame, kEnd, kError };
  // Fills `frame` (unreferenced by the caller first) with the next samples in
  // Info()'s format and rate. On kError, `error` says why in words for the user.
  virtual Read ReadFrame(AVFrame* frame, std::u16string& error) = 0;
  // How much of the source has been read, from 0 to 1, for the progress shown.
  virtual double Progress() const = 0;
};

// Opens `path` with the first decoder that takes it; null with `error` set when
// none does ("not an audio file", "no audio stream", ...).
std::unique_ptr<AudioDecoder> OpenAudioDecoder(const std::u16string& path, std::u16string& error);

}  // namespace kovantrix
