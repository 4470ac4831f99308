// One row of a file list (the main window's and the converting list's): the
// directory entry, what the metadata reader found for the file once it has, and the
// row's check image.
//
// The info is shared and immutable once published: the metadata reader builds it on
// its worker and hands it over whole, so the user-interface thread never sees a half
// filled one.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "decode/file_info.h"
#include "selection/folder_scanning.h"
#include "selection/selection_model.h"

namespace tessaroven {

struct FileRow {
  FileEntry entry;
  std::shared_ptr<const FileInfo> info;  // null until the reader has been at the file
  int image = kFileImageUnticked;        // kFileImageUnticked or kFileImageTicked
};

// A cell as the lists show it: the column's text (file_columns.h) with every carriage
// return, the separator of a tag's several values, shown as "; ".
std::u16string CellText(std::u16string_view column, const FileRow& row, const TypeFilter& types);

}  // namespace tessaroven
