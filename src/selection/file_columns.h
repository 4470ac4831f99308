// The text of a file list cell, by column name, for one file: the file columns from
// the directory entry, everything else from what the decoder read (the values of the
// property and tag presentation, stored in the file's tag list under the column's
// name). The window's list model and the command line's --columns share it.
#pragma once

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
