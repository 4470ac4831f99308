#include "selection/folder_tree.h"

#include <algorithm>

namespace tessaroven {
namespace {

const std::u16string kEmptyPath;
const std::vector<NodeId> kNoChildren;

constexpr NodeId MakeId(std::uint32_t generation, std::uint32_t slot) {
  return (static_cast<NodeId>(generation) << 32) | slot;
}
constexpr std::uint32_t SlotOf(NodeId id) { return static_cast<std::uint32_t>(id & 0xFFFFFFFFu); }
constexpr std::uint32_t GenerationOf(NodeId id) { return static_cast<std::uint32_t>(id >> 32); }

}  // namespace

std::size_t FolderTree::AddPath(std::u16string path) {
  paths_.push_back(std::move(path));
  return paths_.size() - 1;
}

const std::u16string& FolderTree::PathAt(std::size_t index) const {
  return index < paths_.size() ? paths_[index] : kEmptyPath;
}

std::size_t FolderTree::AllocatePath(std::u16string path) {
  // Slots of discarded nodes are reused, so that expanding and collapsing a large
  // folder again and again does not grow the array.
  if (freePaths_.empty()) return AddPath(std::move(path));
  const std::size_t index = freePaths_.back();
  freePaths_.pop_back();
  paths_[index] = std::move(path);
  return index;
}

FolderTree::Node* FolderTree::Find(NodeId node) {
  return const_cast<Node*>(static_cast<const FolderTree*>(this)->Find(node));
}

const FolderTree::Node* FolderTree::Find(NodeId node) const {
  const std::uint32_t slot = SlotOf(node);
  if (node == kNoNode || slot >= slots_.size()) return nullptr;
  const Slot& s = slots_[slot];
  return s.live && s.generation == GenerationOf(node) ? &s.node : nullptr;
}

std::vector<NodeId>* FolderTree::ChildListOf(NodeId parent) {
  if (parent == kNoNode) return &topLevel_;
  Node* node = Find(parent);
  return node ? &node->children : nullptr;
}

NodeId FolderTree::Allocate(NodeId parent, std::size_t pathIndex, bool ownsPath, bool hasChildren) {
  std::uint32_t slot;
  if (!freeSlots_.empty()) {
    slot = freeSlots_.back();
    freeSlots_.pop_back();
  } else {
    slot = static_cast<std::uint32_t>(slots_.size());
    slots_.push_back(Slot{1, false, {}});
  }
  Slot& s = slots_[slot];
  s.live = true;
  s.node = Node{};
  s.node.pathIndex = pathIndex;
  s.node.ownsPath = ownsPath;
  s.node.parent = parent;
  s.node.hasChildren = hasChildren;
  ++liveNodes_;
  return MakeId(s.generation, slot);
}

NodeId FolderTree::AddLinked(NodeId parent, std::size_t pathIndex, bool ownsPath, bool hasChildren) {
  std::vector<NodeId>* siblings = ChildListOf(parent);
  if (!siblings) return kNoNode;
  if (observer_) observer_->NodesAboutToBeAdded(parent, siblings->size(), 1);
  const NodeId id = Allocate(parent, pathIndex, ownsPath, hasChildren);
  // Allocation may move the slots, so the sibling list is looked up again.
  std::vector<NodeId>& children = *ChildListOf(parent);
  Find(id)->row = children.size();
  children.push_back(id);
  if (observer_) observer_->NodesAdded(parent);
  return id;
}

NodeId FolderTree::AddNode(NodeId parent, std::u16string path, bool hasChildren) {
  if (!ChildListOf(parent)) return kNoNode;
  return AddLinked(parent, AllocatePath(std::move(path)), true, hasChildren);
}

NodeId FolderTree::AddNodeWithPathIndex(NodeId parent, std::size_t pathIndex, bool hasChildren) {
  return AddLinked(parent, pathIndex, false, hasChildren);
}

std::vector<NodeId> FolderTree::AddChildren(NodeId parent, std::vector<std::u16string> paths) {
  std::vector<NodeId> ids;
  const std::vector<NodeId>* siblings = ChildListOf(parent);
  if (!siblings || paths.empty()) return ids;
  const std::size_t first = siblings->size();
  if (observer_) observer_->NodesAboutToBeAdded(parent, first, paths.size());
  ids.reserve(paths.size());
  for (auto& path : paths) {
    ids.push_back(Allocate(parent, AllocatePath(std::move(path)), true, true));
    Find(ids.back())->row = first + ids.size() - 1;
  }
  std::vector<NodeId>& children = *ChildListOf(parent);
  children.insert(children.end(), ids.begin(), ids.end());
  if (observer_) observer_->NodesAdded(parent);
  return ids;
}

void FolderTree::Release(NodeId id) {
  Node* node = Find(id);
  if (!node) return;
  std::vector<NodeId> children;
  children.swap(node->children);
  for (NodeId child : children) Release(child);
  Slot& slot = slots_[SlotOf(id)];
  if (slot.node.ownsPath) {
    paths_[slot.node.pathIndex].clear();
    paths_[slot.node.pathIndex].shrink_to_fit();
    freePaths_.push_back(slot.node.pathIndex);
  }
  slot.live = false;
  slot.node = Node{};
  if (++slot.generation == 0) slot.generation = 1;  // 0 would make a slot-0 id equal kNoNode
  freeSlots_.push_back(SlotOf(id));
  --liveNodes_;
}

void FolderTree::RenumberFrom(const std::vector<NodeId>& children, std::size_t row) {
  for (std::size_t r = row; r < children.size(); ++r) Find(children[r])->row = r;
}

NodeId FolderTree::InsertNode(NodeId parent, std::size_t row, std::u16string path, bool hasChildren) {
  std::vector<NodeId>* siblings = ChildListOf(parent);
  if (!siblings) return kNoNode;
  row = std::min(row, siblings->size());
  if (observer_) observer_->NodesAboutToBeAdded(parent, row, 1);
  const NodeId id = Allocate(parent, AllocatePath(std::move(path)), true, hasChildren);
  // Allocation may move the slots, so the sibling list is looked up again.
  std::vector<NodeId>& children = *ChildListOf(parent);
  children.insert(children.begin() + static_cast<std::ptrdiff_t>(row), id);
  RenumberFrom(children, row);
  if (observer_) observer_->NodesAdded(parent);
  return id;
}

void FolderTree::RemoveNode(NodeId id) {
  Node* node = Find(id);
  if (!node) return;
  const NodeId parent = node->parent;
  const std::size_t row = node->row;
  if (observer_) observer_->NodeAboutToBeRemoved(parent, row);
  Release(id);
  std::vector<NodeId>& children = *ChildListOf(parent);
  children.erase(children.begin() + static_cast<std::ptrdiff_t>(row));
  RenumberFrom(children, row);
  if (observer_) observer_->NodeRemoved(parent);
}

void FolderTree::DiscardChildren(NodeId id) {
  Node* node = Find(id);
  if (!node) return;
  if (!node->children.empty()) {
    if (observer_) observer_->ChildrenAboutToBeDiscarded(id, node->children.size());
    std::vector<NodeId> children;
    children.swap(node->children);
    for (NodeId child : children) Release(child);
    if (observer_) observer_->ChildrenDiscarded(id);
  }
  SetExpanded(id, false);
}

bool FolderTree::IsNode(NodeId node) const { return Find(node) != nullptr; }

const std::u16string& FolderTree::PathOf(NodeId node) const {
  const Node* n = Find(node);
  return n ? PathAt(n->pathIndex) : kEmptyPath;
}

bool FolderTree::HasPath(NodeId node) const { return !PathOf(node).empty(); }

std::size_t FolderTree::PathIndexOf(NodeId node) const {
  const Node* n = Find(node);
  return n ? n->pathIndex : paths_.size();
}

TreeCheckState FolderTree::StateOf(NodeId node) const {
  const Node* n = Find(node);
  return n ? n->state : TreeCheckState::csUnchecked;
}

void FolderTree::Changed(NodeId node) {
  if (observer_) observer_->NodeChanged(node);
}

void FolderTree::SetState(NodeId node, TreeCheckState state) {
  Node* n = Find(node);
  if (!n || n->state == state) return;
  n->state = state;
  Changed(node);
}

NodeId FolderTree::ParentOf(NodeId node) const {
  const Node* n = Find(node);
  return n ? n->parent : kNoNode;
}

const std::vector<NodeId>& FolderTree::ChildrenOf(NodeId node) const {
  if (node == kNoNode) return topLevel_;
  const Node* n = Find(node);
  return n ? n->children : kNoChildren;
}

std::size_t FolderTree::RowOf(NodeId node) const {
  const Node* n = Find(node);
  return n ? n->row : 0;
}

bool FolderTree::HasChildren(NodeId node) const {
  const Node* n = Find(node);
  return n && n->hasChildren;
}

void FolderTree::SetHasChildren(NodeId node, bool hasChildren) {
  Node* n = Find(node);
  if (!n || n->hasChildren == hasChildren) return;
  n->hasChildren = hasChildren;
  Changed(node);
}

bool FolderTree::IsExpanded(NodeId node) const {
  const Node* n = Find(node);
  return n && n->expanded;
}

void FolderTree::SetExpanded(NodeId node, bool expanded) {
  Node* n = Find(node);
  if (!n || n->expanded == expanded) return;
  n->expanded = expanded;
  Changed(node);
}

}  // namespace tessaroven
