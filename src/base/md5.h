// MD5 (RFC 1321). Used only to turn filter values into short keys, never for
// anything that needs to resist an attacker.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tessaroven {

using Md5Digest = std::array<std::uint8_t, 16>;

class Md5 {
 public:
  Md5();
  void Update(const void* data, std::size_t size);
  Md5Digest Finish();  // the object must not be updated afterwards

 private:
  void Block(const std::uint8_t* block);

  std::array<std::uint32_t, 4> state_;
  std::array<std::uint8_t, 64> buffer_{};
  std::uint64_t length_ = 0;  // bytes hashed so far
};

Md5Digest ComputeMd5(const void* data, std::size_t size);

}  // namespace tessaroven
