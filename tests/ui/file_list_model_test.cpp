#include "ui/file_list_model.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "filters/filter_state.h"
#include "ui/column_set.h"

namespace tessaroven {
namespace {

// The list sorts text columns by keys folded once per row; the order must be the
// one the pairwise comparison gives, in both directions, ties kept in listed order.
TEST(FileListModelTest, SortingATextColumnKeepsThePairwiseOrder) {
  FilterState filters{FilterFieldNames{}};
  FileListModel model(filters.Types());
  model.SetColumns({u"Name", u"Size"});
  std::vector<FileEntry> entries;
  for (const char16_t* name : {u"/m/b.flac", u"/m/A.flac", u"/m/a_.flac", u"/m/_z.flac", u"/m/B.flac", u"/m/a.flac",
                               u"/m/Zz.flac", u"/m/b.flac"})
    entries.push_back({name, 0, 0, 0, 0});
  model.SetEntries(entries, nullptr);
  for (const bool ascending : {true, false}) {
    std::vector<FileRow> expected;
    for (const FileEntry& entry : entries) expected.push_back({entry, nullptr, kFileImageUnticked});
    std::stable_sort(expected.begin(), expected.end(), [&](const FileRow& a, const FileRow& b) {
      return CompareRows(a, b, u"Name", ascending, filters.Types()) < 0;
    });
    model.sort(0, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    std::vector<std::u16string> shown, wanted;
    for (std::size_t row = 0; row < model.RowCount(); ++row) shown.push_back(model.Row(row).entry.path);
    for (const FileRow& row : expected) wanted.push_back(row.entry.path);
    EXPECT_EQ(shown, wanted) << (ascending ? "ascending" : "descending");
  }
}

}  // namespace
}  // namespace tessaroven
