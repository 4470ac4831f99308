#include "selection/places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/text.h"
#include "null_view.h"
#include "selection/selection_model.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;
using Paths = std::vector<std::u16string>;

TEST(Places, DriveTextNamesTheVolumeOrItsTypeAndThenWhereItIs) {
  EXPECT_EQ(DriveNodeText(u"", 2, u"E:"), u"Removable Disk (E:)");
  EXPECT_EQ(DriveNodeText(u"", 3, u"C:"), u"Hard Disk (C:)");
  EXPECT_EQ(DriveNodeText(u"", 4, u"/mnt/nas"), u"Network Drive (/mnt/nas)");
  EXPECT_EQ(DriveNodeText(u"", 5, u"F:"), u"CD-ROM Drive (F:)");
  EXPECT_EQ(DriveNodeText(u"", 6, u"R:"), u"RAM Disk (R:)");
  EXPECT_EQ(DriveNodeText(u"Music", 3, u"D:"), u"Music (D:)");
  EXPECT_EQ(DriveNodeText(u"", 0, u"X:"), u"X:");  // an unknown type shows the place only
}

Place Drive(std::u16string_view path, int type = kDriveFixed) {
  return Place{PlaceKind::kDrive, DriveNodeText({}, type, path), Native(path), type};
}

std::vector<Place> TestPlaces() {
  KnownPlaceFolders folders;
  folders.music = Native(u"/home/a/Music/");
  folders.video = Native(u"/home/a/Videos/");
  return ComposePlaces(folders, {Drive(u"/"), Drive(u"/mnt/a/"), Drive(u"/mnt/c/")});
}

// The top level's paths in row order.
Paths RowPaths(const FolderTree& tree) {
  Paths paths;
  for (const NodeId node : tree.TopLevelNodes()) paths.push_back(tree.PathOf(node));
  return paths;
}

// Clear and every profile load reset the tree; the network entry is searched once,
// so it must come out of a reset still working: with its placeholder (or the
// computers found), collapsed, the shares' folders discarded like any other.
TEST(Places, TheNetworkEntryKeepsItsSearchingChildAndComputersThroughAReset) {
  test::NullView view;
  SelectionModel model(view);
  FolderTree& tree = model.Tree();
  PlaceNodes nodes;
  AddPlacesToTree(tree, model.Lists(), nodes, TestPlaces());
  const NodeId network = tree.TopLevelNodes().back();
  const NodeId drive = tree.TopLevelNodes()[1];
  EXPECT_EQ(nodes.Label(tree.TopLevelNodes()[0]), u"Music");
  EXPECT_EQ(nodes.Label(tree.TopLevelNodes()[4]), u"Video");
  // Folders loaded below a place are named by the window, not here.
  const NodeId folder = tree.AddNode(drive, Native(u"/bin/"));
  EXPECT_EQ(nodes.Label(folder), u"");
  EXPECT_EQ(nodes.Find(nodes.SearchingNode()), nullptr);
  EXPECT_EQ(nodes.Label(kNoNode), u"");
  tree.SetExpanded(network, true);
  // A computer found meanwhile, with a share opened and ticked.
  const NodeId computer = tree.AddNode(network, std::u16string(kNetworkComputerEntry));
  const NodeId share = tree.AddNode(computer, Native(u"/net/nas/music/"));
  const NodeId shareFolder = tree.AddNode(share, Native(u"/net/nas/music/jazz/"));
  ASSERT_TRUE(model.ToggleFolderState(share));

  model.ClearSelections();
  EXPECT_TRUE(tree.ChildrenOf(drive).empty()) << "folders are read afresh";
  EXPECT_EQ(tree.ChildrenOf(network), (std::vector<NodeId>{nodes.SearchingNode(), computer}));
  EXPECT_FALSE(tree.IsExpanded(network));
  EXPECT_EQ(tree.ChildrenOf(computer), std::vector<NodeId>{share});
  EXPECT_EQ(tree.StateOf(share), TreeCheckState::csUnchecked);
  EXPECT_FALSE(tree.IsNode(shareFolder));
  EXPECT_FALSE(model.Lists().HasSelections());
}

// Drive paths written space-separated: "/ /mnt/a/".
struct RefreshCase {
  const char* name;
  bool withMusic;  // the music folder at /m/
  std::u16string before, after;
  std::u16string rows;  // top-level paths after the refresh
  std::size_t added, removed;
};

class DriveRefreshRows : public testing::TestWithParam<RefreshCase> {};

TEST_P(DriveRefreshRows, PutNewDrivesInOrderAndTakeOutVanishedOnes) {
  const auto& c = GetParam();
  const auto drives = [](const std::u16string& paths) {
    std::vector<Place> result;
    for (const auto& path : Split(paths, u" ")) result.push_back(Drive(path));
    return result;
  };
  KnownPlaceFolders folders;
  if (c.withMusic) folders.music = Native(u"/m/");
  folders.video = Native(u"/v/");
  FolderTree tree;
  SelectionLists lists;
  PlaceNodes nodes;
  AddPlacesToTree(tree, lists, nodes, ComposePlaces(folders, drives(c.before)));
  FolderTreeEditor editor(tree);
  std::vector<NodeId> before;
  for (const auto& entry : nodes.Entries()) before.push_back(entry.node);

  const DriveRefreshResult result = RefreshDrives(editor, lists, nodes, drives(c.after));

  Paths rows;
  for (const auto& path : Split(c.rows, u" ")) rows.push_back(Native(path));
  rows.push_back(std::u16string(kNetworkEntry));
  EXPECT_EQ(RowPaths(tree), rows);
  EXPECT_EQ(result.added.size(), c.added);
  EXPECT_EQ(result.removed.size(), c.removed);
  // PlaceNodes follows the rows, so labels and rows agree for the window.
  ASSERT_EQ(nodes.Entries().size(), rows.size());
  for (std::size_t row = 0; row < rows.size(); ++row) EXPECT_EQ(nodes.Entries()[row].node, tree.TopLevelNodes()[row]);
  // Every place still shown keeps the node it had; removed ones are gone from both.
  for (const NodeId node : before) {
    const bool removed = std::count(result.removed.begin(), result.removed.end(), node) > 0;
    EXPECT_EQ(nodes.Find(node) != nullptr, !removed);
    EXPECT_EQ(tree.IsNode(node), !removed);
  }
  // The roots are the folder places now shown: a vanished drive does not take the
  // root of a folder place at the same path along (the path may stand there twice,
  // once for each place).
  rows.pop_back();
  std::sort(rows.begin(), rows.end());
  PathList roots = lists.lstTreeRoots;
  std::sort(roots.begin(), roots.end());
  roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
  EXPECT_EQ(roots, rows);
  EXPECT_FALSE(RefreshDrives(editor, lists, nodes, drives(c.after)).Changed());  // a second look changes nothing
}

INSTANTIATE_TEST_SUITE_P(
    Places, DriveRefreshRows,
    testing::Values(
        RefreshCase{"NewBetween", true, u"/ /mnt/c/", u"/ /mnt/b/ /mnt/c/", u"/m/ / /mnt/b/ /mnt/c/ /v/", 1, 0},
        RefreshCase{"NewAtTheEndOfTheDrives", true, u"/", u"/ /mnt/z/ /srv/", u"/m/ / /mnt/z/ /srv/ /v/", 2, 0},
        RefreshCase{"VanishedInTheMiddle", true, u"/ /mnt/b/ /mnt/c/", u"/ /mnt/c/", u"/m/ / /mnt/c/ /v/", 0, 1},
        RefreshCase{"OneGoesOneComes", true, u"/ /mnt/b/", u"/ /mnt/c/", u"/m/ / /mnt/c/ /v/", 1, 1},
        RefreshCase{"AllReplacedGoAfterTheMusic", true, u"/a/ /b/", u"/c/ /d/", u"/m/ /c/ /d/ /v/", 2, 2},
        RefreshCase{"NoMusicNewDriveFirst", false, u"/b/", u"/a/ /b/", u"/a/ /b/ /v/", 1, 0},
        RefreshCase{"NoDrivesLeft", false, u"/b/", u"", u"/v/", 0, 1},
        // The music folder is a mount point of its own: the drive goes, the music stays.
        RefreshCase{"VanishedDriveAtTheMusicFolder", true, u"/ /m/", u"/", u"/m/ / /v/", 0, 1}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(Places, RefreshKeepsAnExpandedDriveWithItsChildrenAndStatesAndFollowsANewLabel) {
  FolderTree tree;
  SelectionLists lists;
  PlaceNodes nodes;
  AddPlacesToTree(tree, lists, nodes, ComposePlaces({}, {Drive(u"/"), Drive(u"/mnt/a/"), Drive(u"/mnt/b/")}));
  const NodeId rootDrive = tree.TopLevelNodes()[0];
  const NodeId goneDrive = tree.TopLevelNodes()[2];
  const std::vector<NodeId> children = tree.AddChildren(rootDrive, {Native(u"/home/"), Native(u"/music/")});
  tree.SetExpanded(rootDrive, true);
  tree.SetState(children[1], TreeCheckState::csFolderAndSub);
  const NodeId goneChild = tree.AddNode(goneDrive, Native(u"/mnt/b/x/"));
  lists.lstFoldersAndSub.push_back(Native(u"/mnt/b/x/"));

  FolderTreeEditor editor(tree);
  Place relabeled = Drive(u"/");
  relabeled.label = u"System (/)";
  const DriveRefreshResult result =
      RefreshDrives(editor, lists, nodes, {relabeled, Drive(u"/media/stick/", kDriveRemovable), Drive(u"/mnt/a/")});

  EXPECT_TRUE(tree.IsExpanded(rootDrive));
  EXPECT_EQ(tree.ChildrenOf(rootDrive), children);
  EXPECT_EQ(tree.StateOf(children[1]), TreeCheckState::csFolderAndSub);
  EXPECT_EQ(result.relabeled, std::vector<NodeId>{rootDrive});
  EXPECT_EQ(nodes.Label(rootDrive), u"System (/)");
  EXPECT_EQ(result.removed, std::vector<NodeId>{goneDrive});
  EXPECT_FALSE(tree.IsNode(goneChild));
  ASSERT_EQ(result.added.size(), 1u);
  EXPECT_EQ(nodes.Label(result.added[0]), u"Removable Disk (/media/stick/)");
  // What was chosen on the vanished drive stays chosen for when it comes back.
  EXPECT_EQ(lists.lstFoldersAndSub, PathList{Native(u"/mnt/b/x/")});
}

}  // namespace
}  // namespace tessaroven
