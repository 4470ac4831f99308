// Decoding with FFmpeg's libraries (libavformat and libavcodec), for every format
// they read: the decoder the converter falls back on.
#pragma once

#include <memory>
#include <string>

#include "converter/audio_decoder.h"

namespace kovantrix {

std::unique_ptr<AudioDecoder> OpenFfmpegDecoder(const std::u16string& path, std::u16string& error);

// FFmpeg's text for an error code, in UTF-16 for messages.
std::u16string FfmpegErrorText(int code);

}  // namespace kovantrix
