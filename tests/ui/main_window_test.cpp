#include "ui/main_window.h"

#include <gtest/gtest.h>

#include <QStatusBar>

#include "qt_test_app.h"

namespace tessaroven {
namespace {

class MainWindowTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { test::UseOffscreenQt(); }
  void SetUp() override {
    selector_.Open();
    sender_.Open();
  }
  void TearDown() override {
    sender_.Close();
    selector_.Close();
  }

  SingleInstance selector_;  // this window's end
  SingleInstance sender_;    // a second start, through its own handles to the same objects
};

TEST_F(MainWindowTest, TheTickTakesAPathHandedOverAndShowsIt) {
  frmMain window(selector_);
  std::vector<std::u16string> received;
  const auto show = window.GoToPath;
  window.GoToPath = [&](const std::u16string& path) {
    received.push_back(path);
    show(path);
  };
  selector_.AcceptEvent().Set();
  sender_.Send(u"/home/user/Music/Pink Floyd/");
  ASSERT_TRUE(test::SpinUntil([&] { return !received.empty(); })) << "the 50 ms tick never collected the path";
  EXPECT_EQ(received, std::vector<std::u16string>{u"/home/user/Music/Pink Floyd/"});
  EXPECT_EQ(window.statusBar()->currentMessage(), QStringLiteral("/home/user/Music/Pink Floyd/"));
}

TEST_F(MainWindowTest, NothingIsTakenWhileTheSelectorDoesNotAccept) {
  frmMain window(selector_);
  std::vector<std::u16string> received;
  window.GoToPath = [&](const std::u16string& path) { received.push_back(path); };
  selector_.AcceptEvent().Reset();
  sender_.Send(u"/home/user/Music/");
  for (int i = 0; i < 5; ++i) window.Tick();
  EXPECT_TRUE(received.empty());
  selector_.AcceptEvent().Set();
  window.Tick();
  EXPECT_EQ(received, std::vector<std::u16string>{u"/home/user/Music/"});
}

}  // namespace
}  // namespace tessaroven
