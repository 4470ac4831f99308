// The column sets of the file lists: which columns a list shows, in which order and
// how wide, as the user left them; the content of the column header's menu and what
// choosing an item of it does to a set; and the comparison the lists sort by.
//
// Plain data and functions with no Qt, so the window's lists and their tests share
// one rule set. Everything here runs on the user-interface thread; nothing holds
// state between calls except the settings store, which is thread-safe anyway.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "filters/type_filter.h"
#include "ui/file_row.h"

namespace tessaroven {

// Where each list keeps its set: names in display order and widths in pixels, each
// joined by "\r".
inline constexpr std::u16string_view kMainColumnsValue = u"qRV-FileSelector-Cols";
inline constexpr std::u16string_view kMainColumnWidthsValue = u"qRV-FileSelector-ColWidths";
inline constexpr std::u16string_view kListColumnsValue = u"qRV-FileSelector-List-Cols";
inline constexpr std::u16string_view kListColumnWidthsValue = u"qRV-FileSelector-List-ColWidths";

// Widths are designed at this many dots per inch and scaled to the screen.
inline constexpr int kDesignDpi = 96;
inline constexpr int kUnlistedColumnWidth = 150;

// The width a column starts with at 96 dpi; the table is matched ignoring ASCII case,
// so a stored "bit rate" is as wide as "Bit Rate".
int DefaultColumnWidth(std::u16string_view name);
// The same at the screen's horizontal dpi, truncated.
int ScaledDefaultColumnWidth(std::u16string_view name, int dpiX);
// Numeric columns line up on the right. Matched exactly: a column the user stored
// as "size" is a different column to the alignment (but not to the widths).
bool IsRightAlignedColumn(std::u16string_view name);

// A stored width: leading blanks, one optional sign, then digits up to the first
// other character; 0 when there are none.
int ParseColumnWidth(std::u16string_view text);

struct ColumnSpec {
  std::u16string name;
  int width = 0;  // pixels on this screen
  bool operator==(const ColumnSpec&) const = default;
};
using ColumnSet = std::vector<ColumnSpec>;

// The default columns with their scaled default widths.
ColumnSet DefaultColumnSet(const std::vector<std::u16string_view>& defaults, int dpiX);

// A set from its two stored texts. No names means the default set. The n-th width
// belongs to the n-th name; a missing or 0 width means the scaled default, any other
// stored width is already in this screen's pixels (it was measured on it) and is kept
// as it is. Empty names (two separators in a row) are dropped with their widths.
ColumnSet RestoreColumnSet(std::u16string_view names, std::u16string_view widths,
                           const std::vector<std::u16string_view>& defaults, int dpiX);

struct StoredColumnSet {
  std::u16string names;
  std::u16string widths;
};
StoredColumnSet JoinColumnSet(const ColumnSet& columns);

// RestoreColumnSet over the two settings values of a list.
ColumnSet LoadColumnSet(std::u16string_view namesValue, std::u16string_view widthsValue,
                        const std::vector<std::u16string_view>& defaults, int dpiX);
// Writes the two values (text with its terminating NUL); true when both were written.
bool SaveColumnSet(std::u16string_view namesValue, std::u16string_view widthsValue, const ColumnSet& columns);

// The header menu as data, group by group in the order shown.
struct ColumnMenuItem {
  std::u16string name;
  bool checked = false;
  bool operator==(const ColumnMenuItem&) const = default;
};
struct ColumnMenuContent {
  std::vector<ColumnMenuItem> top;       // file and property columns
  std::vector<ColumnMenuItem> tags;      // the "Tags" sub-menu
  std::vector<ColumnMenuItem> extended;  // the "Extended Properties" sub-menu
  std::vector<ColumnMenuItem> missing;   // columns of the set in no group: always checked
};

// An item is checked when the set holds its name, ignoring ASCII case. The extended
// names are sorted with the ASCII fold; duplicates and names of the two fixed groups
// are dropped (all ignoring case), so each name is offered once.
ColumnMenuContent BuildColumnMenuContent(const ColumnSet& current, const std::vector<std::u16string>& extendedNames);

// The property names every plug-in of the plug-in folder reports, in folder order and
// with repeats; each library is loaded, asked and released in turn. Slow (it loads
// every plug-in), so call it when the menu opens, not per row.
std::vector<std::u16string> ExtendedPropertyNames();

// What the user picked in the header menu. "Default Columns" is a flag rather than a
// name, so a stored column that happens to be called so is still just a column.
struct ColumnMenuChoice {
  bool defaultColumns = false;
  std::u16string name;  // the item's text when !defaultColumns
  bool operator==(const ColumnMenuChoice&) const = default;
};

enum class ColumnChange { kDefaultsRestored, kRemoved, kAdded };
struct ColumnChoiceOutcome {
  ColumnChange change = ColumnChange::kAdded;
  // kRemoved: the list column of exactly this name is to be deleted. Unset when the
  // set held the name only in another case: that column stays in the list (and so is
  // saved again with the list), as the menu has always behaved.
  std::optional<std::u16string> deleteListColumn;
};

// Applies a menu choice to `columns`. Defaults replace the whole set, user order and
// widths included. A name in the set (ignoring case; an exact match preferred) is
// removed; any other is appended with its scaled default width, so after kAdded the
// new column is columns.back().
ColumnChoiceOutcome ApplyColumnChoice(ColumnSet& columns, const ColumnMenuChoice& choice,
                                      const std::vector<std::u16string_view>& defaults, int dpiX);

// The sort comparison of the lists, by the sort column's exact name: sizes, lengths,
// bit rates, ratings and compression as numbers, the dates as file times, "Audio
// Quality" by its rank, any other column by its cell text under the ASCII fold. A row
// whose info has not been read yet counts 0 for the numeric columns. -1, 0 or 1;
// descending negates.
int CompareRows(const FileRow& a, const FileRow& b, std::u16string_view column, bool ascending,
                const TypeFilter& types);
// Whether CompareRows orders `column` by its cell text under the ASCII fold alone, so a
// list may fold each row's text once and sort by that instead of asking per pair.
bool SortsByCellText(std::u16string_view column);

}  // namespace tessaroven
