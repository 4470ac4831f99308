#include "ui/list_dialog.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <filesystem>

#include "base/format.h"
#include "base/settings.h"
#include "decode/plugin_folder.h"
#include "filters/filter_state.h"
#include "qt_test_app.h"
#include "ui/column_set.h"
#include "ui/file_list_view.h"

namespace tessaroven {
namespace {

namespace fs = std::filesystem;

// Three real files of 200 ms each.
class ListDialogTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    test::UseOffscreenQt();
    SetPluginFolderOverride(std::u16string(u"" TESSAROVEN_BUILD_PLUGIN_DIR) + u"/");
  }
  void SetUp() override {
    filters_.Types().Build();
    SettingsSetString(u"", kListColumnsValue);
    SettingsSetString(u"", kListColumnWidthsValue);
    for (const char* name : {"tone.flac", "tone.ogg", "tone.opus"}) {
      const fs::path file = fs::path(TESSAROVEN_TEST_DATA_DIR) / name;
      files_.push_back(QString::fromStdString(file.string()).toStdU16String());
      size_ += static_cast<std::int64_t>(fs::file_size(file));
    }
  }
  static QString Summary(std::size_t count, std::int64_t size, std::u16string_view length, bool reading) {
    return QString::fromStdU16String(u"Converting " + FormatInteger(static_cast<std::int64_t>(count)) + u" Files" +
                                     (reading ? u", Reading Meta Data..." : u"") + u", Source Size: " +
                                     FormatSize(size) + u"  Length: " + std::u16string(length));
  }

  FilterState filters_{FilterFieldNames{}};
  std::vector<std::u16string> files_;
  std::int64_t size_ = 0;
};

// The summary reads exactly while and after the metadata arrives; a stored column
// set without Folder and Name gets them in front, and keeps them when the dialog ends.
TEST_F(ListDialogTest, TheSummaryIsExactAndAStoredColumnSetGetsFolderAndName) {
  SettingsSetString(u"Size\rArtist", kListColumnsValue);
  frmList dialog(files_, filters_.Types(), nullptr);
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Tessaroven Batch Converter: Audio Files Converting"));
  EXPECT_EQ(dialog.List()->Model()->Columns(), (std::vector<std::u16string>{u"Folder", u"Name", u"Size", u"Artist"}));
  // Nothing applied before the first tick: every length still to come.
  EXPECT_EQ(dialog.Summary(), Summary(3, size_, u"0 seconds", true));
  ASSERT_TRUE(test::SpinUntil([&] { return !dialog.Reading(); }));
  EXPECT_EQ(dialog.Summary(), Summary(3, size_, u"600 mili-seconds", false));

  struct Step {
    CheckCommand command;
    std::size_t count;
  };
  for (const Step step : {Step{CheckCommand::kUncheckAll, 0}, Step{CheckCommand::kInvert, 3},
                          Step{CheckCommand::kUncheckAll, 0}, Step{CheckCommand::kCheckAll, 3}}) {
    dialog.List()->checkCommand(step.command);
    EXPECT_EQ(dialog.Summary(),
              Summary(step.count, step.count ? size_ : 0, step.count ? u"600 mili-seconds" : u"0 seconds", false));
  }
  // One row unticked by its box: the rest is what Convert hands over.
  dialog.List()->Model()->setData(dialog.List()->Model()->index(1, 0), Qt::Unchecked, Qt::CheckStateRole);
  EXPECT_EQ(dialog.CheckedFiles(), (std::vector<std::u16string>{files_[0], files_[2]}));
  EXPECT_TRUE(dialog.Summary().startsWith(QStringLiteral("Converting 2 Files, ")));
  dialog.ConvertButton()->click();
  EXPECT_EQ(dialog.result(), kConvertResult);
  EXPECT_EQ(SettingsGetString(kListColumnsValue), u"Folder\rName\rSize\rArtist");
}

TEST_F(ListDialogTest, SavesAScreenshot) {
  frmList dialog(files_, filters_.Types(), nullptr);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  ASSERT_TRUE(test::SpinUntil([&] { return !dialog.Reading(); }));
  QTest::qWait(100);
  EXPECT_TRUE(dialog.grab().save(QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/list-dialog.png")));
}

}  // namespace
}  // namespace tessaroven
