#include "real_plugin.h"

#include <dlfcn.h>

#include <cstring>

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
  if (!create_ || !destroy_ || !get_ || !open_) {
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

}  // namespace tessaroven::test
