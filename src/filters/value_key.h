// Value keys: the 32-bit numbers that stand for tag values in the metadata filter.
//
// A key is derived from the value's text with the ASCII letters folded, so "Rock"
// and "rock" share a key while "Rock " does not. Keys are what profiles store (as
// "Filter%d" bytes), so the derivation must never change: MD5 of the folded text's
// UTF-16LE bytes, the two halves of the digest XORed, the high word folded in, and 0
// reserved for "no value". Collisions are possible in principle and accepted: two
// values with one key are marked and unmarked together.
//
// Pure; any thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/md5.h"

namespace tessaroven {

std::uint32_t ValueKey(std::u16string_view value);
// The steps after hashing: the digest's halves as little-endian numbers XORed into x,
// x plus its signed high word (x / 2^32, truncated toward zero), the low 32 bits,
// and 0 turned into 1.
std::uint32_t ValueKeyFromDigest(const Md5Digest& digest);

}  // namespace tessaroven
