#include "base/text.h"

namespace tessaroven {
namespace {

constexpr char16_t kEscapeBase = 0xDC00;  // byte b escapes to U+DC00 + b (b >= 0x80)

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

// Writes at `at` and returns the position after the code point.
char16_t* PutCodePoint(char16_t* at, char32_t cp) {
  if (cp < 0x10000) {
    *at++ = static_cast<char16_t>(cp);
  } else {
    cp -= 0x10000;
    *at++ = static_cast<char16_t>(0xD800 + (cp >> 10));
    *at++ = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
  }
  return at;
}

char* PutUtf8(char* at, char32_t cp) {
  if (cp < 0x80) {
    *at++ = static_cast<char>(cp);
  } else if (cp < 0x800) {
    *at++ = static_cast<char>(0xC0 | (cp >> 6));
    *at++ = static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    *at++ = static_cast<char>(0xE0 | (cp >> 12));
    *at++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *at++ = static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    *at++ = static_cast<char>(0xF0 | (cp >> 18));
    *at++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    *at++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    *at++ = static_cast<char>(0x80 | (cp & 0x3F));
  }
  return at;
}

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool IsEscapedByte(char16_t c) { return c >= kEscapeBase + 0x80 && c <= kEscapeBase + 0xFF; }

// What one UTF-16 unit (or pair, starting at `i`) becomes in bytes; the two passes
// of the encoder below must agree on it.
std::size_t Utf8Size(std::u16string_view text, std::size_t i) {
  const char16_t c = text[i];
  if (c < 0x80 || IsEscapedByte(c)) return 1;
  if (c < 0x800) return 2;
  if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) return 4;
  return 3;
}

// Length of the valid UTF-8 sequence at `i`, or 0 when the byte there must be
// escaped. Follows the Unicode table of well-formed sequences exactly, so every
// accepted sequence re-encodes to the same bytes.
std::size_t ValidSequenceLength(std::string_view s, std::size_t i, char32_t& cp) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  const std::size_t left = s.size() - i;
  auto at = [&](std::size_t k) { return static_cast<unsigned char>(s[i + k]); };
  if (b0 < 0x80) {
    cp = b0;
    return 1;
  }
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    if (left < 2 || !IsContinuation(at(1))) return 0;
    cp = ((b0 & 0x1Fu) << 6) | (at(1) & 0x3Fu);
    return 2;
  }
  if (b0 >= 0xE0 && b0 <= 0xEF) {
    if (left < 3 || !IsContinuation(at(1)) || !IsContinuation(at(2))) return 0;
    if (b0 == 0xE0 && at(1) < 0xA0) return 0;   // overlong
    if (b0 == 0xED && at(1) >= 0xA0) return 0;  // encoded surrogate
    cp = ((b0 & 0x0Fu) << 12) | ((at(1) & 0x3Fu) << 6) | (at(2) & 0x3Fu);
    return 3;
  }
  if (b0 >= 0xF0 && b0 <= 0xF4) {
    if (left < 4 || !IsContinuation(at(1)) || !IsContinuation(at(2)) || !IsContinuation(at(3))) return 0;
    if (b0 == 0xF0 && at(1) < 0x90) return 0;   // overlong
    if (b0 == 0xF4 && at(1) >= 0x90) return 0;  // above U+10FFFF
    cp = ((b0 & 0x07u) << 18) | ((at(1) & 0x3Fu) << 12) | ((at(2) & 0x3Fu) << 6) | (at(3) & 0x3Fu);
    return 4;
  }
  return 0;
}

}  // namespace

std::u16string Utf8ToUtf16(std::string_view bytes) {
  // No sequence yields more UTF-16 units than it has bytes, so one allocation of the
  // byte count is enough; file names are mostly ASCII, which is then exact.
  std::u16string out(bytes.size(), u'\0');
  char16_t* at = out.data();
  for (std::size_t i = 0; i < bytes.size();) {
    const auto b = static_cast<unsigned char>(bytes[i]);
    if (b < 0x80) {
      *at++ = b;
      ++i;
      continue;
    }
    char32_t cp = 0;
    const std::size_t n = ValidSequenceLength(bytes, i, cp);
    if (n == 0) {
      *at++ = static_cast<char16_t>(kEscapeBase + b);
      ++i;
    } else {
      at = PutCodePoint(at, cp);
      i += n;
    }
  }
  out.resize(static_cast<std::size_t>(at - out.data()));
  return out;
}

void AppendUtf8(std::string& out, std::u16string_view text) {
  // Paths are mostly ASCII: the leading ASCII run is sized by one scan and copied by
  // a loop the compiler vectorises; the rest is sized exactly before it is encoded.
  std::size_t ascii = 0;
  while (ascii < text.size() && text[ascii] < 0x80) ++ascii;
  std::size_t size = ascii;
  for (std::size_t i = ascii; i < text.size();) {
    const std::size_t n = Utf8Size(text, i);
    size += n;
    i += n == 4 ? 2 : 1;
  }
  const std::size_t from = out.size();
  out.resize(from + size);
  char* at = out.data() + from;
  for (std::size_t i = 0; i < ascii; ++i) at[i] = static_cast<char>(text[i]);
  at += ascii;
  for (std::size_t i = ascii; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c < 0x80) {
      *at++ = static_cast<char>(c);
    } else if (IsEscapedByte(c)) {
      *at++ = static_cast<char>(c - kEscapeBase);
    } else if (Utf8Size(text, i) == 4) {
      at = PutUtf8(at, 0x10000 + ((char32_t(c) - 0xD800) << 10) + (char32_t(text[i + 1]) - 0xDC00));
      ++i;
    } else {
      at = PutUtf8(at, c);
    }
  }
}

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  AppendUtf8(out, text);
  return out;
}

std::vector<std::uint8_t> Utf16LeBytes(std::u16string_view text, bool withNul) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() * 2 + 2);
  for (char16_t c : text) {
    bytes.push_back(static_cast<std::uint8_t>(c));
    bytes.push_back(static_cast<std::uint8_t>(c >> 8));
  }
  if (withNul) bytes.insert(bytes.end(), {0, 0});
  return bytes;
}

std::u16string AsciiToUtf16(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

std::u16string AsciiFold(std::u16string_view text) {
  std::u16string out(text);
  for (auto& c : out) c = AsciiFoldChar(c);
  return out;
}

int AsciiFoldCompare(std::u16string_view a, std::u16string_view b) {
  const std::size_t n = a.size() < b.size() ? a.size() : b.size();
  for (std::size_t i = 0; i < n; ++i) {
    const char16_t x = AsciiFoldChar(a[i]);
    const char16_t y = AsciiFoldChar(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

std::u16string Join(const std::vector<std::u16string>& items, std::u16string_view separator) {
  std::u16string out;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i != 0) out += separator;
    out += items[i];
  }
  return out;
}

std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view separator) {
  std::vector<std::u16string> items;
  if (text.empty()) return items;
  if (separator.empty()) return {std::u16string(text)};
  std::size_t start = 0;
  for (;;) {
    const std::size_t at = text.find(separator, start);
    if (at == std::u16string_view::npos) break;
    items.emplace_back(text.substr(start, at - start));
    start = at + separator.size();
  }
  items.emplace_back(text.substr(start));
  return items;
}

}  // namespace tessaroven
