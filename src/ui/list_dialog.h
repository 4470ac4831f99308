// frmList: the converting list. Every file the selection would convert, one row
// each with the user's columns for this list, a box per row to leave a file out, and
// a summary of what is ticked ("Converting 12 Files, Source Size: ...  Length: ...").
// "Convert" closes the dialog with kConvertResult; the owner then hands the ticked
// files to the converter.
//
// Properties and tags are read by the dialog's own background reader and applied on
// a 50 ms tick, as in the main window. Main thread only.
#pragma once

#include <QDialog>
#include <QTimer>
#include <string>
#include <vector>

#include "filters/type_filter.h"
#include "ui/metadata_reader.h"

class QLabel;
class QPushButton;

namespace tessaroven {

class FileListView;

inline constexpr int kConvertResult = 2;
// Shown whatever the stored set says: without them a row cannot be told apart.
inline const std::vector<std::u16string_view> kListRequiredColumns = {u"Folder", u"Name"};
extern const std::vector<std::u16string_view> kDefaultListColumns;

class frmList : public QDialog {
 public:
  // `types` must outlive the dialog.
  frmList(std::vector<std::u16string> files, const TypeFilter& types, QWidget* owner);
  ~frmList() override;

  // The ticked files in the order shown.
  std::vector<std::u16string> CheckedFiles() const;
  const QString& Summary() const { return summary_; }
  FileListView* List() const { return list_; }
  MetadataReader& Reader() { return reader_; }
  QPushButton* ConvertButton() const { return convert_; }

  // One round of the tick: applies what the reader has finished.
  void Tick();
  // Until every row has its properties: the summary's length is still growing.
  bool Reading() const;
  void UpdateSummary();

 protected:
  void done(int result) override;

 private:
  FileListView* list_ = nullptr;
  QLabel* summaryLabel_ = nullptr;
  QPushButton* convert_ = nullptr;
  MetadataReader reader_;
  QTimer tick_;
  QString summary_;
  std::size_t applied_ = 0;
};

}  // namespace tessaroven
