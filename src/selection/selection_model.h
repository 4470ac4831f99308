// The selection model: the rules that turn the user's clicks in the folder tree and
// the file list into entries of the selection lists, and the lists back into the
// tree's check states and the file list's check boxes.
//
// The model owns the selection lists and the folder tree. What belongs to the window
// (the rows of the file list with their check images, which tree node is current,
// the status line, refilling the file list, the filters) it reaches through the
// SelectionView the window implements, so the rules run without a window: the CLI
// and the tests drive them the same way.
//
// Every member runs on the user-interface thread. The file collector may read
// Lists() from its worker while the user-interface thread waits for it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "selection/folder_tree.h"
#include "selection/selection_lists.h"

namespace tessaroven {

// The tree entries of the network browser that stand for no folder; choosing one is
// refused.
inline constexpr std::u16string_view kNetworkEntry = u"{ Network }";
inline constexpr std::u16string_view kNetworkComputerEntry = u"{ Network Computer }";
inline constexpr std::u16string_view kNetworkSearchingEntry = u"{ Network Searching }";

// The check images of a file list row.
inline constexpr int kFileImageUnticked = 1;
inline constexpr int kFileImageTicked = 2;

// The window's side of the selection. Rows are numbered 0 .. FileRowCount() - 1 in
// the file list's current order.
class SelectionView {
 public:
  virtual ~SelectionView() = default;
  // The tree node whose folder the file list shows (kNoNode when there is none).
  virtual NodeId CurrentNode() const = 0;
  virtual std::size_t FileRowCount() const = 0;
  virtual std::u16string_view FileRowPath(std::size_t row) const = 0;
  virtual int FileRowImage(std::size_t row) const = 0;
  virtual void SetFileRowImage(std::size_t row, int image) = 0;
  // The selection changed in a way the status line reports.
  virtual void UpdateStatusLine() = 0;
  // List the current node's folder afresh (its rows, and their images from
  // IsFileSelected).
  virtual void RefillFileList() = 0;
  // Put the type, date and metadata filters back to their empty state.
  virtual void ClearFilters() = 0;
};

class SelectionModel {
 public:
  // `view` must outlive the model.
  explicit SelectionModel(SelectionView& view) : view_(view) {}
  SelectionModel(const SelectionModel&) = delete;
  SelectionModel& operator=(const SelectionModel&) = delete;

  SelectionLists& Lists() { return lists_; }
  const SelectionLists& Lists() const { return lists_; }
  FolderTree& Tree() { return tree_; }
  const FolderTree& Tree() const { return tree_; }

  // The user clicked the node's check image: the node and everything below it leave
  // every list, the node moves on in the cycle unchecked -> with sub-folders ->
  // without sub-folders -> unchecked, the tree's states follow and the file list's
  // check boxes are redrawn. A network pseudo-entry is refused with an error box.
  // Returns false when nothing was done (no node, no path, refused).
  bool ToggleFolderState(NodeId node);
  // The same from the keyboard, for a tree control that itself advances the state
  // image by one after the key: the state is finally written one step back (1 as 5,
  // s as s - 1), so the control's own step lands on the state computed here. A
  // refused entry is stepped back too, so that its image stays as it was.
  bool ToggleFolderStateFromKeyboard(NodeId node);

  // Whether the file in `row` takes part in the conversion: through the current
  // node's folder (state 4 or 5), or as a single file, and not excluded.
  bool IsFileSelected(std::size_t row) const;
  // The user ticked or unticked the row (the window has already set its image).
  // Records only what differs from the folder's rule: a ticked file outside a chosen
  // folder, an unticked file inside one.
  void SetFileSelected(std::size_t row, bool selected);

  // The file list's context menu; each writes every row's image, then records it.
  void CheckAll();
  void UncheckAll();
  void InvertSelection();

  // The state of a node the tree has just inserted or reloaded, from the lists:
  // 4 or 5 when listed itself, 3 when it directly holds single files, 2 when some
  // chosen folder or file lies below it (not counting selections made through
  // another top-level entry); otherwise the state is left as it is.
  void InitialNodeState(NodeId node);
  // InitialNodeState for every loaded node, top-level nodes first and each node
  // before its children: after a profile has replaced the lists.
  void InitialStatesForLoadedNodes();
  // For each node an expansion inserts: InitialNodeState, and for a node still
  // unchecked the child rule, so that sub-folders of a folder chosen with its
  // sub-folders show as chosen too.
  void InitialInsertedNodeState(NodeId node);
  // What an expansion does with the sub-folders it found: adds them below `parent`
  // in the order given (already sorted, paths ending in the separator) and gives each
  // its state as above. The expand button and the expanded flag are the caller's.
  std::vector<NodeId> AddExpandedChildren(NodeId parent, std::vector<std::u16string> paths);
  // The child rule: 4 under a parent in state 4 unless the node is excluded, else 1.
  TreeCheckState ChildRuleState(NodeId node) const;

  // Applies the child rule to every loaded node below `node`, depth first in tree
  // order. Folders never expanded have nothing loaded and are not touched.
  void RefreshDescendantStates(NodeId node);
  // Recomputes the "something chosen below" and "single files inside" states of the
  // node and of its ancestors up to the top-level one.
  void RefreshAncestorStates(NodeId node);

  // The Reset button: asks "Clear All Selections?" and on Yes clears the selection.
  // Returns whether it did.
  bool ResetSelections();
  // The reset itself, without asking (a profile load resets this way): every
  // top-level node unchecked and collapsed with its loaded children discarded, the
  // five lists emptied, the file list refilled and the filters cleared. The network
  // entry keeps its computers (or its "Searching..." placeholder), which its search
  // finds only once; the shares below them are collapsed like folders.
  void ClearSelections();

 private:
  void RedrawFileChecks();
  void SetRowAndRecord(std::size_t row, bool selected);
  bool ParentIsFolderAndSub(NodeId node) const;
  void CollapseNetworkEntry(NodeId network);

  SelectionView& view_;
  SelectionLists lists_;
  FolderTree tree_;
};

}  // namespace tessaroven
