// The "Network" entry of the window's tree: filled by the search in the background,
// computers without ticks, shares that behave as folders; once against a namespace
// of the test's own, once against a real network file system on this machine.
#include <gtest/gtest.h>

#include <QTreeView>
#include <filesystem>

#include "base/event.h"
#include "base/text.h"
#include "decode/plugin_folder.h"
#include "network_loopback_sshfs.h"
#include "qt_test_app.h"
#include "selection/folder_scanning.h"
#include "support/fake_network.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"
#include "ui/file_list_model.h"
#include "ui/folder_tree_model.h"
#include "ui/main_window.h"
#include "ui/state_image_delegate.h"

namespace tessaroven {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class NetworkSharesTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    test::UseOffscreenQt();
    SetPluginFolderOverride(std::u16string(u"" TESSAROVEN_BUILD_PLUGIN_DIR) + u"/");
  }

  void SetUp() override {
    instance_.Open();
    share_ = fs::path(Utf16ToUtf8(temp_.Path())) / "music";
    fs::create_directories(share_ / "Jazz");
    fs::copy_file(fs::path(TESSAROVEN_TEST_DATA_DIR) / "tone.flac", share_ / "tone.flac");
  }
  void TearDown() override { instance_.Close(); }

  std::unique_ptr<frmMain> Open(std::vector<STServer> computers, bool gated = false) {
    for (STServer& computer : computers) script_->computers.push_back({std::move(computer)});
    if (gated) script_->gateBefore = 0;
    auto window = std::make_unique<frmMain>(instance_);
    window->UseNetworkNamespace(test::FakeNetwork::For(script_));
    window->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    return window;
  }

  static QModelIndex NetworkIndex(frmMain& window) { return window.TreeModel()->IndexOf(window.NetworkNode()); }

  static QStringList ChildTexts(frmMain& window, const QModelIndex& parent) {
    QStringList texts;
    for (int row = 0; row < window.TreeModel()->rowCount(parent); ++row)
      texts << window.TreeModel()->index(row, 0, parent).data().toString();
    return texts;
  }

  std::u16string SharePath() const { return Utf8ToUtf16(share_.string() + "/"); }

  test::TempDir temp_;
  fs::path share_;
  SingleInstance instance_;
  std::shared_ptr<test::NetworkScript> script_ = std::make_shared<test::NetworkScript>();
};

TEST_F(NetworkSharesTest, TheFirstExpansionSearchesAndComputersReplaceThePlaceholder) {
  auto window = Open({{u"alpha", {SharePath()}, {u"music"}}, {u"beta", {}, {}}});
  const QModelIndex network = NetworkIndex(*window);
  EXPECT_EQ(ChildTexts(*window, network), QStringList{QStringLiteral("Searching...")});
  EXPECT_EQ(script_->searches.load(), 0);
  window->Tree()->expand(network);
  ASSERT_TRUE(test::SpinUntil([&] { return ChildTexts(*window, network).size() == 2; }));
  EXPECT_EQ(ChildTexts(*window, network), (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));

  const QModelIndex alpha = window->TreeModel()->index(0, 0, network);
  const QModelIndex beta = window->TreeModel()->index(1, 0, network);
  const QModelIndex share = window->TreeModel()->index(0, 0, alpha);
  EXPECT_EQ(share.data().toString(), QStringLiteral("music"));
  // Computers have no tick; shares have one; a computer without shares cannot open.
  EXPECT_FALSE(alpha.data(kStateImageRole).isValid());
  EXPECT_FALSE(window->TreeModel()->flags(alpha).testFlag(Qt::ItemIsUserCheckable));
  EXPECT_TRUE(share.data(kStateImageRole).isValid());
  EXPECT_FALSE(window->TreeModel()->hasChildren(beta));
  // The share opens like any folder.
  window->Tree()->expand(alpha);
  window->Tree()->expand(share);
  EXPECT_TRUE(test::SpinUntil([&] { return ChildTexts(*window, share) == QStringList{QStringLiteral("Jazz")}; }));
}

TEST_F(NetworkSharesTest, ATickedShareIsChosenWithItsSubFoldersAndItsFilesAreListed) {
  auto window = Open({{u"alpha", {SharePath()}, {u"music"}}});
  window->Tree()->expand(NetworkIndex(*window));
  ASSERT_TRUE(test::SpinUntil([&] { return window->TreeModel()->rowCount(NetworkIndex(*window)) == 1 &&
                                           ChildTexts(*window, NetworkIndex(*window))[0] == "alpha"; }));
  const QModelIndex share = window->TreeModel()->index(0, 0, window->TreeModel()->index(0, 0, NetworkIndex(*window)));
  window->Tree()->setCurrentIndex(share);
  ASSERT_TRUE(window->TreeModel()->setData(share, Qt::Checked, Qt::CheckStateRole));
  EXPECT_EQ(window->Selection().Lists().lstFoldersAndSub, std::vector<std::u16string>{SharePath()});
  // Listed through a worker, since the folder lies on the network.
  ASSERT_EQ(window->ListModel()->RowCount(), 1u);
  EXPECT_EQ(window->ListModel()->Row(0).entry.path, SharePath() + u"tone.flac");
}

TEST_F(NetworkSharesTest, PseudoEntriesRefuseATickAndAnEmptySearchSaysSo) {
  test::ScriptedPrompts prompts;
  auto window = Open({});
  const QModelIndex network = NetworkIndex(*window);
  window->Tree()->expand(network);
  ASSERT_TRUE(test::SpinUntil([&] { return ChildTexts(*window, network) == QStringList{"No computers found"}; }));
  EXPECT_FALSE(window->TreeModel()->setData(network, Qt::Checked, Qt::CheckStateRole));
  EXPECT_FALSE(window->TreeModel()->setData(window->TreeModel()->index(0, 0, network), Qt::Checked, Qt::CheckStateRole));
  ASSERT_EQ(prompts.Shown().size(), 2u);
  EXPECT_EQ(prompts.Shown()[0].text, u"Only folders within a network can be set for inclusion");
  EXPECT_TRUE(window->Selection().Lists().lstFoldersAndSub.empty());
}

TEST_F(NetworkSharesTest, RefreshSearchesAgainFromThePlaceholder) {
  auto window = Open({{u"alpha", {SharePath()}, {u"music"}}});
  const QModelIndex network = NetworkIndex(*window);
  window->Tree()->expand(network);
  ASSERT_TRUE(test::SpinUntil([&] { return ChildTexts(*window, network) == QStringList{"alpha"}; }));
  ASSERT_TRUE(test::SpinUntil([&] { return !window->NetworkSearchRunning(); }));
  script_->computers.push_back({{u"beta", {}, {}}});
  QMetaObject::invokeMethod(window->findChild<QObject*>(QStringLiteral("_cmdRefresh")), "click");
  ASSERT_TRUE(test::SpinUntil([&] { return ChildTexts(*window, network).size() == 2; }));
  EXPECT_EQ(script_->searches.load(), 2);
}

TEST_F(NetworkSharesTest, ClosingWhileTheSearchHangsNeitherWaitsLongNorLetsItTouchTheWindow) {
  auto window = Open({{u"alpha", {SharePath()}, {u"music"}}}, true);
  window->Tree()->expand(NetworkIndex(*window));
  ASSERT_TRUE(window->NetworkSearchRunning());
  const auto start = std::chrono::steady_clock::now();
  window->close();
  window.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, NetworkSearch::kStopTimeout + 3s);
  // The search left behind now finds its computer, with no window to give it to.
  script_->gate.Set();
  QTest::qWait(200);
}

TEST_F(NetworkSharesTest, AnSshfsMountOfThisMachineAppearsAsItsComputerAndItsShareCollects) {
  const fs::path served = fs::path(Utf16ToUtf8(temp_.Path())) / "served";
  fs::create_directories(served / "Album");
  fs::copy_file(fs::path(TESSAROVEN_TEST_DATA_DIR) / "tone.flac", served / "Album" / "tone.flac");
  fs::copy_file(fs::path(TESSAROVEN_TEST_DATA_DIR) / "tone.mp3", served / "tone.mp3");
  test::LoopbackSshfs sshfs;
  if (const std::string why = sshfs.Start(fs::path(Utf16ToUtf8(temp_.Path())), served); !why.empty())
    GTEST_SKIP() << "No network file system to test against: " << why;

  auto window = std::make_unique<frmMain>(instance_);  // the system's own search
  window->show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
  const QModelIndex network = NetworkIndex(*window);
  window->Tree()->expand(network);
  ASSERT_TRUE(test::SpinUntil([&] { return ChildTexts(*window, network).contains("127.0.0.1"); }));
  const QModelIndex computer = window->TreeModel()->index(
      static_cast<int>(ChildTexts(*window, network).indexOf("127.0.0.1")), 0, network);
  window->Tree()->expand(computer);
  const std::u16string mounted = Utf8ToUtf16(sshfs.MountPoint().string() + "/");
  QModelIndex share;
  for (int row = 0; row < window->TreeModel()->rowCount(computer); ++row) {
    const QModelIndex child = window->TreeModel()->index(row, 0, computer);
    if (window->Selection().Tree().PathOf(window->TreeModel()->NodeOf(child)) == mounted) share = child;
  }
  ASSERT_TRUE(share.isValid()) << "the mount is not offered as a share of 127.0.0.1";
  EXPECT_EQ(share.data().toString(), QString::fromStdString(served.string()));
  window->Tree()->expand(share);
  window->Tree()->setCurrentIndex(share);
  ASSERT_TRUE(window->TreeModel()->setData(share, Qt::Checked, Qt::CheckStateRole));

  window->resize(900, 520);
  ASSERT_TRUE(test::SpinUntil([&] { return window->ListModel()->RowCount() == 1; }));
  QTest::qWait(300);
  EXPECT_TRUE(window->grab().save(QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/network-share.png")));

  class Quiet : public CollectUi {
    void SetBusy(bool) override {}
    void ShowProgress(const CollectProgress&, XEvent&, const XEvent& finished) override { finished.Wait(-1ms); }
  } ui;
  FilterState filters;
  filters.Types().Build();
  clQzDecoder decoder;
  std::vector<std::u16string> files =
      CollectSelectedFiles(window->Selection().Lists(), filters, decoder, false, u"", ui);
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files, (std::vector<std::u16string>{mounted + u"Album/tone.flac", mounted + u"tone.mp3"}));

  // The server stops answering: a read of the share that the user cancels is left
  // behind at once instead of holding the window.
  ASSERT_TRUE(sshfs.Freeze(true));
  class Cancelling : public CollectUi {
    void SetBusy(bool) override {}
    void ShowProgress(const CollectProgress&, XEvent& cancel, const XEvent&) override { cancel.Set(); }
  } cancelling;
  const auto start = std::chrono::steady_clock::now();
  std::u16string failure;
  EXPECT_FALSE(ReadSubFoldersOnWorker(mounted + u"Album/", cancelling, failure, 100ms));
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
  ASSERT_TRUE(sshfs.Freeze(false));
}

}  // namespace
}  // namespace tessaroven
