#include "decode/tag_block.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tessaroven {

// Found by argument-dependent lookup when whole lists are compared.
static bool operator==(const Tag& a, const Tag& b) {
  return a.name == b.name && a.value == b.value && a.binary == b.binary;
}

namespace {

// Builds tag blocks byte by byte, including broken ones.
class Block {
 public:
  Block& Int(std::int32_t v) {
    for (int i = 0; i < 4; ++i) bytes_.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(v) >> (8 * i)));
    return *this;
  }
  Block& Text(std::u16string_view text, bool terminate = true) {
    for (char16_t c : text) {
      bytes_.push_back(static_cast<std::uint8_t>(c & 0xFF));
      bytes_.push_back(static_cast<std::uint8_t>(c >> 8));
    }
    if (terminate) Bytes({0, 0});
    return *this;
  }
  Block& Bytes(std::vector<std::uint8_t> raw) {
    bytes_.insert(bytes_.end(), raw.begin(), raw.end());
    return *this;
  }
  // A well-formed entry.
  Block& Entry(std::u16string_view name, std::u16string_view value, std::vector<std::uint8_t> binary = {}) {
    const auto size = static_cast<std::int32_t>(4 + 2 * (name.size() + 1) + 2 * (value.size() + 1) + binary.size());
    return Int(size).Text(name).Text(value).Bytes(std::move(binary));
  }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  std::int64_t size() const { return static_cast<std::int64_t>(bytes_.size()); }

 private:
  std::vector<std::uint8_t> bytes_;
};

struct ParseCase {
  const char* name;
  Block block;
  std::int64_t lengthDelta;  // added to the block's real size to form the claimed length
  std::vector<Tag> expected;
};

const std::vector<std::uint8_t> kPicture = {0x89, 'P', 'N', 'G', 0, 0, 0xFF, 0x00};

// clang-format off
const ParseCase kParseCases[] = {
    {"two_entries", Block().Int(2).Entry(u"Artist", u"A").Entry(u"Title", u"T"), 0,
        {{u"Artist", u"A", {}}, {u"Title", u"T", {}}}},
    {"binary_data_kept_with_zeros", Block().Int(1).Entry(u"Cover", u"front", kPicture), 0,
        {{u"Cover", u"front", kPicture}}},
    {"utf16_beyond_ascii", Block().Int(1).Entry(u"Titel", u"\u00e9t\u00e9 \U0001F3B5"), 0,
        {{u"Titel", u"\u00e9t\u00e9 \U0001F3B5", {}}}},
    {"length_four_is_no_tags", Block().Int(1), 0, {}},
    {"zero_count", Block().Int(0).Entry(u"A", u"B"), 0, {}},
    {"count_limits_entries", Block().Int(1).Entry(u"A", u"1").Entry(u"B", u"2"), 0, {{u"A", u"1", {}}}},
    {"count_beyond_entries_stops_at_end", Block().Int(9).Entry(u"A", u"1"), 0, {{u"A", u"1", {}}}},
    {"entry_past_end_dropped_with_rest",
        Block().Int(3).Entry(u"A", u"1").Int(100).Text(u"B").Text(u"2").Entry(u"C", u"3"), 0, {{u"A", u"1", {}}}},
    {"negative_size_stops", Block().Int(3).Entry(u"A", u"1").Int(-8).Text(u"B").Entry(u"C", u"3"), 0,
        {{u"A", u"1", {}}}},
    {"truncated_size_field", Block().Int(2).Entry(u"A", u"1").Bytes({8, 0}), 0, {{u"A", u"1", {}}}},
    {"name_without_terminator_takes_whole_entry", Block().Int(1).Int(4 + 6).Text(u"abc", false), 0,
        {{u"abc", u"", {}}}},
    {"value_without_terminator_ends_at_entry",
        Block().Int(2).Int(4 + 4 + 4).Text(u"N").Text(u"vv", false).Entry(u"Next", u"x"), 0,
        {{u"N", u"vv", {}}, {u"Next", u"x", {}}}},
    {"odd_trailing_byte_is_binary", Block().Int(1).Int(4 + 4 + 4 + 1).Text(u"N").Text(u"v").Bytes({7}), 0,
        {{u"N", u"v", {7}}}},
    {"larger_entry_size_skips_padding",
        Block().Int(2).Int(4 + 4 + 4 + 3).Text(u"N").Text(u"v").Bytes({1, 2, 3}).Entry(u"M", u"w"), 0,
        {{u"N", u"v", {1, 2, 3}}, {u"M", u"w", {}}}}};
// clang-format on

TEST(ParseTagBlockTest, ReadsEntriesUpToTheFirstBadOne) {
  for (const ParseCase& c : kParseCases) {
    EXPECT_EQ(ParseTagBlock(c.block.bytes().data(), c.block.size() + c.lengthDelta), c.expected) << c.name;
  }
  const Block block = Block().Int(1).Entry(u"A", u"B");
  EXPECT_TRUE(ParseTagBlock(nullptr, 100).empty());
  EXPECT_TRUE(ParseTagBlock(block.bytes().data(), -5).empty());
}

}  // namespace
}  // namespace tessaroven
