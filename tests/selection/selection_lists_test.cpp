#include "selection/selection_lists.h"

#include <gtest/gtest.h>

#include "base/platform.h"
#include "support/native_path.h"

namespace tessaroven {
namespace {

using test::Native;

struct CompareCase {
  const char* name;
  std::u16string a;
  std::u16string b;
  std::size_t n;
  bool equalOnWindows;
  bool equalOnLinux;
};

class PathComparison : public testing::TestWithParam<CompareCase> {};

TEST_P(PathComparison, FollowsThePlatformsCaseRule) {
  const auto& c = GetParam();
  EXPECT_EQ(PathEqualsNoCase(Native(c.a), Native(c.b), c.n), kIsWindows ? c.equalOnWindows : c.equalOnLinux);
}

INSTANTIATE_TEST_SUITE_P(
    SelectionLists, PathComparison,
    testing::Values(CompareCase{"SameSpelling", u"C:/Music/", u"C:/Music/", 0, true, true},
                    CompareCase{"AsciiCaseIsOnePathOnWindowsOnly", u"C:/MUSIC/", u"c:/music/", 0, true, false},
                    CompareCase{"AccentedCaseIsNeverFolded", u"C:/M\u00DCSIK/", u"C:/m\u00FCsik/", 0, false, false},
                    CompareCase{"TrailingSeparatorMatters", u"C:/Music/", u"C:/Music", 0, false, false},
                    CompareCase{"NoNormalisation", u"C:/Music/../Music/", u"C:/Music/", 0, false, false},
                    CompareCase{"PrefixCoversDeeperEntry", u"C:/Music/Rock/a.flac", u"C:/Music/", 9, true, true},
                    CompareCase{"PrefixFoldsOnWindows", u"C:/MUSIC/Rock/", u"c:/music/", 9, true, false},
                    CompareCase{"ShorterEntryIsNotBelow", u"C:/Mus", u"C:/Music/", 9, false, false},
                    CompareCase{"SiblingWithLongerNameIsNotBelow", u"C:/Musical/", u"C:/Music/", 9, false, false}),
    [](const auto& p) { return std::string(p.param.name); });

PathList NativeList(std::initializer_list<std::u16string_view> paths) {
  PathList list;
  for (const auto path : paths) list.push_back(Native(path));
  return list;
}

TEST(SelectionLists, RemovingBelowAFolderTakesTheFolderAndItsContentsOnly) {
  // Neighbouring matches included: erasing one must not skip the next.
  PathList list = NativeList({u"/a/Rock/", u"/a/Rock/Live/", u"/a/Rockabilly/", u"/a/x.flac", u"/a/Rock/y.mp3",
                              u"/a/Rock/z.mp3", u"/b/Rock/"});
  EXPECT_EQ(RemovePathsBelow(list, Native(u"/a/Rock/")), 4u);
  // The survivors keep their order: it is the order of collection.
  EXPECT_EQ(list, NativeList({u"/a/Rockabilly/", u"/a/x.flac", u"/b/Rock/"}));
}

TEST(SelectionLists, RemovingBelowFoldsCaseOnlyWhereThePlatformDoes) {
  PathList list = NativeList({u"/MUSIC/a.flac", u"/M\u00DCSIK/b.flac"});
  RemovePathsBelow(list, Native(u"/music/"));
  RemovePathsBelow(list, Native(u"/m\u00FCsik/"));
  if constexpr (kIsWindows)
    EXPECT_EQ(list, NativeList({u"/M\u00DCSIK/b.flac"}));
  else
    EXPECT_EQ(list, NativeList({u"/MUSIC/a.flac", u"/M\u00DCSIK/b.flac"}));
}

TEST(SelectionLists, RemovingAPathTakesEveryCopyButNothingBelow) {
  PathList list = NativeList({u"/a/", u"/a/", u"/a/b/", u"/c/", u"/a/"});
  EXPECT_EQ(RemovePath(list, Native(u"/a/")), 3u);
  EXPECT_EQ(list, NativeList({u"/a/b/", u"/c/"}));
  EXPECT_TRUE(ContainsPath(list, Native(u"/c/")));
  EXPECT_FALSE(ContainsPath(list, Native(u"/a/")));
}

struct DirectFileCase {
  const char* name;
  std::u16string file;
  std::u16string folder;
  bool inside;
};

class FileDirectlyIn : public testing::TestWithParam<DirectFileCase> {};

TEST_P(FileDirectlyIn, CountsOnlyTheFoldersOwnFiles) {
  const auto& c = GetParam();
  EXPECT_EQ(HasFileDirectlyIn({u"/x/other.mp3", Native(c.file)}, Native(c.folder)), c.inside);
}

INSTANTIATE_TEST_SUITE_P(SelectionLists, FileDirectlyIn,
                         testing::Values(DirectFileCase{"OwnFile", u"/m/a/x.flac", u"/m/a/", true},
                                         DirectFileCase{"FileInSubFolder", u"/m/a/b/x.flac", u"/m/a/", false},
                                         DirectFileCase{"FileInParent", u"/m/x.flac", u"/m/a/", false},
                                         DirectFileCase{"NameWithoutFolder", u"x.flac", u"/m/a/", false}),
                         [](const auto& p) { return std::string(p.param.name); });

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
