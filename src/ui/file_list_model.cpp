#include "ui/file_list_model.h"

#include <QFileIconProvider>
#include <QMimeDatabase>
#include <algorithm>
#include <numeric>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "ui/column_set.h"
#include "ui/state_image_delegate.h"

namespace tessaroven {

namespace {

QString ExtensionKey(const std::u16string& path) {
  const std::size_t dot = path.find_last_of(u'.');
  const std::size_t separator = path.find_last_of(kPathSeparator);
  if (dot == std::u16string::npos || (separator != std::u16string::npos && dot < separator)) return {};
  return QString::fromStdU16String(path.substr(dot)).toLower();
}

}  // namespace

FileListModel::FileListModel(const TypeFilter& types, QObject* parent) : QAbstractTableModel(parent), types_(types) {}

void FileListModel::SetEntries(std::vector<FileEntry> entries, const std::function<int(const FileEntry&)>& image) {
  beginResetModel();
  rows_.clear();
  rows_.reserve(entries.size());
  for (FileEntry& entry : entries) {
    FileRow row;
    row.image = image ? image(entry) : kFileImageUnticked;
    row.entry = std::move(entry);
    rows_.push_back(std::move(row));
  }
  order_.resize(rows_.size());
  std::iota(order_.begin(), order_.end(), std::size_t{0});
  shownOf_ = order_;
  ForgetTexts();
  endResetModel();
}

void FileListModel::Clear() { SetEntries({}, nullptr); }

void FileListModel::SetColumns(std::vector<std::u16string> columns) {
  beginResetModel();
  columns_ = std::move(columns);
  ForgetTexts();
  endResetModel();
}

void FileListModel::AddColumn(std::u16string column) {
  const int at = static_cast<int>(columns_.size());
  beginInsertColumns({}, at, at);
  columns_.push_back(std::move(column));
  ForgetTexts();
  endInsertColumns();
}

void FileListModel::RemoveColumn(int column) {
  if (column < 0 || static_cast<std::size_t>(column) >= columns_.size()) return;
  beginRemoveColumns({}, column, column);
  columns_.erase(columns_.begin() + column);
  ForgetTexts();
  endRemoveColumns();
}

void FileListModel::SetImage(std::size_t shownRow, int image) {
  if (shownRow >= order_.size()) return;
  FileRow& row = rows_[order_[shownRow]];
  if (row.image == image) return;
  row.image = image;
  const QModelIndex cell = index(static_cast<int>(shownRow), 0);
  emit dataChanged(cell, cell, {Qt::CheckStateRole, kStateImageRole});
}

std::vector<std::u16string> FileListModel::ListedPaths() const {
  std::vector<std::u16string> paths;
  paths.reserve(rows_.size());
  for (const FileRow& row : rows_) paths.push_back(row.entry.path);
  return paths;
}

std::size_t FileListModel::ApplyMetadata(const std::vector<MetadataResult>& results) {
  std::size_t first = order_.size(), last = 0, applied = 0;
  for (const MetadataResult& result : results) {
    if (result.entry >= rows_.size()) continue;
    rows_[result.entry].info = result.info;
    texts_[result.entry].clear();
    const std::size_t shown = shownOf_[result.entry];
    first = std::min(first, shown);
    last = std::max(last, shown);
    ++applied;
  }
  if (applied > 0 && !columns_.empty()) {
    // One notice for the whole span: the view repaints what of it is visible.
    emit dataChanged(index(static_cast<int>(first), 0),
                     index(static_cast<int>(last), static_cast<int>(columns_.size()) - 1), {Qt::DisplayRole});
  }
  return applied;
}

int FileListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(order_.size());
}

int FileListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QString FileListModel::TypeName(const FileRow& row) const {
  const QString key = ExtensionKey(row.entry.path);
  if (const auto found = typeNames_.constFind(key); found != typeNames_.constEnd()) return *found;
  static const QMimeDatabase mimes;
  const QMimeType type = mimes.mimeTypeForFile(QStringLiteral("x") + key, QMimeDatabase::MatchExtension);
  QString name = type.isDefault() ? QString() : type.comment();
  // The decoder's own description where the desktop does not know the type.
  if (name.isEmpty()) name = QString::fromStdU16String(CellText(u"Type", row, types_));
  typeNames_.insert(key, name);
  return name;
}

QIcon FileListModel::FileIcon(const FileRow& row) const {
  const QString key = ExtensionKey(row.entry.path);
  if (const auto found = icons_.constFind(key); found != icons_.constEnd()) return *found;
  static const QMimeDatabase mimes;
  static const QFileIconProvider provider;
  const QMimeType type = mimes.mimeTypeForFile(QStringLiteral("x") + key, QMimeDatabase::MatchExtension);
  QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
  if (icon.isNull()) icon = provider.icon(QAbstractFileIconProvider::File);
  icons_.insert(key, icon);
  return icon;
}

std::u16string FileListModel::Text(const FileRow& row, std::u16string_view column) const {
  if (column == u"Type") return TypeName(row).toStdU16String();
  return CellText(column, row, types_);
}

const QString& FileListModel::CachedText(std::size_t listedRow, std::size_t column) const {
  std::vector<QString>& texts = texts_[listedRow];
  if (texts.empty()) {
    texts.resize(columns_.size());
    for (std::size_t c = 0; c < columns_.size(); ++c)
      texts[c] = QString::fromStdU16String(Text(rows_[listedRow], columns_[c]));
  }
  return texts[column];
}

QVariant FileListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || static_cast<std::size_t>(index.row()) >= order_.size() ||
      static_cast<std::size_t>(index.column()) >= columns_.size())
    return {};
  const FileRow& row = rows_[order_[static_cast<std::size_t>(index.row())]];
  const std::u16string& column = columns_[static_cast<std::size_t>(index.column())];
  switch (role) {
    case Qt::DisplayRole:
      return CachedText(order_[static_cast<std::size_t>(index.row())], static_cast<std::size_t>(index.column()));
    case Qt::DecorationRole:
      return column == u"Name" ? QVariant(FileIcon(row)) : QVariant();
    case Qt::TextAlignmentRole:
      return IsRightAlignedColumn(column) ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                                          : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::ToolTipRole:
      return index.column() == 0 ? QVariant(QString::fromStdU16String(row.entry.path)) : QVariant();
    case Qt::CheckStateRole:
      return index.column() == 0 ? QVariant(row.image == kFileImageTicked ? Qt::Checked : Qt::Unchecked) : QVariant();
    case kStateImageRole:
      return index.column() == 0 ? QVariant(row.image) : QVariant();
    default:
      return {};
  }
}

bool FileListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::CheckStateRole || index.column() != 0 || static_cast<std::size_t>(index.row()) >= order_.size())
    return false;
  const bool ticked = static_cast<Qt::CheckState>(value.toInt()) == Qt::Checked;
  const auto shown = static_cast<std::size_t>(index.row());
  SetImage(shown, ticked ? kFileImageTicked : kFileImageUnticked);
  if (tickChanged) tickChanged(shown, ticked);
  return true;
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || static_cast<std::size_t>(section) >= columns_.size()) return {};
  const std::u16string& column = columns_[static_cast<std::size_t>(section)];
  if (role == Qt::DisplayRole) return QString::fromStdU16String(column);
  if (role == Qt::TextAlignmentRole)
    return IsRightAlignedColumn(column) ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                                        : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
  return {};
}

Qt::ItemFlags FileListModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  if (index.column() == 0) flags |= Qt::ItemIsUserCheckable;
  return flags;
}

void FileListModel::sort(int column, Qt::SortOrder order) {
  if (column < 0 || static_cast<std::size_t>(column) >= columns_.size()) return;
  const std::u16string& name = columns_[static_cast<std::size_t>(column)];
  const bool ascending = order == Qt::AscendingOrder;
  emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  const QModelIndexList before = persistentIndexList();
  std::vector<std::size_t> listedBefore;
  listedBefore.reserve(static_cast<std::size_t>(before.size()));
  for (const QModelIndex& index : before) listedBefore.push_back(order_[static_cast<std::size_t>(index.row())]);

  if (SortsByCellText(name)) {
    // Each row's text is made and folded once, not twice per comparison: on 10,000
    // rows that is the difference between a few and some hundred thousand texts. The
    // type names shown are the desktop's, so "Type" sorts by what is shown.
    std::vector<std::u16string> keys(rows_.size());
    for (std::size_t i = 0; i < rows_.size(); ++i) keys[i] = AsciiFold(Text(rows_[i], name));
    std::stable_sort(order_.begin(), order_.end(), [&](std::size_t a, std::size_t b) {
      return ascending ? keys[a] < keys[b] : keys[b] < keys[a];
    });
  } else {
    std::stable_sort(order_.begin(), order_.end(), [&](std::size_t a, std::size_t b) {
      return CompareRows(rows_[a], rows_[b], name, ascending, types_) < 0;
    });
  }
  for (std::size_t shown = 0; shown < order_.size(); ++shown) shownOf_[order_[shown]] = shown;

  QModelIndexList after;
  after.reserve(before.size());
  for (qsizetype i = 0; i < before.size(); ++i)
    after.push_back(index(static_cast<int>(shownOf_[listedBefore[static_cast<std::size_t>(i)]]), before[i].column()));
  changePersistentIndexList(before, after);
  emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

}  // namespace tessaroven
