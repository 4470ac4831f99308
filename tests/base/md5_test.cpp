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

}  // namespace
}  // namespace tessaroven
