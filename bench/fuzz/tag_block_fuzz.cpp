// Feeds arbitrary bytes to the tag block reader, as a plug-in could hand them over:
// the whole input as one block, then its two halves merged the way the selector
// merges tags1 and tags2. ASan reports any read outside the block.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "decode/tag_block.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tessaroven::ParseTagBlock;
  // A heap copy of exactly `size` bytes, so that the reader's bounds are checked
  // against the real end of the block (the fuzzer's own buffer may be larger).
  const std::vector<std::uint8_t> block(data, data + size);
  const auto length = static_cast<std::int64_t>(size);
  const tessaroven::TagList whole = ParseTagBlock(block.data(), length);

  const std::vector<std::uint8_t> head(data, data + size / 2);
  const std::vector<std::uint8_t> tail(data + size / 2, data + size);
  tessaroven::TagList merged = ParseTagBlock(head.data(), static_cast<std::int64_t>(head.size()));
  const tessaroven::TagList second = ParseTagBlock(tail.data(), static_cast<std::int64_t>(tail.size()));
  const std::size_t before = merged.size();
  tessaroven::MergeTags(merged, second);
  if (merged.size() < before || merged.size() > before + second.size()) __builtin_trap();
  return 0;
}
