#include "filters/metadata_filter.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "filters/date_filter.h"
#include "filters/value_key.h"

namespace tessaroven {

bool clFiltered::Contains(std::uint32_t key) const { return std::binary_search(keys_.begin(), keys_.end(), key); }

bool clFiltered::Add(std::uint32_t key) {
  if (key == 0) return false;
  const auto at = std::lower_bound(keys_.begin(), keys_.end(), key);
  if (at != keys_.end() && *at == key) return false;
  keys_.insert(at, key);
  return true;
}

bool clFiltered::Remove(std::uint32_t key) {
  const auto at = std::lower_bound(keys_.begin(), keys_.end(), key);
  if (at == keys_.end() || *at != key) return false;
  keys_.erase(at);
  return true;
}

std::vector<std::uint8_t> clFiltered::ToBytes() const {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(keys_.size() * 4);
  for (const std::uint32_t key : keys_) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(key >> shift));
  }
  return bytes;
}

void clFiltered::FromBytes(std::span<const std::uint8_t> bytes) {
  keys_.clear();
  for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
    const std::uint32_t key =
        bytes[i] | (bytes[i + 1] << 8) | (bytes[i + 2] << 16) | (static_cast<std::uint32_t>(bytes[i + 3]) << 24);
    if (key != 0) keys_.push_back(key);
  }
  std::sort(keys_.begin(), keys_.end());
  keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
}

std::uint32_t clFilters::KeyFor(std::u16string_view value, bool newFile) {
  const std::uint32_t key = ValueKey(value);
  std::size_t at = catalogue_.Find(key);
  if (at == FilterValueCatalogue::npos) at = catalogue_.Add(STFiltered{std::u16string(value), key, 0});
  if (newFile) ++catalogue_[at].files;
  return key;
}

bool clFilters::Excludes(std::uint32_t key) const {
  if (key == 0) return false;
  return marked_.Contains(key) != excludeAll_;
}

void clFilters::ClearSelection() {
  marked_.Clear();
  excludeAll_ = false;
}

std::u16string SlotValueFor(std::u16string_view field, const TagList& tags) {
  const std::u16string value = TagValue(tags, field);
  if (value.empty()) return u"[no " + std::u16string(field) + u"]";
  if (!AsciiFoldEquals(field, u"aLbum")) return value;
  std::u16string artist = TagValue(tags, u"Album Artist");
  if (artist.empty() && ParseLeadingInt32(TagValue(tags, u"Compilation")) == 0) artist = TagValue(tags, u"Artist");
  if (artist.empty()) return value;
  return artist + u" - " + value;
}

bool ReadFilterTags(std::u16string_view path, clQzDecoder& decoder, TagList& tags) {
  TsvCreateBlock block{};
  if (!OpenDecoderForFile(path, decoder, block)) return false;
  const std::u16string zeroTerminated(path);
  TsvOpenRecord record;
  std::memset(&record, 0, sizeof(record));
  record.path = zeroTerminated.c_str();
  record.magic = TSV_OPEN_RECORD_MAGIC;
  const bool opened = decoder.Entry().Open(decoder.Instance(), &record) != 0;
  // The block belongs to the instance: parse it before the instance goes.
  if (opened) tags = ParseTagBlock(record.tags1, record.tags1_length);
  decoder.DestroyInstance();
  return opened;
}

void MetadataFilter::SetFields(const FilterFieldNames& fields) {
  for (std::size_t i = 0; i < kMetadataSlotCount; ++i) slots_[i].SetField(fields[i]);
}

FilterFieldNames MetadataFilter::Fields() const {
  FilterFieldNames fields;
  for (std::size_t i = 0; i < kMetadataSlotCount; ++i) fields[i] = slots_[i].Field();
  return fields;
}

bool MetadataFilter::AnyMetadataSlotActive() const {
  return std::any_of(slots_.begin(), slots_.end(), [](const clFilters& slot) { return slot.Active(); });
}

bool MetadataFilter::IsMetadataExcluded(std::u16string_view path, clQzDecoder& decoder) {
  TagList tags;
  const bool opened = ReadFilterTags(path, decoder, tags);
  const bool newFile = seenFiles_.insert(std::hash<std::u16string_view>{}(path)).second;
  return IsExcludedByTags(opened ? &tags : nullptr, newFile);
}

bool MetadataFilter::IsExcludedByTags(const TagList* tags, bool newFile) {
  std::array<std::uint32_t, kMetadataSlotCount> keys{};
  if (tags != nullptr) {
    // Every slot learns the file's value before any slot decides, so the catalogues
    // offer the values of excluded files too.
    for (std::size_t i = 0; i < kMetadataSlotCount; ++i) {
      if (!slots_[i].Field().empty()) keys[i] = slots_[i].KeyFor(SlotValueFor(slots_[i].Field(), *tags), newFile);
    }
  }
  for (std::size_t i = 0; i < kMetadataSlotCount; ++i) {
    if (slots_[i].Excludes(keys[i])) return true;
  }
  return false;
}

void MetadataFilter::ClearSelections() {
  for (clFilters& slot : slots_) slot.ClearSelection();
}

}  // namespace tessaroven
