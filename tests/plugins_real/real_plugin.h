// Loads a real decoder plug-in from the build's "decoder" folder with dlopen and
// reads files through its exports the way the selector does: a fresh instance per
// file, a zeroed open record, the tag blocks parsed by the selector's own reader and
// the instance destroyed. Unlike ReadFileInfo it keeps the two blocks apart from any
// presentation, so the tests see exactly what the plug-in wrote.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#define TESSAROVEN_DECODER_PLUGIN_HOST
#include "tessaroven/decoder_plugin.h"
#include "decode/tag_block.h"

namespace tessaroven::test {

struct ReadResult {
  bool opened = false;
  TsvWaveFormatEx format{};
  std::uint32_t bitRate = 0;
  std::int64_t lengthMs = 0;
  std::int64_t compressedSize = 0;
  TagList tags;  // the first block's, then the second's, in block order

  // The value of the tag of that name, empty when absent.
  std::u16string Tag(std::u16string_view name) const { return TagValue(tags, name); }
};

// One file decoded through DecodeBlock as the converter does, with a buffer that
// holds a few frames and a bit more, so that blocks end mid-way through the
// plug-in's own frames.
struct DecodeRun {
  bool opened = false;
  int channels = 0;
  std::int32_t seeked = -1;      // what SetPosition returned, -1 when not called
  std::int32_t firstBlock = 0;   // what the first DecodeBlock returned
  std::int64_t frames = 0;       // sample frames until DecodeBlock returned 0
  bool wholeFrames = true;       // every block a whole number of sample frames
  bool failedMidway = false;     // a negative return after the first block
  float peak = 0;                // largest magnitude seen
  std::int32_t afterEnd = -1;    // DecodeBlock once more after the end
  std::int32_t closed = 0;       // what Close returned
  std::int32_t afterClose = 0;   // DecodeBlock after Close
};

class RealPlugin {
 public:
  explicit RealPlugin(const std::string& name);  // "taglib" or "ffmpeg"
  ~RealPlugin();
  RealPlugin(const RealPlugin&) = delete;
  RealPlugin& operator=(const RealPlugin&) = delete;

  bool Loaded() const { return create_ != nullptr; }

  // The "Decodes" list as the selector reads it: (extension, description) pairs.
  std::vector<std::pair<std::u16string, std::u16string>> Decodes() const;
  ReadResult Read(const std::string& path) const;
  // Opens path twice on one instance; the results of the two Open calls.
  std::pair<bool, bool> OpenTwice(const std::string& path) const;
  // Opens path, moves to seekMs when it is not negative, decodes to the end, closes.
  DecodeRun Decode(const std::string& path, std::int64_t seekMs = -1) const;

 private:
  using Instance = std::unique_ptr<void, TsvDestroyFn>;
  Instance NewInstance() const;
  bool Open(const Instance& instance, const std::u16string& path, TsvOpenRecord& record) const;

  void* handle_ = nullptr;
  int exportCount_ = 0;
  TsvCreateFn create_ = nullptr;
  TsvDestroyFn destroy_ = nullptr;
  TsvGetFn get_ = nullptr;
  TsvOpenFn open_ = nullptr;
  TsvCloseFn close_ = nullptr;
  TsvDecodeBlockFn decodeBlock_ = nullptr;
  TsvSetPositionFn setPosition_ = nullptr;
};

// The folder of the fixtures, ending in "/".
std::string DataFolder();

}  // namespace tessaroven::test
