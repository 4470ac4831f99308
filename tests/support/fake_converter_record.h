// Reading back what the fake converter (tests/selection/fake_converter) recorded,
// and the list file bytes the hand-off must write.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessaroven::test {

// The recorded "args": UTF-16LE words, each ended by a zero unit.
inline std::vector<std::u16string> RecordedWords(std::string_view bytes) {
  std::vector<std::u16string> words;
  std::u16string word;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit =
        static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8));
    if (unit == 0) {
      words.push_back(std::move(word));
      word.clear();
    } else {
      word += unit;
    }
  }
  return words;
}

// A list file as the converter reads it: UTF-16LE, no byte-order mark, CR LF after
// every path. Spelled out here rather than taken from the code under test.
inline std::string ListFileBytes(const std::vector<std::u16string>& paths) {
  std::string bytes;
  for (const auto& path : paths) {
    for (const char16_t unit : path) {
      bytes += static_cast<char>(unit & 0xFF);
      bytes += static_cast<char>(unit >> 8);
    }
    bytes += std::string("\r\0\n\0", 4);
  }
  return bytes;
}

}  // namespace tessaroven::test
