#include "selection/folder_scanning.h"

#include <gtest/gtest.h>

#include "base/platform.h"
#include "scan_test_support.h"

namespace tessaroven {
namespace {

using test::Paths;
using test::ScanTest;

// A progress window the user cancels the moment it shows.
class CancellingUi : public CollectUi {
 public:
  void SetBusy(bool) override {}
  void ShowProgress(const CollectProgress&, XEvent& cancel, const XEvent&) override { cancel.Set(); }
};

TEST(AudioFileTest, AcceptsTheExtensionsOfTypesNotExcluded) {
  FilterState filters(FilterFieldNames{});
  filters.Types().Records().Add(DecoderTypeRecord{u".mp3", u"MPEG", false});
  filters.Types().Records().Add(DecoderTypeRecord{u".wma", u"WMA", true});
  AudioFileTest test(filters.Types());
  const std::pair<const char16_t*, bool> names[] = {{u"a.mp3", true},  {u"A.MP3", true}, {u"b.wma", false},
                                                    {u"c.txt", false}, {u"mp3", false},  {u"d.mp3.txt", false},
                                                    {u".mp3", true}};
  // Asked twice: the second answer comes from the cache of the last match.
  for (const auto& [name, audio] : names) {
    EXPECT_EQ(test.IsAudioFile(name), audio) << Utf16ToUtf8(name);
    EXPECT_EQ(test.IsAudioFile(name), audio) << Utf16ToUtf8(name);
  }
  // Clearing the cache takes a changed exclusion into account.
  filters.Types().ApplyExcludedExtensionsText(u".mp3;");
  test.ClearCache();
  EXPECT_FALSE(test.IsAudioFile(u"a.mp3"));
}

TEST_F(ScanTest, ExpandingListsVisibleSubFoldersSortedWithTheFoldAndChosenAsTheParentSays) {
  Make({u"m/b/", u"m/A/", u"m/c/", u"m/.hidden/", u"m/$RECYCLE.BIN/", u"m/@eaDir/", u"m/#Recycle/", u"m/file.mp3"});
  const NodeId node = model_.Tree().AddNode(kNoNode, At(u"m/"));
  model_.Lists().lstFoldersAndSub.push_back(At(u"m/"));
  model_.Lists().lstFoldersExclude.push_back(At(u"m/b/"));
  model_.InitialNodeState(node);
  EXPECT_EQ(ExpandFolderNode(model_, node), 3u);
  EXPECT_EQ(Children(node), At({u"m/A/", u"m/b/", u"m/c/"}));
  const auto& children = model_.Tree().ChildrenOf(node);
  EXPECT_EQ(model_.Tree().StateOf(children[0]), TreeCheckState::csFolderAndSub);
  EXPECT_EQ(model_.Tree().StateOf(children[1]), TreeCheckState::csUnchecked);
  EXPECT_EQ(ExpandFolderNode(model_, node), 0u) << "a node with children is not loaded again";
  EXPECT_EQ(children.size(), 3u);
}

TEST_F(ScanTest, AFolderWithNothingToShowLosesItsExpandButtonButTheNetworkEntryKeepsIt) {
  Make({u"only-hidden/.git/", u"only-bin/$RECYCLE.BIN/", u"only-files/a.mp3", u"empty/"});
  for (const char16_t* folder : {u"only-hidden/", u"only-bin/", u"only-files/", u"empty/", u"missing/"}) {
    const NodeId node = model_.Tree().AddNode(kNoNode, At(folder));
    EXPECT_EQ(ExpandFolderNode(model_, node), 0u);
    EXPECT_FALSE(model_.Tree().HasChildren(node)) << Utf16ToUtf8(folder);
  }
  // The network search fills its entry, not the disk.
  const NodeId network = model_.Tree().AddNode(kNoNode, std::u16string(kNetworkEntry));
  EXPECT_EQ(ExpandFolderNode(model_, network), 0u);
  EXPECT_TRUE(model_.Tree().HasChildren(network));
}

TEST_F(ScanTest, ListingShowsAudioFilesWithTheirSizesAndTheDateFilterDecides) {
  Make({u"f/a.mp3", u"f/B.FLAC", u"f/notes.txt", u"f/folder.mp3/", u"f/.hidden.ogg"});
  AudioFileTest audio(filters_.Types());
  for (const FileEntry& entry : ListFolderFiles(At(u"f/"), filters_, audio, decoder_)) {
    EXPECT_EQ(entry.size, 16u);
    EXPECT_GT(entry.modified, kUnixEpochAsFileTime);
    EXPECT_LE(entry.created, entry.modified + kFileTimeTicksPerSecond);
  }
  EXPECT_EQ(Listed(u"f/"), At({u"f/.hidden.ogg", u"f/B.FLAC", u"f/a.mp3"}));
  EXPECT_TRUE(Listed(u"nowhere/").empty());

  SelectionLists lists;
  lists.lstFoldersAndSub.push_back(At(u"f/"));
  filters_.Date().Set(1, 30);  // last written more than 30 days ago
  EXPECT_TRUE(Listed(u"f/").empty());
  EXPECT_TRUE(Collect(lists).empty());
  filters_.Date().Set(0, 30);  // written within the last 30 days
  EXPECT_EQ(Listed(u"f/").size(), 3u);
  EXPECT_EQ(Collect(lists).size(), 3u);
}

// Each folder gives at most one file, so the order does not depend on the file
// system. A folder that cannot be read (here: gone) yields nothing and the walk goes
// on. Below a recursive a/: a/b/ is flat (its own file comes once, with the flat
// folders, and a/b/c/ is not entered), a/x/ is excluded, a/1.mp3 is unticked and
// hidden folders are not entered.
TEST_F(ScanTest, CollectsRecursiveFoldersThenFlatFoldersThenSingleFiles) {
  Make({u"r/deep/deeper/1.mp3", u"flat/2.flac", u"flat/sub/3.mp3", u"single/4.unknown", u"single/5.mp3", u"a/1.mp3",
        u"a/b/2.mp3", u"a/b/c/3.mp3", u"a/x/4.mp3", u"a/.hid/6.mp3"});
  SelectionLists lists;
  lists.lstSingleFiles = At({u"single/5.mp3", u"single/4.unknown", u"not/on/disk.mp3"});
  lists.lstFoldersNoSub = At({u"flat/", u"a/b/"});
  lists.lstFoldersAndSub = At({u"gone/", u"r/", u"a/"});
  lists.lstFoldersExclude = {At(u"a/x/")};
  lists.lstSingleFilesExclude = {At(u"a/1.mp3")};
  EXPECT_EQ(Collect(lists), At({u"r/deep/deeper/1.mp3", u"flat/2.flac", u"a/b/2.mp3", u"single/5.mp3",
                                u"single/4.unknown", u"not/on/disk.mp3"}));
}

TEST_F(ScanTest, TheProgressTextMovesEveryFiftyFiles) {
  Make({u"p/"});
  for (int i = 0; i < 149; ++i) Make({u"p/" + Utf8ToUtf16(std::to_string(i)) + u".mp3"});
  SelectionLists lists;
  lists.lstFoldersNoSub = {At(u"p/")};
  progress_.SetText(u"start");
  EXPECT_EQ(Collect(lists, u"Disc 1: ").size(), 149u);
  EXPECT_EQ(progress_.Text(), u"Disc 1: 100 Files Added");

  lists.lstFoldersNoSub.clear();
  for (int i = 0; i < 50; ++i) lists.lstSingleFiles.push_back(At(u"p/x.mp3"));
  lists.lstSingleFiles.pop_back();
  progress_.SetText(u"start");
  EXPECT_EQ(Collect(lists, u"Disc 2: ").size(), 49u);
  EXPECT_EQ(progress_.Text(), u"start");
  lists.lstSingleFiles.push_back(At(u"p/x.mp3"));
  Collect(lists, u"Disc 2: ");
  EXPECT_EQ(progress_.Text(), u"Disc 2: 50 added");

  cancel_.Set();  // a cancelled collection stops at once
  lists.lstFoldersAndSub = {At(u"p/")};
  EXPECT_TRUE(Collect(lists).empty());
}

// The user cancels a walk that hangs in the system (a network mount whose server is
// gone): the caller must come back after the stop time-out instead of freezing,
// and the worker left behind must only touch what it owns when it wakes up.
TEST_F(ScanTest, AWalkThatDoesNotStopIsLeftBehindAfterTheStopTimeOut) {
  CancellingUi ui;
  struct Stuck {
    XEvent release, done;
    std::vector<int> written;
  };
  auto stuck = std::make_shared<Stuck>();
  auto run = std::make_shared<CollectRun>();
  const auto hang = [stuck] {
    stuck->release.Wait(std::chrono::milliseconds(-1));  // the hung system call
    stuck->written.push_back(1);
    stuck->done.Set();
  };
  const auto started = std::chrono::steady_clock::now();
  EXPECT_FALSE(RunCollectWorker(run, hang, ui, std::chrono::milliseconds(0), std::chrono::milliseconds(100)));
  EXPECT_TRUE(run->cancel.IsSet());
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));
  run.reset();  // the caller's share of the run is gone; the worker keeps its own
  stuck->release.Set();
  ASSERT_TRUE(stuck->done.Wait(std::chrono::seconds(30)));
  EXPECT_EQ(stuck->written, std::vector<int>{1});

  // A walk that stops when cancelled is waited for, so its last write is seen.
  run = std::make_shared<CollectRun>();
  bool stopped = false;
  const auto stops = [run, &stopped] {
    run->cancel.Wait(std::chrono::milliseconds(-1));
    stopped = true;
  };
  EXPECT_TRUE(RunCollectWorker(run, stops, ui, std::chrono::milliseconds(0), std::chrono::seconds(60)));
  EXPECT_TRUE(stopped);
}

}  // namespace
}  // namespace tessaroven
