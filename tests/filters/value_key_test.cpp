#include "filters/value_key.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace tessaroven {
namespace {

// MD5 written out from RFC 1321 for this test alone, so that a key derivation that
// drifts (or an MD5 that goes wrong in base) shows up as a mismatch rather than
// agreeing with itself.
std::array<std::uint8_t, 16> ReferenceMd5(const std::vector<std::uint8_t>& input) {
  std::array<std::uint32_t, 64> k{};
  for (int i = 0; i < 64; ++i)
    k[i] = static_cast<std::uint32_t>(std::floor(std::fabs(std::sin(i + 1.0)) * 4294967296.0));
  static const int kShift[64] = {7,  12, 17, 22, 7,  12, 17, 22, 7,  12, 17, 22, 7,  12, 17, 22, 5,  9,  14, 20, 5,  9,
                                 14, 20, 5,  9,  14, 20, 5,  9,  14, 20, 4,  11, 16, 23, 4,  11, 16, 23, 4,  11, 16, 23,
                                 4,  11, 16, 23, 6,  10, 15, 21, 6,  10, 15, 21, 6,  10, 15, 21, 6,  10, 15, 21};
  std::vector<std::uint8_t> message = input;
  const std::uint64_t bits = static_cast<std::uint64_t>(input.size()) * 8;
  message.push_back(0x80);
  while (message.size() % 64 != 56) message.push_back(0);
  for (int i = 0; i < 8; ++i) message.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));

  std::uint32_t h[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  for (std::size_t block = 0; block < message.size(); block += 64) {
    std::uint32_t m[16];
    for (int i = 0; i < 16; ++i) {
      const std::uint8_t* p = &message[block + 4 * i];
      m[i] = p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
    }
    std::uint32_t a = h[0], b = h[1], c = h[2], d = h[3];
    for (int i = 0; i < 64; ++i) {
      std::uint32_t f;
      int g;
      if (i < 16) {
        f = (b & c) | (~b & d);
        g = i;
      } else if (i < 32) {
        f = (d & b) | (~d & c);
        g = (5 * i + 1) % 16;
      } else if (i < 48) {
        f = b ^ c ^ d;
        g = (3 * i + 5) % 16;
      } else {
        f = c ^ (b | ~d);
        g = (7 * i) % 16;
      }
      const std::uint32_t sum = a + f + k[i] + m[g];
      a = d;
      d = c;
      c = b;
      b = b + ((sum << kShift[i]) | (sum >> (32 - kShift[i])));
    }
    h[0] += a, h[1] += b, h[2] += c, h[3] += d;
  }
  std::array<std::uint8_t, 16> digest{};
  for (int i = 0; i < 16; ++i) digest[i] = static_cast<std::uint8_t>(h[i / 4] >> (8 * (i % 4)));
  return digest;
}

// The key derivation as the profile format defines it, on the reference digest:
// folding by hand, bytes by hand, the signed division done on the magnitude.
std::uint32_t ReferenceKey(const std::u16string& value) {
  std::vector<std::uint8_t> bytes;
  for (char16_t c : value) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
    bytes.push_back(static_cast<std::uint8_t>(c & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(c >> 8));
  }
  const auto d = ReferenceMd5(bytes);
  std::uint64_t first = 0, last = 0;
  for (int i = 0; i < 8; ++i) {
    first |= static_cast<std::uint64_t>(d[i]) << (8 * i);
    last |= static_cast<std::uint64_t>(d[8 + i]) << (8 * i);
  }
  const std::uint64_t x = first ^ last;
  const bool negative = (x >> 63) != 0;
  const std::uint64_t magnitude = negative ? ~x + 1 : x;
  const std::uint64_t quotient = magnitude >> 32;  // truncation toward zero on the magnitude
  const std::uint64_t y = negative ? x - quotient : x + quotient;
  const auto key = static_cast<std::uint32_t>(y & 0xFFFFFFFFu);
  return key == 0 ? 1 : key;
}

TEST(ValueKeyTest, ReferenceMd5MatchesTheRfcVectors) {
  // Guards the guard: the test's own MD5 must be right before it judges anything.
  const auto digest = ReferenceMd5({'a', 'b', 'c'});
  const std::array<std::uint8_t, 16> expected = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                                 0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
  EXPECT_EQ(digest, expected);
}

class ValueKeyMatchesReference : public testing::TestWithParam<std::u16string> {};

TEST_P(ValueKeyMatchesReference, KeyEqualsIndependentComputation) {
  EXPECT_EQ(ValueKey(GetParam()), ReferenceKey(GetParam()));
  EXPECT_NE(ValueKey(GetParam()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Values, ValueKeyMatchesReference,
                         testing::Values(u"", u"Rock", u"[no Artist]", u"Fixture Album Artist - Fixture Album",
                                         u"Gr\u00FC\u00DFe \u2603", u"\U0001F3B5 Emoji", std::u16string(27, u'x'),
                                         std::u16string(28, u'y'), std::u16string(32, u'z'), std::u16string(200, u'Q')),
                         [](const auto& p) { return "Case" + std::to_string(p.index); });

struct SameKeyCase {
  const char* name;
  std::u16string a;
  std::u16string b;
  bool same;
};

class ValueKeyFolding : public testing::TestWithParam<SameKeyCase> {};

TEST_P(ValueKeyFolding, OnlyAsciiLettersFold) {
  const auto& c = GetParam();
  EXPECT_EQ(ValueKey(c.a) == ValueKey(c.b), c.same);
}

INSTANTIATE_TEST_SUITE_P(Pairs, ValueKeyFolding,
                         testing::Values(SameKeyCase{"CaseOfAsciiLetters", u"Rock", u"rock", true},
                                         SameKeyCase{"TrailingSpaceCounts", u"Rock", u"Rock ", false},
                                         SameKeyCase{"AccentedLettersDoNotFold", u"\u00C4rger", u"\u00E4rger", false},
                                         SameKeyCase{"DifferentWords", u"Pop", u"Rock", false}),
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
