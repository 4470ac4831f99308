// What only Linux file systems can hold: links, names that are not UTF-8, and
// characters that Windows forbids.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "base/path.h"
#include "base/text.h"
#include "null_view.h"
#include "selection/folder_scanning.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

class PosixScanTest : public ::testing::Test {
 protected:
  PosixScanTest() : filters_(FilterFieldNames{}) {
    filters_.Types().Records().Add(DecoderTypeRecord{u".mp3", u"MPEG", false});
  }

  std::string Os(std::string_view relative) const { return ToOsString(root_.Path()) + std::string(relative); }

  void File(std::string_view relative) { ASSERT_TRUE(test::WriteBytes(FromOsString(Os(relative)), "x")); }
  void Folder(std::string_view relative) { ASSERT_TRUE(test::MakeFolder(FromOsString(Os(relative)))); }
  void Link(std::string_view target, std::string_view relative) {
    ASSERT_EQ(symlink(std::string(target).c_str(), Os(relative).c_str()), 0);
  }

  // What a walk of `lists` collects, in its own order; `tooLong` gets the paths it names.
  std::vector<std::string> Collect(const SelectionLists& lists, std::vector<std::u16string>* tooLong = nullptr) {
    AudioFileTest audio(filters_.Types());
    CollectContext context{lists, filters_, audio, decoder_, false, u"", cancel_, progress_};
    std::vector<std::string> result;
    for (const std::u16string& path : CollectFiles(context)) result.push_back(ToOsString(path));
    if (tooLong) *tooLong = context.tooLong;
    return result;
  }
  // The files below `folder` ticked with its sub-folders, sorted.
  std::vector<std::string> Collect(std::string_view folder) {
    SelectionLists lists;
    lists.lstFoldersAndSub = {FromOsString(Os(folder))};
    std::vector<std::string> result = Collect(lists);
    std::sort(result.begin(), result.end());
    return result;
  }

  test::TempDir root_;
  FilterState filters_;
  clQzDecoder decoder_;
  XEvent cancel_;
  CollectProgress progress_;
};

TEST_F(PosixScanTest, ALinkLoopEndsAndEachFolderIsWalkedOncePerWalk) {
  Folder("m/");
  Folder("m/a/");
  File("m/a/1.mp3");
  Link("..", "m/a/up");      // back to m/: a loop
  Link("../a", "m/a/self");  // to a/ itself
  Link("a", "m/alias");      // a second way into a/ from m/: its files come once
  const auto files = Collect("m/");
  ASSERT_EQ(files.size(), 1u);
  EXPECT_TRUE(files[0] == Os("m/a/1.mp3") || files[0] == Os("m/alias/1.mp3")) << files[0];
}

// Three ways into every level (the folder and two links to it) made 3^depth paths:
// the walk must cost one visit per real folder.
TEST_F(PosixScanTest, LinksIntoTheTreeDoNotMultiplyThePaths) {
  constexpr int kDepth = 9;
  std::string level = "t/";
  Folder(level);
  for (int i = 0; i < kDepth; ++i) {
    File(level + "f.mp3");
    Folder(level + "n/");
    Link("n", level + "a");
    Link("n", level + "b");
    level += "n/";
  }
  const auto files = Collect("t/");
  EXPECT_EQ(files.size(), static_cast<std::size_t>(kDepth)) << "one file per real folder";
}

TEST_F(PosixScanTest, AFolderExcludedByPathStaysOutWhenReachedThroughALink) {
  Folder("x/");
  Folder("x/live/");
  Folder("x/flat/");
  Folder("x/flat/deep/");
  File("x/live/1.mp3");
  File("x/flat/2.mp3");
  File("x/flat/deep/3.mp3");
  File("x/4.mp3");
  Link("live", "x/concerts");
  Link("flat", "x/alias");
  SelectionLists lists;
  lists.lstFoldersAndSub = {FromOsString(Os("x/"))};
  lists.lstFoldersExclude = {FromOsString(Os("x/live/"))};
  lists.lstFoldersNoSub = {FromOsString(Os("x/flat/"))};
  // The flat folder comes once, on its own, without its sub-folder.
  EXPECT_EQ(Collect(lists), (std::vector<std::string>{Os("x/4.mp3"), Os("x/flat/2.mp3")}));
}

// Only regular files reach the converter: a dangling link or a named pipe with an
// audio name would make it fail or hang. The list and the collector agree.
TEST_F(PosixScanTest, LinksToFilesCountAsTheFilesAndEverythingButRegularFilesIsLeftOut) {
  Folder("l/");
  File("l/real.mp3");
  Link("real.mp3", "l/link.mp3");
  Link("gone.mp3", "l/dangling.mp3");
  ASSERT_EQ(mkfifo(Os("l/pipe.mp3").c_str(), 0600), 0);
  Link("pipe.mp3", "l/to-pipe.mp3");
  Folder("l/.hidden.mp3/");
  const std::vector<std::string> expected = {Os("l/link.mp3"), Os("l/real.mp3")};
  EXPECT_EQ(Collect("l/"), expected);
  AudioFileTest audio(filters_.Types());
  std::vector<std::string> listed;
  for (const FileEntry& entry : ListFolderFiles(FromOsString(Os("l/")), filters_, audio, decoder_))
    listed.push_back(ToOsString(entry.path));
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(listed, expected);
}

// Linux names may differ in case only; their order must not depend on how the
// folder was read.
TEST_F(PosixScanTest, SiblingsDifferingOnlyInCaseExpandInAFixedOrder) {
  Folder("c/");
  for (const char* name : {"c/rock/", "c/Rock/", "c/ROCK/", "c/pop/", "c/rOCK/"}) Folder(name);
  test::NullView view;
  SelectionModel model(view);
  const NodeId node = model.Tree().AddNode(kNoNode, FromOsString(Os("c/")));
  ASSERT_EQ(ExpandFolderNode(model, node), 5u);
  std::vector<std::string> order;
  for (const NodeId child : model.Tree().ChildrenOf(node)) order.push_back(ToOsString(model.Tree().PathOf(child)));
  EXPECT_EQ(order,
            (std::vector<std::string>{Os("c/pop/"), Os("c/ROCK/"), Os("c/Rock/"), Os("c/rOCK/"), Os("c/rock/")}));
}

// Deeper than PATH_MAX (4096 bytes): such folders and files cannot be opened by
// any program, so the walk names them instead of dropping them without a word.
TEST_F(PosixScanTest, PathsTooLongForTheSystemAreReported) {
  Folder("deep/");
  File("deep/short.mp3");
  const std::string part(200, 'd');
  std::string relative = "deep/";
  int fd = open(Os(relative).c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(fd, 0);
  for (int i = 0; i < 22; ++i) {  // 22 x 201 bytes: past 4096
    ASSERT_EQ(mkdirat(fd, part.c_str(), 0700), 0);
    const int next = openat(fd, part.c_str(), O_RDONLY | O_DIRECTORY);
    close(fd);
    ASSERT_GE(next, 0);
    fd = next;
    relative += part + "/";
  }
  const int file = openat(fd, "lost.mp3", O_WRONLY | O_CREAT, 0600);
  ASSERT_GE(file, 0);
  close(file);
  close(fd);

  SelectionLists lists;
  lists.lstFoldersAndSub = {FromOsString(Os("deep/"))};
  std::vector<std::u16string> tooLong;
  EXPECT_EQ(Collect(lists, &tooLong), std::vector<std::string>{Os("deep/short.mp3")});
  ASSERT_EQ(tooLong.size(), 1u);
  EXPECT_TRUE(PathTooLongForSystem(tooLong[0]));
  EXPECT_FALSE(PathTooLongForSystem(FolderOf(tooLong[0].substr(0, tooLong[0].size() - 1))));
  EXPECT_TRUE(Os(relative).starts_with(ToOsString(tooLong[0])));
}

TEST_F(PosixScanTest, NamesKeepTheirExactBytes) {
  Folder("n/");
  const std::vector<std::string> names = {"n/caf\xE9.mp3",                         // Latin-1, not UTF-8
                                          "n/line\nbreak.mp3",                     // a newline
                                          "n/back\\slash \"q\".mp3",               // backslash and quotes
                                          "n/" + std::string(251, 'x') + ".mp3"};  // 255 bytes
  for (const std::string& name : names) File(name);
  std::vector<std::string> expected;
  for (const std::string& name : names) expected.push_back(Os(name));
  std::sort(expected.begin(), expected.end());
  const auto files = Collect("n/");
  EXPECT_EQ(files, expected);
  for (const std::string& file : files) EXPECT_EQ(access(file.c_str(), F_OK), 0) << file;
}

TEST_F(PosixScanTest, AFolderThatCannotBeReadYieldsNothingAndTheWalkGoesOn) {
  Folder("w/");
  Folder("w/locked/");
  File("w/locked/hidden.mp3");
  File("w/open.mp3");
  Link("/nonexistent-folder-for-tessaroven", "w/broken");
  const bool root = geteuid() == 0;  // root reads every folder, whatever its mode
  ASSERT_EQ(chmod(Os("w/locked").c_str(), 0), 0);
  const auto files = Collect("w/");
  chmod(Os("w/locked").c_str(), 0700);
  if (root) {
    EXPECT_EQ(files, (std::vector<std::string>{Os("w/locked/hidden.mp3"), Os("w/open.mp3")}));
  } else {
    EXPECT_EQ(files, std::vector<std::string>{Os("w/open.mp3")});
  }
}

TEST_F(PosixScanTest, EnumerationReportsFolderLinksAsFoldersAndDotNamesAsHidden) {
  Folder("e/");
  Folder("e/.cfg/");
  Folder("e/real/");
  Link("real", "e/link");
  File("e/.h.mp3");
  FolderEnumeration entries(FromOsString(Os("e/")));
  ASSERT_TRUE(entries.IsOpen());
  EXPECT_TRUE(entries.Identity().Known());
  std::vector<std::string> seen;
  while (entries.Next()) {
    seen.push_back(ToOsString(entries.Name()) + (entries.IsFolder() ? "/" : "") +
                   (entries.IsHidden() ? " hidden" : ""));
  }
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(seen, (std::vector<std::string>{".cfg/ hidden", ".h.mp3 hidden", "link/", "real/"}));
}

}  // namespace
}  // namespace tessaroven
