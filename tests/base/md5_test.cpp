#include "base/md5.h"

#include <gtest/gtest.h>

#include <string>

namespace tessaroven {
namespace {

std::string Hex(const Md5Digest& digest) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (auto b : digest) {
    out.push_back(kDigits[b >> 4]);
    out.push_back(kDigits[b & 15]);
  }
  return out;
}

struct Vector {
  std::string input;
  std::string digest;
};

class Md5Rfc1321 : public testing::TestWithParam<Vector> {};

TEST_P(Md5Rfc1321, MatchesTheTestSuite) {
  const auto& v = GetParam();
  EXPECT_EQ(Hex(ComputeMd5(v.input.data(), v.input.size())), v.digest);
}

// The test suite of RFC 1321, appendix A.5.
INSTANTIATE_TEST_SUITE_P(
    Md5, Md5Rfc1321,
    testing::Values(Vector{"", "d41d8cd98f00b204e9800998ecf8427e"}, Vector{"a", "0cc175b9c0f1b6a831c399e269772661"},
                    Vector{"abc", "900150983cd24fb0d6963f7d28e17f72"},
                    Vector{"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                    Vector{"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
                    Vector{"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                           "d174ab98d277d9f5a5611c2c9f419d9f"},
                    // "1234567890" eight times.
                    Vector{[] {
                             std::string s;
                             for (int i = 0; i < 8; ++i) s += "1234567890";
                             return s;
                           }(),
                           "57edf4a22be3c955ac49da2e2107b67a"}));

TEST(Md5, PiecewiseUpdatesGiveTheSameDigestAsOneCall) {
  // Lengths around the 56- and 64-byte padding edges, split at every position.
  for (std::size_t length : {55u, 56u, 63u, 64u, 65u, 119u, 120u, 200u}) {
    std::string input;
    for (std::size_t i = 0; i < length; ++i) input.push_back(static_cast<char>(i * 31 + 7));
    const Md5Digest whole = ComputeMd5(input.data(), input.size());
    for (std::size_t split = 0; split <= length; ++split) {
      Md5 md5;
      md5.Update(input.data(), split);
      md5.Update(input.data() + split, length - split);
      ASSERT_EQ(md5.Finish(), whole) << length << " split at " << split;
    }
  }
}

}  // namespace
}  // namespace tessaroven
