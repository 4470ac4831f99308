#include "ui/column_set.h"

#include <gtest/gtest.h>

#include <QAction>
#include <algorithm>
#include <filesystem>

#include "base/settings.h"
#include "base/text.h"
#include "decode/plugin_folder.h"
#include "qt_test_app.h"
#include "selection/file_columns.h"
#include "support/test_env.h"
#include "ui/column_menu.h"

namespace tessaroven {
namespace {

TEST(ColumnSet, UnknownStoredNameIsKeptAndOfferedCheckedUnderMissing) {
  SettingsSetString(u"Name\rMy Custom\rartist\rencoder", kMainColumnsValue);
  SettingsSetString(u"", kMainColumnWidthsValue);
  const ColumnSet set = LoadColumnSet(kMainColumnsValue, kMainColumnWidthsValue, kDefaultMainColumns, 96);
  ASSERT_EQ(set, (ColumnSet{{u"Name", 250}, {u"My Custom", 150}, {u"artist", 150}, {u"encoder", 150}}));

  const ColumnMenuContent menu =
      BuildColumnMenuContent(set, {u"Encoder", u"codec", u"Codec", u"bit rate", u"Album", u"audio quality"});
  EXPECT_EQ(menu.missing, (std::vector<ColumnMenuItem>{{u"My Custom", true}}));
  // Sorted under the fold, each name once, nothing the fixed groups already offer.
  EXPECT_EQ(menu.extended,
            (std::vector<ColumnMenuItem>{{u"audio quality", false}, {u"codec", false}, {u"Encoder", true}}));
}

// A row whose size, times, length, bit rate and rating are all `n`.
FileRow Row(std::u16string_view name, std::uint32_t n, TagList tags = {}) {
  return {{u"/music/" + std::u16string(name), n, n, n, n},
          std::make_shared<FileInfo>(FileInfo{.opened = true,
                                              .format = {},
                                              .properties = {},
                                              .tags = std::move(tags),
                                              .lengthMs = n,
                                              .bitRate = n,
                                              .rating = static_cast<std::int32_t>(n)})};
}
FileRow Unread(std::u16string_view name) { return FileRow{FileEntry{u"/music/" + std::u16string(name)}, nullptr}; }
FileRow Tagged(std::u16string_view tag, std::u16string value) {
  return Row(u"x.flac", 0, {{std::u16string(tag), std::move(value), {}}});
}
FileRow Quality(std::u16string value) { return Tagged(u"Audio Quality", std::move(value)); }

// Rows order by the column, and descending negates; numbers 9 and 10 would sort
// the other way as text.
TEST(ColumnSet, CompareRowsOrdersByTheColumn) {
  const struct {
    std::u16string_view column;
    FileRow a, b;
    int ascending;
  } cases[] = {{u"Size", Row(u"a", 9), Row(u"b", 10), -1},
               {u"Length", Row(u"a", 10), Row(u"b", 9), 1},
               {u"Length", Unread(u"a"), Row(u"b", 9), -1},
               {u"Bit Rate", Row(u"a", 9), Row(u"b", 10), -1},
               {u"Rating", Row(u"a", 9), Unread(u"b"), 1},
               {u"Rating", Unread(u"a"), Unread(u"b"), 0},
               {u"Compression", Tagged(u"Compression", u"9%"), Tagged(u"Compression", u"10%"), -1},
               {u"Date Modified", Row(u"a", 9), Row(u"b", 10), -1},
               {u"Name", Row(u"a.flac", 0), Row(u"C.flac", 0), -1},
               {u"Name", Row(u"ABC.flac", 0), Row(u"abc.flac", 0), 0},
               {u"Mood", Tagged(u"Mood", u"calm"), Tagged(u"Mood", u"Angry"), 1},
               // "High..." ranks first, then "CD ", "DVD ", "DAT ", "Perfect" (in any
               // case); other labels keep their own text order around them.
               {u"Audio Quality", Quality(u"high res (DSD64)"), Quality(u"CD Lossless"), -1},
               {u"Audio Quality", Quality(u"DAT Lossless"), Quality(u"High Resolution"), 1},
               // The rank prefixes ignore case, so these two are one value.
               {u"Audio Quality", Quality(u"cd lossless"), Quality(u"CD Lossless"), 0},
               {u"Audio Quality", Quality(u"Unknown"), Quality(u"Perfect rip"), -1}};
  const TypeFilter types;
  for (const auto& c : cases) {
    EXPECT_EQ(CompareRows(c.a, c.b, c.column, true, types), c.ascending) << Utf16ToUtf8(c.column);
    EXPECT_EQ(CompareRows(c.a, c.b, c.column, false, types), -c.ascending) << Utf16ToUtf8(c.column);
  }
}

TEST(ColumnMenu, BuildsTheGroupsInOrderWithTheSetChecked) {
  test::UseOffscreenQt();
  const ColumnSet set{{u"Name", 1}, {u"artist", 1}, {u"Codec", 1}, {u"My Custom", 1}};
  const auto menu = BuildColumnMenu(BuildColumnMenuContent(set, {u"Codec", u"Encoder"}), nullptr);
  const QList<QAction*> actions = menu->actions();
  const auto n = static_cast<qsizetype>(kFileAndPropertyColumns.size());
  ASSERT_EQ(actions.size(), n + 7);
  EXPECT_EQ(ColumnMenuChoiceOf(actions[0]), (ColumnMenuChoice{false, u"Name"}));
  EXPECT_TRUE(actions[0]->isCheckable() && actions[0]->isChecked());
  EXPECT_FALSE(actions[1]->isChecked());
  EXPECT_TRUE(actions[n]->isSeparator() && actions[n + 2]->isSeparator() && actions[n + 5]->isSeparator());
  ASSERT_NE(actions[n + 1]->menu(), nullptr);
  ASSERT_NE(actions[n + 3]->menu(), nullptr);

  const QMenu* tags = actions[n + 1]->menu();
  EXPECT_EQ(tags->accessibleName(), QStringLiteral("Tags"));
  EXPECT_TRUE(tags->actions()[0]->isChecked());  // "Artist" for "artist"
  const QMenu* extended = actions[n + 3]->menu();
  EXPECT_EQ(extended->accessibleName(), QStringLiteral("Extended Properties"));
  ASSERT_EQ(extended->actions().size(), 2);
  EXPECT_TRUE(extended->actions()[0]->isChecked());
  EXPECT_FALSE(extended->actions()[1]->isChecked());

  EXPECT_EQ(actions[n + 4]->text(), QStringLiteral("My Custom"));
  EXPECT_TRUE(actions[n + 4]->isChecked());
  EXPECT_EQ(actions[n + 6]->text(), QStringLiteral("Default Columns"));
  EXPECT_EQ(ColumnMenuChoiceOf(actions[n + 6]), (ColumnMenuChoice{true, {}}));
  EXPECT_EQ(ColumnMenuChoiceOf(actions[n + 5]), std::nullopt);
  EXPECT_EQ(ColumnMenuChoiceOf(extended->actions()[1]), (ColumnMenuChoice{false, u"Encoder"}));
}

TEST(ColumnSet, ExtendedNamesComeFromEveryPluginOfTheFolder) {
  const std::filesystem::path fake = ToOsString(ExecutableFolder() + u"../decode/fake_plugins/alpha.so");
  if (!std::filesystem::exists(fake)) GTEST_SKIP() << "the fake plug-ins are built with decode_tests";
  test::TempDir folder;
  const std::filesystem::path target = ToOsString(folder.Path());
  std::filesystem::copy_file(fake, target / "one.so");
  std::filesystem::copy_file(fake, target / "two.so");
  test::WriteBytes(folder / u"broken.so", "not a library");
  SetPluginFolderOverride(folder.Path());
  const std::vector<std::u16string> names = ExtendedPropertyNames();
  SetPluginFolderOverride(std::nullopt);
  EXPECT_EQ(names.size(), 6u);
  EXPECT_EQ(std::count(names.begin(), names.end(), u"Sample Rate"), 2);
}

}  // namespace
}  // namespace tessaroven
