// The folder tree behind the window's drive tree: nodes, their check states and the
// array of paths they point into.
//
// The window's tree model wraps this tree and the selection model drives it; tests
// drive it directly. Nodes are loaded lazily: a node's children exist only once the
// folder has been expanded, and collapsing discards them again (they are read afresh
// from disk on the next expansion).
//
// Identity: a node is named by a NodeId that stays valid for the node's whole life,
// however the tree grows or shrinks elsewhere, so the window may keep ids in its
// model indexes. Once a node is discarded its id never resolves again, even when its
// storage is reused (the id carries a generation count); kNoNode (0) is never a node
// and stands for "the invisible root" where a parent is asked for. An id is 64 bits,
// so it fits a QModelIndex's internal id on the 64-bit platforms the program runs on.
//
// Paths: a node holds the index of its path in the tree's path array (its item
// data), so a path is looked up, never rebuilt from the node's ancestors. An index outside the array yields an empty
// path, and such a node is ignored by every selection rule.
//
// Threads: user-interface thread only. Not copyable (observers and ids refer to it).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven {

// The state image of a folder node (the image index; the values are fixed because
// the window's five state images are drawn in this order).
enum class TreeCheckState : std::uint8_t {
  csUnchecked = 1,       // not chosen, and nothing chosen below that the node shows
  csChildSelected = 2,   // not chosen itself; something below it is
  csHasSingleFiles = 3,  // not chosen itself; single files directly inside are
  csFolderAndSub = 4,    // chosen with all sub-folders (itself or through its parent)
  csFolderNoSub = 5,     // chosen without sub-folders
};

using NodeId = std::uint64_t;
inline constexpr NodeId kNoNode = 0;

// Told about every change, so that a view's model can announce it (rows about to be
// inserted or removed, data changed). Calls come in before/after pairs around each
// change of the child lists; NodeChanged follows a change of a node's state, of its
// has-children flag or of its expanded flag, and is not called when the value stays.
// An observer may read the tree but must not change it from these calls.
class FolderTreeObserver {
 public:
  virtual ~FolderTreeObserver() = default;
  // `count` nodes will be inserted under `parent` (kNoNode: top level) at row `first`.
  virtual void NodesAboutToBeAdded(NodeId parent, std::size_t first, std::size_t count) = 0;
  virtual void NodesAdded(NodeId parent) = 0;
  // All `count` loaded children of `parent` are about to be discarded (count > 0).
  virtual void ChildrenAboutToBeDiscarded(NodeId parent, std::size_t count) = 0;
  virtual void ChildrenDiscarded(NodeId parent) = 0;
  // The one node at row `row` under `parent` is about to be removed with everything
  // below it (a drive that went away).
  virtual void NodeAboutToBeRemoved(NodeId parent, std::size_t row) = 0;
  virtual void NodeRemoved(NodeId parent) = 0;
  virtual void NodeChanged(NodeId node) = 0;
};

class FolderTree {
 public:
  FolderTree() = default;
  FolderTree(const FolderTree&) = delete;
  FolderTree& operator=(const FolderTree&) = delete;

  // At most one observer; null removes it. It must outlive its installation.
  void SetObserver(FolderTreeObserver* observer) { observer_ = observer; }

  // The path array. AddPath appends and returns the new index.
  std::size_t AddPath(std::u16string path);
  // The path at `index`, or an empty path when the index lies outside the array.
  const std::u16string& PathAt(std::size_t index) const;

  // Adds a node as the last child of `parent` (kNoNode: as the last top-level node),
  // new with state csUnchecked, not expanded. The path goes into the path array and
  // is released with the node. Returns kNoNode when `parent` is not a live node.
  // `hasChildren` is whether the node offers to expand (a folder that may have
  // sub-folders); it says nothing about loaded children.
  NodeId AddNode(NodeId parent, std::u16string path, bool hasChildren = true);
  // The same for a path already in the array (or an index outside it); the path
  // stays in the array when the node goes.
  NodeId AddNodeWithPathIndex(NodeId parent, std::size_t pathIndex, bool hasChildren = true);
  // Adds the children of an expanded folder in one step (one observer notification
  // pair), in the order given. Returns their ids, or nothing when `parent` is not live.
  std::vector<NodeId> AddChildren(NodeId parent, std::vector<std::u16string> paths);

  // Adds a node at `row` among the children of `parent` (kNoNode: the top level);
  // the siblings from that row on move down one. A row past the end appends.
  // Returns kNoNode when `parent` is not a live node.
  NodeId InsertNode(NodeId parent, std::size_t row, std::u16string path, bool hasChildren = true);
  // Removes the node with everything loaded below it; later siblings move up one.
  void RemoveNode(NodeId node);
  // Discards every loaded child of `node` and their descendants, and marks the node
  // collapsed; its has-children flag stays, so it can be expanded and loaded again.
  void DiscardChildren(NodeId node);

  bool IsNode(NodeId node) const;
  // The node's path (empty for an index outside the array or a dead id), and whether
  // the node has a path to work with.
  const std::u16string& PathOf(NodeId node) const;
  bool HasPath(NodeId node) const;
  std::size_t PathIndexOf(NodeId node) const;

  // csUnchecked for a dead id; setting a dead id's state does nothing.
  TreeCheckState StateOf(NodeId node) const;
  void SetState(NodeId node, TreeCheckState state);

  // kNoNode for a top-level node or a dead id.
  NodeId ParentOf(NodeId node) const;
  // Loaded children in order; ChildrenOf(kNoNode) is the top-level nodes. Empty for a
  // dead id. The reference stays valid until the tree next changes.
  const std::vector<NodeId>& ChildrenOf(NodeId node) const;
  const std::vector<NodeId>& TopLevelNodes() const { return topLevel_; }
  // The node's position among its parent's children (or the top-level nodes), in
  // constant time; 0 for a dead id.
  std::size_t RowOf(NodeId node) const;
  // Number of live nodes.
  std::size_t NodeCount() const { return liveNodes_; }

  bool HasChildren(NodeId node) const;
  void SetHasChildren(NodeId node, bool hasChildren);
  bool IsExpanded(NodeId node) const;
  void SetExpanded(NodeId node, bool expanded);
  // Tells the observer that what a node shows changed although the tree did not
  // (its text lives with PlaceNodes, not here).
  void TextChanged(NodeId node) {
    if (IsNode(node)) Changed(node);
  }

 private:
  struct Node {
    std::size_t pathIndex = 0;
    bool ownsPath = false;
    TreeCheckState state = TreeCheckState::csUnchecked;
    NodeId parent = kNoNode;
    std::size_t row = 0;  // kept up to date when a sibling is inserted or removed
    std::vector<NodeId> children;
    bool hasChildren = false;
    bool expanded = false;
  };
  struct Slot {
    std::uint32_t generation = 0;  // bumped when the node dies, so old ids stop resolving
    bool live = false;
    Node node;
  };

  Node* Find(NodeId node);
  const Node* Find(NodeId node) const;
  // Creates a node in a free or new slot; the caller links it into its parent.
  NodeId Allocate(NodeId parent, std::size_t pathIndex, bool ownsPath, bool hasChildren);
  NodeId AddLinked(NodeId parent, std::size_t pathIndex, bool ownsPath, bool hasChildren);
  std::size_t AllocatePath(std::u16string path);
  void Release(NodeId node);
  std::vector<NodeId>* ChildListOf(NodeId parent);
  // Gives the children from `row` on their place in the list as their row.
  void RenumberFrom(const std::vector<NodeId>& children, std::size_t row);
  void Changed(NodeId node);

  std::vector<Slot> slots_;
  std::vector<std::uint32_t> freeSlots_;
  std::vector<std::u16string> paths_;
  std::vector<std::size_t> freePaths_;
  std::vector<NodeId> topLevel_;
  std::size_t liveNodes_ = 0;
  FolderTreeObserver* observer_ = nullptr;
};

}  // namespace tessaroven
