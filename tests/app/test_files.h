// Small helpers for the multi-process tests: arguments that survive any command
// line (hex), files as the children's way to report back, and polling for them.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "base/text.h"
#include "support/test_env.h"

namespace tessaroven::test {

// Hex keeps any text intact through either platform's command-line rules.
inline std::string Hex(std::u16string_view text) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : Utf16ToUtf8(text)) out += {kDigits[c >> 4], kDigits[c & 15]};
  return out;
}

inline std::u16string Unhex(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  return Utf8ToUtf16(bytes);
}

inline void AppendBytes(const std::u16string& path, const std::string& bytes) {
  std::ofstream out(std::filesystem::path(ToOsString(path)), std::ios::binary | std::ios::app);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Polls until `path` holds at least `minBytes` bytes; its content, or what is
// there when `limit` has passed.
inline std::string WaitForContent(const std::u16string& path, std::size_t minBytes = 1,
                                  std::chrono::seconds limit = std::chrono::seconds(60)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  std::string content;
  while ((content = ReadBytes(path)).size() < minBytes && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return content;
}

// NUL-separated records, as the selector child writes the paths it received.
inline std::vector<std::u16string> Records(const std::string& content) {
  std::vector<std::u16string> records;
  std::size_t start = 0;
  for (std::size_t end; (end = content.find('\0', start)) != std::string::npos; start = end + 1)
    records.push_back(Utf8ToUtf16(content.substr(start, end - start)));
  return records;
}

}  // namespace tessaroven::test
