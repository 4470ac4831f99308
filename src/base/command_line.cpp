#include "base/command_line.h"

#include <utility>

namespace tessaroven {

void AppendQuotedCommandValue(std::u16string& out, std::u16string_view value) {
  std::size_t backslashes = 0;
  for (char16_t c : value) {
    if (c == u'\\') {
      ++backslashes;
      continue;
    }
    if (c == u'"') backslashes = backslashes * 2 + 1;
    out.append(backslashes, u'\\');
    backslashes = 0;
    out += c;
  }
  // The closing quote follows.
  out.append(backslashes * 2, u'\\');
}

std::u16string QuoteCommandWord(std::u16string_view word) {
  if (!word.empty() && word.find_first_of(u" \t\"") == std::u16string_view::npos) return std::u16string(word);
  std::u16string quoted = u"\"";
  AppendQuotedCommandValue(quoted, word);
  quoted += u'"';
  return quoted;
}

std::vector<std::u16string> SplitWindowsCommandLine(std::u16string_view text) {
  std::vector<std::u16string> arguments;
  std::u16string current;
  bool inArgument = false;
  std::size_t backslashes = 0;
  // Quotes seen in the current group: 1 inside a group; 2 and 3 arise only for a run
  // of quotes and are settled before the next character.
  int quotes = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if ((c == u' ' || c == u'\t') && quotes == 0) {
      if (inArgument) arguments.push_back(std::move(current));
      current.clear();
      inArgument = false;
      backslashes = 0;
      continue;
    }
    inArgument = true;
    if (c == u'\\') {
      current += c;
      ++backslashes;
      continue;
    }
    if (c != u'"') {
      current += c;
      backslashes = 0;
      continue;
    }
    if (backslashes % 2 == 0) {
      current.resize(current.size() - backslashes / 2);
      ++quotes;
    } else {
      current.resize(current.size() - backslashes / 2 - 1);
      current += u'"';
    }
    backslashes = 0;
    // A run of quotes: every third one is a literal quote.
    while (i + 1 < text.size() && text[i + 1] == u'"') {
      ++i;
      if (++quotes == 3) {
        current += u'"';
        quotes = 0;
      }
    }
    if (quotes == 2) quotes = 0;
  }
  if (inArgument) arguments.push_back(std::move(current));
  return arguments;
}

}  // namespace tessaroven
