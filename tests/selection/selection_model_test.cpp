#include "selection/selection_model.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/platform.h"
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

// The window's part: a file list with check images, the current node, and counters
// for the hooks.
class FakeWindow : public SelectionView {
 public:
  struct Row {
    std::u16string path;
    int image = kFileImageUnticked;
  };
  NodeId CurrentNode() const override { return current; }
  std::size_t FileRowCount() const override { return rows.size(); }
  std::u16string_view FileRowPath(std::size_t row) const override { return rows.at(row).path; }
  int FileRowImage(std::size_t row) const override { return rows.at(row).image; }
  void SetFileRowImage(std::size_t row, int image) override { rows.at(row).image = image; }
  void UpdateStatusLine() override { ++statusUpdates; }
  void RefillFileList() override { ++refills; }
  void ClearFilters() override { ++filterClears; }

  std::vector<int> Images() const {
    std::vector<int> images;
    for (const auto& row : rows) images.push_back(row.image);
    return images;
  }

  NodeId current = kNoNode;
  std::vector<Row> rows;
  int statusUpdates = 0;
  int refills = 0;
  int filterClears = 0;
};

// What the lists hold, compared as a whole so a stray entry anywhere shows.
struct Lists {
  PathList andSub, noSub, exclude, single, singleExclude;
  bool operator==(const Lists&) const = default;
};

void PrintTo(const Lists& l, std::ostream* os) {
  const auto print = [&](const char* name, const PathList& list) {
    *os << name << "{";
    for (const auto& path : list) *os << Utf16ToUtf8(path) << " ";
    *os << "} ";
  };
  print("andSub", l.andSub);
  print("noSub", l.noSub);
  print("exclude", l.exclude);
  print("single", l.single);
  print("singleExclude", l.singleExclude);
}

Lists Snapshot(const SelectionLists& l) {
  return {l.lstFoldersAndSub, l.lstFoldersNoSub, l.lstFoldersExclude, l.lstSingleFiles, l.lstSingleFilesExclude};
}

// The five lists written as "andSub|noSub|exclude|single|singleExclude", each a
// comma-separated list of paths, so a table row fits on a line.
Lists L(std::u16string_view text) {
  std::vector<PathList> parts;
  for (const auto& part : Split(std::u16string(text), u"|")) {
    PathList list;
    for (const auto& path : Split(part, u",")) {
      if (!path.empty()) list.push_back(Native(path));
    }
    parts.push_back(std::move(list));
  }
  parts.resize(5);
  return {parts[0], parts[1], parts[2], parts[3], parts[4]};
}

// The listed rows' paths by their row numbers, "01" for both.
PathList Rows(std::string_view rows) {
  PathList paths;
  for (const char row : rows) paths.push_back(Native(row == '0' ? u"/m/a/a.flac" : u"/m/a/b.mp3"));
  return paths;
}
std::vector<int> Images(std::string_view digits) {
  std::vector<int> images;
  for (const char digit : digits) images.push_back(digit - '0');
  return images;
}

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
    window.rows = {{Native(u"/m/a/a.flac")}, {Native(u"/m/a/b.mp3")}};
  }

  FolderTree& tree() { return model.Tree(); }

  // An expansion as the folder scanning does it.
  std::vector<NodeId> Expand(NodeId node, std::initializer_list<std::u16string_view> paths) {
    const std::vector<NodeId> ids = model.AddExpandedChildren(node, N(paths));
    tree().SetExpanded(node, true);
    return ids;
  }

  std::vector<TreeCheckState> States(std::initializer_list<NodeId> nodes) {
    std::vector<TreeCheckState> states;
    for (const NodeId node : nodes) states.push_back(tree().StateOf(node));
    return states;
  }

  FakeWindow window;
  SelectionModel model;
  NodeId drive, shortcut, m, a, ab, deep;
};

// ---- Clicking folders ------------------------------------------------------

struct ClickStep {
  TreeCheckState state;
  Lists lists;
};

struct ClickCase {
  const char* name;
  bool tickParentFirst;  // click /m/ once before clicking /m/a/
  std::vector<ClickStep> steps;
};

class FolderClicks : public SelectionModelTest, public testing::WithParamInterface<ClickCase> {};

TEST_P(FolderClicks, CycleThroughStatesAndRecordOnlyWhatTheParentDoesNotCover) {
  const auto& c = GetParam();
  if (c.tickParentFirst) {
    ASSERT_TRUE(model.ToggleFolderState(m));
  }
  for (std::size_t i = 0; i < c.steps.size(); ++i) {
    SCOPED_TRACE("click " + std::to_string(i + 1));
    ASSERT_TRUE(model.ToggleFolderState(a));
    EXPECT_EQ(tree().StateOf(a), c.steps[i].state);
    EXPECT_EQ(Snapshot(model.Lists()), c.steps[i].lists);
  }
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, FolderClicks,
                         testing::Values(ClickCase{"FolderOnItsOwn",
                                                   false,
                                                   {{csFolderAndSub, L(u"/m/a/")},
                                                    {csFolderNoSub, L(u"|/m/a/")},
                                                    {csUnchecked, L(u"")},
                                                    {csFolderAndSub, L(u"/m/a/")}}},
                                         // Starts inherited (4), then without sub-folders, excluded, and back: the
                                         // unchecked sub-folder of a chosen folder turns 4 and adds nothing.
                                         ClickCase{"SubFolderOfChosenFolder",
                                                   true,
                                                   {{csFolderNoSub, L(u"/m/|/m/a/")},
                                                    {csUnchecked, L(u"/m/||/m/a/")},
                                                    {csFolderAndSub, L(u"/m/")},
                                                    {csFolderNoSub, L(u"/m/|/m/a/")},
                                                    {csUnchecked, L(u"/m/||/m/a/")}}}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(SelectionModelTest, ClickingAFolderClearsEveryEntryBelowItInAllFiveLists) {
  auto& l = model.Lists();
  l.lstFoldersAndSub = N({u"/x/", u"/m/a/deep/"});
  l.lstFoldersNoSub = N({u"/m/a/deep/more/", u"/m/ab/"});
  l.lstFoldersExclude = N({u"/m/a/deep/skip/"});
  l.lstSingleFiles = N({u"/m/a/a.flac", u"/m/ab/c.flac", u"/m/a/deep/d.ogg"});
  l.lstSingleFilesExclude = N({u"/m/a/b.mp3", u"/x/e.wav"});

  model.ToggleFolderState(a);

  // /m/ab/ shares the name's start but is no part of /m/a/.
  EXPECT_EQ(Snapshot(l), L(u"/x/,/m/a/|/m/ab/||/m/ab/c.flac|/x/e.wav"));
  EXPECT_EQ(States({a, deep, m, drive}),
            (std::vector{csFolderAndSub, csFolderAndSub, csChildSelected, csChildSelected}));
}

struct SpellingCase {
  const char* name;
  std::u16string first;
  std::u16string second;
  bool onePathOnWindows;
};

class FolderSpellings : public testing::TestWithParam<SpellingCase> {};

TEST_P(FolderSpellings, SecondSpellingReplacesTheFirstOnlyWhenThePlatformCallsThemOne) {
  const auto& c = GetParam();
  FakeWindow window;
  SelectionModel model(window);
  const NodeId first = model.Tree().AddNode(kNoNode, Native(c.first));
  const NodeId second = model.Tree().AddNode(kNoNode, Native(c.second));
  model.ToggleFolderState(first);
  model.ToggleFolderState(second);
  const bool onePath = kIsWindows && c.onePathOnWindows;
  EXPECT_EQ(model.Lists().lstFoldersAndSub, onePath ? N({c.second}) : N({c.first, c.second}));
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, FolderSpellings,
                         testing::Values(SpellingCase{"AsciiCase", u"C:/MUSIC/", u"c:/music/", true},
                                         SpellingCase{"ParentAfterChild", u"C:/Music/Rock/", u"C:/music/", true}),
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
    const int shown = static_cast<int>(tree().StateOf(m));
    tree().SetState(m, static_cast<TreeCheckState>(shown % 5 + 1));
    EXPECT_EQ(tree().StateOf(m), clicked.Tree().StateOf(clickedNode));
    EXPECT_EQ(Snapshot(model.Lists()), Snapshot(clicked.Lists()));
  }
}

class NetworkEntries : public SelectionModelTest, public testing::WithParamInterface<std::u16string_view> {};

TEST_P(NetworkEntries, AreRefusedWithAnErrorAndNeverEnterAList) {
  test::ScriptedPrompts prompts;
  model.ToggleFolderState(m);
  const Lists before = Snapshot(model.Lists());
  const NodeId entry = tree().AddNode(kNoNode, std::u16string(GetParam()));

  EXPECT_FALSE(model.ToggleFolderState(entry));
  EXPECT_EQ(tree().StateOf(entry), csUnchecked);
  // From the keyboard the refused entry is stepped back, so the control's own step
  // shows it unchanged.
  EXPECT_FALSE(model.ToggleFolderStateFromKeyboard(entry));
  EXPECT_EQ(tree().StateOf(entry), csFolderNoSub);

  EXPECT_EQ(Snapshot(model.Lists()), before);
  const auto shown = prompts.Shown();
  ASSERT_EQ(shown.size(), 2u);
  for (const auto& prompt : shown) {
    EXPECT_EQ(prompt.text, u"Only folders within a network can be set for inclusion");
    EXPECT_EQ(prompt.caption, u"Tessaroven Batch Converter");
    EXPECT_EQ(prompt.style, kPromptOk | kPromptIconError);
  }
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, NetworkEntries,
                         testing::Values(u"{ Network }", u"{ Network Computer }", u"{ Network Searching }"),
                         [](const auto& p) { return "Entry" + std::to_string(p.index); });

TEST_F(SelectionModelTest, NodesWithoutAPathAreIgnored) {
  test::ScriptedPrompts prompts;
  const NodeId pathless = tree().AddNodeWithPathIndex(drive, 999);
  model.Lists().lstFoldersAndSub = N({u"/m/"});
  EXPECT_FALSE(model.ToggleFolderState(pathless));
  EXPECT_FALSE(model.ToggleFolderState(kNoNode));
  model.InitialNodeState(pathless);
  EXPECT_EQ(tree().StateOf(pathless), csUnchecked);
  EXPECT_EQ(model.Lists().lstFoldersAndSub, N({u"/m/"}));
  EXPECT_TRUE(prompts.Shown().empty());
}

// ---- States of the tree ----------------------------------------------------

TEST_F(SelectionModelTest, LoadedSubFoldersFollowAChosenFolderAndItsExclusions) {
  model.ToggleFolderState(m);
  EXPECT_EQ(States({m, a, ab, deep, drive}),
            (std::vector{csFolderAndSub, csFolderAndSub, csFolderAndSub, csFolderAndSub, csChildSelected}));

  model.ToggleFolderState(a);  // without sub-folders
  model.ToggleFolderState(a);  // excluded
  EXPECT_EQ(States({m, a, ab, deep}), (std::vector{csFolderAndSub, csUnchecked, csFolderAndSub, csUnchecked}));

  // Collapsing and expanding again reads the states back from the lists.
  tree().DiscardChildren(m);
  const auto again = Expand(m, {u"/m/a/", u"/m/ab/", u"/m/new/"});
  EXPECT_EQ(States({again[0], again[1], again[2]}), (std::vector{csUnchecked, csFolderAndSub, csFolderAndSub}));

  // Unticking the chosen folder takes its exclusion along and clears the branch.
  model.ToggleFolderState(m);  // without sub-folders
  model.ToggleFolderState(m);  // unchecked
  EXPECT_EQ(Snapshot(model.Lists()), Lists{});
  EXPECT_EQ(States({m, again[0], again[1], drive}), (std::vector{csUnchecked, csUnchecked, csUnchecked, csUnchecked}));
}

TEST_F(SelectionModelTest, ATopLevelShortcutDoesNotMarkTheDriveBranchLeadingToIt) {
  model.ToggleFolderState(shortcut);
  const NodeId home = Expand(drive, {u"/home/"})[0];
  const NodeId user = Expand(home, {u"/home/u/"})[0];
  EXPECT_EQ(States({home, user}), (std::vector{csUnchecked, csUnchecked}));
  // Reaching the same folder through the drive is another matter.
  const NodeId music = Expand(user, {u"/home/u/Music/"})[0];
  EXPECT_EQ(tree().StateOf(music), csFolderAndSub);
}

TEST_F(SelectionModelTest, ListsReplacedAsAWholeAreShownOnEveryLoadedNode) {
  auto& l = model.Lists();
  l.lstFoldersNoSub = N({u"/m/ab/"});
  l.lstSingleFiles = N({u"/m/a/deep/x.flac"});
  l.lstFoldersAndSub = N({u"/home/u/Music/"});
  model.InitialStatesForLoadedNodes();
  EXPECT_EQ(States({drive, m, a, deep, ab, shortcut}), (std::vector{csChildSelected, csChildSelected, csChildSelected,
                                                                    csHasSingleFiles, csFolderNoSub, csFolderAndSub}));
}

struct InitialCase {
  const char* name;
  Lists lists;
  std::u16string node;
  TreeCheckState before;
  TreeCheckState expected;
};

class InitialStates : public testing::TestWithParam<InitialCase> {};

TEST_P(InitialStates, ComeFromTheListsFirstMatchWinning) {
  const auto& c = GetParam();
  FakeWindow window;
  SelectionModel model(window);
  model.Lists().lstFoldersAndSub = c.lists.andSub;
  model.Lists().lstFoldersNoSub = c.lists.noSub;
  model.Lists().lstFoldersExclude = c.lists.exclude;
  model.Lists().lstSingleFiles = c.lists.single;
  model.Lists().lstSingleFilesExclude = c.lists.singleExclude;
  model.Lists().lstTreeRoots = N({u"/", u"/home/u/Music/"});
  const NodeId node = model.Tree().AddNode(kNoNode, Native(c.node));
  model.Tree().SetState(node, c.before);
  model.InitialNodeState(node);
  EXPECT_EQ(model.Tree().StateOf(node), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    SelectionModel, InitialStates,
    testing::Values(InitialCase{"ChosenWithSubFolders", L(u"/m/|/m/"), u"/m/", csUnchecked, csFolderAndSub},
                    InitialCase{"ChosenWithoutSubFolders", L(u"|/m/||/m/x.mp3"), u"/m/", csUnchecked, csFolderNoSub},
                    InitialCase{"HoldsASingleFile", L(u"|/m/sub/||/m/x.mp3"), u"/m/", csUnchecked, csHasSingleFiles},
                    InitialCase{"ChosenFolderBelow", L(u"/m/a/deep/"), u"/m/", csUnchecked, csChildSelected},
                    InitialCase{"SingleFileDeeperDown", L(u"|||/m/a/x.mp3"), u"/m/", csUnchecked, csChildSelected},
                    InitialCase{"OnlyAnExclusionBelow", L(u"||/m/a/||/m/b.mp3"), u"/m/", csUnchecked, csUnchecked},
                    InitialCase{"ShortcutBelow", L(u"/home/u/Music/"), u"/home/", csUnchecked, csUnchecked},
                    InitialCase{"NothingLeavesTheStateAlone", L(u"/x/"), u"/m/", csFolderAndSub, csFolderAndSub}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(SelectionModel, ListedFolderMatchesItsNodeUnderThePlatformsCaseRule) {
  FakeWindow window;
  SelectionModel model(window);
  model.Lists().lstFoldersAndSub = N({u"C:/MUSIC/"});
  const NodeId node = model.Tree().AddNode(kNoNode, Native(u"c:/music/"));
  model.InitialNodeState(node);
  EXPECT_EQ(model.Tree().StateOf(node), kIsWindows ? csFolderAndSub : csUnchecked);
}

// ---- The file list ---------------------------------------------------------

struct FileStep {
  bool selected;
  const char* single;  // rows, as Rows() reads them
  const char* singleExclude;
  TreeCheckState folder;
};

struct FileCase {
  const char* name;
  bool folderChosen;
  std::vector<FileStep> steps;
};

class FileTicks : public SelectionModelTest, public testing::WithParamInterface<FileCase> {};

TEST_P(FileTicks, RecordOnlyTheExceptionToTheFoldersRule) {
  const auto& c = GetParam();
  if (c.folderChosen) model.ToggleFolderState(a);
  for (std::size_t i = 0; i < c.steps.size(); ++i) {
    SCOPED_TRACE("step " + std::to_string(i + 1));
    const auto& step = c.steps[i];
    model.SetFileSelected(0, step.selected);
    EXPECT_EQ(model.Lists().lstSingleFiles, Rows(step.single));
    EXPECT_EQ(model.Lists().lstSingleFilesExclude, Rows(step.singleExclude));
    EXPECT_EQ(model.IsFileSelected(0), step.selected);
    EXPECT_EQ(tree().StateOf(a), step.folder);
    EXPECT_EQ(window.statusUpdates, static_cast<int>(i + 1));
  }
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, FileTicks,
                         testing::Values(FileCase{"InChosenFolder",
                                                  true,
                                                  {{true, "", "", csFolderAndSub},
                                                   {false, "", "0", csFolderAndSub},
                                                   {false, "", "0", csFolderAndSub},
                                                   {true, "", "", csFolderAndSub}}},
                                         FileCase{"InPlainFolder",
                                                  false,
                                                  {{false, "", "", csUnchecked},
                                                   {true, "0", "", csHasSingleFiles},
                                                   {true, "0", "", csHasSingleFiles},
                                                   {false, "", "", csUnchecked}}}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(SelectionModelTest, ASingleFileMarksItsFolderAndTheLoadedAncestors) {
  model.SetFileSelected(1, true);
  EXPECT_EQ(States({a, m, drive, ab, deep, shortcut}),
            (std::vector{csHasSingleFiles, csChildSelected, csChildSelected, csUnchecked, csUnchecked, csUnchecked}));
  model.SetFileSelected(1, false);
  EXPECT_EQ(States({a, m, drive}), (std::vector{csUnchecked, csUnchecked, csUnchecked}));
}

TEST_F(SelectionModelTest, FolderClicksRedrawTheFileChecks) {
  model.ToggleFolderState(m);  // the listed folder /m/a/ inherits
  EXPECT_EQ(window.Images(), (std::vector{2, 2}));

  window.rows[1].image = kFileImageUnticked;
  model.SetFileSelected(1, false);
  model.ToggleFolderState(ab);  // a sibling: the exclusion stays
  EXPECT_EQ(window.Images(), (std::vector{2, 1}));

  model.ToggleFolderState(a);  // clears the exclusion below it
  EXPECT_EQ(window.Images(), (std::vector{2, 2}));
  model.ToggleFolderState(a);  // excluded from /m/
  EXPECT_EQ(window.Images(), (std::vector{1, 1}));
}

enum class MenuCommand { kCheckAll, kUncheckAll, kInvert };

// Images and lists as digits: "12" is row 0 unticked and row 1 ticked; "01" lists
// both rows' files.
struct MenuCase {
  const char* name;
  bool folderChosen;
  const char* imagesBefore;
  const char* singleBefore;
  const char* singleExcludeBefore;
  MenuCommand command;
  const char* imagesAfter;
  const char* single;
  const char* singleExclude;
};

class ContextMenu : public SelectionModelTest, public testing::WithParamInterface<MenuCase> {};

TEST_P(ContextMenu, SetsEveryRowAndRecordsTheExceptions) {
  const auto& c = GetParam();
  if (c.folderChosen) model.ToggleFolderState(a);
  const std::vector<int> before = Images(c.imagesBefore);
  for (std::size_t row = 0; row < before.size(); ++row) window.rows[row].image = before[row];
  model.Lists().lstSingleFiles = Rows(c.singleBefore);
  model.Lists().lstSingleFilesExclude = Rows(c.singleExcludeBefore);

  switch (c.command) {
    case MenuCommand::kCheckAll:
      model.CheckAll();
      break;
    case MenuCommand::kUncheckAll:
      model.UncheckAll();
      break;
    case MenuCommand::kInvert:
      model.InvertSelection();
      break;
  }

  EXPECT_EQ(window.Images(), Images(c.imagesAfter));
  EXPECT_EQ(model.Lists().lstSingleFiles, Rows(c.single));
  EXPECT_EQ(model.Lists().lstSingleFilesExclude, Rows(c.singleExclude));
  for (std::size_t row = 0; row < window.rows.size(); ++row)
    EXPECT_EQ(model.IsFileSelected(row), window.rows[row].image == kFileImageTicked) << row;
}

INSTANTIATE_TEST_SUITE_P(
    SelectionModel, ContextMenu,
    testing::Values(MenuCase{"CheckAllInPlainFolder", false, "12", "1", "", MenuCommand::kCheckAll, "22", "01", ""},
                    MenuCase{"CheckAllInChosenFolder", true, "21", "", "1", MenuCommand::kCheckAll, "22", "", ""},
                    MenuCase{"UncheckAllInChosenFolder", true, "22", "", "", MenuCommand::kUncheckAll, "11", "", "01"},
                    MenuCase{"UncheckAllInPlainFolder", false, "22", "01", "", MenuCommand::kUncheckAll, "11", "", ""},
                    MenuCase{"InvertInChosenFolder", true, "21", "", "1", MenuCommand::kInvert, "12", "", "0"},
                    MenuCase{"InvertInPlainFolder", false, "12", "1", "", MenuCommand::kInvert, "21", "0", ""}),
    [](const auto& p) { return std::string(p.param.name); });

// ---- Reset -----------------------------------------------------------------

class ResetAnswers : public SelectionModelTest, public testing::WithParamInterface<int> {};

TEST_P(ResetAnswers, ClearEverythingOnlyOnYes) {
  const bool yes = GetParam() == kAnswerYes;
  model.ToggleFolderState(m);
  model.ToggleFolderState(a);
  model.SetFileSelected(0, false);
  const Lists before = Snapshot(model.Lists());
  const std::size_t nodesBefore = tree().NodeCount();

  test::ScriptedPrompts prompts({GetParam()});
  EXPECT_EQ(model.ResetSelections(), yes);

  ASSERT_EQ(prompts.Shown().size(), 1u);
  EXPECT_EQ(prompts.Shown()[0].text, u"Clear All Selections?");
  EXPECT_EQ(prompts.Shown()[0].caption, u"Tessaroven Batch Converter");
  EXPECT_EQ(prompts.Shown()[0].style, kPromptYesNo | kPromptIconQuestion);
  if (yes) {
    EXPECT_EQ(Snapshot(model.Lists()), Lists{});
    EXPECT_EQ(model.Lists().lstTreeRoots, N({u"/", u"/home/u/Music/"}));
    EXPECT_EQ(States({drive, shortcut}), (std::vector{csUnchecked, csUnchecked}));
    // Only the top-level nodes remain, collapsed and ready to load again.
    EXPECT_EQ(tree().NodeCount(), 2u);
    EXPECT_FALSE(tree().IsNode(m));
    EXPECT_FALSE(tree().IsExpanded(drive));
    EXPECT_TRUE(tree().HasChildren(drive));
    EXPECT_EQ(window.refills, 1);
    EXPECT_EQ(window.filterClears, 1);
  } else {
    EXPECT_EQ(Snapshot(model.Lists()), before);
    EXPECT_EQ(tree().NodeCount(), nodesBefore);
    EXPECT_EQ(tree().StateOf(m), csFolderAndSub);
    EXPECT_EQ(window.refills, 0);
    EXPECT_EQ(window.filterClears, 0);
  }
}

INSTANTIATE_TEST_SUITE_P(SelectionModel, ResetAnswers, testing::Values(kAnswerYes, kAnswerNo, kAnswerCancel),
                         [](const auto& p) { return "Answer" + std::to_string(p.param); });

}  // namespace
}  // namespace tessaroven
