// The converter's window on Qt's offscreen platform.
#include "converter/window/converter_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "base/text.h"
#include "converter_test_support.h"
#include "support/test_env.h"

namespace kovantrix {
namespace {

using test::DataFile;
using tessaroven::test::ListFolder;
using tessaroven::test::MakeFolder;
using tessaroven::test::ReadBytes;
using tessaroven::test::TempDir;
using tessaroven::test::WriteBytes;

void EnsureApplication() {
  if (QApplication::instance() != nullptr) return;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  static int argc = 1;
  static char name[] = "converter_tests";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);
}

Plan PlanFor(const std::vector<std::u16string>& files, const std::u16string& output) {
  Plan plan;
  plan.files = files;
  plan.choices = Choices{output, Format::kFlac, u"default", false};
  plan.arguments.jobs = 2;
  return plan;
}

template <typename Widget>
Widget* Find(QWidget& window, const char* name) {
  auto* widget = window.findChild<Widget*>(QString::fromLatin1(name));
  EXPECT_NE(widget, nullptr) << name;
  return widget;
}

// The window remembers its choices in the settings every test of this process
// shares; a later command-line run must not inherit a window test's format and folder.
class ConverterWindowTest : public testing::Test {
 protected:
  void SetUp() override {
    EnsureApplication();
    saved_ = LoadChoices(std::nullopt);
  }
  void TearDown() override { SaveChoices(saved_, std::nullopt); }

 private:
  Choices saved_;
};

TEST_F(ConverterWindowTest, ChoicesBeforeTheStartAreUsedAndRemembered) {
  TempDir in;
  TempDir out;
  MakeFolder(in / u"Album");
  const std::u16string good = in / u"Album/one.flac";
  WriteBytes(good, ReadBytes(DataFile(u"tone.flac")));
  const std::u16string bad = in / u"Album/two.flac";
  WriteBytes(bad, "not audio at all");
  ConverterWindow window(PlanFor({good, bad}, u"/nowhere/"));
  window.show();

  auto* format = Find<QComboBox>(window, "format");
  auto* preset = Find<QComboBox>(window, "preset");
  format->setCurrentIndex(format->findData(QStringLiteral("mp3")));
  // The presets follow the format, its default chosen.
  EXPECT_EQ(preset->currentData().toString(), QStringLiteral("v2"));
  preset->setCurrentIndex(preset->findData(QStringLiteral("v5")));
  Find<QLineEdit>(window, "outputFolder")->setText(QString::fromStdU16String(out.Path()));

  QTest::mouseClick(Find<QPushButton>(window, "convert"), Qt::LeftButton);
  ASSERT_TRUE(QTest::qWaitFor([&] { return window.Ended(); }, 60000));

  auto* files = Find<QTreeWidget>(window, "files");
  EXPECT_EQ(files->topLevelItem(0)->text(1), QStringLiteral("Done"));
  EXPECT_TRUE(files->topLevelItem(1)->text(1).startsWith(QStringLiteral("Failed: "))) << files->topLevelItem(1)->text(1).toStdString();
  EXPECT_TRUE(Find<QLabel>(window, "summary")->text().startsWith(QStringLiteral("Converted 1 of 2 files into ")));
  EXPECT_TRUE(Find<QPushButton>(window, "openFolder")->isVisibleTo(&window));
  EXPECT_EQ(Find<QPushButton>(window, "cancel")->text(), QStringLiteral("Close"));
  EXPECT_EQ(window.ExitCode(), 1);
  EXPECT_TRUE(test::DecodeWhole(out / u"Album/one.mp3").opened);

  // What the user sees at the end, for the README and for a look by eye.
  window.grab().save(QString::fromUtf8(KOVANTRIX_SCREENSHOT_DIR "/converter-window.png"));

  const Choices remembered = LoadChoices(std::nullopt);
  EXPECT_EQ(remembered.format, Format::kMp3);
  EXPECT_EQ(remembered.preset, u"v5");
  EXPECT_EQ(remembered.outputFolder, out.Path());
}

TEST_F(ConverterWindowTest, CancelStopsAndClosingWhileRunningLeavesNoPart) {
  TempDir in;
  TempDir out;
  std::vector<std::u16string> files;
  const std::string flac = ReadBytes(DataFile(u"tone-float.wav"));
  for (int i = 0; i < 40; ++i) {
    const std::u16string folder = in / tessaroven::AsciiToUtf16("D" + std::to_string(i));
    MakeFolder(folder);
    files.push_back(folder + u"/f.wav");
    WriteBytes(files.back(), flac);
  }
  {
    ConverterWindow window(PlanFor(files, out.Path()));
    window.show();
    window.StartConversion();
    Find<QPushButton>(window, "cancel")->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.Ended(); }, 60000));
    EXPECT_TRUE(Find<QLabel>(window, "summary")->text().startsWith(QStringLiteral("Cancelled.")));
    int cancelled = 0;
    auto* list = Find<QTreeWidget>(window, "files");
    for (int i = 0; i < list->topLevelItemCount(); ++i) cancelled += list->topLevelItem(i)->text(1) == QStringLiteral("Cancelled");
    EXPECT_GT(cancelled, 0);
  }
  for (const std::u16string& folder : ListFolder(out.Path()))
    for (const std::u16string& file : ListFolder(out / folder + u"/")) EXPECT_EQ(file, u"f.flac");
}

}  // namespace
}  // namespace kovantrix
