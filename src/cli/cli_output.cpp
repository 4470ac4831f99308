#include "cli/cli_output.h"

#include <cstdio>

#include "base/text.h"

namespace tessaroven::cli {

// UTF-8 on both systems: on Linux the escapes of non-UTF-8 bytes turn back into the
// bytes themselves, which is what the file system holds.
void AppendOutputText(std::string& out, std::u16string_view text) { AppendUtf8(out, text); }

std::string OutputText(std::u16string_view text) {
  std::string out;
  AppendOutputText(out, text);
  return out;
}

std::string TabLine(const std::vector<std::u16string>& values) {
  std::string line;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i > 0) line.push_back('\t');
    std::string value = OutputText(values[i]);
    for (char& c : value) {
      if (c == '\t' || c == '\n' || c == '\r') c = ' ';
    }
    line += value;
  }
  return line;
}

std::string JsonString(std::u16string_view text) {
  std::string out = "\"";
  std::size_t plainFrom = 0;
  const auto flush = [&](std::size_t to) {
    if (to > plainFrom) out += Utf16ToUtf8(text.substr(plainFrom, to - plainFrom));
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    const bool lowSurrogate = c >= 0xDC00 && c <= 0xDFFF;
    const bool highSurrogate = c >= 0xD800 && c <= 0xDBFF;
    const bool paired = highSurrogate && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
    if (paired) {
      ++i;
      continue;
    }
    if (c >= 0x20 && c != u'"' && c != u'\\' && !lowSurrogate && !highSurrogate) continue;
    flush(i);
    plainFrom = i + 1;
    switch (c) {
      case u'"':
        out += "\\\"";
        break;
      case u'\\':
        out += "\\\\";
        break;
      case u'\n':
        out += "\\n";
        break;
      case u'\r':
        out += "\\r";
        break;
      case u'\t':
        out += "\\t";
        break;
      default: {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
        out += escape;
      }
    }
  }
  flush(text.size());
  out.push_back('"');
  return out;
}

std::string JsonLine(const std::vector<std::u16string_view>& names, const std::vector<std::u16string>& values) {
  std::string line = "{";
  for (std::size_t i = 0; i < names.size() && i < values.size(); ++i) {
    if (i > 0) line += ", ";
    line += JsonString(names[i]);
    line += ": ";
    line += JsonString(values[i]);
  }
  line.push_back('}');
  return line;
}

}  // namespace tessaroven::cli
