#include "selection/folder_scanning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "base/platform.h"
#include "null_view.h"
#include "support/native_path.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::Native;

// A folder tree on disk below a fresh temporary folder; every path in a table is
// relative to it and written with "/".
class ScanTest : public ::testing::Test {
 protected:
  ScanTest() : filters_(FilterFieldNames{}) {
    for (const char16_t* extension : {u".mp3", u".flac", u".ogg", u".wav"}) {
      filters_.Types().Records().Add(DecoderTypeRecord{extension, u"audio", false});
    }
  }

  std::u16string At(std::u16string_view relative) const { return root_.Path() + Native(relative); }

  // Paths ending in "/" are folders, the others files (their folders made first).
  void Make(std::initializer_list<std::u16string_view> paths) {
    for (std::u16string_view path : paths) {
      for (std::size_t slash = path.find(u'/'); slash != std::u16string_view::npos; slash = path.find(u'/', slash + 1))
        test::MakeFolder(At(path.substr(0, slash + 1)));
      std::u16string full = At(path);
      if (full.back() != kPathSeparator) {
        ASSERT_TRUE(test::WriteBytes(full, "not really audio")) << Utf16ToUtf8(full);
      }
    }
  }

  std::vector<std::u16string> Collect(const SelectionLists& lists, std::u16string_view prefix = u"") {
    AudioFileTest audio(filters_.Types());
    CollectContext context{lists, filters_, audio, decoder_, false, std::u16string(prefix), cancel_, progress_};
    return CollectFiles(context);
  }

  test::TempDir root_;
  FilterState filters_;
  clQzDecoder decoder_;
  XEvent cancel_;
  CollectProgress progress_;
  test::NullView view_;
  SelectionModel model_{view_};
};

// A progress window the user cancels the moment it shows.
class CancellingUi : public CollectUi {
 public:
  void SetBusy(bool) override {}
  void ShowProgress(const CollectProgress&, XEvent& cancel, const XEvent&) override { cancel.Set(); }
};

struct AudioCase {
  const char* name;
  const char16_t* file;
  bool audio;
};

class AudioFileTestTable : public ::testing::TestWithParam<AudioCase> {};

TEST_P(AudioFileTestTable, AcceptsTheExtensionsOfTypesNotExcluded) {
  FilterState filters(FilterFieldNames{});
  filters.Types().Records().Add(DecoderTypeRecord{u".mp3", u"MPEG", false});
  filters.Types().Records().Add(DecoderTypeRecord{u".wma", u"WMA", true});
  AudioFileTest test(filters.Types());
  // Asked twice: the second answer comes from the cache of the last match.
  EXPECT_EQ(test.IsAudioFile(GetParam().file), GetParam().audio);
  EXPECT_EQ(test.IsAudioFile(GetParam().file), GetParam().audio);
}

INSTANTIATE_TEST_SUITE_P(Names, AudioFileTestTable,
                         ::testing::Values(AudioCase{"Plain", u"a.mp3", true}, AudioCase{"Upper", u"A.MP3", true},
                                           AudioCase{"Excluded", u"b.wma", false},
                                           AudioCase{"Unknown", u"c.txt", false},
                                           AudioCase{"NoExtension", u"mp3", false},
                                           AudioCase{"OnlyTheLastCounts", u"d.mp3.txt", false},
                                           AudioCase{"DotName", u".mp3", true}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(AudioFileTestCache, ClearingTheCacheTakesAChangedExclusionIntoAccount) {
  FilterState filters(FilterFieldNames{});
  filters.Types().Records().Add(DecoderTypeRecord{u".flac", u"FLAC", false});
  AudioFileTest test(filters.Types());
  ASSERT_TRUE(test.IsAudioFile(u"x.flac"));
  filters.Types().ApplyExcludedExtensionsText(u".flac;");
  test.ClearCache();
  EXPECT_FALSE(test.IsAudioFile(u"x.flac"));
}

TEST_F(ScanTest, ExpandingListsVisibleSubFoldersSortedWithTheFold) {
  Make({u"m/b/", u"m/A/", u"m/c/", u"m/.hidden/", u"m/$RECYCLE.BIN/", u"m/@eaDir/", u"m/#Recycle/", u"m/file.mp3"});
  const NodeId node = model_.Tree().AddNode(kNoNode, At(u"m/"));
  EXPECT_EQ(ExpandFolderNode(model_, node), 3u);
  std::vector<std::u16string> children;
  for (NodeId child : model_.Tree().ChildrenOf(node)) children.push_back(model_.Tree().PathOf(child));
  EXPECT_EQ(children, (std::vector<std::u16string>{At(u"m/A/"), At(u"m/b/"), At(u"m/c/")}));
  EXPECT_EQ(ExpandFolderNode(model_, node), 0u) << "a node with children is not loaded again";
  EXPECT_EQ(model_.Tree().ChildrenOf(node).size(), 3u);
}

TEST_F(ScanTest, AFolderWithNothingToShowLosesItsExpandButton) {
  Make({u"only-hidden/.git/", u"only-bin/$RECYCLE.BIN/", u"only-files/a.mp3", u"empty/"});
  for (const char16_t* folder : {u"only-hidden/", u"only-bin/", u"only-files/", u"empty/", u"missing/"}) {
    const NodeId node = model_.Tree().AddNode(kNoNode, At(folder));
    EXPECT_EQ(ExpandFolderNode(model_, node), 0u);
    EXPECT_FALSE(model_.Tree().HasChildren(node)) << Utf16ToUtf8(folder);
  }
}

TEST_F(ScanTest, ChildrenOfAFolderChosenWithSubFoldersShowAsChosenUnlessExcluded) {
  Make({u"m/in/", u"m/out/"});
  const NodeId node = model_.Tree().AddNode(kNoNode, At(u"m/"));
  model_.Lists().lstFoldersAndSub.push_back(At(u"m/"));
  model_.Lists().lstFoldersExclude.push_back(At(u"m/out/"));
  model_.InitialNodeState(node);
  ASSERT_EQ(model_.Tree().StateOf(node), TreeCheckState::csFolderAndSub);
  ExpandFolderNode(model_, node);
  const auto& children = model_.Tree().ChildrenOf(node);
  ASSERT_EQ(children.size(), 2u);
  EXPECT_EQ(model_.Tree().StateOf(children[0]), TreeCheckState::csFolderAndSub);
  EXPECT_EQ(model_.Tree().StateOf(children[1]), TreeCheckState::csUnchecked);
}

TEST_F(ScanTest, TheNetworkEntryIsNotReadFromDisk) {
  const NodeId node = model_.Tree().AddNode(kNoNode, std::u16string(kNetworkEntry));
  EXPECT_EQ(ExpandFolderNode(model_, node), 0u);
  EXPECT_TRUE(model_.Tree().HasChildren(node)) << "the network search fills it, not the disk";
}

TEST_F(ScanTest, ListingShowsAudioFilesWithTheirSizes) {
  Make({u"f/a.mp3", u"f/B.FLAC", u"f/notes.txt", u"f/folder.mp3/", u"f/.hidden.ogg"});
  AudioFileTest audio(filters_.Types());
  std::vector<FileEntry> entries = ListFolderFiles(At(u"f/"), filters_, audio, decoder_);
  std::sort(entries.begin(), entries.end(), [](const FileEntry& a, const FileEntry& b) { return a.path < b.path; });
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].path, At(u"f/.hidden.ogg"));
  EXPECT_EQ(entries[1].path, At(u"f/B.FLAC"));
  EXPECT_EQ(entries[2].path, At(u"f/a.mp3"));
  for (const FileEntry& entry : entries) {
    EXPECT_EQ(entry.size, 16u);
    EXPECT_GT(entry.modified, kUnixEpochAsFileTime);
    EXPECT_LE(entry.created, entry.modified + kFileTimeTicksPerSecond);
  }
  EXPECT_TRUE(ListFolderFiles(At(u"nowhere/"), filters_, audio, decoder_).empty());
}

TEST_F(ScanTest, TheDateFilterDecidesWhichFilesAreListedAndCollected) {
  Make({u"d/new.mp3"});
  AudioFileTest audio(filters_.Types());
  filters_.Date().Set(1, 30);  // last written more than 30 days ago
  EXPECT_TRUE(ListFolderFiles(At(u"d/"), filters_, audio, decoder_).empty());
  SelectionLists lists;
  lists.lstFoldersAndSub.push_back(At(u"d/"));
  EXPECT_TRUE(Collect(lists).empty());
  filters_.Date().Set(0, 30);  // written within the last 30 days
  EXPECT_EQ(ListFolderFiles(At(u"d/"), filters_, audio, decoder_).size(), 1u);
  EXPECT_EQ(Collect(lists), std::vector<std::u16string>{At(u"d/new.mp3")});
}

// Each folder holds one entry, so the order does not depend on the file system.
TEST_F(ScanTest, CollectsRecursiveFoldersThenFlatFoldersThenSingleFiles) {
  Make({u"r/deep/deeper/1.mp3", u"flat/2.flac", u"flat/sub/3.mp3", u"single/4.unknown", u"single/5.mp3"});
  SelectionLists lists;
  lists.lstSingleFiles = {At(u"single/5.mp3"), At(u"single/4.unknown"), At(u"not/on/disk.mp3")};
  lists.lstFoldersNoSub = {At(u"flat/")};
  lists.lstFoldersAndSub = {At(u"r/")};
  EXPECT_EQ(Collect(lists),
            (std::vector<std::u16string>{At(u"r/deep/deeper/1.mp3"), At(u"flat/2.flac"), At(u"single/5.mp3"),
                                         At(u"single/4.unknown"), At(u"not/on/disk.mp3")}));
}

TEST_F(ScanTest, AFlatFolderInsideARecursiveOneGivesItsOwnFilesOnce) {
  Make({u"a/1.mp3", u"a/b/2.mp3", u"a/b/c/3.mp3", u"a/x/4.mp3", u"a/x/5.mp3", u"a/.hid/6.mp3"});
  SelectionLists lists;
  lists.lstFoldersAndSub = {At(u"a/")};
  lists.lstFoldersNoSub = {At(u"a/b/")};
  lists.lstFoldersExclude = {At(u"a/x/")};
  lists.lstSingleFilesExclude = {At(u"a/1.mp3")};
  EXPECT_EQ(Collect(lists), std::vector<std::u16string>{At(u"a/b/2.mp3")})
      << "a/b/c is below a flat folder, a/x is excluded, a/1.mp3 is unticked and hidden folders are not entered";
}

struct ProgressCase {
  int files;
  bool single;
  const char16_t* expected;  // after the collection
};

class CollectProgressTable : public ScanTest, public ::testing::WithParamInterface<ProgressCase> {};

TEST_P(CollectProgressTable, TheTextMovesEveryFiftyFiles) {
  SelectionLists lists;
  Make({u"p/"});
  for (int i = 0; i < GetParam().files; ++i) {
    const std::u16string name = u"p/" + Utf8ToUtf16(std::to_string(i)) + u".mp3";
    Make({name});
    if (GetParam().single) lists.lstSingleFiles.push_back(At(name));
  }
  if (!GetParam().single) lists.lstFoldersNoSub.push_back(At(u"p/"));
  progress_.SetText(u"start");
  EXPECT_EQ(Collect(lists, u"Disc 1: ").size(), static_cast<std::size_t>(GetParam().files));
  EXPECT_EQ(progress_.Text(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Counts, CollectProgressTable,
                         ::testing::Values(ProgressCase{49, false, u"start"},
                                           ProgressCase{50, false, u"Disc 1: 50 Files Added"},
                                           ProgressCase{149, false, u"Disc 1: 100 Files Added"},
                                           ProgressCase{49, true, u"start"},
                                           ProgressCase{50, true, u"Disc 1: 50 added"}));

TEST_F(ScanTest, ACancelledCollectionStopsAtOnce) {
  Make({u"c/1.mp3", u"c/2.mp3"});
  SelectionLists lists;
  lists.lstFoldersAndSub = {At(u"c/")};
  lists.lstSingleFiles = {At(u"c/1.mp3")};
  cancel_.Set();
  EXPECT_TRUE(Collect(lists).empty());
}

// The user cancels a walk that hangs in the system (a network mount whose server is
// gone): the caller must come back after the stop time-out instead of freezing,
// and the worker left behind must only touch what it owns when it wakes up.
TEST_F(ScanTest, AWalkThatDoesNotStopIsLeftBehindAfterTheStopTimeOut) {
  CancellingUi ui;
  struct Stuck {
    XEvent release;
    XEvent done;
    std::vector<int> written;
  };
  auto stuck = std::make_shared<Stuck>();
  auto run = std::make_shared<CollectRun>();
  const auto started = std::chrono::steady_clock::now();
  const bool ended = RunCollectWorker(
      run,
      [stuck] {
        stuck->release.Wait(std::chrono::milliseconds(-1));  // the hung system call
        stuck->written.push_back(1);
        stuck->done.Set();
      },
      ui, std::chrono::milliseconds(0), std::chrono::milliseconds(100));
  EXPECT_FALSE(ended);
  EXPECT_TRUE(run->cancel.IsSet());
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));
  run.reset();  // the caller's share of the run is gone; the worker keeps its own
  stuck->release.Set();
  ASSERT_TRUE(stuck->done.Wait(std::chrono::seconds(30)));
  EXPECT_EQ(stuck->written, std::vector<int>{1});
}

TEST_F(ScanTest, AWalkThatStopsWhenCancelledIsWaitedFor) {
  CancellingUi ui;
  auto run = std::make_shared<CollectRun>();
  bool stopped = false;
  EXPECT_TRUE(RunCollectWorker(
      run,
      [run, &stopped] {
        run->cancel.Wait(std::chrono::milliseconds(-1));
        stopped = true;
      },
      ui, std::chrono::milliseconds(0), std::chrono::seconds(60)));
  EXPECT_TRUE(stopped) << "joined, so the body's last write is seen";
}

}  // namespace
}  // namespace tessaroven
