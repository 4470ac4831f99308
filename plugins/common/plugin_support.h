// What the two real decoder plug-ins share: UTF conversions, the tag block format,
// the "audio quality" label, column names for tag keys, and the instance state that
// owns everything handed out through the records.
//
// Compiled into each plug-in (position-independent, hidden visibility), never into
// the core. Nothing here throws across the C exports: each export wraps its body in
// GuardedCall.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessaroven/decoder_plugin.h"

namespace tessaroven::plugin {

// UTF-16 path from the open record to the bytes the OS expects. Lone surrogates
// U+DC80..U+DCFF are the host's escape for bytes that are not UTF-8 and turn back
// into those bytes, so every name on disk can be opened.
std::string PathToNative(const char16_t* path);

// UTF-8 tag text to UTF-16; invalid bytes use the same escape as paths.
std::u16string FromUtf8(std::string_view text);
std::u16string FromAscii(std::string_view text);

// True when path names an existing regular file (not a folder, device or pipe).
bool IsRegularFile(const std::string& nativePath, std::int64_t* size);

// A tag block in the layout of the open record: count, then sized entries.
class TagBlock {
 public:
  // Adds one tag; an empty value is skipped, since it carries nothing to show.
  void Add(std::u16string_view name, std::u16string_view value);
  // Adds value to an existing tag of that name (joined by "\r"), or adds the tag.
  void Append(std::u16string_view name, std::u16string_view value);
  bool Has(std::u16string_view name) const;
  std::size_t Count() const { return tags_.size(); }
  // The bytes to hand out; stays valid until the next call that changes the block.
  const std::vector<std::uint8_t>& Bytes();

 private:
  std::vector<std::pair<std::u16string, std::u16string>> tags_;
  std::vector<std::uint8_t> bytes_;
};

// Column name for a tag key of TagLib's property map or FFmpeg's metadata ("ARTIST",
// "album_artist", "REPLAYGAIN_TRACK_GAIN"). Known keys get their column's name;
// others are written in title case word by word, underscores kept
// ("Replaygain_Track_Gain"), so a key read from two formats lands in one column.
std::u16string ColumnNameForKey(std::string_view key);

// Shape of a source for the quality label.
struct AudioShape {
  bool lossless = false;
  bool floatingPoint = false;
  int bitsPerSample = 0;  // 0 when the codec has none
  int sampleRate = 0;
  int dsdMultiple = 0;  // 64, 128, ... for DSD sources, else 0
};

// The "audio quality" value, or empty for lossy sources (their bit rate says more).
// Lossless values always contain "Lossless"; the label in front groups them so that
// the column's sort key orders them: "High Resolution ..." (above 48 kHz, above 24 bit,
// floating point or DSD) before "CD ..." (16 bit / 44.1 kHz), "DAT ..." (16 bit / 32 or
// 48 kHz) and "DVD ..." (20 or 24 bit / 44.1 or 48 kHz); anything below CD is plain
// "Lossless (...)".
std::u16string QualityLabel(const AudioShape& shape);

// "44.1 kHz", "48 kHz", "2822.4 kHz": a dot, whatever the locale, since the plug-in
// writes one text for every user.
std::u16string KiloHertzText(int rate);

// DSD multiple from the 1-bit sample rate (2822400 -> 64); 0 when not a DSD rate.
int DsdMultiple(std::int64_t oneBitRate);

// What one Open found, before it is written into the record.
struct OpenResult {
  std::uint16_t formatTag = TSV_FORMAT_TAG_PCM;
  int channels = 0;
  int sampleRate = 0;
  int bitsPerSample = 16;
  std::uint32_t bitRate = 0;
  std::int64_t lengthMs = 0;
  std::int64_t compressedSize = 0;
};

// State of one instance: owns every block and text handed out until Destroy.
struct InstanceBase {
  bool opened = false;
  TagBlock tags;  // its bytes are what the record's tag block points at
  // Set by a plug-in that decodes, when Open succeeded: the file to decode. Decoding
  // starts only on the first DecodeBlock or SetPosition, so the selector, which only
  // opens, never pays for a decoder.
  std::u16string decodePath;
  void* decoding = nullptr;  // the decoder's state once started, owned by the plug-in
  bool closed = false;
};

// Writes result and the instance's tags into the record; the tag bytes are kept by
// the instance.
void Publish(InstanceBase& instance, const OpenResult& result, TsvOpenRecord* record);

struct DecodeRow {
  const char16_t* extension;
  const char16_t* description;
};

// Answers "Decodes" from rows and "Property Elements" from propertyElements.
std::int32_t AnswerGet(const DecodeRow* rows, std::size_t rowCount, const char16_t* propertyElements,
                       const TsvChar16* itemName, TsvItemRecord* item);

// What a plug-in supplies; the nine C exports (plugin_exports.cpp) are shared and
// built from it. Each plug-in defines kPlugin once.
struct PluginDescription {
  const DecodeRow* rows;  // the "Decodes" list
  std::size_t rowCount;
  const char16_t* propertyElements;  // "\r"-separated
  void (*prepare)();                 // on every Create: quiets the library's own logging
  // Fills the record for the instance's one file; may throw (the export catches).
  bool (*open)(InstanceBase& instance, TsvOpenRecord* record);
  // Decoding, as the exports of the same names; null in a plug-in that reads tags
  // only, whose exports then fail. release frees instance.decoding, if any.
  std::int32_t (*decodeBlock)(InstanceBase& instance, void* buffer, std::uint32_t capacity);
  std::int32_t (*setPosition)(InstanceBase& instance, std::int64_t positionMs);
  void (*release)(InstanceBase& instance);
};
extern const PluginDescription kPlugin;

// Runs body and turns any exception into fallback: no exception crosses the C boundary.
template <typename Result, typename Body>
Result GuardedCall(Result fallback, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return fallback;
  }
}

}  // namespace tessaroven::plugin
