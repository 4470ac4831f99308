#include "cli/cli_selection.h"

#include <gtest/gtest.h>

#include "support/native_path.h"

namespace tessaroven::cli {
namespace {

using test::Native;

enum class Do { Folder, FolderOnly, Exclude, File, Unfile };

struct Click {
  Do what;
  const char16_t* path;
};

struct ClickCase {
  const char* name;
  std::vector<Click> clicks;
  std::vector<std::u16string> andSub, noSub, exclude, single, singleExclude;
};

class CliClicks : public ::testing::TestWithParam<ClickCase> {};

std::vector<std::u16string> Natives(const std::vector<std::u16string>& paths) {
  std::vector<std::u16string> out;
  for (const auto& path : paths) out.push_back(Native(path));
  return out;
}

TEST_P(CliClicks, EndWithTheListsTheWindowWouldHave) {
  CliSelection selection;
  for (const Click& click : GetParam().clicks) {
    const std::u16string path = Native(click.path);
    if (click.what == Do::Exclude)
      selection.ExcludeFolder(path);
    else if (click.what == Do::File || click.what == Do::Unfile)
      selection.TickFile(path, click.what == Do::File);
    else
      selection.TickFolder(path, click.what == Do::Folder);
  }
  const SelectionLists& lists = selection.Lists();
  EXPECT_EQ(lists.lstFoldersAndSub, Natives(GetParam().andSub));
  EXPECT_EQ(lists.lstFoldersNoSub, Natives(GetParam().noSub));
  EXPECT_EQ(lists.lstFoldersExclude, Natives(GetParam().exclude));
  EXPECT_EQ(lists.lstSingleFiles, Natives(GetParam().single));
  EXPECT_EQ(lists.lstSingleFilesExclude, Natives(GetParam().singleExclude));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CliClicks,
    ::testing::Values(
        ClickCase{"Folder", {{Do::Folder, u"/m/"}}, {u"/m/"}, {}, {}, {}, {}},
        ClickCase{
            "SubFolderOfATickedOneIsCovered", {{Do::Folder, u"/m/"}, {Do::Folder, u"/m/a/"}}, {u"/m/"}, {}, {}, {}, {}},
        ClickCase{"ExcludeInsideATickedFolder",
                  {{Do::Folder, u"/m/"}, {Do::Exclude, u"/m/a/"}},
                  {u"/m/"},
                  {},
                  {u"/m/a/"},
                  {},
                  {}},
        ClickCase{"ExcludeOutsideChangesNothing", {{Do::Exclude, u"/m/a/"}}, {}, {}, {}, {}, {}},
        // Excluding a folder above the ticks would only have cleared them.
        ClickCase{
            "ExcludeAboveTicksChangesNothing",
            {{Do::Folder, u"/m/a/"}, {Do::FolderOnly, u"/m/b/"}, {Do::File, u"/m/c/d.mp3"}, {Do::Exclude, u"/m/"}},
            {u"/m/a/"},
            {u"/m/b/"},
            {},
            {u"/m/c/d.mp3"},
            {}},
        ClickCase{"ExcludeTheTickedFolderItselfChangesNothing",
                  {{Do::Folder, u"/m/"}, {Do::Exclude, u"/m/"}},
                  {u"/m/"},
                  {},
                  {},
                  {},
                  {}},
        ClickCase{"FlatInsideRecursive",
                  {{Do::Folder, u"/m/"}, {Do::FolderOnly, u"/m/a/"}},
                  {u"/m/"},
                  {u"/m/a/"},
                  {},
                  {},
                  {}},
        ClickCase{"TickingAgainClearsBelow",
                  {{Do::Folder, u"/m/"}, {Do::Exclude, u"/m/a/"}, {Do::Unfile, u"/m/b.mp3"}, {Do::Folder, u"/m/"}},
                  {u"/m/"},
                  {},
                  {},
                  {},
                  {}},
        ClickCase{"ParentClearsWhatLiesBelow",
                  {{Do::FolderOnly, u"/m/a/"}, {Do::File, u"/m/x/y.mp3"}, {Do::Folder, u"/m/"}},
                  {u"/m/"},
                  {},
                  {},
                  {},
                  {}},
        ClickCase{"SingleFileOutsideAnyFolder", {{Do::File, u"/m/a.mp3"}}, {}, {}, {}, {u"/m/a.mp3"}, {}},
        ClickCase{"FileInsideATickedFolderNeedsNothing",
                  {{Do::Folder, u"/m/"}, {Do::File, u"/m/a/b.mp3"}},
                  {u"/m/"},
                  {},
                  {},
                  {},
                  {}},
        ClickCase{"UntickedFileInsideATickedFolder",
                  {{Do::Folder, u"/m/"}, {Do::Unfile, u"/m/a/b.mp3"}},
                  {u"/m/"},
                  {},
                  {},
                  {},
                  {u"/m/a/b.mp3"}},
        ClickCase{"TickedAgainAfterUnticking",
                  {{Do::Folder, u"/m/"}, {Do::Unfile, u"/m/b.mp3"}, {Do::File, u"/m/b.mp3"}},
                  {u"/m/"},
                  {},
                  {},
                  {},
                  {}}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(CliSelection, ExcludingSaysWhatItCameTo) {
  CliSelection selection;
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/m/a/")), ExcludeOutcome::kNotInside);
  ASSERT_TRUE(selection.TickFolder(Native(u"/m/"), true));
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/m/")), ExcludeOutcome::kTickedItself);
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/m/a/")), ExcludeOutcome::kExcluded);
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/m/a/")), ExcludeOutcome::kExcluded) << "again: still excluded";
  ASSERT_TRUE(selection.TickFolder(Native(u"/n/"), false));
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/n/")), ExcludeOutcome::kTickedItself);
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/n/x/")), ExcludeOutcome::kNotInside);
  EXPECT_EQ(selection.Lists().lstFoldersExclude, std::vector<std::u16string>{Native(u"/m/a/")});
}

// A profile load resets the selection, which discards the tree below the top; the
// steps after it must still tick folders that an earlier step had opened.
TEST(CliSelection, StepsAfterAResetApplyToBranchesOpenedBeforeIt) {
  CliSelection selection;
  ASSERT_TRUE(selection.TickFolder(Native(u"/m/a/"), true));
  selection.Model().ClearSelections();
  ASSERT_TRUE(selection.TickFolder(Native(u"/m/a/b/"), true));
  EXPECT_EQ(selection.Lists().lstFoldersAndSub, std::vector<std::u16string>{Native(u"/m/a/b/")});
  EXPECT_EQ(selection.ExcludeFolder(Native(u"/m/a/b/c/")), ExcludeOutcome::kExcluded);
  EXPECT_TRUE(selection.TickFile(Native(u"/m/x.mp3"), true));
  EXPECT_EQ(selection.Lists().lstSingleFiles, std::vector<std::u16string>{Native(u"/m/x.mp3")});
}

// The reset before a profile load clears the filters as the window's does, so a
// profile that fails to load leaves none of the earlier filters behind.
TEST(CliSelection, AResetClearsTheFilters) {
  FilterState filters(FilterFieldNames{});
  filters.Types().Records().Add(DecoderTypeRecord{u".mp3", u"MPEG", true});
  filters.Date().Set(1, 30);
  filters.Metadata().Slot(2).SetExcludeAll(true);
  ASSERT_TRUE(filters.AnyFilterActive());
  CliSelection selection(&filters);
  selection.Model().ClearSelections();
  EXPECT_FALSE(filters.AnyFilterActive());
}

}  // namespace
}  // namespace tessaroven::cli
