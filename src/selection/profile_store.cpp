#include "selection/profile_store.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace tessaroven {
namespace {

constexpr std::uint64_t kMaxLength = static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());

std::u16string_view UpToZero(std::u16string_view text) { return text.substr(0, text.find(u'\0')); }

std::int32_t ReadInt32(const std::uint8_t* p) {
  const std::uint32_t value = static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
                              (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
  return static_cast<std::int32_t>(value);
}

void AppendUint32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void AppendText(std::vector<std::uint8_t>& out, std::u16string_view text) {
  for (const char16_t unit : text) {
    out.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    out.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  out.push_back(0);
  out.push_back(0);
}

// Reads UTF-16LE units from [pos, end) up to a zero unit; advances `pos` past it.
// Nullopt when no zero unit lies inside the range.
std::optional<std::u16string> ReadText(const std::uint8_t* data, std::size_t& pos, std::size_t end) {
  std::u16string text;
  while (pos + 2 <= end) {
    const auto unit = static_cast<char16_t>(data[pos] | (data[pos + 1] << 8));
    pos += 2;
    if (unit == u'\0') return text;
    text.push_back(unit);
  }
  return std::nullopt;
}

}  // namespace

void ProfileStore::Set(std::u16string_view key, std::u16string_view value, std::span<const std::uint8_t> data) {
  key = UpToZero(key);
  value = UpToZero(value);
  const auto found =
      std::find_if(records_.begin(), records_.end(), [&](const ProfileRecord& r) { return r.key == key; });
  ProfileRecord& record = found != records_.end() ? *found : records_.emplace_back();
  record.key = key;
  record.value = value;
  record.data.assign(data.begin(), data.end());
}

const ProfileRecord* ProfileStore::Find(std::u16string_view key) const {
  for (const auto& record : records_) {
    if (record.key == key) return &record;
  }
  return nullptr;
}

std::u16string ProfileStore::Text(std::u16string_view key) const {
  const ProfileRecord* record = Find(key);
  return record ? record->value : std::u16string();
}

std::vector<std::uint8_t> ProfileStore::Data(std::u16string_view key) const {
  const ProfileRecord* record = Find(key);
  return record ? record->data : std::vector<std::uint8_t>();
}

std::vector<std::uint8_t> ProfileStore::Serialize() const {
  // Sizes first: one allocation, and a record too long for the format is refused
  // before anything is built.
  std::uint64_t total = 4;
  for (const auto& record : records_) {
    const std::uint64_t length =
        4 + 2 * (record.key.size() + 1) + 2 * (record.value.size() + 1) + std::uint64_t{record.data.size()};
    if (length > kMaxLength) return {};
    total += length;
  }
  if (total > kMaxLength) return {};

  std::vector<std::uint8_t> out;
  out.reserve(static_cast<std::size_t>(total));
  AppendUint32(out, static_cast<std::uint32_t>(records_.size()));
  for (const auto& record : records_) {
    const std::size_t length = 4 + 2 * (record.key.size() + 1) + 2 * (record.value.size() + 1) + record.data.size();
    AppendUint32(out, static_cast<std::uint32_t>(length));
    AppendText(out, record.key);
    AppendText(out, record.value);
    out.insert(out.end(), record.data.begin(), record.data.end());
  }
  return out;
}

ProfileStore ProfileStore::Parse(std::span<const std::uint8_t> buffer, std::optional<std::size_t>* damageAt) {
  ProfileStore store;
  if (damageAt != nullptr) *damageAt = std::nullopt;
  if (buffer.size() < 5) return store;
  const std::int32_t count = ReadInt32(buffer.data());
  if (count < 1) return store;

  const std::uint8_t* data = buffer.data();
  const std::size_t size = buffer.size();
  std::size_t pos = 4;
  const auto damaged = [&] {
    if (damageAt != nullptr) *damageAt = pos;
  };
  for (std::int32_t read = 0; read < count && pos < size; ++read) {
    if (size - pos < 4) return damaged(), store;
    const std::int32_t length = ReadInt32(data + pos);
    // A length below 4 cannot even hold itself.
    if (length < 4 || static_cast<std::size_t>(length) > size - pos) return damaged(), store;
    const std::size_t end = pos + static_cast<std::size_t>(length);
    std::size_t at = pos + 4;
    const std::optional<std::u16string> key = ReadText(data, at, end);
    if (!key) return damaged(), store;
    const std::optional<std::u16string> value = ReadText(data, at, end);
    if (!value) return damaged(), store;
    store.Set(*key, *value, buffer.subspan(at, end - at));
    pos = end;
  }
  return store;
}

}  // namespace tessaroven
