#include "cli/cli_selection.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "support/native_path.h"

namespace tessaroven::cli {
namespace {

using test::Native;

// Splits `text` at `separator`, each piece made native.
std::vector<std::u16string> Paths(std::u16string_view text, std::u16string_view separator) {
  std::vector<std::u16string> out;
  for (const auto& piece : Split(std::u16string(text), separator)) {
    if (!piece.empty()) out.push_back(Native(piece));
  }
  return out;
}

// Clicks are written "F/m/ O/m/a/ X/m/b/ T/m/c.mp3 U/m/d.mp3": a folder with its
// sub-folders, one without, an excluded folder, a ticked and an unticked file. The
// lists are "andSub|noSub|exclude|single|singleExclude", each comma-separated.
TEST(CliSelection, ClicksEndWithTheListsTheWindowWouldHave) {
  const std::pair<std::u16string, std::u16string> cases[] = {
      {u"F/m/", u"/m/"},
      {u"F/m/ F/m/a/", u"/m/"},  // a sub-folder of a ticked one is covered
      {u"F/m/ X/m/a/", u"/m/||/m/a/"},
      {u"X/m/a/", u""},  // excluding outside any tick changes nothing
      // Excluding a folder above the ticks would only have cleared them.
      {u"F/m/a/ O/m/b/ T/m/c/d.mp3 X/m/", u"/m/a/|/m/b/||/m/c/d.mp3"},
      {u"F/m/ X/m/", u"/m/"},
      {u"F/m/ O/m/a/", u"/m/|/m/a/"},
      {u"F/m/ X/m/a/ U/m/b.mp3 F/m/", u"/m/"},  // ticking again clears below
      {u"O/m/a/ T/m/x/y.mp3 F/m/", u"/m/"},
      {u"T/m/a.mp3", u"|||/m/a.mp3"},
      {u"F/m/ T/m/a/b.mp3", u"/m/"},
      {u"F/m/ U/m/a/b.mp3", u"/m/||||/m/a/b.mp3"},
      {u"F/m/ U/m/b.mp3 T/m/b.mp3", u"/m/"},
  };
  for (const auto& [clicks, listed] : cases) {
    SCOPED_TRACE(Utf16ToUtf8(clicks));
    CliSelection selection;
    for (const auto& click : Split(clicks, u" ")) {
      const std::u16string path = Native(click.substr(1));
      if (click[0] == u'X') {
        selection.ExcludeFolder(path);
      } else if (click[0] == u'T' || click[0] == u'U') {
        selection.TickFile(path, click[0] == u'T');
      } else {
        selection.TickFolder(path, click[0] == u'F');
      }
    }
    std::vector<std::u16string> expected = Split(listed, u"|");
    expected.resize(5);
    const SelectionLists& lists = selection.Lists();
    EXPECT_EQ(lists.lstFoldersAndSub, Paths(expected[0], u","));
    EXPECT_EQ(lists.lstFoldersNoSub, Paths(expected[1], u","));
    EXPECT_EQ(lists.lstFoldersExclude, Paths(expected[2], u","));
    EXPECT_EQ(lists.lstSingleFiles, Paths(expected[3], u","));
    EXPECT_EQ(lists.lstSingleFilesExclude, Paths(expected[4], u","));
  }
}

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
