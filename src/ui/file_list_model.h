// The file list as Qt sees it: a table model over the rows of the folder in focus,
// one column per name of the column set, texts made when a cell is drawn (no item
// per cell), so tens of thousands of rows list and sort quickly.
//
// Rows keep the order they were listed in; the shown order is a permutation of
// them, so a metadata result (which names its file by that first position) finds
// its row at once however the list has been sorted since.
//
// Column 0 carries the row's tick (two check images); a change of tick made
// through the view or assistive technology is passed to `tickChanged`, which the
// window hands on to the selection model. Main thread only.
#pragma once

#include <QAbstractTableModel>
#include <QHash>
#include <QIcon>
#include <functional>
#include <string>
#include <vector>

#include "filters/type_filter.h"
#include "ui/file_row.h"
#include "ui/metadata_reader.h"

namespace tessaroven {

class FileListModel : public QAbstractTableModel {
 public:
  // `types` must outlive the model.
  explicit FileListModel(const TypeFilter& types, QObject* parent = nullptr);

  // Replaces every row; each gets its tick image from `image(entry)`.
  void SetEntries(std::vector<FileEntry> entries, const std::function<int(const FileEntry&)>& image);
  void Clear();

  void SetColumns(std::vector<std::u16string> columns);
  const std::vector<std::u16string>& Columns() const { return columns_; }
  void AddColumn(std::u16string column);
  void RemoveColumn(int column);

  // Rows in shown order.
  std::size_t RowCount() const { return order_.size(); }
  const FileRow& Row(std::size_t shownRow) const { return rows_[order_[shownRow]]; }
  void SetImage(std::size_t shownRow, int image);
  // The paths in listed order (what the metadata reader is given).
  std::vector<std::u16string> ListedPaths() const;

  // Applies finished metadata; returns how many rows changed.
  std::size_t ApplyMetadata(const std::vector<MetadataResult>& results);

  // Called after a row's tick changed through setData, with the shown row and the
  // new tick.
  std::function<void(std::size_t shownRow, bool ticked)> tickChanged;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

 private:
  std::u16string Text(const FileRow& row, std::u16string_view column) const;
  QIcon FileIcon(const FileRow& row) const;
  QString TypeName(const FileRow& row) const;
  const QString& CachedText(std::size_t listedRow, std::size_t column) const;
  void ForgetTexts() { texts_.assign(rows_.size(), {}); }

  const TypeFilter& types_;
  std::vector<FileRow> rows_;
  std::vector<std::size_t> order_;  // shown row -> listed row
  std::vector<std::size_t> shownOf_;  // listed row -> shown row
  std::vector<std::u16string> columns_;
  // The shown texts of the rows drawn so far, by listed row and column: a repaint
  // while metadata streams in then costs a look-up per cell, not a formatting.
  mutable std::vector<std::vector<QString>> texts_;
  mutable QHash<QString, QIcon> icons_;      // by lower-case extension
  mutable QHash<QString, QString> typeNames_;  // by lower-case extension
};

}  // namespace tessaroven
