#include "filters/value_key.h"

#include <vector>

#include "base/text.h"

namespace tessaroven {

namespace {

std::uint64_t LittleEndian64(const std::uint8_t* bytes) {
  std::uint64_t value = 0;
  for (int i = 7; i >= 0; --i) value = (value << 8) | bytes[i];
  return value;
}

}  // namespace

std::uint32_t ValueKey(std::u16string_view value) {
  const std::vector<std::uint8_t> bytes = Utf16LeBytes(AsciiFold(value), false);
  return ValueKeyFromDigest(ComputeMd5(bytes.data(), bytes.size()));
}

std::uint32_t ValueKeyFromDigest(const Md5Digest& digest) {
  const std::uint64_t x = LittleEndian64(digest.data()) ^ LittleEndian64(digest.data() + 8);
  // The signed division truncates toward zero: for digests with the top bit set it
  // adds a negative high word, not a large positive one.
  const std::int64_t high = static_cast<std::int64_t>(x) / 4294967296LL;
  const std::uint64_t y = x + static_cast<std::uint64_t>(high);
  const auto key = static_cast<std::uint32_t>(y);
  return key == 0 ? 1 : key;
}

}  // namespace tessaroven
