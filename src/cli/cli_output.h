// How tessaroven-cli writes what it lists: one file per line, either its path, or
// the chosen columns separated by tabs, or one JSON object.
//
// Paths keep their exact bytes on Linux (a name that is not UTF-8 prints as the
// bytes it has on disk); in JSON such bytes appear as the escapes "\udc80".."\udcff"
// of the program's lossless text form, so the line is still valid JSON text.
// Tabs and line breaks inside a column value are written as spaces in the tab form,
// so a line is always one file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessaroven::cli {

// The text as the terminal and the file system spell it (bytes on Linux).
std::string OutputText(std::u16string_view text);
void AppendOutputText(std::string& out, std::u16string_view text);

// One line of the tab form (no line break).
std::string TabLine(const std::vector<std::u16string>& values);

// One JSON object (no line break) with the names and values in order.
std::string JsonLine(const std::vector<std::u16string_view>& names, const std::vector<std::u16string>& values);

// A JSON string literal with its quotes.
std::string JsonString(std::u16string_view text);

}  // namespace tessaroven::cli
