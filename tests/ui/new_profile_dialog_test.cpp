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

struct CreateCase {
  bool withSelections;
  std::u16string result;
};

class NewProfileCreateTest : public NewProfileDialogTest, public ::testing::WithParamInterface<CreateCase> {};

TEST_P(NewProfileCreateTest, ResultCarriesTheSuffixWithoutSelections) {
  frmNewProfile dialog(nullptr);
  dialog.NameField()->setText(QStringLiteral("Jazz"));
  dialog.SelectionsBox()->setChecked(GetParam().withSelections);
  dialog.CreateButton()->click();
  EXPECT_EQ(dialog.result(), 1);
  EXPECT_EQ(dialog.Result(), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Selections, NewProfileCreateTest,
                         ::testing::Values(CreateCase{true, u"Jazz"}, CreateCase{false, u"Jazz [No File Selections]"}));

TEST_F(NewProfileDialogTest, CancelGivesNothing) {
  frmNewProfile dialog(nullptr);
  dialog.NameField()->setText(QStringLiteral("Jazz"));
  dialog.reject();
  EXPECT_TRUE(dialog.Result().empty());
}

TEST_F(NewProfileDialogTest, SavesAScreenshot) {
  frmNewProfile dialog(nullptr);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  EXPECT_TRUE(dialog.grab().save(QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/new-profile-dialog.png")));
}

}  // namespace
}  // namespace tessaroven
