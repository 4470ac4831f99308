#include "ui/file_list_view.h"

#include <QAbstractButton>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMenu>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <algorithm>

#include "base/temp_file.h"
#include "base/user_prompts.h"
#include "decode/plugin_folder.h"
#include "selection/conversion.h"
#include "ui/column_menu.h"
#include "ui/file_manager.h"
#include "ui/icons.h"
#include "ui/state_image_delegate.h"
#include "ui/tick_accessibility.h"

namespace tessaroven {

namespace {

constexpr int kImageSize = 16;
constexpr int kRowHeight = 18;

}  // namespace

int ScreenDpiX() {
  static const int dpi = [] {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const int value = screen ? static_cast<int>(screen->logicalDotsPerInchX()) : kDesignDpi;
    return value > 0 ? value : kDesignDpi;
  }();
  return dpi;
}

int ScaledToScreen(int pixelsAt96) { return pixelsAt96 * ScreenDpiX() / kDesignDpi; }

FileListView::FileListView(const TypeFilter& types, std::u16string_view namesValue, std::u16string_view widthsValue,
                           std::vector<std::u16string_view> defaults, QWidget* parent)
    : QTableView(parent),
      model_(new FileListModel(types, this)),
      namesValue_(namesValue),
      widthsValue_(widthsValue),
      defaults_(std::move(defaults)) {
  MarkTicksAccessible(this);
  setModel(model_);
  setItemDelegateForColumn(0, new StateImageDelegate({QIcon(), OwnIcon("file-unticked"), OwnIcon("file-ticked")},
                                                     ScaledToScreen(kImageSize), ScaledToScreen(kRowHeight), this));
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setShowGrid(false);
  setWordWrap(false);
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  verticalHeader()->setDefaultSectionSize(ScaledToScreen(kRowHeight) + 2);
  horizontalHeader()->setAccessibleName(QStringLiteral("Columns"));
  // The corner button selects every row; a screen reader should say so.
  if (auto* corner = findChild<QAbstractButton*>()) corner->setAccessibleName(QStringLiteral("Select All"));
  horizontalHeader()->setSectionsMovable(true);
  horizontalHeader()->setHighlightSections(false);
  horizontalHeader()->setSortIndicatorShown(false);
  horizontalHeader()->setContextMenuPolicy(Qt::CustomContextMenu);
  setContextMenuPolicy(Qt::CustomContextMenu);
  connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &FileListView::SortByHeader);
  connect(horizontalHeader(), &QHeaderView::customContextMenuRequested, this,
          [this](QPoint pos) { ColumnMenuAt(horizontalHeader()->mapToGlobal(pos)); });
  connect(this, &QTableView::customContextMenuRequested, this, &FileListView::ShowRowMenu);
}

void FileListView::LoadColumns(const std::vector<std::u16string_view>& required) {
  ColumnSet columns = LoadColumnSet(namesValue_, widthsValue_, defaults_, ScreenDpiX());
  // Missing required columns go in front, in the order given.
  std::size_t at = 0;
  for (const std::u16string_view name : required) {
    const bool present = std::any_of(columns.begin(), columns.end(), [&](const ColumnSpec& c) { return c.name == name; });
    if (!present) columns.insert(columns.begin() + static_cast<std::ptrdiff_t>(at++), {std::u16string(name), ScaledDefaultColumnWidth(name, ScreenDpiX())});
  }
  std::vector<std::u16string> names;
  for (const ColumnSpec& column : columns) names.push_back(column.name);
  model_->SetColumns(std::move(names));
  for (std::size_t i = 0; i < columns.size(); ++i) setColumnWidth(static_cast<int>(i), columns[i].width);
}

ColumnSet FileListView::ShownColumns() const {
  ColumnSet columns;
  const QHeaderView* header = horizontalHeader();
  for (int visual = 0; visual < header->count(); ++visual) {
    const int logical = header->logicalIndex(visual);
    columns.push_back({model_->Columns()[static_cast<std::size_t>(logical)], columnWidth(logical)});
  }
  return columns;
}

void FileListView::SaveColumns() const { SaveColumnSet(namesValue_, widthsValue_, ShownColumns()); }

void FileListView::SortByHeader(int section) {
  if (section < 0 || section >= model_->columnCount()) return;
  const std::u16string& name = model_->Columns()[static_cast<std::size_t>(section)];
  const auto found = sortAscending_.find(name);
  const bool ascending = found == sortAscending_.end() ? true : !found->second;
  sortAscending_[name] = ascending;
  sortColumn_ = section;
  horizontalHeader()->setSortIndicatorShown(true);
  horizontalHeader()->setSortIndicator(section, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
  model_->sort(section, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void FileListView::Resort() {
  if (sortColumn_ < 0 || sortColumn_ >= model_->columnCount()) return;
  const std::u16string& name = model_->Columns()[static_cast<std::size_t>(sortColumn_)];
  model_->sort(sortColumn_, sortAscending_[name] ? Qt::AscendingOrder : Qt::DescendingOrder);
}

void FileListView::ColumnMenuAt(QPoint globalPos) {
  if (const auto choice = ShowColumnMenu(this, globalPos, ShownColumns())) ApplyColumnMenuChoice(*choice);
}

void FileListView::ApplyColumnMenuChoice(const ColumnMenuChoice& choice) {
  QHeaderView* header = horizontalHeader();
  ColumnSet current = ShownColumns();
  const ColumnChoiceOutcome outcome = ApplyColumnChoice(current, choice, defaults_, ScreenDpiX());
  sortColumn_ = -1;
  header->setSortIndicatorShown(false);
  switch (outcome.change) {
    case ColumnChange::kDefaultsRestored: {
      std::vector<std::u16string> names;
      for (const ColumnSpec& column : current) names.push_back(column.name);
      model_->SetColumns(std::move(names));
      // Fresh sections: the user's order is gone with the old set.
      for (int i = 0; i < header->count(); ++i) header->moveSection(header->visualIndex(i), i);
      for (std::size_t i = 0; i < current.size(); ++i) setColumnWidth(static_cast<int>(i), current[i].width);
      break;
    }
    case ColumnChange::kRemoved:
      if (outcome.deleteListColumn) {
        const auto& columns = model_->Columns();
        const auto exact = std::find(columns.begin(), columns.end(), *outcome.deleteListColumn);
        if (exact != columns.end()) model_->RemoveColumn(static_cast<int>(exact - columns.begin()));
      }
      break;
    case ColumnChange::kAdded:
      model_->AddColumn(current.back().name);
      setColumnWidth(model_->columnCount() - 1, current.back().width);
      break;
  }
}

std::vector<std::u16string> FileListView::ChosenPaths() const {
  std::vector<std::u16string> paths;
  for (const QModelIndex& index : selectionModel()->selectedRows())
    paths.push_back(model_->Row(static_cast<std::size_t>(index.row())).entry.path);
  return paths;
}

void FileListView::ShowRowMenu(QPoint pos) {
  QMenu menu(this);
  QAction* checkAll = menu.addAction(QStringLiteral("Check All"));
  QAction* uncheckAll = menu.addAction(QStringLiteral("Uncheck All"));
  QAction* invert = menu.addAction(QStringLiteral("Invert Selection"));
  menu.addSeparator();
  QAction* editTags = menu.addAction(QStringLiteral("Edit ID Tags"));
  QAction* explore = menu.addAction(QStringLiteral("Explore to File Location"));
  const QModelIndex under = indexAt(pos);
  editTags->setEnabled(!ChosenPaths().empty());
  explore->setEnabled(under.isValid());
  const bool empty = model_->RowCount() == 0;
  for (QAction* action : {checkAll, uncheckAll, invert}) action->setEnabled(!empty);
  QAction* chosen = menu.exec(viewport()->mapToGlobal(pos));
  if (!chosen) return;
  if (chosen == editTags)
    EditIdTags();
  else if (chosen == explore)
    ExploreToFileLocation(under);
  else if (checkCommand)
    checkCommand(chosen == checkAll ? CheckCommand::kCheckAll
                                    : (chosen == uncheckAll ? CheckCommand::kUncheckAll : CheckCommand::kInvert));
}

void FileListView::EditIdTags() {
  const std::vector<std::u16string> files = ChosenPaths();
  if (files.empty()) return;
  const QString editor = QString::fromStdU16String(ExecutableFolder()) + QStringLiteral("ombrisel");
  if (QFileInfo(editor).isExecutable()) {
    std::u16string listFile;
    if (!CreateTempFile(listFile, u"QzS") || !WriteListFile(listFile, files)) return;
    // The editor owns the list file from here on and deletes it when done.
    QProcess::startDetached(editor, {QStringLiteral("-edit_tags=") + QString::fromStdU16String(listFile)});
    return;
  }
  // No editor of our own: the first tag editor of the desktop that is installed.
  for (const char* program : {"kid3-qt", "kid3", "puddletag", "easytag"}) {
    const QString found = QStandardPaths::findExecutable(QLatin1String(program));
    if (found.isEmpty()) continue;
    QStringList arguments;
    for (const std::u16string& file : files) arguments << QString::fromStdU16String(file);
    if (QProcess::startDetached(found, arguments)) return;
  }
  ShowPrompt(u"No tag editor was found. Install Kid3, puddletag or EasyTAG to edit the tags of these files.",
             kMessageTitle, kPromptOk | kPromptIconInformation);
}

void FileListView::ExploreToFileLocation(const QModelIndex& index) {
  if (!index.isValid()) return;
  ShowInFileManager(model_->Row(static_cast<std::size_t>(index.row())).entry.path);
}

}  // namespace tessaroven
