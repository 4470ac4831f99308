// What only Linux file systems can hold: links, pipes and names differing in case
// only. (Paths longer than the system opens are named by the CLI's run tests.)
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "base/text.h"
#include "null_view.h"
#include "selection/folder_scanning.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using Strings = std::vector<std::string>;

class PosixScanTest : public ::testing::Test {
 protected:
  PosixScanTest() : filters_(FilterFieldNames{}) {
    filters_.Types().Records().Add(DecoderTypeRecord{u".mp3", u"MPEG", false});
  }

  std::string Os(std::string_view relative) const { return ToOsString(root_.Path()) + std::string(relative); }
  std::u16string At(std::string_view relative) const { return FromOsString(Os(relative)); }

  // Names ending in "/" are folders, the others files.
  void Make(std::initializer_list<std::string> paths) {
    for (const std::string& path : paths) {
      if (path.ends_with("/")) {
        ASSERT_TRUE(test::MakeFolder(At(path)));
      } else {
        ASSERT_TRUE(test::WriteBytes(At(path), "x"));
      }
    }
  }
  void Link(std::string_view target, std::string_view relative) {
    ASSERT_EQ(symlink(std::string(target).c_str(), Os(relative).c_str()), 0);
  }

  // What a walk of `lists` collects, in its own order.
  Strings Collect(const SelectionLists& lists) {
    AudioFileTest audio(filters_.Types());
    CollectContext context{lists, filters_, audio, decoder_, false, u"", cancel_, progress_};
    Strings result;
    for (const std::u16string& path : CollectFiles(context)) result.push_back(ToOsString(path));
    return result;
  }
  // The files below `folder` ticked with its sub-folders, sorted.
  Strings Collect(std::string_view folder) {
    SelectionLists lists;
    lists.lstFoldersAndSub = {At(folder)};
    Strings result = Collect(lists);
    std::sort(result.begin(), result.end());
    return result;
  }

  test::TempDir root_;
  FilterState filters_;
  clQzDecoder decoder_;
  XEvent cancel_;
  CollectProgress progress_;
};

// Three ways into every level (the folder and two links to it) made 3^depth paths,
// and a link back up made a loop: the walk must cost one visit per real folder.
TEST_F(PosixScanTest, LinksIntoTheTreeAndLoopsDoNotMultiplyThePaths) {
  constexpr int kDepth = 9;
  std::string level = "t/";
  Make({level});
  for (int i = 0; i < kDepth; ++i) {
    Make({level + "f.mp3", level + "n/"});
    Link("n", level + "a");
    Link("n", level + "b");
    level += "n/";
  }
  Link("../..", level + "up");
  EXPECT_EQ(Collect("t/").size(), static_cast<std::size_t>(kDepth)) << "one file per real folder";
}

TEST_F(PosixScanTest, AFolderExcludedByPathStaysOutWhenReachedThroughALink) {
  Make({"x/", "x/live/", "x/flat/", "x/flat/deep/", "x/live/1.mp3", "x/flat/2.mp3", "x/flat/deep/3.mp3", "x/4.mp3"});
  Link("live", "x/concerts");
  Link("flat", "x/alias");
  SelectionLists lists;
  lists.lstFoldersAndSub = {At("x/")};
  lists.lstFoldersExclude = {At("x/live/")};
  lists.lstFoldersNoSub = {At("x/flat/")};
  // The flat folder comes once, on its own, without its sub-folder.
  EXPECT_EQ(Collect(lists), (Strings{Os("x/4.mp3"), Os("x/flat/2.mp3")}));
}

// Only regular files reach the converter: a dangling link or a named pipe with an
// audio name would make it fail or hang. The list and the collector agree.
TEST_F(PosixScanTest, LinksToFilesCountAsTheFilesAndEverythingButRegularFilesIsLeftOut) {
  Make({"l/", "l/real.mp3", "l/.hidden.mp3/"});
  Link("real.mp3", "l/link.mp3");
  Link("gone.mp3", "l/dangling.mp3");
  ASSERT_EQ(mkfifo(Os("l/pipe.mp3").c_str(), 0600), 0);
  Link("pipe.mp3", "l/to-pipe.mp3");
  const Strings expected = {Os("l/link.mp3"), Os("l/real.mp3")};
  EXPECT_EQ(Collect("l/"), expected);
  AudioFileTest audio(filters_.Types());
  Strings listed;
  for (const FileEntry& entry : ListFolderFiles(At("l/"), filters_, audio, decoder_))
    listed.push_back(ToOsString(entry.path));
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(listed, expected);
}

// Linux names may differ in case only; their order must not depend on how the
// folder was read.
TEST_F(PosixScanTest, SiblingsDifferingOnlyInCaseExpandInAFixedOrder) {
  Make({"c/", "c/rock/", "c/Rock/", "c/ROCK/", "c/pop/", "c/rOCK/"});
  test::NullView view;
  SelectionModel model(view);
  const NodeId node = model.Tree().AddNode(kNoNode, At("c/"));
  ASSERT_EQ(ExpandFolderNode(model, node), 5u);
  Strings order;
  for (const NodeId child : model.Tree().ChildrenOf(node)) order.push_back(ToOsString(model.Tree().PathOf(child)));
  EXPECT_EQ(order, (Strings{Os("c/pop/"), Os("c/ROCK/"), Os("c/Rock/"), Os("c/rOCK/"), Os("c/rock/")}));
}

}  // namespace
}  // namespace tessaroven
