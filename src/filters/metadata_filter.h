// The metadata filter: eight slots, one per field of the field list, each narrowing
// the files by the values of one tag.
//
// Every value met while files are tested is remembered in its slot's catalogue (in
// the order first met, with a sorted index by value key), so the filter dialog can
// offer the values of every file seen. The user marks values; with the slot's
// exclude-all switch off the marked values are excluded, with it on everything but
// the marked values is. Values are compared by their 32-bit value key
// (filters/value_key.h), so "Rock" and "rock" are one value.
//
// A file is read through its plug-in once for all eight slots. The decoder is the
// caller's: the main window passes its shared one, a collector its own; it must not
// be used by another thread meanwhile. The test grows the catalogues, so it is not
// const and not safe against concurrent use; see filters/filter_state.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/sorted_list.h"
#include "decode/decoder.h"
#include "decode/tag_block.h"
#include "filters/filter_fields.h"

namespace tessaroven {

// One catalogue entry: the value as first met, its key, and how many different files
// seen so far carry it (what the filter dialog shows beside the value).
struct STFiltered {
  std::u16string value;
  std::uint32_t key = 0;
  std::uint32_t files = 0;
  std::uint32_t Key() const { return key; }
};
using FilterValueCatalogue = XBinarySortList<STFiltered, XObjNoName>;

// A slot's marked value keys: a sorted set, searched by halving. Key 0 means "no
// value" and is never a member.
class clFiltered {
 public:
  bool Contains(std::uint32_t key) const;
  // False when the key was already marked, or is 0.
  bool Add(std::uint32_t key);
  // False when the key was not marked.
  bool Remove(std::uint32_t key);
  void Clear() { keys_.clear(); }
  bool Empty() const { return keys_.empty(); }
  std::size_t Count() const { return keys_.size(); }
  // In ascending order.
  const std::vector<std::uint32_t>& Keys() const { return keys_; }

  // The "Filter%d" profile data: every key as 4 little-endian bytes, ascending.
  std::vector<std::uint8_t> ToBytes() const;
  // Replaces the set from such data. An incomplete last group of bytes, zero keys
  // and repeated keys are dropped, so damaged data cannot make a slot misbehave.
  void FromBytes(std::span<const std::uint8_t> bytes);

  bool operator==(const clFiltered&) const = default;

 private:
  std::vector<std::uint32_t> keys_;
};

// One slot: its field, its catalogue, its marked set and its exclude-all switch.
class clFilters {
 public:
  // The tag name this slot filters by; empty: the slot takes no part.
  const std::u16string& Field() const { return field_; }
  void SetField(std::u16string field) { field_ = std::move(field); }

  // The key of `value`, adding the value to the catalogue when its key is new. With
  // `newFile`, the value's file count goes up by one.
  std::uint32_t KeyFor(std::u16string_view value, bool newFile = false);
  const FilterValueCatalogue& Catalogue() const { return catalogue_; }

  clFiltered& Marked() { return marked_; }
  const clFiltered& Marked() const { return marked_; }
  // Active: something is marked. Only then does the slot make the listing and the
  // collector read tags at all.
  bool Active() const { return !marked_.Empty(); }

  bool ExcludeAll() const { return excludeAll_; }
  void SetExcludeAll(bool on) { excludeAll_ = on; }
  // The "Filter%d-ExcludeAll" profile value: "1" when on, empty (the record is left
  // out) when off.
  std::u16string ExcludeAllText() const { return excludeAll_ ? u"1" : u""; }

  // The "Filter%d" profile data and its loading (see clFiltered).
  std::vector<std::uint8_t> MarkedKeysBytes() const { return marked_.ToBytes(); }
  void SetMarkedKeys(std::span<const std::uint8_t> bytes) { marked_.FromBytes(bytes); }

  // Whether a file whose value in this slot has `key` is excluded by the slot. Key 0
  // (no field, or a file no plug-in opened) never decides.
  bool Excludes(std::uint32_t key) const;

  // Nothing marked, switch off; the catalogue stays.
  void ClearSelection();

 private:
  std::u16string field_;
  FilterValueCatalogue catalogue_;
  clFiltered marked_;
  bool excludeAll_ = false;
};

// The value a file shows in a slot for `field`, from the file's tags:
// - no such tag, or an empty one: "[no <field>]";
// - the field "Album" (any case): the album widened by its artist as
//   "artist - album", the artist being the "Album Artist" tag, else, unless the
//   "Compilation" tag reads as a non-zero number, the "Artist" tag; a compilation
//   without an album artist, or a file with no artist at all, keeps the album alone;
// - otherwise the tag's text.
std::u16string SlotValueFor(std::u16string_view field, const TagList& tags);

// Reads the first tag block of `path` through `decoder` (the plug-in instance is
// destroyed before returning; the library stays loaded for the next file). False
// when no plug-in decodes the file or its plug-in refuses to open it.
//
// Not decode's ReadFileInfo: that merges the second block and rewrites "Compilation"
// to "Yes"/"No" for display, which would lose the number the album rule reads.
bool ReadFilterTags(std::u16string_view path, clQzDecoder& decoder, TagList& tags);

class MetadataFilter {
 public:
  MetadataFilter() = default;
  explicit MetadataFilter(const FilterFieldNames& fields) { SetFields(fields); }

  void SetFields(const FilterFieldNames& fields);
  FilterFieldNames Fields() const;

  clFilters& Slot(std::size_t slot) { return slots_[slot]; }
  const clFilters& Slot(std::size_t slot) const { return slots_[slot]; }

  // The key of `value` in `slot`, added to the slot's catalogue when new.
  std::uint32_t SlotKeyFor(std::size_t slot, std::u16string_view value) { return slots_[slot].KeyFor(value); }

  // Whether any slot has marked values; the listing and the collector test files
  // only then (or when their caller insists).
  bool AnyMetadataSlotActive() const;

  // Whether the file is excluded: it is read once through `decoder`, every slot
  // with a field gets the file's key (growing the catalogues), and the first slot
  // that excludes decides. A file that no plug-in opens is never excluded.
  bool IsMetadataExcluded(std::u16string_view path, clQzDecoder& decoder);
  // The same decision from tags already read; null: the file could not be opened.
  // `newFile`: the first time this file is seen, so its values count it.
  bool IsExcludedByTags(const TagList* tags, bool newFile = false);

  // Every slot: nothing marked, switch off. Fields and catalogues stay.
  void ClearSelections();

 private:
  std::array<clFilters, kMetadataSlotCount> slots_;
  // The files already counted in the catalogues, by a hash of their path: a file
  // listed and then collected is still one file.
  std::unordered_set<std::uint64_t> seenFiles_;
};

}  // namespace tessaroven
