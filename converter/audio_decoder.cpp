#include "converter/audio_decoder.h"

#include "converter/ffmpeg_decoder.h"
#include "converter/plugin_decoder.h"

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
  // The plug-in the selector would read the file with comes first, so that a format a
  // plug-in adds converts too; FFmpeg takes what no plug-in decodes, and words the
  // errors of files that cannot be read at all.
  if (auto decoder = OpenPluginDecoder(path)) return decoder;
  return OpenFfmpegDecoder(path, error);
}

}  // namespace kovantrix
