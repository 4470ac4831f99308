// The eight tag names the metadata filter offers, one per slot, kept in the text file
// "Tessaroven/BatchConverterFilters.txt" in the application-data folder
// ($XDG_DATA_HOME on Linux, the roaming AppData folder on Windows) so that users can
// choose their own fields by editing it.
//
// The file is UTF-16LE with the names separated by CR LF. Reading is forgiving, since
// people edit it by hand: a byte-order mark is skipped (the program writes none), an
// odd last byte is dropped, a zero character ends the text as it would end a Windows
// string, and names beyond the eighth are ignored. Empty names between separators
// stay empty slots, which take no part in filtering. When the file is missing,
// unreadable or names no field at all, the six default fields are used, and a missing
// or nameless file is written with them (no mark, no terminator) for the user to find
// and edit; a file that exists but cannot be opened is left alone. A failed write is
// not reported, the defaults still apply.
//
// Read once at start-up on the main thread; the functions themselves may run on any
// thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

inline constexpr std::size_t kMetadataSlotCount = 8;
using FilterFieldNames = std::array<std::u16string, kMetadataSlotCount>;

// The fields used when the file names none, in slot order.
inline constexpr std::array<std::u16string_view, 6> kDefaultFilterFields = {
    u"Artist", u"Album", u"Composer", u"Rating", u"Album Artist", u"Genre",
};

// The file's full path.
std::u16string FilterFieldsFilePath();

// The names in the file's bytes, in order, before padding or cutting to eight.
std::vector<std::u16string> ParseFilterFields(std::string_view bytes);
// The names padded with empty ones, or cut from the end, to exactly eight.
FilterFieldNames ToSlotFields(const std::vector<std::u16string>& names);

// Reads the file at `path`, writing the defaults there when it yields no name.
FilterFieldNames LoadFilterFields(const std::u16string& path);
// The same for FilterFieldsFilePath().
FilterFieldNames LoadFilterFields();

}  // namespace tessaroven
