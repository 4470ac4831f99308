#include "converter/audio_decoder.h"

#include "converter/ffmpeg_decoder.h"

namespace kovantrix {

SourceInfo::SourceInfo(const SourceInfo& other)
    : codec(other.codec),
      sampleRate(other.sampleRate),
      sampleFormat(other.sampleFormat),
      bitsPerSample(other.bitsPerSample),
      lossless(other.lossless),
      lengthInSamples(other.lengthInSamples),
      tags(other.tags),
      cover(other.cover) {
  av_channel_layout_copy(&layout, &other.layout);
}

SourceInfo& SourceInfo::operator=(const SourceInfo& other) {
  if (this == &other) return *this;
  codec = other.codec;
  sampleRate = other.sampleRate;
  av_channel_layout_uninit(&layout);
  av_channel_layout_copy(&layout, &other.layout);
  sampleFormat = other.sampleFormat;
  bitsPerSample = other.bitsPerSample;
  lossless = other.lossless;
  lengthInSamples = other.lengthInSamples;
  tags = other.tags;
  cover = other.cover;
  return *this;
}

SourceInfo::~SourceInfo() { av_channel_layout_uninit(&layout); }

std::unique_ptr<AudioDecoder> OpenAudioDecoder(const std::u16string& path, std::u16string& error) {
  // The place for decoders behind the plug-ins: tried first, FFmpeg taking what
  // none of them decodes.
  return OpenFfmpegDecoder(path, error);
}

}  // namespace kovantrix
