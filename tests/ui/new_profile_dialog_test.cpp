#include "ui/new_profile_dialog.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "qt_test_app.h"

namespace tessaroven {
namespace {

class NewProfileDialogTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { test::UseOffscreenQt(); }
};

TEST_F(NewProfileDialogTest, CreateFollowsThePlaceholderRules) {
  frmNewProfile dialog(nullptr);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  QLineEdit* name = dialog.NameField();
  EXPECT_EQ(name->text(), QLatin1String(kNewProfilePlaceholder));
  EXPECT_EQ(name->selectedText(), name->text());
  EXPECT_TRUE(dialog.SelectionsBox()->isChecked());
  EXPECT_FALSE(dialog.CreateButton()->isEnabled());
  // The first key replaces the selected placeholder.
  QTest::keyClicks(name, QStringLiteral("J"));
  EXPECT_EQ(name->text(), QStringLiteral("J"));
  EXPECT_TRUE(dialog.CreateButton()->isEnabled());
  name->clear();
  EXPECT_FALSE(dialog.CreateButton()->isEnabled());
  name->setText(QString(1200, QLatin1Char('a')));
  EXPECT_EQ(name->text().size(), kMaxProfileNameLength);
}

// Create gives the name, with a suffix when the selections are left out; Cancel
// gives nothing.
TEST_F(NewProfileDialogTest, ResultCarriesTheSuffixWithoutSelectionsAndCancelGivesNothing) {
  const struct {
    bool withSelections, create;
    std::u16string result;
  } cases[] = {{true, true, u"Jazz"}, {false, true, u"Jazz [No File Selections]"}, {true, false, u""}};
  for (const auto& c : cases) {
    frmNewProfile dialog(nullptr);
    dialog.NameField()->setText(QStringLiteral("Jazz"));
    dialog.SelectionsBox()->setChecked(c.withSelections);
    if (c.create) {
      dialog.CreateButton()->click();
    } else {
      dialog.reject();
    }
    EXPECT_EQ(dialog.result(), c.create ? 1 : 0);
    EXPECT_EQ(dialog.Result(), c.result);
  }
}

TEST_F(NewProfileDialogTest, SavesAScreenshot) {
  frmNewProfile dialog(nullptr);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_TRUE(dialog.grab().save(QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/new-profile-dialog.png")));
}

}  // namespace
}  // namespace tessaroven
