// The tree of places and folders as Qt sees it: a lazy item model over the
// selection model's FolderTree. A folder's sub-folders are read from disk the first
// time the view expands it (fetchMore); the tick states come from the tree and a
// change of tick goes to the selection model's click rule.
//
// Index identity: an index's internal id is the FolderTree's NodeId, which stays
// valid for the node's whole life and never resolves again once the node is gone.
// The model mirrors every change of the tree through FolderTreeObserver, so it is
// the tree's only observer. Main thread only.
#pragma once

#include <QAbstractItemModel>
#include <QIcon>
#include <functional>

#include "selection/places.h"
#include "selection/selection_model.h"

namespace tessaroven {

class FolderTreeModel : public QAbstractItemModel, private FolderTreeObserver {
 public:
  // Both must outlive the model.
  FolderTreeModel(SelectionModel& selection, const PlaceNodes& places, QObject* parent = nullptr);
  ~FolderTreeModel() override;

  NodeId NodeOf(const QModelIndex& index) const;
  QModelIndex IndexOf(NodeId node) const;
  // The folder name a node shows: its place label, or the last part of its path.
  QString Label(NodeId node) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  bool hasChildren(const QModelIndex& parent = {}) const override;
  bool canFetchMore(const QModelIndex& parent) const override;
  void fetchMore(const QModelIndex& parent) override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  // Any value with Qt::CheckStateRole is one click on the node's tick.
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  // Called after a tick changed through setData (a click, Space, assistive
  // technology), once every state has followed.
  std::function<void()> tickChanged;
  // Loads a folder's sub-folders when the view first expands it; ExpandFolderNode
  // when not set. The window reads network folders on a worker through it.
  std::function<void(NodeId)> expandFolder;

 private:
  void NodesAboutToBeAdded(NodeId parent, std::size_t first, std::size_t count) override;
  void NodesAdded(NodeId parent) override;
  void ChildrenAboutToBeDiscarded(NodeId parent, std::size_t count) override;
  void ChildrenDiscarded(NodeId parent) override;
  void NodeAboutToBeRemoved(NodeId parent, std::size_t row) override;
  void NodeRemoved(NodeId parent) override;
  void NodeChanged(NodeId node) override;

  QIcon IconOf(NodeId node) const;

  SelectionModel& selection_;
  const PlaceNodes& places_;
  QIcon folderIcon_, driveIcon_, networkIcon_, computerIcon_;
};

}  // namespace tessaroven
