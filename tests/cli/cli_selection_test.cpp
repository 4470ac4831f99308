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

}  // namespace
}  // namespace tessaroven::cli
