#include "selection/folder_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"

namespace tessaroven {
namespace {

TEST(FolderTree, DiscardedIdsNeverResolveAgainEvenWhenStorageIsReused) {
  FolderTree tree;
  const NodeId drive = tree.AddNode(kNoNode, u"/");
  const std::vector<NodeId> first = tree.AddChildren(drive, {u"/a/", u"/b/"});
  const NodeId grandchild = tree.AddNode(first[0], u"/a/x/");
  tree.SetExpanded(drive, true);

  tree.DiscardChildren(drive);
  EXPECT_EQ(tree.NodeCount(), 1u);
  EXPECT_FALSE(tree.IsExpanded(drive));
  EXPECT_TRUE(tree.HasChildren(drive));  // can be expanded and loaded again
  const std::vector<NodeId> gone = {first[0], first[1], grandchild};
  for (const NodeId id : gone) {
    EXPECT_FALSE(tree.IsNode(id));
    EXPECT_EQ(tree.PathOf(id), u"");
    EXPECT_EQ(tree.ParentOf(id), kNoNode);
    EXPECT_TRUE(tree.ChildrenOf(id).empty());
  }
  // Nothing can be added below a discarded node or an id never handed out.
  EXPECT_EQ(tree.AddNode(first[0], u"/a/b/"), kNoNode);
  EXPECT_TRUE(tree.AddChildren(first[0], {u"/a/b/"}).empty());
  EXPECT_EQ(tree.AddNode(NodeId{12345}, u"/z/"), kNoNode);

  const std::vector<NodeId> again = tree.AddChildren(drive, {u"/c/", u"/d/", u"/e/"});
  for (const NodeId id : again) EXPECT_EQ(std::count(gone.begin(), gone.end(), id), 0);
  tree.SetState(first[0], TreeCheckState::csFolderAndSub);  // must not reach the new node
  for (const NodeId id : again) EXPECT_EQ(tree.StateOf(id), TreeCheckState::csUnchecked);
  EXPECT_EQ(tree.PathOf(again[2]), u"/e/");
  EXPECT_EQ(tree.RowOf(again[2]), 2u);
  EXPECT_EQ(tree.RowOf(tree.AddNode(drive, u"/f/")), 3u);
  EXPECT_EQ(tree.RowOf(tree.AddChildren(drive, {u"/g/", u"/h/"})[1]), 5u);
  EXPECT_EQ(tree.RowOf(drive), 0u);
}

TEST(FolderTree, PathSlotsAreReusedAndSharedSlotsOutliveTheirNodes) {
  FolderTree tree;
  const NodeId drive = tree.AddNode(kNoNode, u"/");
  std::size_t highest = 0;
  for (int round = 0; round < 5; ++round) {
    for (const NodeId id : tree.AddChildren(drive, {u"/a/", u"/b/", u"/c/"}))
      highest = std::max(highest, tree.PathIndexOf(id));
    tree.DiscardChildren(drive);
  }
  EXPECT_EQ(highest, 3u);  // the drive's path, then three reused slots

  // A node given an index does not own the entry, and an index outside the array
  // gives an empty path.
  const std::size_t shared = tree.AddPath(u"/shared/");
  const NodeId good = tree.AddNodeWithPathIndex(kNoNode, shared);
  const NodeId bad = tree.AddNodeWithPathIndex(kNoNode, shared + 7);
  EXPECT_TRUE(tree.HasPath(good));
  EXPECT_TRUE(tree.IsNode(bad));
  EXPECT_FALSE(tree.HasPath(bad));
  EXPECT_EQ(tree.PathAt(shared + 7), u"");
  const NodeId child = tree.AddNodeWithPathIndex(good, shared);
  tree.DiscardChildren(good);
  EXPECT_FALSE(tree.IsNode(child));
  EXPECT_EQ(tree.PathAt(shared), u"/shared/");
}

// Records what a view's model would be told, as text, so whole sequences compare.
class RecordingObserver : public FolderTreeObserver {
 public:
  explicit RecordingObserver(const FolderTree& tree) : tree_(tree) {}
  void NodesAboutToBeAdded(NodeId parent, std::size_t first, std::size_t count) override {
    Begin("add " + Name(parent) + " " + std::to_string(first) + "+" + std::to_string(count));
  }
  void NodesAdded(NodeId parent) override { End("added", parent); }
  void ChildrenAboutToBeDiscarded(NodeId parent, std::size_t count) override {
    events.push_back("discard " + Name(parent) + " " + std::to_string(count));
  }
  void ChildrenDiscarded(NodeId parent) override { End("discarded", parent, false); }
  void NodeAboutToBeRemoved(NodeId parent, std::size_t row) override {
    Begin("remove " + Name(parent) + " row " + std::to_string(row));
  }
  void NodeRemoved(NodeId parent) override { End("removed", parent); }
  void NodeChanged(NodeId node) override {
    events.push_back("changed " + Name(node) + " state " + std::to_string(static_cast<int>(tree_.StateOf(node))) +
                     (tree_.IsExpanded(node) ? " open" : "") + (tree_.HasChildren(node) ? "" : " leaf"));
  }
  std::vector<std::string> events;

 private:
  std::string Name(NodeId node) const { return node == kNoNode ? "top" : Utf16ToUtf8(tree_.PathOf(node)); }
  // An insertion or removal is announced, then done, never nested; the closing event
  // reports the parent's child count after the change.
  void Begin(std::string event) {
    events.push_back(std::move(event));
    EXPECT_FALSE(open_);
    open_ = true;
  }
  void End(const char* verb, NodeId parent, bool paired = true) {
    events.push_back(verb + (" " + Name(parent)) + " " + std::to_string(tree_.ChildrenOf(parent).size()));
    EXPECT_EQ(open_, paired);
    open_ = false;
  }
  const FolderTree& tree_;
  bool open_ = false;
};

TEST(FolderTree, ObserverHearsEveryChangeOnceAndInPairs) {
  FolderTree tree;
  RecordingObserver observer(tree);
  tree.SetObserver(&observer);

  const NodeId drive = tree.AddNode(kNoNode, u"/");
  tree.AddNode(kNoNode, u"/home/", false);
  tree.SetExpanded(drive, true);
  tree.SetExpanded(drive, true);  // no change, no call
  const auto kids = tree.AddChildren(drive, {u"/a/", u"/b/"});
  tree.AddChildren(drive, {});  // nothing to announce
  tree.SetState(kids[1], TreeCheckState::csFolderAndSub);
  tree.SetState(kids[1], TreeCheckState::csFolderAndSub);
  tree.SetHasChildren(kids[0], false);
  tree.DiscardChildren(drive);
  tree.DiscardChildren(drive);  // nothing loaded and already collapsed: silent
  // Drives come and go in the middle of the top level: rows stay consecutive, and
  // the removed node and everything below it die.
  const NodeId b = tree.InsertNode(kNoNode, 1, u"/b/");
  const NodeId d = tree.InsertNode(kNoNode, 99, u"/d/");
  const NodeId child = tree.AddNode(b, u"/b/x/");
  tree.RemoveNode(b);
  tree.RemoveNode(b);  // already gone: nothing happens
  tree.SetObserver(nullptr);
  tree.AddNode(kNoNode, u"/unseen/");

  const std::vector<std::string> expected = {"add top 0+1",
                                             "added top 1",
                                             "add top 1+1",
                                             "added top 2",
                                             "changed / state 1 open",
                                             "add / 0+2",
                                             "added / 2",
                                             "changed /b/ state 4",
                                             "changed /a/ state 1 leaf",
                                             "discard / 2",
                                             "discarded / 0",
                                             "changed / state 1",
                                             "add top 1+1",
                                             "added top 3",
                                             "add top 3+1",
                                             "added top 4",
                                             "add /b/ 0+1",
                                             "added /b/ 1",
                                             "remove top row 1",
                                             "removed top 3"};
  EXPECT_EQ(observer.events, expected);
  EXPECT_FALSE(tree.IsNode(b));
  EXPECT_FALSE(tree.IsNode(child));
  EXPECT_EQ(tree.RowOf(d), 2u);
  EXPECT_EQ(tree.TopLevelNodes().size(), 4u);
  for (std::size_t row = 0; row < tree.TopLevelNodes().size(); ++row)
    EXPECT_EQ(tree.RowOf(tree.TopLevelNodes()[row]), row);
}

}  // namespace
}  // namespace tessaroven
