#include "real_plugin.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/text.h"

namespace tessaroven::test {

std::u16string ReadResult::Tag(std::u16string_view name) const { return TagValue(tags, name); }

std::string DataFolder() { return std::string(TESSAROVEN_TEST_DATA) + "/"; }

RealPlugin::RealPlugin(const std::string& name) {
  const std::string path = std::string(TESSAROVEN_PLUGIN_DIR) + "/" + name + ".so";
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) {
    error_ = dlerror();
    return;
  }
  for (const char* symbol :
       {"Create", "Destroy", "Get", "Set", "Open", "Close", "DecodeBlock", "SetPosition", "DeleteATag"}) {
    if (dlsym(handle_, symbol)) ++exportCount_;
  }
  create_ = reinterpret_cast<TsvCreateFn>(dlsym(handle_, "Create"));
  destroy_ = reinterpret_cast<TsvDestroyFn>(dlsym(handle_, "Destroy"));
  get_ = reinterpret_cast<TsvGetFn>(dlsym(handle_, "Get"));
  open_ = reinterpret_cast<TsvOpenFn>(dlsym(handle_, "Open"));
  close_ = reinterpret_cast<TsvCloseFn>(dlsym(handle_, "Close"));
  decodeBlock_ = reinterpret_cast<TsvDecodeBlockFn>(dlsym(handle_, "DecodeBlock"));
  setPosition_ = reinterpret_cast<TsvSetPositionFn>(dlsym(handle_, "SetPosition"));
  if (!create_ || !destroy_ || !get_ || !open_ || !close_ || !decodeBlock_ || !setPosition_) {
    error_ = "missing exports in " + path;
    create_ = nullptr;
  }
}

RealPlugin::~RealPlugin() {
  if (handle_) dlclose(handle_);
}

std::vector<std::pair<std::u16string, std::u16string>> RealPlugin::Decodes() const {
  std::vector<std::pair<std::u16string, std::u16string>> rows;
  if (!Loaded()) return rows;
  TsvCreateBlock block{};
  TsvInstance instance = create_(&block);
  if (!instance) return rows;
  for (std::uint32_t index = 0; index < 10000; ++index) {
    TsvItemRecord item{};
    item.index = index;
    if (get_(instance, u"Decodes", &item) == 0 || !item.text1 || !item.text2) break;
    rows.emplace_back(item.text1, item.text2);
  }
  destroy_(instance);
  return rows;
}

std::u16string RealPlugin::PropertyElements() const {
  if (!Loaded()) return {};
  TsvCreateBlock block{};
  TsvInstance instance = create_(&block);
  if (!instance) return {};
  TsvItemRecord item{};
  std::u16string text;
  if (get_(instance, u"Property Elements", &item) != 0 && item.text1) text = item.text1;
  destroy_(instance);
  return text;
}

ReadResult RealPlugin::Read(const std::string& path) const {
  ReadResult result;
  if (!Loaded()) return result;
  TsvCreateBlock block{};
  TsvInstance instance = create_(&block);
  if (!instance) return result;
  const std::u16string widePath = FromOsString(path);
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof record);
  record.path = widePath.c_str();
  record.magic = TSV_OPEN_RECORD_MAGIC;
  if (open_(instance, &record) != 0) {
    result.opened = true;
    result.format = record.format;
    result.bitRate = record.properties.bit_rate;
    result.lengthMs = record.properties.length_ms;
    result.compressedSize = record.properties.compressed_size;
    result.tags = ParseTagBlock(record.tags1, record.tags1_length);
    for (auto& tag : ParseTagBlock(record.tags2, record.tags2_length)) result.tags.push_back(std::move(tag));
  }
  destroy_(instance);
  return result;
}

std::pair<bool, bool> RealPlugin::OpenTwice(const std::string& path) const {
  if (!Loaded()) return {false, false};
  TsvCreateBlock block{};
  TsvInstance instance = create_(&block);
  if (!instance) return {false, false};
  const std::u16string widePath = FromOsString(path);
  bool results[2] = {false, false};
  for (bool& result : results) {
    TsvOpenRecord record;
    std::memset(&record, 0, sizeof record);
    record.path = widePath.c_str();
    record.magic = TSV_OPEN_RECORD_MAGIC;
    result = open_(instance, &record) != 0;
  }
  destroy_(instance);
  return {results[0], results[1]};
}

DecodeRun RealPlugin::Decode(const std::string& path, std::int64_t seekMs) const {
  DecodeRun run;
  if (!Loaded()) return run;
  TsvCreateBlock block{};
  TsvInstance instance = create_(&block);
  if (!instance) return run;
  const std::u16string widePath = FromOsString(path);
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof record);
  record.path = widePath.c_str();
  record.magic = TSV_OPEN_RECORD_MAGIC;
  run.opened = open_(instance, &record) != 0;
  if (run.opened) {
    run.channels = record.format.channels;
    if (seekMs >= 0) run.seeked = setPosition_(instance, seekMs);
    std::vector<float> buffer(4096 * 3 + 5);
    const std::uint32_t capacity = static_cast<std::uint32_t>(buffer.size() * sizeof(float)) - 3;
    for (bool first = true;; first = false) {
      const std::int32_t bytes = decodeBlock_(instance, buffer.data(), capacity);
      if (first) run.firstBlock = bytes;
      if (bytes < 0) {
        run.failedMidway = !first;
        break;
      }
      if (bytes == 0) break;
      const std::size_t frameBytes = sizeof(float) * static_cast<std::size_t>(std::max(1, run.channels));
      run.wholeFrames = run.wholeFrames && bytes % frameBytes == 0;
      run.frames += static_cast<std::int64_t>(bytes / frameBytes);
      for (std::size_t i = 0; i < bytes / sizeof(float); ++i) run.peak = std::max(run.peak, std::fabs(buffer[i]));
    }
    if (run.firstBlock >= 0) run.afterEnd = decodeBlock_(instance, buffer.data(), capacity);
    run.closed = close_(instance);
    run.afterClose = decodeBlock_(instance, buffer.data(), capacity);
  }
  destroy_(instance);
  return run;
}

}  // namespace tessaroven::test
