#include "converter/formats.h"

#include <array>

#include "base/text.h"

namespace kovantrix {
namespace {

// FLAC levels: 0 is several times faster than 5 and a few per cent larger; 8
// squeezes out the last per cent or two at a multiple of the time.
constexpr std::array kFlacPresets{
    Preset{.name = u"fast", .label = u"Fast (level 0)", .compressionLevel = 0},
    Preset{.name = u"default", .label = u"Default (level 5)", .compressionLevel = 5},
    Preset{.name = u"best", .label = u"Smallest (level 8)", .compressionLevel = 8},
};
constexpr std::array kMp3Presets{
    Preset{.name = u"v0", .label = u"VBR V0 (~245 kbps)", .vbrQuality = 0},
    Preset{.name = u"v2", .label = u"VBR V2 (~190 kbps)", .vbrQuality = 2},
    Preset{.name = u"v5", .label = u"VBR V5 (~130 kbps)", .vbrQuality = 5},
    Preset{.name = u"cbr320", .label = u"CBR 320 kbps", .kbps = 320},
    Preset{.name = u"cbr128", .label = u"CBR 128 kbps", .kbps = 128},
};
constexpr std::array kOpusPresets{
    Preset{.name = u"64k", .label = u"64 kbps", .kbps = 64},
    Preset{.name = u"96k", .label = u"96 kbps", .kbps = 96},
    Preset{.name = u"128k", .label = u"128 kbps", .kbps = 128},
    Preset{.name = u"192k", .label = u"192 kbps", .kbps = 192},
};
constexpr std::array kAacPresets{
    Preset{.name = u"128k", .label = u"128 kbps", .kbps = 128},
    Preset{.name = u"192k", .label = u"192 kbps", .kbps = 192},
    Preset{.name = u"256k", .label = u"256 kbps", .kbps = 256},
};
constexpr std::array kWavPresets{
    Preset{.name = u"source", .label = u"Same depth as the source"},
    Preset{.name = u"16bit", .label = u"16 bit", .bitsPerSample = 16},
    Preset{.name = u"24bit", .label = u"24 bit", .bitsPerSample = 24},
};

constexpr std::array kFormats{
    FormatInfo{Format::kFlac, u"flac", u"FLAC", u".flac", true, kFlacPresets, 1},
    FormatInfo{Format::kMp3, u"mp3", u"MP3", u".mp3", false, kMp3Presets, 1},
    FormatInfo{Format::kOpus, u"opus", u"Opus", u".opus", false, kOpusPresets, 2},
    FormatInfo{Format::kAac, u"aac", u"AAC (.m4a)", u".m4a", false, kAacPresets, 1},
    FormatInfo{Format::kWav, u"wav", u"WAV", u".wav", true, kWavPresets, 0},
};

}  // namespace

std::span<const FormatInfo> AllFormats() { return kFormats; }

const FormatInfo& InfoOf(Format format) {
  for (const auto& info : kFormats)
    if (info.format == format) return info;
  return kFormats[0];
}

const FormatInfo* FindFormat(std::u16string_view name) {
  for (const auto& info : kFormats)
    if (tessaroven::AsciiFoldEquals(info.name, name)) return &info;
  return nullptr;
}

const Preset* FindPreset(const FormatInfo& format, std::u16string_view name) {
  for (const auto& preset : format.presets)
    if (tessaroven::AsciiFoldEquals(preset.name, name)) return &preset;
  return nullptr;
}

const Preset& PresetOrDefault(const FormatInfo& format, std::u16string_view name) {
  const Preset* found = FindPreset(format, name);
  return found ? *found : format.presets[format.defaultPreset];
}

}  // namespace kovantrix
