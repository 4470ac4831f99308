#include "ui/folder_tree_model.h"

#include <QApplication>
#include <QFileIconProvider>

#include "base/path.h"
#include "base/platform.h"
#include "selection/folder_scanning.h"
#include "ui/state_image_delegate.h"

namespace tessaroven {

FolderTreeModel::FolderTreeModel(SelectionModel& selection, const PlaceNodes& places, QObject* parent)
    : QAbstractItemModel(parent), selection_(selection), places_(places) {
  const QFileIconProvider provider;
  folderIcon_ = provider.icon(QAbstractFileIconProvider::Folder);
  driveIcon_ = provider.icon(QAbstractFileIconProvider::Drive);
  networkIcon_ = provider.icon(QAbstractFileIconProvider::Network);
  computerIcon_ = provider.icon(QAbstractFileIconProvider::Computer);
  selection_.Tree().SetObserver(this);
}

FolderTreeModel::~FolderTreeModel() { selection_.Tree().SetObserver(nullptr); }

NodeId FolderTreeModel::NodeOf(const QModelIndex& index) const {
  return index.isValid() ? static_cast<NodeId>(index.internalId()) : kNoNode;
}

QModelIndex FolderTreeModel::IndexOf(NodeId node) const {
  const FolderTree& tree = selection_.Tree();
  if (!tree.IsNode(node)) return {};
  return createIndex(static_cast<int>(tree.RowOf(node)), 0, static_cast<quintptr>(node));
}

QModelIndex FolderTreeModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column != 0) return {};
  const std::vector<NodeId>& children = selection_.Tree().ChildrenOf(NodeOf(parent));
  if (static_cast<std::size_t>(row) >= children.size()) return {};
  return createIndex(row, 0, static_cast<quintptr>(children[static_cast<std::size_t>(row)]));
}

QModelIndex FolderTreeModel::parent(const QModelIndex& child) const {
  return IndexOf(selection_.Tree().ParentOf(NodeOf(child)));
}

int FolderTreeModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid() && parent.column() != 0) return 0;
  return static_cast<int>(selection_.Tree().ChildrenOf(NodeOf(parent)).size());
}

int FolderTreeModel::columnCount(const QModelIndex&) const { return 1; }

bool FolderTreeModel::hasChildren(const QModelIndex& parent) const {
  if (!parent.isValid()) return !selection_.Tree().TopLevelNodes().empty();
  const NodeId node = NodeOf(parent);
  return selection_.Tree().HasChildren(node) || !selection_.Tree().ChildrenOf(node).empty();
}

bool FolderTreeModel::canFetchMore(const QModelIndex& parent) const {
  const NodeId node = NodeOf(parent);
  const FolderTree& tree = selection_.Tree();
  return node != kNoNode && tree.HasChildren(node) && tree.ChildrenOf(node).empty() &&
         !tree.PathOf(node).starts_with(u'{');
}

void FolderTreeModel::fetchMore(const QModelIndex& parent) {
  if (!canFetchMore(parent)) return;
  if (expandFolder) {
    expandFolder(NodeOf(parent));
    return;
  }
  QApplication::setOverrideCursor(Qt::BusyCursor);
  ExpandFolderNode(selection_, NodeOf(parent));
  QApplication::restoreOverrideCursor();
}

QString FolderTreeModel::Label(NodeId node) const {
  const std::u16string_view label = places_.Label(node);
  if (!label.empty()) return QString::fromStdU16String(std::u16string(label));
  std::u16string_view path = selection_.Tree().PathOf(node);
  if (path.size() > 1 && path.back() == kPathSeparator) path.remove_suffix(1);
  const std::size_t cut = path.find_last_of(kPathSeparator);
  if (cut != std::u16string_view::npos && cut + 1 < path.size()) path.remove_prefix(cut + 1);
  return QString::fromStdU16String(std::u16string(path));
}

QIcon FolderTreeModel::IconOf(NodeId node) const {
  if (const Place* place = places_.Find(node)) {
    if (place->kind == PlaceKind::kDrive) return driveIcon_;
    if (place->kind == PlaceKind::kNetwork) return networkIcon_;
    return folderIcon_;
  }
  const std::u16string& path = selection_.Tree().PathOf(node);
  if (path == kNetworkComputerEntry) return computerIcon_;
  if (path == kNetworkSearchingEntry) return {};
  return folderIcon_;
}

QVariant FolderTreeModel::data(const QModelIndex& index, int role) const {
  const NodeId node = NodeOf(index);
  const FolderTree& tree = selection_.Tree();
  if (!tree.IsNode(node)) return {};
  // A computer of the network is no folder: it shows no tick at all.
  if ((role == kStateImageRole || role == Qt::CheckStateRole) && tree.PathOf(node) == kNetworkComputerEntry) return {};
  switch (role) {
    case Qt::DisplayRole:
      return Label(node);
    case Qt::DecorationRole:
      return IconOf(node);
    case Qt::ToolTipRole:
      return QString::fromStdU16String(tree.PathOf(node));
    case kStateImageRole:
      return static_cast<int>(tree.StateOf(node));
    case Qt::CheckStateRole:
      switch (tree.StateOf(node)) {
        case TreeCheckState::csFolderAndSub:
        case TreeCheckState::csFolderNoSub:
          return Qt::Checked;
        case TreeCheckState::csChildSelected:
        case TreeCheckState::csHasSingleFiles:
          return Qt::PartiallyChecked;
        default:
          return Qt::Unchecked;
      }
    case Qt::AccessibleDescriptionRole:
      // The three checked forms sound alike to a screen reader; say which one it is.
      switch (tree.StateOf(node)) {
        case TreeCheckState::csFolderAndSub:
          return QStringLiteral("chosen with sub-folders");
        case TreeCheckState::csFolderNoSub:
          return QStringLiteral("chosen without sub-folders");
        case TreeCheckState::csChildSelected:
          return QStringLiteral("something below is chosen");
        case TreeCheckState::csHasSingleFiles:
          return QStringLiteral("single files chosen");
        default:
          return QStringLiteral("not chosen");
      }
    default:
      return {};
  }
}

bool FolderTreeModel::setData(const QModelIndex& index, const QVariant&, int role) {
  if (role != Qt::CheckStateRole || !selection_.ToggleFolderState(NodeOf(index))) return false;
  if (tickChanged) tickChanged();
  return true;
}

Qt::ItemFlags FolderTreeModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  if (selection_.Tree().PathOf(NodeOf(index)) == kNetworkComputerEntry) return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable;
}

void FolderTreeModel::NodesAboutToBeAdded(NodeId parent, std::size_t first, std::size_t count) {
  beginInsertRows(IndexOf(parent), static_cast<int>(first), static_cast<int>(first + count - 1));
}
void FolderTreeModel::NodesAdded(NodeId) { endInsertRows(); }
void FolderTreeModel::ChildrenAboutToBeDiscarded(NodeId parent, std::size_t count) {
  beginRemoveRows(IndexOf(parent), 0, static_cast<int>(count - 1));
}
void FolderTreeModel::ChildrenDiscarded(NodeId) { endRemoveRows(); }
void FolderTreeModel::NodeAboutToBeRemoved(NodeId parent, std::size_t row) {
  beginRemoveRows(IndexOf(parent), static_cast<int>(row), static_cast<int>(row));
}
void FolderTreeModel::NodeRemoved(NodeId) { endRemoveRows(); }
void FolderTreeModel::NodeChanged(NodeId node) {
  const QModelIndex index = IndexOf(node);
  emit dataChanged(index, index);
}

}  // namespace tessaroven
