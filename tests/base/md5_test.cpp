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

// From the test suite of RFC 1321, appendix A.5: empty, one block and two blocks.
TEST(Md5, MatchesTheRfcTestSuite) {
  std::string eighty;
  for (int i = 0; i < 8; ++i) eighty += "1234567890";
  const std::pair<std::string, std::string> vectors[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
      {eighty, "57edf4a22be3c955ac49da2e2107b67a"},
  };
  for (const auto& [input, digest] : vectors) EXPECT_EQ(Hex(ComputeMd5(input.data(), input.size())), digest) << input;
}

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
