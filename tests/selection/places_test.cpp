#include "selection/places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "base/text.h"
#include "null_view.h"
#include "selection/selection_model.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;

struct DriveTextCase {
  const char* name;
  std::u16string volume;
  int type;
  std::u16string where;
  std::u16string text;
};

class DriveText : public testing::TestWithParam<DriveTextCase> {};

TEST_P(DriveText, NamesTheVolumeOrItsTypeAndThenWhereItIs) {
  const auto& c = GetParam();
  EXPECT_EQ(DriveNodeText(c.volume, c.type, c.where), c.text);
}

INSTANTIATE_TEST_SUITE_P(Places, DriveText,
                         testing::Values(DriveTextCase{"Removable", u"", 2, u"E:", u"Removable Disk (E:)"},
                                         DriveTextCase{"Fixed", u"", 3, u"C:", u"Hard Disk (C:)"},
                                         DriveTextCase{"Remote", u"", 4, u"/mnt/nas", u"Network Drive (/mnt/nas)"},
                                         DriveTextCase{"CdRom", u"", 5, u"F:", u"CD-ROM Drive (F:)"},
                                         DriveTextCase{"RamDisk", u"", 6, u"R:", u"RAM Disk (R:)"},
                                         DriveTextCase{"VolumeNameWins", u"Music", 3, u"D:", u"Music (D:)"},
                                         DriveTextCase{"UnknownTypeShowsThePlaceOnly", u"", 0, u"X:", u"X:"}),
                         [](const auto& p) { return std::string(p.param.name); });

Place Drive(std::u16string_view path, int type = kDriveFixed) {
  return Place{PlaceKind::kDrive, DriveNodeText({}, type, path), Native(path), type};
}

TEST(Places, ListPlacesOffersOnlyExistingFoldersInTheTreeOrder) {
  const std::vector<Place> places = ListPlaces();
  ASSERT_FALSE(places.empty());
  // Kinds never go back: music, drives, video, network.
  for (std::size_t i = 1; i < places.size(); ++i) EXPECT_LE(places[i - 1].kind, places[i].kind) << i;
  EXPECT_EQ(places.back().kind, PlaceKind::kNetwork);
  EXPECT_EQ(places.back().path, u"{ Network }");
  for (const Place& place : places) {
    if (place.kind != PlaceKind::kMusic && place.kind != PlaceKind::kVideo) continue;
    EXPECT_EQ(place.path.back(), kPathSeparator);
    std::error_code error;
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(ToOsString(place.path)), error))
        << Utf16ToUtf8(place.label);
  }
  std::vector<std::u16string> drivePaths;
  for (const Place& place : places)
    if (place.kind == PlaceKind::kDrive) drivePaths.push_back(place.path);
  std::vector<std::u16string> listed;
  for (const Place& drive : ListDrives()) listed.push_back(drive.path);
  EXPECT_FALSE(drivePaths.empty());
  EXPECT_EQ(drivePaths, listed);
}

std::vector<Place> TestPlaces() {
  KnownPlaceFolders folders;
  folders.music = Native(u"/home/a/Music/");
  folders.video = Native(u"/home/a/Videos/");
  return ComposePlaces(folders, {Drive(u"/"), Drive(u"/mnt/a/"), Drive(u"/mnt/c/")});
}

TEST(Places, AddToTreeMakesExpandableTopLevelNodesWithLabelsAndRoots) {
  FolderTree tree;
  SelectionLists lists;
  PlaceNodes nodes;
  const std::vector<Place> places = TestPlaces();
  AddPlacesToTree(tree, lists, nodes, places);

  const auto& top = tree.TopLevelNodes();
  ASSERT_EQ(top.size(), places.size());
  ASSERT_EQ(nodes.Entries().size(), places.size());
  for (std::size_t row = 0; row < top.size(); ++row) {
    EXPECT_EQ(tree.PathOf(top[row]), places[row].path);
    EXPECT_TRUE(tree.HasChildren(top[row])) << row;
    EXPECT_FALSE(tree.IsExpanded(top[row])) << row;
    EXPECT_EQ(nodes.Entries()[row].node, top[row]);
    EXPECT_EQ(nodes.Label(top[row]), places[row].label);
  }
  EXPECT_EQ(lists.lstTreeRoots, (PathList{Native(u"/home/a/Music/"), Native(u"/"), Native(u"/mnt/a/"),
                                          Native(u"/mnt/c/"), Native(u"/home/a/Videos/")}));
  EXPECT_FALSE(lists.HasSelections());

  // The network entry waits for its search behind one placeholder that cannot expand.
  const NodeId network = top.back();
  EXPECT_EQ(nodes.Label(network), u"Network");
  ASSERT_EQ(tree.ChildrenOf(network).size(), 1u);
  const NodeId searching = tree.ChildrenOf(network)[0];
  EXPECT_EQ(searching, nodes.SearchingNode());
  EXPECT_EQ(tree.PathOf(searching), u"{ Network Searching }");
  EXPECT_EQ(nodes.Label(searching), u"Searching...");
  EXPECT_FALSE(tree.HasChildren(searching));
  EXPECT_EQ(nodes.Find(searching), nullptr);

  // Folders loaded below a place are named by the window, not here.
  const NodeId child = tree.AddNode(top[1], Native(u"/bin/"));
  EXPECT_EQ(nodes.Label(child), u"");
  EXPECT_EQ(nodes.Find(child), nullptr);
  EXPECT_EQ(nodes.Label(kNoNode), u"");
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
  tree.AddNode(drive, Native(u"/bin/"));
  tree.SetExpanded(network, true);

  model.ClearSelections();
  EXPECT_TRUE(tree.ChildrenOf(drive).empty()) << "folders are read afresh";
  ASSERT_EQ(tree.ChildrenOf(network), std::vector<NodeId>{nodes.SearchingNode()});
  EXPECT_EQ(nodes.Label(tree.ChildrenOf(network)[0]), u"Searching...");
  EXPECT_FALSE(tree.IsExpanded(network));

  // A computer found meanwhile, with a share opened and ticked.
  const NodeId computer = tree.AddNode(network, std::u16string(kNetworkComputerEntry));
  const NodeId share = tree.AddNode(computer, Native(u"/net/nas/music/"));
  const NodeId shareFolder = tree.AddNode(share, Native(u"/net/nas/music/jazz/"));
  ASSERT_TRUE(model.ToggleFolderState(share));
  model.ClearSelections();
  EXPECT_EQ(tree.ChildrenOf(network).size(), 2u);
  EXPECT_EQ(tree.ChildrenOf(computer), std::vector<NodeId>{share});
  EXPECT_EQ(tree.StateOf(share), TreeCheckState::csUnchecked);
  EXPECT_FALSE(tree.IsNode(shareFolder));
  EXPECT_FALSE(model.Lists().HasSelections());
}

// The top level's paths in row order.
std::vector<std::u16string> RowPaths(const FolderTree& tree) {
  std::vector<std::u16string> paths;
  for (const NodeId node : tree.TopLevelNodes()) paths.push_back(tree.PathOf(node));
  return paths;
}

// Drive paths written space-separated: "/ /mnt/a/".
struct RefreshCase {
  const char* name;
  bool withMusic;
  std::u16string before;  // drive paths
  std::u16string after;
  std::u16string rows;  // top-level paths after the refresh
  std::size_t added, removed;
};

std::vector<std::u16string> Words(const std::u16string& text) { return Split(text, u" "); }

class DriveRefreshRows : public testing::TestWithParam<RefreshCase> {};

TEST_P(DriveRefreshRows, PutNewDrivesInOrderAndTakeOutVanishedOnes) {
  const auto& c = GetParam();
  const auto drives = [](const std::u16string& paths) {
    std::vector<Place> result;
    for (const auto& path : Words(paths)) result.push_back(Drive(path));
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
  std::vector<NodeId> keptBefore;
  for (const auto& entry : nodes.Entries()) keptBefore.push_back(entry.node);

  const DriveRefreshResult result = RefreshDrives(editor, lists, nodes, drives(c.after));

  std::vector<std::u16string> expectedRows;
  for (const auto& path : Words(c.rows))
    expectedRows.push_back(path == u"{Network}" ? std::u16string(kNetworkEntry) : Native(path));
  EXPECT_EQ(RowPaths(tree), expectedRows);
  EXPECT_EQ(result.added.size(), c.added);
  EXPECT_EQ(result.removed.size(), c.removed);
  EXPECT_TRUE(result.relabeled.empty());
  // PlaceNodes follows the rows, so labels and rows agree for the window.
  ASSERT_EQ(nodes.Entries().size(), tree.TopLevelNodes().size());
  for (std::size_t row = 0; row < tree.TopLevelNodes().size(); ++row) {
    EXPECT_EQ(nodes.Entries()[row].node, tree.TopLevelNodes()[row]) << row;
    EXPECT_EQ(nodes.Entries()[row].place.path, RowPaths(tree)[row]) << row;
  }
  // Every place still shown keeps the node it had; removed ones are gone from both.
  for (const NodeId node : keptBefore) {
    const bool removed = std::find(result.removed.begin(), result.removed.end(), node) != result.removed.end();
    EXPECT_EQ(nodes.Find(node) != nullptr, !removed);
    EXPECT_EQ(tree.IsNode(node), !removed) << "a removed drive's node is gone from the tree too";
  }
  // The roots are the folder places now shown, in the order they were added.
  for (const auto& path : expectedRows)
    if (path != u"{ Network }") {
      EXPECT_TRUE(ContainsPath(lists.lstTreeRoots, path)) << Utf16ToUtf8(path);
    }
  EXPECT_EQ(lists.lstTreeRoots.size(), expectedRows.size() - 1);
  EXPECT_FALSE(RefreshDrives(editor, lists, nodes, drives(c.after)).Changed());  // a second look changes nothing
}

INSTANTIATE_TEST_SUITE_P(
    Places, DriveRefreshRows,
    testing::Values(
        RefreshCase{"NewBetween", true, u"/ /mnt/c/", u"/ /mnt/b/ /mnt/c/", u"/m/ / /mnt/b/ /mnt/c/ /v/ {Network}", 1,
                    0},
        RefreshCase{"NewAtTheEndOfTheDrives", true, u"/", u"/ /mnt/z/ /srv/", u"/m/ / /mnt/z/ /srv/ /v/ {Network}", 2,
                    0},
        RefreshCase{"VanishedInTheMiddle", true, u"/ /mnt/b/ /mnt/c/", u"/ /mnt/c/", u"/m/ / /mnt/c/ /v/ {Network}", 0,
                    1},
        RefreshCase{"OneGoesOneComes", true, u"/ /mnt/b/", u"/ /mnt/c/", u"/m/ / /mnt/c/ /v/ {Network}", 1, 1},
        RefreshCase{"AllReplacedGoAfterTheMusic", true, u"/a/ /b/", u"/c/ /d/", u"/m/ /c/ /d/ /v/ {Network}", 2, 2},
        RefreshCase{"NoMusicNewDriveFirst", false, u"/b/", u"/a/ /b/", u"/a/ /b/ /v/ {Network}", 1, 0},
        RefreshCase{"NoDrivesLeft", false, u"/b/", u"", u"/v/ {Network}", 0, 1}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(Places, RefreshKeepsAnExpandedDriveWithItsChildrenAndStates) {
  FolderTree tree;
  SelectionLists lists;
  PlaceNodes nodes;
  AddPlacesToTree(tree, lists, nodes, ComposePlaces({}, {Drive(u"/"), Drive(u"/mnt/a/"), Drive(u"/mnt/b/")}));
  const NodeId rootDrive = tree.TopLevelNodes()[0];
  const NodeId goneDrive = tree.TopLevelNodes()[2];
  const std::vector<NodeId> children = tree.AddChildren(rootDrive, {Native(u"/home/"), Native(u"/music/")});
  tree.SetExpanded(rootDrive, true);
  tree.SetState(rootDrive, TreeCheckState::csChildSelected);
  tree.SetState(children[1], TreeCheckState::csFolderAndSub);
  const NodeId goneChild = tree.AddNode(goneDrive, Native(u"/mnt/b/x/"));
  lists.lstFoldersAndSub.push_back(Native(u"/mnt/b/x/"));

  FolderTreeEditor editor(tree);
  const DriveRefreshResult result =
      RefreshDrives(editor, lists, nodes, {Drive(u"/"), Drive(u"/media/stick/", kDriveRemovable), Drive(u"/mnt/a/")});

  EXPECT_TRUE(tree.IsExpanded(rootDrive));
  EXPECT_EQ(tree.ChildrenOf(rootDrive), children);
  EXPECT_EQ(tree.StateOf(rootDrive), TreeCheckState::csChildSelected);
  EXPECT_EQ(tree.StateOf(children[1]), TreeCheckState::csFolderAndSub);
  EXPECT_EQ(result.removed, std::vector<NodeId>{goneDrive});
  EXPECT_FALSE(tree.IsNode(goneChild));
  ASSERT_EQ(result.added.size(), 1u);
  EXPECT_EQ(nodes.Label(result.added[0]), u"Removable Disk (/media/stick/)");
  EXPECT_EQ(RowPaths(tree),
            (std::vector<std::u16string>{Native(u"/"), Native(u"/media/stick/"), Native(u"/mnt/a/"), u"{ Network }"}));
  // What was chosen on the vanished drive stays chosen for when it comes back.
  EXPECT_EQ(lists.lstFoldersAndSub, PathList{Native(u"/mnt/b/x/")});
  EXPECT_EQ(lists.lstTreeRoots, (PathList{Native(u"/"), Native(u"/mnt/a/"), Native(u"/media/stick/")}));
}

TEST(Places, RefreshFollowsANewVolumeNameWithoutTouchingTheNode) {
  FolderTree tree;
  SelectionLists lists;
  PlaceNodes nodes;
  AddPlacesToTree(tree, lists, nodes, ComposePlaces({}, {Drive(u"/cd/", kDriveCdRom)}));
  const NodeId cd = tree.TopLevelNodes()[0];
  tree.AddNode(cd, Native(u"/cd/old/"));
  tree.SetExpanded(cd, true);
  FolderTreeEditor editor(tree);

  Place withDisc = Drive(u"/cd/", kDriveCdRom);
  withDisc.label = u"AUDIO_CD (/cd)";
  const DriveRefreshResult result = RefreshDrives(editor, lists, nodes, {withDisc});
  EXPECT_EQ(result.relabeled, std::vector<NodeId>{cd});
  EXPECT_TRUE(result.added.empty());
  EXPECT_TRUE(result.removed.empty());
  EXPECT_EQ(nodes.Label(cd), u"AUDIO_CD (/cd)");
  EXPECT_TRUE(tree.IsExpanded(cd));
  EXPECT_EQ(tree.ChildrenOf(cd).size(), 1u);
}

TEST(Places, AVanishedDriveKeepsTheRootOfAFolderPlaceAtTheSamePath) {
  // The music folder is a mount point of its own: the drive goes, the music stays.
  KnownPlaceFolders folders;
  folders.music = Native(u"/srv/music/");
  FolderTree tree;
  SelectionLists lists;
  PlaceNodes nodes;
  AddPlacesToTree(tree, lists, nodes, ComposePlaces(folders, {Drive(u"/"), Drive(u"/srv/music/")}));
  FolderTreeEditor editor(tree);
  RefreshDrives(editor, lists, nodes, {Drive(u"/")});
  EXPECT_TRUE(ContainsPath(lists.lstTreeRoots, Native(u"/srv/music/")));
  EXPECT_EQ(RowPaths(tree), (std::vector<std::u16string>{Native(u"/srv/music/"), Native(u"/"), u"{ Network }"}));
}

}  // namespace
}  // namespace tessaroven
