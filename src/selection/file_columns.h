// The text of a file list cell, by column name, for one file: the file columns from
// the directory entry, everything else from what the decoder read (the values of the
// property and tag presentation, stored in the file's tag list under the column's
// name). The window's list model and the command line's --columns share it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decode/file_info.h"
#include "filters/type_filter.h"
#include "selection/folder_scanning.h"

namespace tessaroven {

// The file and property columns and the tag columns, in the order of the column
// header's menu; "Name ... Compression" first, the tags after.
extern const std::vector<std::u16string_view> kFileAndPropertyColumns;
extern const std::vector<std::u16string_view> kTagColumns;
// What the main list shows until the user chooses otherwise.
extern const std::vector<std::u16string_view> kDefaultMainColumns;

// The extended property columns: the "Property Elements" every plug-in of the
// plug-in folder reports, in folder order (each plug-in is loaded in turn).
std::vector<std::u16string> ExtendedPropertyColumns();

// The column of that name, in its own spelling, when it is one the list knows:
// the file and property columns, the tag columns, "Path", "Folder" and the
// extended property columns (asked of the plug-ins only when the name is none of
// the others). Names are matched with the ASCII fold ("artist" is "Artist").
// std::nullopt for an unknown name.
std::optional<std::u16string> KnownColumnName(std::u16string_view name);

// Every name KnownColumnName knows, in the header menu's order, for a message.
std::vector<std::u16string> KnownColumnNames();

// Whether the column's text needs the decoder (anything but the file columns).
bool ColumnNeedsFileInfo(std::u16string_view column);

// The cell text. "Name" is the file name, "Folder" the folder with its separator,
// "Path" the whole path, "Size" the worded size, "Type" the audio type's description
// from the decoders (the extension when none has one), the three dates as
// "YYYY-MM-DD HH:MM" in local time (24-hour clock); any other column is the value of that name in
// `info`'s tags (empty when `info` is null or has none).
std::u16string ColumnText(std::u16string_view column, const FileEntry& entry, const FileInfo* info,
                          const TypeFilter& types);

// A file time (100-ns ticks since 1601, UTC) in local time, as the date columns show
// it; empty for 0.
std::u16string FormatFileDate(std::uint64_t fileTime);

}  // namespace tessaroven
