// What only Linux file systems can hold: links, pipes and names differing in case
// only. (Paths longer than the system opens are named by the CLI's run tests.)
#include <sys/stat.h>
#include <unistd.h>

#include "scan_test_support.h"

namespace tessaroven {
namespace {

using test::Paths;

class PosixScanTest : public test::ScanTest {
 protected:
  void Link(std::string_view target, std::u16string_view relative) {
    ASSERT_EQ(symlink(std::string(target).c_str(), ToOsString(At(relative)).c_str()), 0);
  }
};

// Three ways into every level (the folder and two links to it) made 3^depth paths,
// and a link back up made a loop: the walk must cost one visit per real folder. Only
// regular files reach the converter: a dangling link or a named pipe with an audio
// name would make it fail or hang. The list and the collector agree.
TEST_F(PosixScanTest, LinksDoNotMultiplyThePathsAndOnlyRegularFilesCount) {
  Make({u"t/real.mp3", u"t/.hidden.mp3/"});
  Link("real.mp3", u"t/link.mp3");
  Link("gone.mp3", u"t/dangling.mp3");
  ASSERT_EQ(mkfifo(ToOsString(At(u"t/pipe.mp3")).c_str(), 0600), 0);
  Link("pipe.mp3", u"t/to-pipe.mp3");
  const Paths files = At({u"t/link.mp3", u"t/real.mp3"});
  EXPECT_EQ(Listed(u"t/"), files);
  std::u16string level = u"t/";
  for (int i = 0; i < 9; ++i) {
    Make({level + u"n/f.mp3"});
    Link("n", level + u"a");
    Link("n", level + u"b");
    level += u"n/";
  }
  Link("../..", level + u"up");
  SelectionLists lists;
  lists.lstFoldersAndSub = {At(u"t/")};
  const Paths collected = Collect(lists);
  EXPECT_EQ(collected.size(), 11u) << "the file, its link and one file per real folder";
  for (const auto& file : files) EXPECT_EQ(std::count(collected.begin(), collected.end(), file), 1);
}

TEST_F(PosixScanTest, AFolderExcludedByPathStaysOutWhenReachedThroughALink) {
  Make({u"x/live/1.mp3", u"x/flat/2.mp3", u"x/flat/deep/3.mp3", u"x/4.mp3"});
  Link("live", u"x/concerts");
  Link("flat", u"x/alias");
  SelectionLists lists;
  lists.lstFoldersAndSub = {At(u"x/")};
  lists.lstFoldersExclude = {At(u"x/live/")};
  lists.lstFoldersNoSub = {At(u"x/flat/")};
  // The flat folder comes once, on its own, without its sub-folder.
  EXPECT_EQ(Collect(lists), At({u"x/4.mp3", u"x/flat/2.mp3"}));
}

// Linux names may differ in case only; their order must not depend on how the
// folder was read.
TEST_F(PosixScanTest, SiblingsDifferingOnlyInCaseExpandInAFixedOrder) {
  Make({u"c/rock/", u"c/Rock/", u"c/ROCK/", u"c/pop/", u"c/rOCK/"});
  const NodeId node = model_.Tree().AddNode(kNoNode, At(u"c/"));
  ASSERT_EQ(ExpandFolderNode(model_, node), 5u);
  EXPECT_EQ(Children(node), At({u"c/pop/", u"c/ROCK/", u"c/Rock/", u"c/rOCK/", u"c/rock/"}));
}

}  // namespace
}  // namespace tessaroven
