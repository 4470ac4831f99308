#include "real_plugin.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/text.h"

namespace tessaroven::test {

std::string DataFolder() { return std::string(TESSAROVEN_TEST_DATA) + "/"; }

RealPlugin::RealPlugin(const std::string& name) {
  const std::string path = std::string(TESSAROVEN_PLUGIN_DIR) + "/" + name + ".so";
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) return;
  for (const char* symbol :
       {"Create", "Destroy", "Get", "Set", "Open", "Close", "DecodeBlock", "SetPosition", "DeleteATag"}) {
    if (dlsym(handle_, symbol)) ++exportCount_;
  }
  const auto resolve = [this](auto& slot, const char* symbol) {
    slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(dlsym(handle_, symbol));
  };
  resolve(destroy_, "Destroy");
  resolve(get_, "Get");
  resolve(open_, "Open");
  resolve(close_, "Close");
  resolve(decodeBlock_, "DecodeBlock");
  resolve(setPosition_, "SetPosition");
  // A plug-in without all nine exports is not loaded at all, as in the selector.
  if (exportCount_ == 9) resolve(create_, "Create");
}

RealPlugin::~RealPlugin() {
  if (handle_) dlclose(handle_);
}

RealPlugin::Instance RealPlugin::NewInstance() const {
  TsvCreateBlock block{};
  return Instance(Loaded() ? create_(&block) : nullptr, destroy_);
}

bool RealPlugin::Open(const Instance& instance, const std::u16string& path, TsvOpenRecord& record) const {
  std::memset(&record, 0, sizeof record);
  record.path = path.c_str();
  record.magic = TSV_OPEN_RECORD_MAGIC;
  return open_(instance.get(), &record) != 0;
}

std::vector<std::pair<std::u16string, std::u16string>> RealPlugin::Decodes() const {
  std::vector<std::pair<std::u16string, std::u16string>> rows;
  const Instance instance = NewInstance();
  for (std::uint32_t index = 0; instance && index < 10000; ++index) {
    TsvItemRecord item{};
    item.index = index;
    if (get_(instance.get(), u"Decodes", &item) == 0 || !item.text1 || !item.text2) break;
    rows.emplace_back(item.text1, item.text2);
  }
  return rows;
}

ReadResult RealPlugin::Read(const std::string& path) const {
  ReadResult result;
  const Instance instance = NewInstance();
  const std::u16string widePath = FromOsString(path);
  TsvOpenRecord record;
  if (!instance || !Open(instance, widePath, record)) return result;
  result.opened = true;
  result.format = record.format;
  result.bitRate = record.properties.bit_rate;
  result.lengthMs = record.properties.length_ms;
  result.compressedSize = record.properties.compressed_size;
  result.tags = ParseTagBlock(record.tags1, record.tags1_length);
  for (auto& tag : ParseTagBlock(record.tags2, record.tags2_length)) result.tags.push_back(std::move(tag));
  return result;
}

std::pair<bool, bool> RealPlugin::OpenTwice(const std::string& path) const {
  const Instance instance = NewInstance();
  const std::u16string widePath = FromOsString(path);
  TsvOpenRecord record;
  if (!instance) return {false, false};
  const bool first = Open(instance, widePath, record);
  return {first, Open(instance, widePath, record)};
}

DecodeRun RealPlugin::Decode(const std::string& path, std::int64_t seekMs) const {
  DecodeRun run;
  const Instance instance = NewInstance();
  const std::u16string widePath = FromOsString(path);
  TsvOpenRecord record;
  run.opened = instance && Open(instance, widePath, record);
  if (!run.opened) return run;
  run.channels = record.format.channels;
  if (seekMs >= 0) run.seeked = setPosition_(instance.get(), seekMs);
  std::vector<float> buffer(4096 * 3 + 5);
  const std::uint32_t capacity = static_cast<std::uint32_t>(buffer.size() * sizeof(float)) - 3;
  const std::size_t frameBytes = sizeof(float) * static_cast<std::size_t>(std::max(1, run.channels));
  for (bool first = true;; first = false) {
    const std::int32_t bytes = decodeBlock_(instance.get(), buffer.data(), capacity);
    if (first) run.firstBlock = bytes;
    run.failedMidway = bytes < 0 && !first;
    if (bytes <= 0) break;
    run.wholeFrames = run.wholeFrames && bytes % frameBytes == 0;
    run.frames += static_cast<std::int64_t>(bytes / frameBytes);
    for (std::size_t i = 0; i < bytes / sizeof(float); ++i) run.peak = std::max(run.peak, std::fabs(buffer[i]));
  }
  if (run.firstBlock >= 0) run.afterEnd = decodeBlock_(instance.get(), buffer.data(), capacity);
  run.closed = close_(instance.get());
  run.afterClose = decodeBlock_(instance.get(), buffer.data(), capacity);
  return run;
}

}  // namespace tessaroven::test
