// Decoding through the selector's decoder plug-ins: the plug-in that the registry and
// its cache choose for the file's extension (src/decode/decoder.h), its PCM blocks
// handed on as AVFrames. A third-party plug-in in the "decoder" folder thereby adds
// its format to the converter as well as to the selector.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "converter/audio_decoder.h"

namespace kovantrix {

// A decoder reading `path` through its plug-in; null when no plug-in declares the
// extension, the plug-in cannot open the file, or it cannot decode it (its first
// DecodeBlock fails, as a plug-in that reads tags only answers). The caller then
// decodes the file by other means, which also word any error for the user.
std::unique_ptr<AudioDecoder> OpenPluginDecoder(const std::u16string& path);

// How many files a plug-in has decoded (started to) in this process.
std::uint64_t PluginDecodedFileCount();

}  // namespace kovantrix
