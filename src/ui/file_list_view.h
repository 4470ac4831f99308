// The file list view shared by the main window and the converting list: a table
// over a FileListModel with the two check images, columns from a stored column set,
// the header's menu, sorting by a header click, and the rows' context menu (Check
// All, Uncheck All, Invert Selection, Edit ID Tags, Explore to File Location).
//
// What a change of tick means is the owner's: the main window records it in the
// selection, the converting list only counts it; so the three check commands are
// handed to `checkCommand`. Main thread only.
#pragma once

#include <QTableView>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ui/column_set.h"
#include "ui/file_list_model.h"

namespace tessaroven {

enum class CheckCommand { kCheckAll, kUncheckAll, kInvert };

// The screen's horizontal dots per inch, read once: every size of the window and
// its lists scales by it, as the saved column widths assume.
int ScreenDpiX();
// A size given at 96 dots per inch, on this screen.
int ScaledToScreen(int pixelsAt96);

class FileListView : public QTableView {
 public:
  // `namesValue`/`widthsValue` name the stored column set; `defaults` is the list's
  // default set. `types` must outlive the view.
  FileListView(const TypeFilter& types, std::u16string_view namesValue, std::u16string_view widthsValue,
               std::vector<std::u16string_view> defaults, QWidget* parent = nullptr);

  FileListModel* Model() const { return model_; }

  // Restores the stored set; `required` names are added at the front when missing.
  void LoadColumns(const std::vector<std::u16string_view>& required = {});
  // The columns in their shown order with their widths.
  ColumnSet ShownColumns() const;
  void SaveColumns() const;

  void ColumnMenuAt(QPoint globalPos);
  void ApplyColumnMenuChoice(const ColumnMenuChoice& choice);
  // A click on a column header: each column remembers its direction and turns it
  // round on the next click; the first click sorts ascending.
  void SortByHeader(int section);
  // After new rows: the last sort again, so the list keeps the order the user chose.
  void Resort();

  std::vector<std::u16string> ChosenPaths() const;
  void EditIdTags();
  void ExploreToFileLocation(const QModelIndex& index);

  std::function<void(CheckCommand)> checkCommand;

 private:
  void ShowRowMenu(QPoint pos);

  FileListModel* model_;
  std::u16string namesValue_, widthsValue_;
  std::vector<std::u16string_view> defaults_;
  int sortColumn_ = -1;
  std::map<std::u16string, bool> sortAscending_;
};

}  // namespace tessaroven
