#include "ui/filter_dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

#include "decode/plugin_folder.h"
#include "filters/value_key.h"
#include "qt_test_app.h"

namespace tessaroven {
namespace {

TagList Tags(std::initializer_list<std::pair<std::u16string, std::u16string>> pairs) {
  TagList tags;
  for (const auto& [name, value] : pairs) tags.push_back(Tag{name, value, {}});
  return tags;
}

// Types from the real plug-ins; Artist values X (two files) and Y (one file), as the
// metadata test leaves them after reading three files.
class FilterDialogTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    test::UseOffscreenQt();
    SetPluginFolderOverride(std::u16string(u"" TESSAROVEN_BUILD_PLUGIN_DIR) + u"/");
  }
  void SetUp() override {
    filters_.Types().Build();
    for (const char16_t* artist : {u"X", u"Y", u"x"}) {
      const TagList tags = Tags({{u"Artist", artist}});
      filters_.Metadata().IsExcludedByTags(&tags, true);
    }
  }
  static QStringList Texts(QListWidget* rows) {
    QStringList texts;
    for (int i = 0; i < rows->count(); ++i) texts << rows->item(i)->text();
    return texts;
  }
  static QListWidgetItem* Row(QListWidget* rows, const QString& prefix) {
    for (int i = 0; i < rows->count(); ++i)
      if (rows->item(i)->text().startsWith(prefix)) return rows->item(i);
    return nullptr;
  }
  std::size_t RecordOf(std::u16string_view extension) const {
    const auto& records = filters_.Types().Records();
    for (std::size_t i = 0; i < records.Count(); ++i)
      if (records[i].extension == extension) return i;
    return records.Count();
  }

  FilterState filters_{FilterFieldNames{u"Artist", u"", u"Genre", u"", u"", u"", u"", u""}};
};

TEST_F(FilterDialogTest, OkWritesAnUncheckedTypeAsExcludedAndTheDateModeAndDays) {
  frmFilter dialog(filters_, nullptr);
  QListWidgetItem* flac = Row(dialog.Rows(0), QStringLiteral(".flac"));
  ASSERT_NE(flac, nullptr);
  flac->setCheckState(Qt::Unchecked);
  dialog.Tabs()->setCurrentIndex(1);
  ASSERT_EQ(dialog.DateMode(1)->text(), QStringLiteral("Last Modifed, include older than:"));
  dialog.DateMode(1)->setChecked(true);
  dialog.DateRange()->setCurrentIndex(dialog.DateRange()->findText(QStringLiteral("30 Days (1 month)")));
  dialog.OkButton()->click();
  EXPECT_EQ(dialog.result(), 1);
  EXPECT_TRUE(filters_.Types().Records()[RecordOf(u".flac")].excluded);
  EXPECT_FALSE(filters_.Types().Records()[RecordOf(u".mp3")].excluded);
  EXPECT_EQ(filters_.Types().ExcludedExtensionsText(), u".flac;");
  EXPECT_EQ(filters_.Date().DateFilterText(), u"1,30");
}

// The tag tab, with the exclude switch off and on: checked rows are included either
// way; what is marked turns round with the switch.
TEST_F(FilterDialogTest, OkWritesTheMarkedSetAndTheSwitch) {
  const struct {
    bool switchOn;
    std::u16string marked;  // the one key expected in the marked set, with X checked and Y not
  } cases[] = {{false, u"Y"}, {true, u"X"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.switchOn);
    frmFilter dialog(filters_, nullptr);
    const int tab = dialog.TabOfSlot(0);
    ASSERT_EQ(tab, 2);
    dialog.Tabs()->setCurrentIndex(tab);
    // "X" and "x" are one value, met in two files.
    EXPECT_EQ(Texts(dialog.Rows(tab)), (QStringList{QStringLiteral("X (2)"), QStringLiteral("Y (1)")}));
    dialog.ExcludeSwitch(tab)->setChecked(c.switchOn);
    Row(dialog.Rows(tab), QStringLiteral("X"))->setCheckState(Qt::Checked);
    Row(dialog.Rows(tab), QStringLiteral("Y"))->setCheckState(Qt::Unchecked);
    EXPECT_EQ(dialog.Tabs()->tabText(tab).endsWith(QStringLiteral("(only checked)")), c.switchOn);
    dialog.OkButton()->click();
    const clFilters& slot = filters_.Metadata().Slot(0);
    EXPECT_EQ(slot.ExcludeAll(), c.switchOn);
    EXPECT_EQ(slot.Marked().Keys(), std::vector<std::uint32_t>{ValueKey(c.marked)});
  }
}

// Exclude All acts on the values the search found; leaving a tab keeps its rows;
// Cancel writes nothing. Include All over every value leaves no slot active.
TEST_F(FilterDialogTest, ExcludeAllActsOnTheValuesFoundAndCancelWritesNothing) {
  const std::u16string before = filters_.Types().ExcludedExtensionsText();
  {
    frmFilter dialog(filters_, nullptr);
    const int tab = dialog.TabOfSlot(0);
    dialog.Tabs()->setCurrentIndex(tab);
    dialog.Search(tab)->setText(QStringLiteral("y"));
    dialog.ExcludeAllButton()->click();
    EXPECT_EQ(Row(dialog.Rows(tab), QStringLiteral("X"))->checkState(), Qt::Checked);
    dialog.Tabs()->setCurrentIndex(1);
    dialog.Tabs()->setCurrentIndex(tab);
    EXPECT_EQ(Row(dialog.Rows(tab), QStringLiteral("Y"))->checkState(), Qt::Unchecked);
    dialog.Tabs()->setCurrentIndex(0);
    Row(dialog.Rows(0), QStringLiteral(".mp3"))->setCheckState(Qt::Unchecked);
    dialog.reject();
    EXPECT_FALSE(filters_.Metadata().AnyMetadataSlotActive());
    EXPECT_EQ(filters_.Types().ExcludedExtensionsText(), before);
  }
  frmFilter dialog(filters_, nullptr);
  dialog.Tabs()->setCurrentIndex(dialog.TabOfSlot(0));
  dialog.ExcludeAllButton()->click();
  dialog.IncludeAllButton()->click();
  dialog.OkButton()->click();
  EXPECT_FALSE(filters_.Metadata().AnyMetadataSlotActive());
}

TEST_F(FilterDialogTest, SavesAScreenshot) {
  frmFilter dialog(filters_, nullptr);
  dialog.Tabs()->setCurrentIndex(dialog.TabOfSlot(0));
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_TRUE(dialog.grab().save(QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/filter-dialog.png")));
}

}  // namespace
}  // namespace tessaroven
