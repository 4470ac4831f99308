#include "decode/tag_block.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"

namespace tessaroven {

namespace {

std::int32_t ReadInt32(const std::uint8_t* p) {
  const std::uint32_t v = static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
                          (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
  return static_cast<std::int32_t>(v);
}

// Reads UTF-16LE units from [pos, end) up to and including a zero unit; an odd last
// byte is no unit.
std::u16string ReadText(const std::uint8_t* data, std::int64_t& pos, std::int64_t end) {
  // Measured first and filled in one go: a block holds dozens of texts per file, and
  // growing each one unit by unit showed up in the file-information benchmark.
  std::int64_t stop = pos;
  while (end - stop >= 2 && (data[stop] | data[stop + 1]) != 0) stop += 2;
  std::u16string text(static_cast<std::size_t>((stop - pos) / 2), u'\0');
  for (char16_t& unit : text) {
    unit = static_cast<char16_t>(data[pos] | (data[pos + 1] << 8));
    pos += 2;
  }
  if (end - pos >= 2) pos += 2;  // the zero unit
  return text;
}

}  // namespace

TagList ParseTagBlock(const std::uint8_t* data, std::int64_t length) {
  TagList tags;
  if (data == nullptr || length <= 4) return tags;
  const std::int32_t count = ReadInt32(data);
  // Every record takes at least 4 bytes, which bounds what a damaged count can reserve.
  if (count > 0) tags.reserve(static_cast<std::size_t>(std::min<std::int64_t>(count, (length - 4) / 4)));
  std::int64_t pos = 4;
  for (std::int32_t i = 0; i < count; ++i) {
    if (length - pos < 4) break;
    const std::int32_t size = ReadInt32(data + pos);
    // A size below 4 cannot even hold itself; taking it would loop in place.
    if (size < 4 || size > length - pos) break;
    const std::int64_t end = pos + size;
    std::int64_t at = pos + 4;
    Tag tag;
    tag.name = ReadText(data, at, end);
    tag.value = ReadText(data, at, end);
    tag.binary.assign(data + at, data + end);
    tags.push_back(std::move(tag));
    pos = end;
  }
  return tags;
}

bool HasTag(const TagList& tags, std::u16string_view name) {
  return std::any_of(tags.begin(), tags.end(), [&](const Tag& t) { return AsciiFoldEquals(t.name, name); });
}

void MergeTags(TagList& first, const TagList& second) {
  const std::size_t original = first.size();
  for (const Tag& tag : second) {
    const auto end = first.begin() + static_cast<std::ptrdiff_t>(original);
    const bool present =
        std::any_of(first.begin(), end, [&](const Tag& t) { return AsciiFoldEquals(t.name, tag.name); });
    if (!present) first.push_back(tag);
  }
}

std::u16string_view TagValueView(const TagList& tags, std::u16string_view name) {
  for (const Tag& t : tags) {
    if (AsciiFoldEquals(t.name, name)) return t.value;
  }
  return {};
}

std::u16string TagValue(const TagList& tags, std::u16string_view name) {
  return std::u16string(TagValueView(tags, name));
}

void SetTag(TagList& tags, std::u16string_view name, std::u16string_view value) {
  for (Tag& t : tags) {
    if (AsciiFoldEquals(t.name, name)) {
      t.value = std::u16string(value);
      t.binary.clear();
      return;
    }
  }
  tags.push_back(Tag{std::u16string(name), std::u16string(value), {}});
}

void RemoveTag(TagList& tags, std::u16string_view name) {
  std::erase_if(tags, [&](const Tag& t) { return AsciiFoldEquals(t.name, name); });
}

}  // namespace tessaroven
