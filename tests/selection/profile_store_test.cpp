#include "selection/profile_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/text.h"

namespace tessaroven {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes B(std::initializer_list<int> values) {
  Bytes out;
  for (const int v : values) out.push_back(static_cast<std::uint8_t>(v));
  return out;
}

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const auto& part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

Bytes U32(std::uint32_t v) { return B({int(v & 0xFF), int((v >> 8) & 0xFF), int((v >> 16) & 0xFF), int(v >> 24)}); }

// The text's UTF-16LE units and its zero unit.
Bytes Z(std::u16string_view text) { return Utf16LeBytes(text, true); }

// A well-formed record, its length worked out.
Bytes Record(std::u16string_view key, std::u16string_view value, const Bytes& data = {}) {
  const Bytes body = Cat({Z(key), Z(value), data});
  return Cat({U32(static_cast<std::uint32_t>(body.size() + 4)), body});
}

ProfileRecord R(std::u16string key, std::u16string value, Bytes data = {}) {
  return {std::move(key), std::move(value), std::move(data)};
}

TEST(ProfileStoreBytes, RecordsAreWrittenExactlyInTheFileLayout) {
  ProfileStore store;
  store.Set(u"Ab", u"c", B({0x01, 0x02, 0x03}));
  const Bytes expected = B({
      0x01, 0x00, 0x00, 0x00,              // one record
      0x11, 0x00, 0x00, 0x00,              // 4 + 6 + 4 + 3 = 17 bytes
      'A',  0x00, 'b',  0x00, 0x00, 0x00,  // key
      'c',  0x00, 0x00, 0x00,              // value
      0x01, 0x02, 0x03,                    // data
  });
  EXPECT_EQ(store.Serialize(), expected);
  EXPECT_EQ(ProfileStore().Serialize(), B({0, 0, 0, 0}));
}

// Damaged and hand-made buffers: what is kept is everything before the damage.
struct ParseCase {
  const char* name;
  Bytes bytes;
  std::vector<ProfileRecord> expected;
  std::optional<std::size_t> damageAt = std::nullopt;  // where the damaged record begins
};

const Bytes kFirst = Record(u"lstFoldersAndSub", u"/m/");
const Bytes kSecond = Record(u"DateFilter", u"1,30");
const std::vector<ProfileRecord> kOnlyFirst = {R(u"lstFoldersAndSub", u"/m/")};
const std::vector<ProfileRecord> kBoth = {R(u"lstFoldersAndSub", u"/m/"), R(u"DateFilter", u"1,30")};

const ParseCase kParseCases[] = {
    {"FourBytesOnly", U32(1), {}},
    {"CountOnlyPlusOneByte", Cat({U32(1), B({0})}), {}, 4},
    {"CountZeroIgnoresRecords", Cat({U32(0), kFirst}), {}},
    {"CountWithHighBitIsBelowOne", Cat({U32(0xFFFFFFFF), kFirst}), {}},
    {"WellFormedTwoRecords", Cat({U32(2), kFirst, kSecond}), kBoth},
    {"CountSmallerThanRecordsStopsAfterCount", Cat({U32(1), kFirst, kSecond}), kOnlyFirst},
    {"HugeCountStopsAtTheEnd", Cat({U32(0x7FFFFFFF), kFirst, kSecond}), kBoth},
    {"TruncatedMidRecord", Cat({U32(2), kFirst, Bytes(kSecond.begin(), kSecond.end() - 3)}), kOnlyFirst, 50},
    {"NegativeLength", Cat({U32(3), kFirst, U32(0xFFFFFFF0), kSecond}), kOnlyFirst, 50},
    {"LengthZeroCannotHoldItself", Cat({U32(3), kFirst, U32(0), kSecond}), kOnlyFirst, 50},
    {"LengthTooShortForTheValueTerminator", Cat({U32(2), kFirst, U32(8), Z(u"k"), kSecond}), kOnlyFirst, 50},
    {"KeyWithoutTerminatorInsideTheRecord", Cat({U32(2), kFirst, U32(10), B({'k', 0, 'e', 0, 'y', 0}), kSecond}),
     kOnlyFirst, 50},
    {"KeyRunningToTheEndOfTheBuffer", Cat({U32(2), kFirst, U32(9), B({'k', 0, 'e', 0, 'y'})}), kOnlyFirst, 50},
    {"ValueWithoutTerminatorInsideTheRecord", Cat({U32(2), kFirst, U32(12), Z(u"k"), B({'v', 0, 'w', 0}), kSecond}),
     kOnlyFirst, 50},
    {"OddLengthLeavesOneDataByte", Cat({U32(1), U32(9), Z(u""), Z(u""), B({0xAB})}), {R(u"", u"", B({0xAB}))}},
    {"OddTrailingByteAfterTheLastRecordIsIgnored", Cat({U32(5), kFirst, B({0x01})}), kOnlyFirst, 50},
    {"DataStopsAtTheRecordLength",
     Cat({U32(2), Record(u"Filter0", u"", B({1, 0, 0, 0, 2, 0, 0, 0})), kSecond}),
     {R(u"Filter0", u"", B({1, 0, 0, 0, 2, 0, 0, 0})), R(u"DateFilter", u"1,30")}},
    {"RepeatedKeyKeepsTheLaterValueInTheFirstPlace",
     Cat({U32(3), Record(u"a", u"1"), Record(u"b", u"2"), Record(u"a", u"3")}),
     {R(u"a", u"3"), R(u"b", u"2")}},
};

class ProfileStoreParse : public testing::TestWithParam<ParseCase> {};

TEST_P(ProfileStoreParse, KeepsTheRecordsBeforeTheDamage) {
  // An exact-size copy, so the sanitizer sees any read past the buffer.
  const Bytes& bytes = GetParam().bytes;
  const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), copy.get());
  std::optional<std::size_t> damageAt = 12345;
  const ProfileStore store = ProfileStore::Parse(std::span<const std::uint8_t>(copy.get(), bytes.size()), &damageAt);
  EXPECT_EQ(store.Records(), GetParam().expected);
  EXPECT_EQ(damageAt, GetParam().damageAt) << "where the damage begins";
  EXPECT_EQ(ProfileStore::Parse(std::span<const std::uint8_t>(copy.get(), bytes.size())), store);
}

INSTANTIATE_TEST_SUITE_P(Buffers, ProfileStoreParse, testing::ValuesIn(kParseCases),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaroven
