#include "selection/selection_lists.h"

#include <gtest/gtest.h>

#include "base/platform.h"
#include "base/text.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;

struct CompareCase {
  const char* name;
  std::u16string a, b;
  std::size_t n;
  bool equalOnWindows, equalOnLinux;
};

const CompareCase kComparisons[] = {
    {"SameSpelling", u"C:/Music/", u"C:/Music/", 0, true, true},
    {"AsciiCaseIsOnePathOnWindowsOnly", u"C:/MUSIC/", u"c:/music/", 0, true, false},
    {"AccentedCaseIsNeverFolded", u"C:/M\u00DCSIK/", u"C:/m\u00FCsik/", 0, false, false},
    {"TrailingSeparatorMatters", u"C:/Music/", u"C:/Music", 0, false, false},
    {"NoNormalisation", u"C:/Music/../Music/", u"C:/Music/", 0, false, false},
    {"PrefixCoversDeeperEntry", u"C:/Music/Rock/a.flac", u"C:/Music/", 9, true, true},
    {"PrefixFoldsOnWindows", u"C:/MUSIC/Rock/", u"c:/music/", 9, true, false},
    {"ShorterEntryIsNotBelow", u"C:/Mus", u"C:/Music/", 9, false, false},
    {"SiblingWithLongerNameIsNotBelow", u"C:/Musical/", u"C:/Music/", 9, false, false},
};

TEST(SelectionLists, PathComparisonFollowsThePlatformsCaseRule) {
  for (const auto& c : kComparisons) {
    EXPECT_EQ(PathEqualsNoCase(Native(c.a), Native(c.b), c.n), kIsWindows ? c.equalOnWindows : c.equalOnLinux)
        << c.name;
  }
}

PathList NativeList(std::initializer_list<std::u16string_view> paths) {
  PathList list;
  for (const auto path : paths) list.push_back(Native(path));
  return list;
}

TEST(SelectionLists, RemovingBelowAFolderTakesTheFolderAndItsContentsOnly) {
  // Neighbouring matches included: erasing one must not skip the next. The case
  // variant goes only where paths fold.
  PathList list = NativeList({u"/a/Rock/", u"/a/Rock/Live/", u"/a/Rockabilly/", u"/a/x.flac", u"/a/Rock/y.mp3",
                              u"/a/Rock/z.mp3", u"/b/Rock/", u"/A/ROCK/w.mp3"});
  EXPECT_EQ(RemovePathsBelow(list, Native(u"/a/Rock/")), kIsWindows ? 5u : 4u);
  // The survivors keep their order: it is the order of collection.
  EXPECT_EQ(list, kIsWindows ? NativeList({u"/a/Rockabilly/", u"/a/x.flac", u"/b/Rock/"})
                             : NativeList({u"/a/Rockabilly/", u"/a/x.flac", u"/b/Rock/", u"/A/ROCK/w.mp3"}));
}

TEST(SelectionLists, RemovingAPathTakesEveryCopyButNothingBelow) {
  PathList list = NativeList({u"/a/", u"/a/", u"/a/b/", u"/c/", u"/a/"});
  EXPECT_EQ(RemovePath(list, Native(u"/a/")), 3u);
  EXPECT_EQ(list, NativeList({u"/a/b/", u"/c/"}));
  EXPECT_TRUE(ContainsPath(list, Native(u"/c/")));
  EXPECT_FALSE(ContainsPath(list, Native(u"/a/")));
}

TEST(SelectionLists, OnlyAFoldersOwnFilesAreDirectlyInIt) {
  const std::pair<std::u16string_view, bool> files[] = {
      {u"/m/a/x.flac", true}, {u"/m/a/b/x.flac", false}, {u"/m/x.flac", false}, {u"x.flac", false}};
  for (const auto& [file, inside] : files)
    EXPECT_EQ(HasFileDirectlyIn({u"/x/other.mp3", Native(file)}, Native(u"/m/a/")), inside) << Utf16ToUtf8(file);
}

TEST(SelectionLists, ClearingSelectionsKeepsTheTreeRoots) {
  SelectionLists lists;
  for (PathList* list : lists.SelectionListsInOrder()) list->push_back(u"x");
  lists.lstTreeRoots = {u"root"};
  EXPECT_TRUE(lists.HasSelections());
  lists.ClearSelections();
  EXPECT_FALSE(lists.HasSelections());
  EXPECT_EQ(lists.lstTreeRoots, PathList{u"root"});
  lists.lstSingleFilesExclude.push_back(u"y");
  EXPECT_TRUE(lists.HasSelections());
}

}  // namespace
}  // namespace tessaroven
