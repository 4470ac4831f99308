// What only Linux file systems can hold: links, names that are not UTF-8, and
// characters that Windows forbids.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "base/text.h"
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

  std::vector<std::string> Collect(std::string_view folder) {
    SelectionLists lists;
    lists.lstFoldersAndSub = {FromOsString(Os(folder))};
    AudioFileTest audio(filters_.Types());
    CollectContext context{lists, filters_, audio, decoder_, false, u"", cancel_, progress_};
    std::vector<std::string> result;
    for (const std::u16string& path : CollectFiles(context)) result.push_back(ToOsString(path));
    std::sort(result.begin(), result.end());
    return result;
  }

  test::TempDir root_;
  FilterState filters_;
  clQzDecoder decoder_;
  XEvent cancel_;
  CollectProgress progress_;
};

TEST_F(PosixScanTest, ALinkLoopEndsAndEachFolderIsWalkedOncePerDescent) {
  Folder("m/");
  Folder("m/a/");
  File("m/a/1.mp3");
  Link("..", "m/a/up");      // back to m/: a loop
  Link("../a", "m/a/self");  // to a/ itself
  Link("a", "m/alias");      // a second way into a/ from m/: walked again, as a user expects
  EXPECT_EQ(Collect("m/"), (std::vector<std::string>{Os("m/a/1.mp3"), Os("m/alias/1.mp3")}));
}

TEST_F(PosixScanTest, LinksToFilesCountAsTheFilesAndDanglingLinksAsNothing) {
  Folder("l/");
  File("l/real.mp3");
  Link("real.mp3", "l/link.mp3");
  Link("gone.mp3", "l/dangling.mp3");
  const auto files = Collect("l/");
  // A dangling link is still an entry with an audio name; what matters is that the
  // walk neither stops nor mistakes it for a folder.
  EXPECT_TRUE(std::find(files.begin(), files.end(), Os("l/real.mp3")) != files.end());
  EXPECT_TRUE(std::find(files.begin(), files.end(), Os("l/link.mp3")) != files.end());
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
