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

// The picture shows the dialog as it opens: the placeholder selected and Create off
// until a name is typed, whose first key replaces the placeholder.
TEST_F(NewProfileDialogTest, SavesAScreenshotAndTheFirstKeyReplacesThePlaceholder) {
  frmNewProfile dialog(nullptr);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  QLineEdit* name = dialog.NameField();
  EXPECT_EQ(name->selectedText(), QLatin1String(kNewProfilePlaceholder));
  EXPECT_FALSE(dialog.CreateButton()->isEnabled());
  EXPECT_TRUE(dialog.grab().save(QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/new-profile-dialog.png")));
  QTest::keyClicks(name, QStringLiteral("J"));
  EXPECT_EQ(name->text(), QStringLiteral("J"));
  EXPECT_TRUE(dialog.CreateButton()->isEnabled());
  name->setText(QString(1200, QLatin1Char('a')));
  EXPECT_EQ(name->text().size(), kMaxProfileNameLength);
}

}  // namespace
}  // namespace tessaroven
