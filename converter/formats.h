// The output formats and their named quality presets. Plain data, so that the
// settings, the command line and the window agree on names without FFmpeg.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace kovantrix {

enum class Format { kFlac, kMp3, kOpus, kAac, kWav };

// What a preset asks of the encoder. Only the fields of its format mean anything.
struct Preset {
  std::u16string_view name;   // as stored in the settings and given to --preset
  std::u16string_view label;  // as the window shows it
  int compressionLevel = -1;  // FLAC
  int vbrQuality = -1;        // MP3 VBR (LAME's V0..V9)
  int kbps = 0;               // MP3 CBR, Opus, AAC
  int bitsPerSample = 0;      // WAV: 0 keeps the source's depth
};

struct FormatInfo {
  Format format;
  std::u16string_view name;       // "flac"
  std::u16string_view label;      // "FLAC"
  std::u16string_view extension;  // ".flac"
  bool lossless;
  std::span<const Preset> presets;
  std::size_t defaultPreset;
};

std::span<const FormatInfo> AllFormats();
const FormatInfo& InfoOf(Format format);
// Names compare with the ASCII fold ("FLAC", "flac").
const FormatInfo* FindFormat(std::u16string_view name);
const Preset* FindPreset(const FormatInfo& format, std::u16string_view name);
// The named preset, else the format's default.
const Preset& PresetOrDefault(const FormatInfo& format, std::u16string_view name);

}  // namespace kovantrix
