#include "ui/crash_report_dialog.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "qt_test_app.h"

namespace tessaroven {
namespace {

class CrashReportDialogTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { test::UseOffscreenQt(); }
};

// Every text the user reads, as the dialog must show it (spelling included).
TEST_F(CrashReportDialogTest, ShowsTheReportTextsTheForumLinkAndTheDump) {
  std::vector<std::u16string> shownDumps;
  dlgCrashReport dialog(u"/data/qRV/crashes/crash-7.dmp",
                        [&](const std::u16string& path) { shownDumps.push_back(path); });
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Tessaroven Batch Converter has stopped working"));

  QStringList shown;
  for (const QLabel* label : dialog.findChildren<QLabel*>()) shown << label->text();
  for (const QPushButton* button : dialog.findChildren<QPushButton*>()) shown << button->text();
  const QString all = shown.join(u'\n');
  for (const char* expected :
       {"Tessaroven Batch Converter has stopped working", "Something unexpected happend which led to a crash.",
        "1) Report on support forum", "2) Send crash dump, helping fix the issue", "Crash Dump Location", "Exit"}) {
    EXPECT_TRUE(all.contains(QLatin1String(expected))) << expected;
  }
  const QLabel* forum = dialog.findChild<QLabel*>(QStringLiteral("forumLink"));
  ASSERT_NE(forum, nullptr);
  EXPECT_TRUE(forum->text().contains(QStringLiteral("href=\"%1\"").arg(QLatin1String(kSupportForumAddress))));
  EXPECT_TRUE(forum->openExternalLinks());

  // Showing the dump leaves the report open; Exit closes it.
  dialog.show();
  QTest::mouseClick(dialog.DumpLocationButton(), Qt::LeftButton);
  EXPECT_EQ(shownDumps, std::vector<std::u16string>{u"/data/qRV/crashes/crash-7.dmp"});
  EXPECT_TRUE(dialog.isVisible());
  QTest::mouseClick(dialog.ExitButton(), Qt::LeftButton);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

}  // namespace
}  // namespace tessaroven
