// XBinarySortList: owned records in insertion order plus an index kept sorted by a
// three-way comparison, searched by halving.
//
// Insertion order matters to callers (filter value catalogues list values in the
// order first met) while look-ups must be fast; keeping both views in one object
// avoids the two drifting apart. Records live in a deque, so references to them
// stay valid while more are added. Not thread-safe: the owner guards it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/text.h"

namespace tessaroven {

// Orders texts with the ASCII fold, the order of every sorted name list.
struct AsciiFoldOrder {
  int operator()(std::u16string_view a, std::u16string_view b) const { return AsciiFoldCompare(a, b); }
};

// Orders records that have no name by their numeric Key() (filter values by their
// value key). Either side may also be the bare key, for look-ups.
struct XObjNoName {
  template <class A, class B>
  int operator()(const A& a, const B& b) const {
    const auto x = KeyOf(a);
    const auto y = KeyOf(b);
    return x < y ? -1 : (y < x ? 1 : 0);
  }

 private:
  template <class R>
  static auto KeyOf(const R& r) {
    if constexpr (std::is_arithmetic_v<R>) return r;
    else return r.Key();
  }
};

template <class T, class Compare>
class XBinarySortList {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  explicit XBinarySortList(Compare compare = Compare{}) : compare_(std::move(compare)) {}

  std::size_t Count() const { return records_.size(); }
  bool Empty() const { return records_.empty(); }

  // By insertion order.
  const T& operator[](std::size_t i) const { return records_[i]; }
  T& operator[](std::size_t i) { return records_[i]; }
  // By sorted order.
  const T& Sorted(std::size_t i) const { return records_[index_[i]]; }

  // Adds the record; records equal to existing ones go after them in the index.
  // Returns its insertion-order position.
  std::size_t Add(T record) {
    const std::size_t at = Bound(record, true);
    return Insert(std::move(record), at);
  }

  // Adds the record unless an equal one is there. Returns the insertion-order
  // position of the stored record and whether it was added.
  std::pair<std::size_t, bool> AddUnique(T record) {
    const std::size_t at = LowerBound(record);
    if (at < index_.size() && compare_(record, records_[index_[at]]) == 0) return {index_[at], false};
    return {Insert(std::move(record), at), true};
  }

  // Insertion-order position of a record equal to `key` (the first such in sorted
  // order), or npos.
  template <class Key>
  std::size_t Find(const Key& key) const {
    const std::size_t at = LowerBound(key);
    if (at < index_.size() && compare_(key, records_[index_[at]]) == 0) return index_[at];
    return npos;
  }

  // Sorted position of the first record not less than `key`.
  template <class Key>
  std::size_t LowerBound(const Key& key) const {
    return Bound(key, false);
  }

  void Clear() {
    records_.clear();
    index_.clear();
  }

 private:
  // Halving search: the first sorted position whose record is greater than `key`
  // (upper) or not less than it (lower).
  template <class Key>
  std::size_t Bound(const Key& key, bool upper) const {
    std::size_t low = 0;
    std::size_t high = index_.size();
    while (low < high) {
      const std::size_t mid = low + (high - low) / 2;
      const int order = compare_(key, records_[index_[mid]]);
      if (order > 0 || (upper && order == 0)) low = mid + 1;
      else high = mid;
    }
    return low;
  }

  std::size_t Insert(T record, std::size_t sortedAt) {
    records_.push_back(std::move(record));
    const auto position = static_cast<std::uint32_t>(records_.size() - 1);
    index_.insert(index_.begin() + static_cast<std::ptrdiff_t>(sortedAt), position);
    return position;
  }

  Compare compare_;
  std::deque<T> records_;
  std::vector<std::uint32_t> index_;  // positions in records_, in sorted order
};

// A sorted list of texts (extensions, names) under the ASCII fold.
using STStringStorage = XBinarySortList<std::u16string, AsciiFoldOrder>;

}  // namespace tessaroven
