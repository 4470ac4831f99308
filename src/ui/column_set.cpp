#include "ui/column_set.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "base/format.h"
#include "base/settings.h"
#include "base/sorted_list.h"
#include "base/text.h"
#include "decode/decoder.h"
#include "decode/file_info.h"
#include "selection/file_columns.h"

namespace tessaroven {

namespace {

struct WidthRow {
  std::u16string_view name;
  int width;
};
constexpr std::array<WidthRow, 12> kDefaultWidths{{
    {u"Name", 250},
    {u"Size", 100},
    {u"Length", 110},
    {u"Bit Rate", 110},
    {u"Sample Rate", 120},
    {u"Sample Size", 120},
    {u"Compression", 110},
    {u"Channels", 90},
    {u"Track", 100},
    {u"Disc", 100},
    {u"Rating", 100},
    {u"Folder", 250},
}};

constexpr std::array<std::u16string_view, 7> kRightAligned{u"Size",        u"Length",      u"Bit Rate",   u"Channels",
                                                           u"Sample Size", u"Sample Rate", u"Compression"};

bool ContainsFolded(const std::vector<std::u16string_view>& names, std::u16string_view name) {
  return std::any_of(names.begin(), names.end(), [&](std::u16string_view n) { return AsciiFoldEquals(n, name); });
}

bool SetHoldsFolded(const ColumnSet& columns, std::u16string_view name) {
  return std::any_of(columns.begin(), columns.end(),
                     [&](const ColumnSpec& c) { return AsciiFoldEquals(c.name, name); });
}

std::vector<ColumnMenuItem> Items(const std::vector<std::u16string_view>& names, const ColumnSet& current) {
  std::vector<ColumnMenuItem> items;
  items.reserve(names.size());
  for (const std::u16string_view name : names) items.push_back({std::u16string(name), SetHoldsFolded(current, name)});
  return items;
}

template <class T>
int Order(T a, T b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

// The numbers the numeric columns sort by; 0 until the reader has been at the file.
std::int64_t LengthOf(const FileRow& row) { return row.info ? row.info->lengthMs : 0; }
std::uint32_t BitRateOf(const FileRow& row) { return row.info ? row.info->bitRate : 0; }
std::int32_t RatingOf(const FileRow& row) { return row.info ? row.info->rating : 0; }

int Sign(int order) { return order < 0 ? -1 : (order > 0 ? 1 : 0); }

int CompareAscending(const FileRow& a, const FileRow& b, std::u16string_view column, const TypeFilter& types) {
  // Signed, as the sort has always taken sizes; no real file comes near the top bit.
  if (column == u"Size") {
    return Order(static_cast<std::int64_t>(a.entry.size), static_cast<std::int64_t>(b.entry.size));
  }
  if (column == u"Length") return Order(LengthOf(a), LengthOf(b));
  if (column == u"Bit Rate") return Order(BitRateOf(a), BitRateOf(b));
  if (column == u"Rating") return Order(RatingOf(a), RatingOf(b));
  if (column == u"Compression") {
    // The percentage only exists as the presented text ("62%").
    return Order(LeadingNumber(CellText(column, a, types)), LeadingNumber(CellText(column, b, types)));
  }
  if (column == u"Date Modified") return Order(a.entry.modified, b.entry.modified);
  if (column == u"Date Created") return Order(a.entry.created, b.entry.created);
  if (column == u"Date Accessed") return Order(a.entry.accessed, b.entry.accessed);
  if (column == u"Audio Quality") {
    return Sign(CompareAudioQuality(CellText(column, a, types), CellText(column, b, types)));
  }
  return Sign(AsciiFoldCompare(CellText(column, a, types), CellText(column, b, types)));
}

}  // namespace

int DefaultColumnWidth(std::u16string_view name) {
  for (const WidthRow& row : kDefaultWidths) {
    if (AsciiFoldEquals(row.name, name)) return row.width;
  }
  return kUnlistedColumnWidth;
}

int ScaledDefaultColumnWidth(std::u16string_view name, int dpiX) {
  return static_cast<int>(std::int64_t{DefaultColumnWidth(name)} * dpiX / kDesignDpi);
}

bool IsRightAlignedColumn(std::u16string_view name) {
  return std::find(kRightAligned.begin(), kRightAligned.end(), name) != kRightAligned.end();
}

int ParseColumnWidth(std::u16string_view text) { return LeadingNumber(text); }

ColumnSet DefaultColumnSet(const std::vector<std::u16string_view>& defaults, int dpiX) {
  ColumnSet columns;
  columns.reserve(defaults.size());
  for (const std::u16string_view name : defaults) {
    columns.push_back({std::u16string(name), ScaledDefaultColumnWidth(name, dpiX)});
  }
  return columns;
}

ColumnSet RestoreColumnSet(std::u16string_view names, std::u16string_view widths,
                           const std::vector<std::u16string_view>& defaults, int dpiX) {
  // Widths stored without names belong to no known order: they are dropped with it.
  if (names.empty()) return DefaultColumnSet(defaults, dpiX);
  const std::vector<std::u16string> nameList = Split(names, u"\r");
  const std::vector<std::u16string> widthList = Split(widths, u"\r");
  ColumnSet columns;
  columns.reserve(nameList.size());
  for (std::size_t i = 0; i < nameList.size(); ++i) {
    if (nameList[i].empty()) continue;
    const int stored = i < widthList.size() ? ParseColumnWidth(widthList[i]) : 0;
    columns.push_back({nameList[i], stored != 0 ? stored : ScaledDefaultColumnWidth(nameList[i], dpiX)});
  }
  return columns;
}

StoredColumnSet JoinColumnSet(const ColumnSet& columns) {
  StoredColumnSet stored;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) {
      stored.names += u'\r';
      stored.widths += u'\r';
    }
    stored.names += columns[i].name;
    stored.widths += FormatInteger(columns[i].width);
  }
  return stored;
}

ColumnSet LoadColumnSet(std::u16string_view namesValue, std::u16string_view widthsValue,
                        const std::vector<std::u16string_view>& defaults, int dpiX) {
  return RestoreColumnSet(SettingsGetString(namesValue), SettingsGetString(widthsValue), defaults, dpiX);
}

bool SaveColumnSet(std::u16string_view namesValue, std::u16string_view widthsValue, const ColumnSet& columns) {
  const StoredColumnSet stored = JoinColumnSet(columns);
  const bool namesWritten = SettingsSetString(stored.names, namesValue);
  const bool widthsWritten = SettingsSetString(stored.widths, widthsValue);
  return namesWritten && widthsWritten;
}

ColumnMenuContent BuildColumnMenuContent(const ColumnSet& current, const std::vector<std::u16string>& extendedNames) {
  ColumnMenuContent content;
  content.top = Items(kFileAndPropertyColumns, current);
  content.tags = Items(kTagColumns, current);

  STStringStorage extended;
  for (const std::u16string& name : extendedNames) {
    if (name.empty() || ContainsFolded(kFileAndPropertyColumns, name) || ContainsFolded(kTagColumns, name)) continue;
    extended.AddUnique(name);
  }
  content.extended.reserve(extended.Count());
  for (std::size_t i = 0; i < extended.Count(); ++i) {
    const std::u16string& name = extended.Sorted(i);
    content.extended.push_back({name, SetHoldsFolded(current, name)});
  }

  // Without this group a column the menu does not know (an old plug-in's property,
  // a hand-edited setting) could never be removed again.
  for (const ColumnSpec& column : current) {
    if (ContainsFolded(kFileAndPropertyColumns, column.name) || ContainsFolded(kTagColumns, column.name) ||
        extended.Find(column.name) != STStringStorage::npos) {
      continue;
    }
    content.missing.push_back({column.name, true});
  }
  return content;
}

std::vector<std::u16string> ExtendedPropertyNames() { return ExtendedPropertyColumns(); }

ColumnChoiceOutcome ApplyColumnChoice(ColumnSet& columns, const ColumnMenuChoice& choice,
                                      const std::vector<std::u16string_view>& defaults, int dpiX) {
  if (choice.defaultColumns) {
    columns = DefaultColumnSet(defaults, dpiX);
    return {ColumnChange::kDefaultsRestored, std::nullopt};
  }
  auto found = std::find_if(columns.begin(), columns.end(), [&](const ColumnSpec& c) { return c.name == choice.name; });
  if (found != columns.end()) {
    columns.erase(found);
    return {ColumnChange::kRemoved, choice.name};
  }
  found = std::find_if(columns.begin(), columns.end(),
                       [&](const ColumnSpec& c) { return AsciiFoldEquals(c.name, choice.name); });
  if (found != columns.end()) {
    columns.erase(found);
    return {ColumnChange::kRemoved, std::nullopt};
  }
  columns.push_back({choice.name, ScaledDefaultColumnWidth(choice.name, dpiX)});
  return {ColumnChange::kAdded, std::nullopt};
}

bool SortsByCellText(std::u16string_view column) {
  for (const std::u16string_view keyed : {u"Size", u"Length", u"Bit Rate", u"Rating", u"Compression", u"Date Modified",
                                           u"Date Created", u"Date Accessed", u"Audio Quality"}) {
    if (column == keyed) return false;
  }
  return true;
}

int CompareRows(const FileRow& a, const FileRow& b, std::u16string_view column, bool ascending,
                const TypeFilter& types) {
  const int order = CompareAscending(a, b, column, types);
  return ascending ? order : -order;
}

}  // namespace tessaroven
