#include "filters/value_key.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>

#include "base/text.h"

namespace tessaroven {
namespace {

// Keys are stored in profiles, so a value must map to the same key for ever: these
// were worked out from the definition (ASCII letters folded, UTF-16LE, MD5, the
// halves folded) outside this program. 32 characters fill the MD5 block exactly;
// 200 characters take several blocks.
TEST(ValueKeyTest, StaysTheKeyProfilesHold) {
  using P = std::pair<std::u16string, std::uint32_t>;
  for (const auto& [value, key] :
       {P{u"", 0xbc7695a0u}, P{u"Rock", 0x05b1f775u}, P{u"rock", 0x05b1f775u} /* ASCII case folds */,
        P{u"Rock ", 0xe5041284u}, P{u"[no Artist]", 0x759501bfu},
        P{u"Fixture Album Artist - Fixture Album", 0xb80faa37u},
        P{u"\u00C4rger", 0x9ad12d6eu} /* accents do not fold */, P{u"Gr\u00FC\u00DFe \u2603", 0x9e27661fu},
        P{u"\U0001F3B5 Emoji", 0x288eb3bau}, P{std::u16string(32, u'z'), 0x6852406au},
        P{std::u16string(200, u'Q'), 0x4ec28532u}})
    EXPECT_EQ(ValueKey(value), key) << Utf16ToUtf8(value);
}

// Worked by hand from the definition: the digest's first and last 8 bytes,
// little-endian, and the key.
TEST(ValueKeyTest, FoldsTheHalvesAndTheSignedHighWord) {
  for (const auto& [first, last, key] : {
           // x = 0: the key would be 0, which means "no value", so it becomes 1.
           std::tuple{0x0123456789ABCDEFull, 0x0123456789ABCDEFull, 1u},
           // x = 0x00000002_00000003: y = x + 2, low word 5.
           std::tuple{0x0000000200000003ull, 0ull, 5u},
           // x = 0x80000000_00000001 is negative: x / 2^32 truncates to -0x7FFFFFFF (a
           // floor or an unsigned division would give 0x80000001 instead).
           std::tuple{0x8000000000000001ull, 0ull, 0x80000002u},
           // x = -1: the quotient is 0, the key the low word of x.
           std::tuple{0xFFFFFFFFFFFFFFFFull, 0ull, 0xFFFFFFFFu},
           // The halves are XORed before anything else.
           std::tuple{0x00000001000000F0ull, 0x000000000000000Full, 0x100u}}) {
    Md5Digest digest{};
    for (int i = 0; i < 8; ++i) {
      digest[i] = static_cast<std::uint8_t>(first >> (8 * i));
      digest[8 + i] = static_cast<std::uint8_t>(last >> (8 * i));
    }
    EXPECT_EQ(ValueKeyFromDigest(digest), key) << std::hex << first;
  }
}

}  // namespace
}  // namespace tessaroven
