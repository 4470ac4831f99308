// Command lines by the Windows rules (CommandLineToArgvW and the MSVC runtime's
// argv), which every part of the program that builds or reads one follows: the
// converter's arguments, the selector's own command line on Linux (built from argv
// so that an argument stays one word), the crash restart's words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

// Splits argument text as CommandLineToArgvW splits what follows the program name:
// space and tab separate arguments outside quotes; a quote toggles grouping and is
// dropped; 2n backslashes before a quote give n backslashes, 2n+1 give n and a
// literal quote; backslashes elsewhere are literal; inside a group "" gives a
// literal quote and ends the group, and """ outside one gives a literal quote.
std::vector<std::u16string> SplitWindowsCommandLine(std::u16string_view text);

// Appends `value` as the inside of a quoted argument that the rules above give back
// unchanged: a quote becomes \" and the backslashes right before a quote, or at the
// end of the value (before the closing quote), are doubled.
void AppendQuotedCommandValue(std::u16string& out, std::u16string_view value);

// `word` as one argument: unchanged when it is not empty and holds no space, tab or
// quote, else in quotes with AppendQuotedCommandValue.
std::u16string QuoteCommandWord(std::u16string_view word);

}  // namespace tessaroven
