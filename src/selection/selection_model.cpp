#include "selection/selection_model.h"

#include <array>

#include "base/path.h"
#include "base/user_prompts.h"

namespace tessaroven {
namespace {

using enum TreeCheckState;

constexpr std::u16string_view kNetworkRefusal = u"Only folders within a network can be set for inclusion";
constexpr std::u16string_view kResetQuestion = u"Clear All Selections?";
constexpr std::uint32_t kErrorStyle = kPromptOk | kPromptIconError;           // 0x10
constexpr std::uint32_t kQuestionStyle = kPromptYesNo | kPromptIconQuestion;  // 0x24

bool IsNetworkPseudoEntry(std::u16string_view path) {
  static constexpr std::array kEntries = {kNetworkEntry, kNetworkComputerEntry, kNetworkSearchingEntry};
  for (const auto entry : kEntries)
    if (PathEqualsNoCase(path, entry)) return true;
  return false;
}

bool IsChosen(TreeCheckState state) { return state == csFolderAndSub || state == csFolderNoSub; }

// Whether an entry of `list` lies below `folder` (the prefix test) and was not
// chosen through a top-level entry of its own: a folder ticked through a shortcut
// such as the music folder must not mark the drive branch that leads to it.
bool HasEntryBelow(const PathList& list, std::u16string_view folder, const PathList& treeRoots) {
  for (const auto& entry : list) {
    if (!PathStartsWith(entry, folder)) continue;
    bool isRoot = false;
    for (const auto& root : treeRoots) isRoot = isRoot || entry == root;
    if (!isRoot) return true;
  }
  return false;
}

}  // namespace

bool SelectionModel::ParentIsFolderAndSub(NodeId node) const {
  const NodeId parent = tree_.ParentOf(node);
  return parent != kNoNode && tree_.StateOf(parent) == csFolderAndSub;
}

bool SelectionModel::ToggleFolderState(NodeId node) {
  if (!tree_.HasPath(node)) return false;
  const std::u16string path = tree_.PathOf(node);
  if (IsNetworkPseudoEntry(path)) {
    ShowPrompt(kNetworkRefusal, kMessageTitle, kErrorStyle);
    return false;
  }

  // The folder path ends in its separator, so this takes out the folder and
  // everything below it, exclusions and single files included.
  for (PathList* list : lists_.SelectionListsInOrder()) RemovePathsBelow(*list, path);

  const bool underChosenParent = ParentIsFolderAndSub(node);
  switch (tree_.StateOf(node)) {
    case csUnchecked:
      tree_.SetState(node, csFolderAndSub);
      if (!underChosenParent) lists_.lstFoldersAndSub.push_back(path);
      break;
    case csFolderAndSub:
      // Listed even under a parent chosen with sub-folders: the entry is what stops
      // the collector from descending below this folder.
      tree_.SetState(node, csFolderNoSub);
      lists_.lstFoldersNoSub.push_back(path);
      break;
    default:
      tree_.SetState(node, csUnchecked);
      if (underChosenParent) lists_.lstFoldersExclude.push_back(path);
      break;
  }

  RefreshDescendantStates(node);
  RefreshAncestorStates(node);
  RedrawFileChecks();
  return true;
}

bool SelectionModel::ToggleFolderStateFromKeyboard(NodeId node) {
  if (!tree_.IsNode(node)) return false;
  const bool toggled = ToggleFolderState(node);
  const auto state = static_cast<int>(tree_.StateOf(node));
  tree_.SetState(node, static_cast<TreeCheckState>(state == 1 ? 5 : state - 1));
  return toggled;
}

void SelectionModel::RedrawFileChecks() {
  for (std::size_t row = 0, rows = view_.FileRowCount(); row < rows; ++row)
    view_.SetFileRowImage(row, IsFileSelected(row) ? kFileImageTicked : kFileImageUnticked);
}

bool SelectionModel::IsFileSelected(std::size_t row) const {
  if (row >= view_.FileRowCount()) return false;
  const std::u16string_view path = view_.FileRowPath(row);
  const NodeId current = view_.CurrentNode();
  bool selected = tree_.IsNode(current) && IsChosen(tree_.StateOf(current));
  if (ContainsPath(lists_.lstSingleFiles, path)) selected = true;
  if (selected && ContainsPath(lists_.lstSingleFilesExclude, path)) selected = false;
  return selected;
}

void SelectionModel::SetFileSelected(std::size_t row, bool selected) {
  if (row >= view_.FileRowCount()) return;
  const std::u16string path(view_.FileRowPath(row));
  RemovePath(lists_.lstSingleFiles, path);
  RemovePath(lists_.lstSingleFilesExclude, path);
  const bool byFolder = IsFileSelected(row);
  if (!selected && byFolder) lists_.lstSingleFilesExclude.push_back(path);
  if (selected && !byFolder) lists_.lstSingleFiles.push_back(path);
  RefreshAncestorStates(view_.CurrentNode());
  view_.UpdateStatusLine();
}

void SelectionModel::SetRowAndRecord(std::size_t row, bool selected) {
  view_.SetFileRowImage(row, selected ? kFileImageTicked : kFileImageUnticked);
  SetFileSelected(row, selected);
}

void SelectionModel::CheckAll() {
  for (std::size_t row = 0; row < view_.FileRowCount(); ++row) SetRowAndRecord(row, true);
}

void SelectionModel::UncheckAll() {
  for (std::size_t row = 0; row < view_.FileRowCount(); ++row) SetRowAndRecord(row, false);
}

void SelectionModel::InvertSelection() {
  for (std::size_t row = 0; row < view_.FileRowCount(); ++row)
    SetRowAndRecord(row, view_.FileRowImage(row) == kFileImageUnticked);
}

void SelectionModel::InitialNodeState(NodeId node) {
  if (!tree_.HasPath(node)) return;
  const std::u16string& path = tree_.PathOf(node);
  if (ContainsPath(lists_.lstFoldersAndSub, path)) {
    tree_.SetState(node, csFolderAndSub);
  } else if (ContainsPath(lists_.lstFoldersNoSub, path)) {
    tree_.SetState(node, csFolderNoSub);
  } else if (HasFileDirectlyIn(lists_.lstSingleFiles, path)) {
    tree_.SetState(node, csHasSingleFiles);
  } else if (HasEntryBelow(lists_.lstFoldersAndSub, path, lists_.lstTreeRoots) ||
             HasEntryBelow(lists_.lstFoldersNoSub, path, lists_.lstTreeRoots) ||
             HasEntryBelow(lists_.lstSingleFiles, path, lists_.lstTreeRoots)) {
    tree_.SetState(node, csChildSelected);
  }
}

void SelectionModel::InitialStatesForLoadedNodes() {
  std::vector<NodeId> pending(tree_.TopLevelNodes().rbegin(), tree_.TopLevelNodes().rend());
  while (!pending.empty()) {
    const NodeId node = pending.back();
    pending.pop_back();
    InitialNodeState(node);
    const auto& children = tree_.ChildrenOf(node);
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
}

void SelectionModel::InitialInsertedNodeState(NodeId node) {
  InitialNodeState(node);
  if (tree_.IsNode(node) && tree_.StateOf(node) == csUnchecked) tree_.SetState(node, ChildRuleState(node));
}

std::vector<NodeId> SelectionModel::AddExpandedChildren(NodeId parent, std::vector<std::u16string> paths) {
  std::vector<NodeId> children = tree_.AddChildren(parent, std::move(paths));
  for (const NodeId child : children) InitialInsertedNodeState(child);
  return children;
}

TreeCheckState SelectionModel::ChildRuleState(NodeId node) const {
  if (!ParentIsFolderAndSub(node)) return csUnchecked;
  return ContainsPath(lists_.lstFoldersExclude, tree_.PathOf(node)) ? csUnchecked : csFolderAndSub;
}

void SelectionModel::RefreshDescendantStates(NodeId node) {
  for (const NodeId child : tree_.ChildrenOf(node)) {
    tree_.SetState(child, ChildRuleState(child));
    RefreshDescendantStates(child);
  }
}

void SelectionModel::RefreshAncestorStates(NodeId node) {
  if (!tree_.IsNode(node)) return;
  const TreeCheckState start = tree_.StateOf(node);
  if (start == csUnchecked || start == csChildSelected || start == csHasSingleFiles)
    tree_.SetState(node, HasFileDirectlyIn(lists_.lstSingleFiles, tree_.PathOf(node)) ? csHasSingleFiles : csUnchecked);

  for (NodeId at = node; at != kNoNode; at = tree_.ParentOf(at)) {
    const TreeCheckState state = tree_.StateOf(at);
    if (state != csUnchecked && state != csChildSelected) continue;
    bool childShows = false;
    for (const NodeId child : tree_.ChildrenOf(at)) {
      if (tree_.StateOf(child) != csUnchecked) {
        childShows = true;
        break;
      }
    }
    tree_.SetState(at, childShows ? csChildSelected : csUnchecked);
  }
}

void SelectionModel::CollapseNetworkEntry(NodeId network) {
  // The search finds each computer once, and its placeholder is made once: the
  // network entry keeps what lies directly below it. Only the shares, which are
  // folders, lose what was loaded below them, like every other folder.
  for (const NodeId computer : tree_.ChildrenOf(network)) {
    tree_.SetState(computer, csUnchecked);
    for (const NodeId share : tree_.ChildrenOf(computer)) {
      tree_.SetState(share, csUnchecked);
      tree_.DiscardChildren(share);
    }
    tree_.SetExpanded(computer, false);
  }
  tree_.SetExpanded(network, false);
}

bool SelectionModel::ResetSelections() {
  if (ShowPrompt(kResetQuestion, kMessageTitle, kQuestionStyle) != kAnswerYes) return false;
  ClearSelections();
  return true;
}

void SelectionModel::ClearSelections() {
  // The lists go first, so that whatever the window does while the tree collapses
  // already sees the empty selection. Collapsed with their children discarded, the
  // folders are read afresh on the next expansion and take their states from the
  // emptied lists.
  lists_.ClearSelections();
  for (const NodeId node : tree_.TopLevelNodes()) {
    tree_.SetState(node, csUnchecked);
    if (tree_.PathOf(node) == kNetworkEntry) {
      CollapseNetworkEntry(node);
    } else {
      tree_.DiscardChildren(node);
    }
  }
  view_.RefillFileList();
  view_.ClearFilters();
}

}  // namespace tessaroven
