#include "ui/file_row.h"

#include "selection/file_columns.h"

namespace tessaroven {

std::u16string CellText(std::u16string_view column, const FileRow& row, const TypeFilter& types) {
  const std::u16string text = ColumnText(column, row.entry, row.info.get(), types);
  if (text.find(u'\r') == std::u16string::npos) return text;
  std::u16string shown;
  shown.reserve(text.size() + 8);
  for (const char16_t c : text) {
    if (c == u'\r')
      shown += u"; ";
    else
      shown += c;
  }
  return shown;
}

}  // namespace tessaroven
