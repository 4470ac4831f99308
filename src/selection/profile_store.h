// ProfileStore: the key/value records a profile file holds, and their byte form.
//
// A profile file is a record count followed by that many records, with no magic
// number, version or checksum. All integers are 32-bit little-endian, all text is
// UTF-16LE:
//
//   count     4 bytes                 number of records N
//   N records, back to back, each:
//     length  4 bytes                 bytes of the record, these 4 included
//     key     2 x (k + 1) bytes       k UTF-16 units and one zero unit
//     value   2 x (v + 1) bytes       v UTF-16 units and one zero unit
//     data    the rest of the record  binary, possibly empty
//
// Files come from disk and may be truncated, hand-made or damaged, so Parse never
// fails: it keeps every record read before the first damage and ignores the rest.
// What counts as damage:
//   - a buffer of fewer than 5 bytes, or a count below 1 (the count is read as a
//     signed number, so 0x80000000 and above count as below 1): nothing is read;
//   - a record length below 0 or past the end of the buffer: reading stops there;
//   - a key or value whose zero unit does not lie inside its record's length (a
//     record too short for both zero units included): reading stops there. Reading
//     the text up to the next record would take the length field of the next record
//     as characters; stopping keeps the well-formed part.
// Reading also stops, silently, after N records or at the end of the buffer, so a
// count larger than the records present, or bytes after the last record, are
// harmless.
//
// Keys are compared exactly, case included. Setting a key that is already present
// replaces its value and data in place, so the records keep the order in which the
// keys were first set; a file that repeats a key loads as if the later record had
// been set over the earlier one.
//
// A plain value: no thread ties, copy freely.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

struct ProfileRecord {
  std::u16string key;
  std::u16string value;
  std::vector<std::uint8_t> data;
  bool operator==(const ProfileRecord&) const = default;
};

class ProfileStore {
 public:
  // Adds the record, or replaces the value and data of the record with this key.
  // Key and value are cut at a zero unit they may contain: the byte form ends text
  // there, and a store that did not would write a file that reads back differently.
  void Set(std::u16string_view key, std::u16string_view value, std::span<const std::uint8_t> data = {});
  void SetText(std::u16string_view key, std::u16string_view value) { Set(key, value); }
  void SetData(std::u16string_view key, std::span<const std::uint8_t> data) { Set(key, u"", data); }

  // The record with this key, or null.
  const ProfileRecord* Find(std::u16string_view key) const;
  bool Contains(std::u16string_view key) const { return Find(key) != nullptr; }
  // The key's text value or data; empty when the key is missing.
  std::u16string Text(std::u16string_view key) const;
  std::vector<std::uint8_t> Data(std::u16string_view key) const;

  const std::vector<ProfileRecord>& Records() const { return records_; }
  bool Empty() const { return records_.empty(); }

  // The file's bytes, sized first and built in one piece. Empty only when a record
  // would not fit the format's signed 32-bit lengths (more than 2 GiB), which no
  // real profile comes near; a store without records gives the 4 bytes of count 0.
  std::vector<std::uint8_t> Serialize() const;

  // Reads a profile buffer by the rules above. When `damageAt` is given it receives
  // the byte offset of the first damaged record (a length below 4, negative or past
  // the end, a key or value without its zero unit, or a length field cut short),
  // or std::nullopt when reading ended normally.
  static ProfileStore Parse(std::span<const std::uint8_t> buffer, std::optional<std::size_t>* damageAt = nullptr);

  bool operator==(const ProfileStore&) const = default;

 private:
  std::vector<ProfileRecord> records_;
};

}  // namespace tessaroven
