// Reading one file's audio format, properties and tags through its plug-in, and
// turning them into the values the file list shows.
//
// Runs on the thread that owns the decoder object (the file-information worker, or
// the main thread for the metadata filter). ReadFileInfo reads the "UnitsFreq"
// setting once per file; everything else here is pure.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "decode/decoder.h"
#include "decode/tag_block.h"

namespace tessaroven {

// A file's audio format: the WAVEFORMATEX the plug-in filled, its extra bytes, and for
// PCM and float block alignment and average bytes per second recomputed.
struct AudioFormat {
  TsvWaveFormatEx wave{};
  std::vector<std::uint8_t> extra;
};

// The format as copied from an open record: extra bytes come from right behind the
// WAVEFORMATEX in the record, never past its end.
AudioFormat CopyAudioFormat(const TsvOpenRecord& record);

// What a plug-in reported for one file, before presentation.
struct RawFileInfo {
  AudioFormat format;
  TsvPropertyBlock properties{};
  TagList tags1;
  TagList tags2;
};

// The per-file values the rest of the program uses.
struct FileInfo {
  bool opened = false;  // false: no plug-in could open it; nothing below is set
  AudioFormat format;
  TsvPropertyBlock properties{};
  TagList tags;
  std::int64_t lengthMs = 0;
  std::uint32_t bitRate = 0;  // bits per second
  std::int32_t rating = 0;
};

// Settings key and value steering "Sample Rate": 0 shows kHz, anything else Hz.
inline constexpr std::u16string_view kRefSettingsKey = u"Software\\Orvandelle\\Tessaroven\\Ref";
inline constexpr std::u16string_view kUnitsFreqValue = u"UnitsFreq";

// Opens `file` through a plug-in chosen with OpenDecoderForFile, copies what it reports
// and computes the column values. Destroys the plug-in instance before returning (the
// library stays loaded in `decoder` for the next file). False (with info.opened false
// and `info` otherwise untouched) when no plug-in decodes or opens the file.
bool ReadFileInfo(std::u16string_view file, clQzDecoder& decoder, FileInfo& info);

// The column values from what the plug-in reported: merges the tag lists and sets
// "Length", "Channels", "Sample Rate", "Sample Size", "Bit Rate", "Compression",
// "Track", "Compilation", the two album sort keys and "AccurateRipResult" (empty when
// the plug-in gave none). `file` gives the extension.
FileInfo PresentFileInfo(RawFileInfo raw, std::u16string_view file, std::uint32_t unitsFreq);

// The leading whole number of `text` after leading blanks: optional sign, digits, up to
// the first other character; 0 without digits. Saturates instead of overflowing.
std::int32_t LeadingNumber(std::u16string_view text);

// What the "Audio Quality" column sorts by: "High..." first, then "CD ", "DVD ",
// "DAT " and "Perfect..." labels, whatever follows the label. The prefixes match in
// any case ("cd ", "PERFECT"): the values come from taggers and rippers alike.
std::u16string AudioQualitySortKey(std::u16string_view value);
// Three-way comparison of two "Audio Quality" values by their sort keys.
int CompareAudioQuality(std::u16string_view a, std::u16string_view b);

}  // namespace tessaroven
