#include "selection/selection_model.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/text.h"
#include "support/native_path.h"
#include "support/scripted_prompts.h"

namespace tessaroven {
namespace {

using enum TreeCheckState;
using test::Native;

PathList N(std::initializer_list<std::u16string_view> paths) {
  PathList list;
  for (const auto path : paths) list.push_back(Native(path));
  return list;
}

// The five lists as "andSub|noSub|exclude|single|singleExclude", each a
// comma-separated list written with "/", so a whole selection compares (and prints)
// as one line and a stray entry anywhere shows.
std::string Text(const SelectionLists& l) {
  std::string text;
  for (const PathList* list : l.SelectionListsInOrder()) {
    if (list != &l.lstFoldersAndSub) text += "|";
    for (const auto& path : *list) text += Utf16ToUtf8(Native(path)) + (&path != &list->back() ? "," : "");
  }
  return text;
}

// The window's part: a file list with check images, the current node, and counters
// for the hooks.
class FakeWindow : public SelectionView {
 public:
  NodeId CurrentNode() const override { return current; }
  std::size_t FileRowCount() const override { return paths.size(); }
  std::u16string_view FileRowPath(std::size_t row) const override { return paths.at(row); }
  int FileRowImage(std::size_t row) const override { return images.at(row) - '0'; }
  void SetFileRowImage(std::size_t row, int image) override { images.at(row) = static_cast<char>('0' + image); }
  void UpdateStatusLine() override { ++statusUpdates; }
  void RefillFileList() override { ++refills; }
  void ClearFilters() override { ++filterClears; }

  NodeId current = kNoNode;
  PathList paths;
  std::string images;  // one digit a row: 1 unticked, 2 ticked
  int statusUpdates = 0, refills = 0, filterClears = 0;
};

// The drive tree most tests use, with the file list showing /m/a/:
//   /                      drive
//     /m/
//       /m/a/      (a.flac, b.mp3 listed)
//         /m/a/deep/
//       /m/ab/
//   /home/u/Music/         shortcut to the music folder, also top-level
class SelectionModelTest : public testing::Test {
 protected:
  SelectionModelTest() : model(window) {
    model.Lists().lstTreeRoots = N({u"/", u"/home/u/Music/"});
    drive = tree().AddNode(kNoNode, Native(u"/"));
    shortcut = tree().AddNode(kNoNode, Native(u"/home/u/Music/"));
    m = Expand(drive, {u"/m/"})[0];
    const auto ms = Expand(m, {u"/m/a/", u"/m/ab/"});
    a = ms[0];
    ab = ms[1];
    deep = Expand(a, {u"/m/a/deep/"})[0];
    window.current = a;
    window.paths = N({u"/m/a/a.flac", u"/m/a/b.mp3"});
    window.images = "11";
  }

  FolderTree& tree() { return model.Tree(); }

  // An expansion as the folder scanning does it.
  std::vector<NodeId> Expand(NodeId node, std::initializer_list<std::u16string_view> paths) {
    const std::vector<NodeId> ids = model.AddExpandedChildren(node, N(paths));
    tree().SetExpanded(node, true);
    return ids;
  }

  // The nodes' states as digits: 1 unchecked, 2 something below chosen, 3 single
  // files inside, 4 chosen with sub-folders, 5 chosen without.
  std::string States(std::initializer_list<NodeId> nodes) {
    std::string states;
    for (const NodeId node : nodes) states += std::to_string(static_cast<int>(tree().StateOf(node)));
    return states;
  }

  FakeWindow window;
  SelectionModel model;
  NodeId drive, shortcut, m, a, ab, deep;
};

// ---- Clicking folders ------------------------------------------------------

struct ClickCase {
  const char* name;
  bool tickParentFirst;                                       // click /m/ once before clicking /m/a/
  std::vector<std::pair<TreeCheckState, std::string>> steps;  // /m/a/'s state and the lists after each click
};

class FolderClicks : public SelectionModelTest, public testing::WithParamInterface<ClickCase> {};

TEST_P(FolderClicks, CycleThroughStatesAndRecordOnlyWhatTheParentDoesNotCover) {
  if (GetParam().tickParentFirst) {
    ASSERT_TRUE(model.ToggleFolderState(m));
  }
  for (const auto& [state, lists] : GetParam().steps) {
    SCOPED_TRACE(lists);
    ASSERT_TRUE(model.ToggleFolderState(a));
    EXPECT_EQ(tree().StateOf(a), state);
    EXPECT_EQ(Text(model.Lists()), lists);
  }
}

// Under a chosen parent the folder starts inherited (4), so the cycle goes without
// sub-folders, excluded, and back; the unchecked sub-folder of a chosen folder adds nothing.
INSTANTIATE_TEST_SUITE_P(SelectionModel, FolderClicks,
                         testing::Values(ClickCase{"FolderOnItsOwn",
                                                   false,
                                                   {{csFolderAndSub, "/m/a/||||"},
                                                    {csFolderNoSub, "|/m/a/|||"},
                                                    {csUnchecked, "||||"},
                                                    {csFolderAndSub, "/m/a/||||"}}},
                                         ClickCase{"SubFolderOfChosenFolder",
                                                   true,
                                                   {{csFolderNoSub, "/m/|/m/a/|||"},
                                                    {csUnchecked, "/m/||/m/a/||"},
                                                    {csFolderAndSub, "/m/||||"},
                                                    {csFolderNoSub, "/m/|/m/a/|||"}}}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(SelectionModelTest, KeyboardToggleLeavesTheControlsOwnStepToLandOnTheClickedState) {
  FakeWindow clickWindow;
  SelectionModel clicked(clickWindow);
  const NodeId clickedNode = clicked.Tree().AddNode(kNoNode, Native(u"/m/"));
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE("press " + std::to_string(i + 1));
    clicked.ToggleFolderState(clickedNode);
    ASSERT_TRUE(model.ToggleFolderStateFromKeyboard(m));
    // The tree control advances the image by one after the key handler returns.
    tree().SetState(m, static_cast<TreeCheckState>(static_cast<int>(tree().StateOf(m)) % 5 + 1));
    EXPECT_EQ(tree().StateOf(m), clicked.Tree().StateOf(clickedNode));
    EXPECT_EQ(Text(model.Lists()), Text(clicked.Lists()));
  }
}

// Nodes that name no folder take no tick: one without a path in silence, the
// network's own entries with an error. From the keyboard a refused entry is stepped
// back, so the control's own step shows it unchanged.
TEST_F(SelectionModelTest, NodesWithoutAFolderAreRefused) {
  test::ScriptedPrompts prompts;
  const NodeId pathless = tree().AddNodeWithPathIndex(drive, 999);
  model.Lists().lstFoldersAndSub = N({u"/m/"});
  EXPECT_FALSE(model.ToggleFolderState(pathless));
  EXPECT_FALSE(model.ToggleFolderStateFromKeyboard(kNoNode));
  model.InitialNodeState(pathless);
  EXPECT_EQ(tree().StateOf(pathless), csUnchecked);
  EXPECT_TRUE(prompts.Shown().empty());

  const NodeId entry = tree().AddNode(kNoNode, std::u16string(kNetworkComputerEntry));
  EXPECT_FALSE(model.ToggleFolderState(entry));
  EXPECT_EQ(tree().StateOf(entry), csUnchecked);
  EXPECT_FALSE(model.ToggleFolderStateFromKeyboard(entry));
  EXPECT_EQ(tree().StateOf(entry), csFolderNoSub);
  EXPECT_EQ(Text(model.Lists()), "/m/||||");
  ASSERT_EQ(prompts.Shown().size(), 2u);
  EXPECT_EQ(prompts.Shown()[1].text, u"Only folders within a network can be set for inclusion");
  EXPECT_EQ(prompts.Shown()[1].caption, u"Tessaroven Batch Converter");
  EXPECT_EQ(prompts.Shown()[1].style, kPromptOk | kPromptIconError);
}

// ---- States of the tree ----------------------------------------------------

TEST_F(SelectionModelTest, LoadedSubFoldersFollowAChosenFolderAndItsExclusions) {
  model.ToggleFolderState(m);
  EXPECT_EQ(States({m, a, ab, deep, drive}), "44442");

  model.ToggleFolderState(a);  // without sub-folders
  model.ToggleFolderState(a);  // excluded
  EXPECT_EQ(States({m, a, ab, deep}), "4141");

  // Collapsing and expanding again reads the states back from the lists.
  tree().DiscardChildren(m);
  const auto again = Expand(m, {u"/m/a/", u"/m/ab/", u"/m/new/"});
  EXPECT_EQ(States({again[0], again[1], again[2]}), "144");

  // Unticking the chosen folder takes its exclusion along and clears the branch.
  model.ToggleFolderState(m);  // without sub-folders
  model.ToggleFolderState(m);  // unchecked
  EXPECT_EQ(Text(model.Lists()), "||||");
  EXPECT_EQ(States({m, again[0], again[1], drive}), "1111");
}

struct InitialCase {
  const char* name;
  const char16_t* lists[5];  // as SelectionListsInOrder() has them, comma-separated
  std::u16string node;
  TreeCheckState before, expected;
};

// The first match wins; a shortcut's own top-level entry does not mark the drive
// branch leading to it.
const InitialCase kInitialStates[] = {
    {"ChosenWithSubFolders", {u"/m/", u"/m/"}, u"/m/", csUnchecked, csFolderAndSub},
    {"ChosenWithoutSubFolders", {u"", u"/m/", u"", u"/m/x.mp3"}, u"/m/", csUnchecked, csFolderNoSub},
    {"HoldsASingleFile", {u"", u"/m/sub/", u"", u"/m/x.mp3"}, u"/m/", csUnchecked, csHasSingleFiles},
    {"ChosenFolderBelow", {u"/m/a/deep/"}, u"/m/", csUnchecked, csChildSelected},
    {"SingleFileDeeperDown", {u"", u"", u"", u"/m/a/x.mp3"}, u"/m/", csUnchecked, csChildSelected},
    {"OnlyAnExclusionBelow", {u"", u"", u"/m/a/", u"", u"/m/b.mp3"}, u"/m/", csUnchecked, csUnchecked},
    {"ShortcutBelow", {u"/home/u/Music/"}, u"/home/", csUnchecked, csUnchecked},
    {"NothingLeavesTheStateAlone", {u"/x/"}, u"/m/", csFolderAndSub, csFolderAndSub},
};

TEST(SelectionModel, InitialStatesComeFromTheLists) {
  for (const InitialCase& c : kInitialStates) {
    SCOPED_TRACE(c.name);
    FakeWindow window;
    SelectionModel model(window);
    const auto lists = model.Lists().SelectionListsInOrder();
    for (std::size_t i = 0; i < lists.size(); ++i)
      for (const auto& path : Split(c.lists[i] ? c.lists[i] : u"", u",")) lists[i]->push_back(Native(path));
    model.Lists().lstTreeRoots = N({u"/", u"/home/u/Music/"});
    const NodeId node = model.Tree().AddNode(kNoNode, Native(c.node));
    model.Tree().SetState(node, c.before);
    model.InitialNodeState(node);
    EXPECT_EQ(model.Tree().StateOf(node), c.expected);
  }
}

// ---- The file list ---------------------------------------------------------

struct FileCase {
  const char* name;
  bool folderChosen;
  // Row 0 ticked or not, then the lists, and the states of /m/a/ and /m/.
  std::vector<std::tuple<bool, std::string, std::string>> steps;
};

class FileTicks : public SelectionModelTest, public testing::WithParamInterface<FileCase> {};

TEST_P(FileTicks, RecordOnlyTheExceptionToTheFoldersRuleAndMarkTheAncestors) {
  if (GetParam().folderChosen) model.ToggleFolderState(a);
  int step = 0;
  for (const auto& [selected, lists, states] : GetParam().steps) {
    SCOPED_TRACE("step " + std::to_string(++step));
    model.SetFileSelected(0, selected);
    EXPECT_EQ(Text(model.Lists()), lists);
    EXPECT_EQ(model.IsFileSelected(0), selected);
    EXPECT_EQ(States({a, m, drive}), states);
    EXPECT_EQ(window.statusUpdates, step);
  }
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, FileTicks,
                         testing::Values(FileCase{"InChosenFolder",
                                                  true,
                                                  {{true, "/m/a/||||", "422"},
                                                   {false, "/m/a/||||/m/a/a.flac", "422"},
                                                   {false, "/m/a/||||/m/a/a.flac", "422"},
                                                   {true, "/m/a/||||", "422"}}},
                                         FileCase{"InPlainFolder",
                                                  false,
                                                  {{false, "||||", "111"},
                                                   {true, "|||/m/a/a.flac|", "322"},
                                                   {true, "|||/m/a/a.flac|", "322"},
                                                   {false, "||||", "111"}}}),
                         [](const auto& p) { return std::string(p.param.name); });

enum class MenuCommand { kCheckAll, kUncheckAll, kInvert };

struct MenuCase {
  const char* name;
  bool folderChosen;
  const char* imagesBefore;
  const char* listsBefore;  // single files and their exclusions, "single|singleExclude"
  MenuCommand command;
  const char* imagesAfter;
  const char* listsAfter;
};

class ContextMenu : public SelectionModelTest, public testing::WithParamInterface<MenuCase> {};

TEST_P(ContextMenu, SetsEveryRowAndRecordsTheExceptions) {
  const auto& c = GetParam();
  if (c.folderChosen) model.ToggleFolderState(a);
  window.images = c.imagesBefore;
  const auto lists = Split(Utf8ToUtf16(c.listsBefore), u"|");
  if (!lists[0].empty()) model.Lists().lstSingleFiles = N({lists[0]});
  if (!lists[1].empty()) model.Lists().lstSingleFilesExclude = N({lists[1]});

  if (c.command == MenuCommand::kCheckAll) model.CheckAll();
  if (c.command == MenuCommand::kUncheckAll) model.UncheckAll();
  if (c.command == MenuCommand::kInvert) model.InvertSelection();

  EXPECT_EQ(window.images, c.imagesAfter);
  EXPECT_EQ(Text(model.Lists()), (c.folderChosen ? "/m/a/|||" : "|||") + std::string(c.listsAfter));
  for (std::size_t row = 0; row < 2; ++row) EXPECT_EQ(model.IsFileSelected(row), window.images[row] == '2') << row;
}

INSTANTIATE_TEST_SUITE_P(
    SelectionModel, ContextMenu,
    testing::Values(
        MenuCase{"CheckAllInPlainFolder", false, "12", "/m/a/b.mp3|", MenuCommand::kCheckAll, "22",
                 "/m/a/a.flac,/m/a/b.mp3|"},
        MenuCase{"CheckAllInChosenFolder", true, "21", "|/m/a/b.mp3", MenuCommand::kCheckAll, "22", "|"},
        MenuCase{"UncheckAllInChosenFolder", true, "22", "|", MenuCommand::kUncheckAll, "11",
                 "|/m/a/a.flac,/m/a/b.mp3"},
        MenuCase{"UncheckAllInPlainFolder", false, "22", "/m/a/a.flac|", MenuCommand::kUncheckAll, "11", "|"},
        MenuCase{"InvertInChosenFolder", true, "21", "|/m/a/b.mp3", MenuCommand::kInvert, "12", "|/m/a/a.flac"},
        MenuCase{"InvertInPlainFolder", false, "12", "/m/a/b.mp3|", MenuCommand::kInvert, "21", "/m/a/a.flac|"}),
    [](const auto& p) { return std::string(p.param.name); });

// ---- Reset -----------------------------------------------------------------

class ResetAnswers : public SelectionModelTest, public testing::WithParamInterface<int> {};

TEST_P(ResetAnswers, ClearEverythingOnlyOnYes) {
  const bool yes = GetParam() == kAnswerYes;
  model.ToggleFolderState(m);
  model.ToggleFolderState(a);
  model.SetFileSelected(0, false);
  const std::string before = Text(model.Lists());
  const std::size_t nodesBefore = tree().NodeCount();

  test::ScriptedPrompts prompts({GetParam()});
  EXPECT_EQ(model.ResetSelections(), yes);

  ASSERT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(prompts.Shown()[0].text, u"Clear All Selections?");
  EXPECT_EQ(prompts.Shown()[0].caption, u"Tessaroven Batch Converter");
  EXPECT_EQ(prompts.Shown()[0].style, kPromptYesNo | kPromptIconQuestion);
  EXPECT_EQ(Text(model.Lists()), yes ? "||||" : before);
  EXPECT_EQ(model.Lists().lstTreeRoots, N({u"/", u"/home/u/Music/"}));
  // Only the top-level nodes remain, collapsed and ready to load again.
  EXPECT_EQ(tree().NodeCount(), yes ? 2u : nodesBefore);
  EXPECT_EQ(tree().IsNode(m), !yes);
  EXPECT_EQ(States({drive, shortcut}), yes ? "11" : "21");
  EXPECT_EQ(tree().IsExpanded(drive), !yes);
  EXPECT_TRUE(tree().HasChildren(drive));
  EXPECT_EQ(window.refills, yes ? 1 : 0);
  EXPECT_EQ(window.filterClears, yes ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, ResetAnswers, testing::Values(kAnswerYes, kAnswerNo),
                         [](const auto& p) { return "Answer" + std::to_string(p.param); });

}  // namespace
}  // namespace tessaroven
