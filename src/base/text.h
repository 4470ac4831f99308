// UTF-16 text as the core keeps it, and its conversion at the OS boundary.
//
// Every file format of the program is UTF-16LE and Windows speaks UTF-16, so the
// core holds all text as std::u16string. Linux speaks bytes that are usually, but
// not always, UTF-8: a byte that is not part of valid UTF-8 becomes the lone
// surrogate U+DC80..U+DCFF and turns back into the same byte, so any file name on
// disk survives the trip into the core and back unchanged.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

// Decodes UTF-8; invalid bytes (stray continuation bytes, overlong forms, encoded
// surrogates, code points above U+10FFFF, truncated sequences) map to U+DC80+byte.
std::u16string Utf8ToUtf16(std::string_view bytes);

// Encodes UTF-8; U+DC80..U+DCFF turn back into their byte. Any other lone surrogate
// cannot come from a Linux file name and is written as its 3-byte form (WTF-8).
std::string Utf16ToUtf8(std::u16string_view text);
// The same, appended to `out` (for building large outputs without temporaries).
void AppendUtf8(std::string& out, std::u16string_view text);

// Text as the operating system's file and process calls take it: UTF-8 bytes on
// Linux, wchar_t (UTF-16) on Windows.
#ifdef _WIN32
using OsString = std::wstring;
#else
using OsString = std::string;
#endif
OsString ToOsString(std::u16string_view text);
std::u16string FromOsString(const OsString& text);

// Plain ASCII into UTF-16, for building texts from printf-style numbers.
std::u16string AsciiToUtf16(std::string_view ascii);

// The only case fold the program uses: "A".."Z" to "a".."z", nothing else (accented
// letters compare exactly). Used for extensions, sorted name lists and value keys.
constexpr char16_t AsciiFoldChar(char16_t c) {
  return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}
std::u16string AsciiFold(std::u16string_view text);
// Three-way comparison under the fold: negative, 0 or positive.
int AsciiFoldCompare(std::u16string_view a, std::u16string_view b);
// Inline: tag and key look-ups call it for every entry they pass, and most calls end
// at the length.
constexpr bool AsciiFoldEquals(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && AsciiFoldChar(a[i]) != AsciiFoldChar(b[i])) return false;
  }
  return true;
}

// The UTF-16LE bytes of `text`, the form of every text the program writes to a file
// or the settings; with `withNul` followed by a zero unit (REG_SZ data, profiles).
std::vector<std::uint8_t> Utf16LeBytes(std::u16string_view text, bool withNul);

// Short lists travel as one text joined by a separator ("\r" in the settings).
// Splitting an empty text gives an empty list, so Split(Join(list)) == list for
// every list whose items do not contain the separator.
std::u16string Join(const std::vector<std::u16string>& items, std::u16string_view separator);
std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view separator);

}  // namespace tessaroven
