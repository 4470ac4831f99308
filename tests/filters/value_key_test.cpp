#include "filters/value_key.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace tessaroven {
namespace {

// Keys are stored in profiles, so a value must map to the same key for ever: these
// were worked out from the definition (ASCII letters folded, UTF-16LE, MD5, the
// halves folded) outside this program. The lengths 27, 28 and 32 put the padding at
// and across the MD5 block boundary; 200 characters take several blocks.
struct KeyCase {
  const char* name;
  std::u16string value;
  std::uint32_t key;
};

class ValueKeyTable : public testing::TestWithParam<KeyCase> {};

TEST_P(ValueKeyTable, StaysTheKeyProfilesHold) { EXPECT_EQ(ValueKey(GetParam().value), GetParam().key); }

INSTANTIATE_TEST_SUITE_P(Values, ValueKeyTable,
                         testing::Values(KeyCase{"Empty", u"", 0xbc7695a0u}, KeyCase{"Rock", u"Rock", 0x05b1f775u},
                                         KeyCase{"AsciiCaseFolds", u"rock", 0x05b1f775u},
                                         KeyCase{"TrailingSpaceCounts", u"Rock ", 0xe5041284u},
                                         KeyCase{"NoValue", u"[no Artist]", 0x759501bfu},
                                         KeyCase{"WidenedAlbum", u"Fixture Album Artist - Fixture Album", 0xb80faa37u},
                                         KeyCase{"AccentedUpperDoesNotFold", u"\u00C4rger", 0x9ad12d6eu},
                                         KeyCase{"AccentedLower", u"\u00E4rger", 0xace90646u},
                                         KeyCase{"NonAscii", u"Gr\u00FC\u00DFe \u2603", 0x9e27661fu},
                                         KeyCase{"SurrogatePair", u"\U0001F3B5 Emoji", 0x288eb3bau},
                                         KeyCase{"Bytes54", std::u16string(27, u'x'), 0xe1f1b8b6u},
                                         KeyCase{"Bytes56", std::u16string(28, u'y'), 0xa41a2239u},
                                         KeyCase{"Bytes64", std::u16string(32, u'z'), 0x6852406au},
                                         KeyCase{"SeveralBlocks", std::u16string(200, u'Q'), 0x4ec28532u}),
                         [](const auto& p) { return std::string(p.param.name); });

struct DigestCase {
  const char* name;
  std::uint64_t first;  // the digest's first 8 bytes, little-endian
  std::uint64_t last;   // its last 8 bytes
  std::uint32_t key;
};

class ValueKeyFromDigestTest : public testing::TestWithParam<DigestCase> {};

TEST_P(ValueKeyFromDigestTest, FoldsTheHalvesAndTheSignedHighWord) {
  const auto& c = GetParam();
  Md5Digest digest{};
  for (int i = 0; i < 8; ++i) {
    digest[i] = static_cast<std::uint8_t>(c.first >> (8 * i));
    digest[8 + i] = static_cast<std::uint8_t>(c.last >> (8 * i));
  }
  EXPECT_EQ(ValueKeyFromDigest(digest), c.key);
}

// Worked by hand from the definition.
INSTANTIATE_TEST_SUITE_P(Digests, ValueKeyFromDigestTest,
                         testing::Values(
                             // x = 0: the key would be 0, which means "no value", so it becomes 1.
                             DigestCase{"ZeroBecomesOne", 0x0123456789ABCDEFull, 0x0123456789ABCDEFull, 1},
                             // x = 0x00000002_00000003: y = x + 2, low word 5.
                             DigestCase{"PositiveAddsHighWord", 0x0000000200000003ull, 0, 5},
                             // x = 0x80000000_00000001 is negative: x / 2^32 truncates to -0x7FFFFFFF (a
                             // floor or an unsigned division would give 0x80000001 instead).
                             DigestCase{"NegativeTruncatesTowardZero", 0x8000000000000001ull, 0, 0x80000002u},
                             // x = -1: the quotient is 0, the key the low word of x.
                             DigestCase{"MinusOneKeepsLowWord", 0xFFFFFFFFFFFFFFFFull, 0, 0xFFFFFFFFu},
                             // The halves are XORed before anything else.
                             DigestCase{"HalvesAreXored", 0x00000001000000F0ull, 0x000000000000000Full, 0x100}),
                         [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaroven
