#include "cli/cli_selection.h"

#include "base/path.h"
#include "base/platform.h"

namespace tessaroven::cli {

NodeId CliSelection::NodeFor(const std::u16string& folder) {
  FolderTree& tree = model_.Tree();
  if (const auto found = nodes_.find(folder); found != nodes_.end()) {
    // A reset (a profile load) discards every node below the top level; such a
    // node is made afresh, with its state from the lists as they are now.
    if (tree.IsNode(found->second)) return found->second;
    nodes_.erase(found);
  }
  NodeId node = kNoNode;
  if (IsRootPath(folder)) {
    node = tree.AddNode(kNoNode, folder);
    model_.Lists().lstTreeRoots.push_back(folder);
  } else {
    // The parent is the path up to the separator before the last component.
    const std::u16string parentPath(FolderOf(folder.substr(0, folder.size() - 1)));
    const NodeId parent = parentPath.empty() || parentPath == folder ? kNoNode : NodeFor(parentPath);
    node = tree.AddNode(parent, folder);
  }
  model_.InitialInsertedNodeState(node);
  nodes_.emplace(folder, node);
  return node;
}

bool CliSelection::ClickUntil(NodeId node, TreeCheckState wanted) {
  FolderTree& tree = model_.Tree();
  // Already in the wanted state: a whole round of clicks clears what lies below and
  // comes back to it, as a user would have to click to get the same.
  int clicks = tree.StateOf(node) == wanted ? 3 : 0;
  for (int i = 0; i < clicks; ++i) model_.ToggleFolderState(node);
  for (int guard = 0; tree.StateOf(node) != wanted && guard < 3; ++guard) model_.ToggleFolderState(node);
  return tree.StateOf(node) == wanted;
}

bool CliSelection::TickFolder(const std::u16string& folder, bool withSubFolders) {
  return ClickUntil(NodeFor(folder), withSubFolders ? TreeCheckState::csFolderAndSub : TreeCheckState::csFolderNoSub);
}

ExcludeOutcome CliSelection::ExcludeFolder(const std::u16string& folder) {
  const NodeId node = NodeFor(folder);
  const FolderTree& tree = model_.Tree();
  const NodeId parent = tree.ParentOf(node);
  if (parent == kNoNode || tree.StateOf(parent) != TreeCheckState::csFolderAndSub) {
    // Clicking it would only untick it and clear what lies below it.
    const SelectionLists& lists = model_.Lists();
    return ContainsPath(lists.lstFoldersAndSub, folder) || ContainsPath(lists.lstFoldersNoSub, folder)
               ? ExcludeOutcome::kTickedItself
               : ExcludeOutcome::kNotInside;
  }
  ClickUntil(node, TreeCheckState::csUnchecked);
  return ContainsPath(model_.Lists().lstFoldersExclude, folder) ? ExcludeOutcome::kExcluded
                                                                : ExcludeOutcome::kNotInside;
}

bool CliSelection::TickFile(const std::u16string& file, bool selected) {
  current_ = NodeFor(std::u16string(FolderOf(file)));
  row_ = file;
  rowImage_ = selected ? kFileImageTicked : kFileImageUnticked;
  model_.SetFileSelected(0, selected);
  const bool now = model_.IsFileSelected(0);
  row_.clear();
  current_ = kNoNode;
  return now == selected;
}

}  // namespace tessaroven::cli
