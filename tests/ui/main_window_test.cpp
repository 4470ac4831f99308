#include "ui/main_window.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QScreen>
#include <QTableView>
#include <QTreeView>
#include <filesystem>
#include <thread>

#include "base/format.h"
#include "base/settings.h"
#include "decode/plugin_folder.h"
#include "qt_test_app.h"
#include "selection/conversion.h"
#include "selection/file_columns.h"
#include "support/fake_converter_record.h"
#include "support/scripted_prompts.h"
#include "support/test_env.h"
#include "ui/file_list_model.h"
#include "ui/file_list_view.h"
#include "ui/folder_tree_model.h"
#include "ui/state_image_delegate.h"

namespace tessaroven {
namespace {

namespace fs = std::filesystem;

const fs::path kData = TESSAROVEN_TEST_DATA_DIR;

// The user's music: $HOME/Music (no user-dirs file in the test's own home), holding
// "Lib" with four real audio files of different sizes and an empty "Empty".
fs::path MusicFolder() { return fs::path(qgetenv("HOME").toStdString()) / "Music"; }
fs::path Library() { return MusicFolder() / "Lib"; }
std::u16string FolderText(const fs::path& folder) {
  return QString::fromStdString(folder.string() + "/").toStdU16String();
}

constexpr const char* kLibraryFiles[] = {"tone.flac", "tone.mp3", "tone.ogg", "tone.wav"};

class MainWindowTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    test::UseOffscreenQt();
    SetPluginFolderOverride(std::u16string(u"" TESSAROVEN_BUILD_PLUGIN_DIR) + u"/");
    fs::create_directories(Library() / "Empty");
    for (const char* name : kLibraryFiles)
      fs::copy_file(kData / name, Library() / name, fs::copy_options::skip_existing);
  }

  void SetUp() override {
    selector_.Open();
    sender_.Open();
    // Every test starts as a first start: nothing saved from the one before.
    for (const std::u16string_view value :
         {kLeftValue, kTopValue, kRightValue, kBottomValue, kNotMaxValue, kDividerValue, kScreenReaderValue})
      SettingsSetDword(0, value);
    SettingsSetString(u"", kMainColumnsValue);
    SettingsSetString(u"", kMainColumnWidthsValue);
  }
  void TearDown() override {
    sender_.Close();
    selector_.Close();
  }

  static std::unique_ptr<frmMain> Open(SingleInstance& instance) {
    auto window = std::make_unique<frmMain>(instance);
    window->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    return window;
  }

  // A rectangle as closing a window that is not fitted saves it.
  static void SaveRestoredRect(const ScreenRect& rect) {
    SettingsSetDword(1, kNotMaxValue);
    SettingsSetDword(static_cast<std::uint32_t>(rect.left), kLeftValue);
    SettingsSetDword(static_cast<std::uint32_t>(rect.top), kTopValue);
    SettingsSetDword(static_cast<std::uint32_t>(rect.right), kRightValue);
    SettingsSetDword(static_cast<std::uint32_t>(rect.bottom), kBottomValue);
  }

  static QModelIndex IndexOfPath(frmMain& window, const std::u16string& path) {
    window.OpenPath(path);
    const QModelIndex index = window.Tree()->currentIndex();
    EXPECT_EQ(window.Selection().Tree().PathOf(window.TreeModel()->NodeOf(index)), path);
    return index;
  }

  static void ClickTickImage(frmMain& window, const QModelIndex& index) {
    auto* delegate = static_cast<StateImageDelegate*>(window.Tree()->itemDelegate());
    const QPoint centre = delegate->ImageRect(window.Tree()->visualRect(index)).center();
    QTest::mouseClick(window.Tree()->viewport(), Qt::LeftButton, {}, centre);
  }

  static std::vector<int> RowImages(frmMain& window) {
    std::vector<int> images;
    for (std::size_t row = 0; row < window.ListModel()->RowCount(); ++row)
      images.push_back(window.ListModel()->Row(row).image);
    return images;
  }

  SingleInstance selector_;
  SingleInstance sender_;
};

// A first start opens fitted with the divider at a third, and a restore goes back
// to the middle of the desktop; a change of the screens is answered once they have
// settled, when the tick fits the window again only after five seconds. A saved
// position off every screen falls back to the middle; a saved rectangle comes back
// as it was, as does the divider, though never below 100, where a drag stops too.
TEST_F(MainWindowTest, OpensFittedOrAsSavedAndTheDividerStopsAt100) {
  {
    auto window = Open(selector_);
    const QScreen* screen = window->screen();
    ASSERT_NE(screen, nullptr);
    EXPECT_TRUE(window->IsFitted());
    const QRect fitted = window->geometry();
    EXPECT_EQ(ScreenRect::FromQRect(fitted), FitToWorkArea(ScreenRect::FromQRect(screen->availableGeometry()),
                                                           ScreenRect::FromQRect(screen->geometry())));
    EXPECT_EQ(window->Divider(), std::max(QGuiApplication::primaryScreen()->availableGeometry().width() / 3, 100));
    EXPECT_EQ(window->SavedRect(),
              MiddleThreeFifths(ScreenRect::FromQRect(QGuiApplication::primaryScreen()->geometry())));
    window->setGeometry(fitted.adjusted(50, 50, -50, -50));
    window->DisplayChanged();
    window->Tick();
    EXPECT_NE(window->geometry(), fitted);
    QTest::qWait(static_cast<int>(kDisplayChangeDelayMs) + 100);
    window->Tick();
    EXPECT_EQ(window->geometry(), fitted);
  }
  SaveRestoredRect({-9000, -9000, -8000, -8200});
  EXPECT_TRUE(QGuiApplication::primaryScreen()->geometry().contains(Open(selector_)->geometry().center()));

  SaveRestoredRect({100, 80, 700, 500});
  SettingsSetDword(50, kDividerValue);
  auto window = Open(selector_);
  EXPECT_FALSE(window->IsFitted());
  EXPECT_EQ(ScreenRect::FromQRect(window->geometry()), (ScreenRect{100, 80, 700, 500}));
  EXPECT_EQ(window->Divider(), 100);
  const int y = window->height() / 2;
  QTest::mousePress(window.get(), Qt::LeftButton, {}, QPoint(window->Divider() + 2, y));
  QTest::mouseMove(window.get(), QPoint(window->Divider() + 202, y));
  EXPECT_EQ(window->Divider(), 300);
  EXPECT_EQ(window->List()->geometry().left(), 304);
  QTest::mouseMove(window.get(), QPoint(2, y));
  QTest::mouseRelease(window.get(), Qt::LeftButton, {}, QPoint(2, y));
  EXPECT_EQ(window->Divider(), 100);
  EXPECT_EQ(window->Tree()->width(), 100);

  QAbstractButton* maximise = nullptr;
  for (auto* button : window->findChildren<QAbstractButton*>())
    if (button->accessibleName() == QStringLiteral("Maximize")) maximise = button;
  ASSERT_NE(maximise, nullptr);
  maximise->click();
  EXPECT_TRUE(window->IsFitted());
  EXPECT_EQ(maximise->accessibleName(), QStringLiteral("Restore"));
  maximise->click();
  EXPECT_FALSE(window->IsFitted());
  EXPECT_EQ(ScreenRect::FromQRect(window->geometry()), (ScreenRect{100, 80, 700, 500}));
}

// The cell named `text` as assistive technology finds it: among the view's children.
QAccessibleInterface* AccessibleCell(QAbstractItemView* view, const QString& text) {
  QAccessibleInterface* table = QAccessible::queryAccessibleInterface(view);
  if (!table) return nullptr;
  for (int i = 0; i < table->childCount(); ++i) {
    QAccessibleInterface* cell = table->child(i);
    if (cell && cell->tableCellInterface() && cell->text(QAccessible::Name) == text) return cell;
  }
  return nullptr;
}

// Every control has a name. A click on the tick image, Space and the assistive
// toggle action each move a folder's tick one step round the same cycle (with
// sub-folders, without, none); a click beside the image only selects. The list's
// ticks follow the folder: all files while it is chosen either way, none otherwise,
// and the Music place above shows a mixed state only while something below is
// chosen. The toggle action also unticks a file's row.
TEST_F(MainWindowTest, ClickSpaceAndTheToggleActionWalkTheTickCycleAndControlsAreNamed) {
  auto window = Open(selector_);
  for (QWidget* control : window->findChildren<QWidget*>()) {
    if (!control->isVisibleTo(window.get())) continue;
    if (!qobject_cast<QAbstractButton*>(control) && !qobject_cast<QComboBox*>(control) &&
        !qobject_cast<QAbstractItemView*>(control))
      continue;
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
    ASSERT_NE(accessible, nullptr);
    EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << control->metaObject()->className();
  }

  const QModelIndex index = IndexOfPath(*window, FolderText(Library()));
  ASSERT_EQ(window->ListModel()->RowCount(), std::size(kLibraryFiles));
  const NodeId node = window->TreeModel()->NodeOf(index);
  QAccessibleInterface* folder = AccessibleCell(window->Tree(), QStringLiteral("Lib"));
  ASSERT_NE(folder, nullptr);
  ASSERT_NE(folder->actionInterface(), nullptr);
  EXPECT_TRUE(folder->state().checkable);
  const QString toggle = QAccessibleActionInterface::toggleAction();
  EXPECT_TRUE(folder->actionInterface()->actionNames().contains(toggle));
  const QRect item = window->Tree()->visualRect(index);
  QTest::mouseClick(window->Tree()->viewport(), Qt::LeftButton, {}, QPoint(item.right() - 2, item.center().y()));

  auto expectState = [&](TreeCheckState state, int fileImage) {
    EXPECT_EQ(window->Selection().Tree().StateOf(node), state);
    EXPECT_EQ(RowImages(*window), std::vector<int>(std::size(kLibraryFiles), fileImage));
    EXPECT_EQ(folder->state().checked, state != TreeCheckState::csUnchecked);
    EXPECT_EQ(AccessibleCell(window->Tree(), QStringLiteral("Music"))->state().checkStateMixed,
              state != TreeCheckState::csUnchecked);
  };
  expectState(TreeCheckState::csUnchecked, kFileImageUnticked);
  ClickTickImage(*window, index);
  expectState(TreeCheckState::csFolderAndSub, kFileImageTicked);
  window->Tree()->setFocus();
  QTest::keyClick(window->Tree(), Qt::Key_Space);
  expectState(TreeCheckState::csFolderNoSub, kFileImageTicked);
  folder->actionInterface()->doAction(toggle);
  expectState(TreeCheckState::csUnchecked, kFileImageUnticked);
  folder->actionInterface()->doAction(toggle);
  expectState(TreeCheckState::csFolderAndSub, kFileImageTicked);

  QAccessibleInterface* row = AccessibleCell(window->List(), QStringLiteral("tone.flac"));
  ASSERT_NE(row, nullptr);
  EXPECT_TRUE(row->state().checked);
  row->actionInterface()->doAction(toggle);
  EXPECT_FALSE(row->state().checked);
  EXPECT_EQ(window->Selection().Lists().lstSingleFilesExclude.size(), 1u);
  EXPECT_TRUE(window->StatusText().contains(QStringLiteral(", 3 Files Selected")));
}

TEST_F(MainWindowTest, APathHandedOverByASecondStartIsOpenedAndListed) {
  auto window = Open(selector_);
  const std::u16string lib = FolderText(Library());
  selector_.AcceptEvent().Set();
  sender_.Send(u"  " + lib + u"  ");
  ASSERT_TRUE(test::SpinUntil([&] { return window->StatusText().endsWith(QString::fromStdU16String(lib)); }))
      << window->StatusText().toStdString();
  EXPECT_EQ(window->ListModel()->RowCount(), std::size(kLibraryFiles));
  EXPECT_TRUE(window->Tree()->isExpanded(window->Tree()->currentIndex().parent()));
}

// Convert from the window: with nothing ticked it says so; then the ticked folder's
// files reach the converter, the window is away while the converter has the list
// and back afterwards, and the selector accepts paths again.
TEST_F(MainWindowTest, ConvertHandsTheTickedFilesOverAndTheWindowComesBack) {
  test::TempDir record;
  qputenv("TESSAROVEN_FAKE_CONVERTER_RECORD", QString::fromStdU16String(record.Path()).toLocal8Bit());
  qputenv("TESSAROVEN_FAKE_CONVERTER_RELEASE", "tessaroven-window-test-release");
  qputenv("TESSAROVEN_FAKE_CONVERTER_ACCEPT", QString::fromStdU16String(std::u16string(kAcceptEventName)).toLatin1());
  SetConverterPathOverride(std::u16string(u"" TESSAROVEN_FAKE_CONVERTER_PATH));
  auto window = Open(selector_);
  {
    test::ScriptedPrompts prompts;
    window->findChild<QAbstractButton*>(QStringLiteral("_cmdConvert"))->click();
    ASSERT_EQ(prompts.Shown().size(), 1u);
    EXPECT_EQ(prompts.Shown()[0].text, u"No audio files selected for conversion");
    EXPECT_EQ(prompts.Shown()[0].caption, u"Tessaroven Batch Converter");
  }
  ClickTickImage(*window, IndexOfPath(*window, FolderText(Library())));

  struct VisibilityLog : QObject {
    int hides = 0, shows = 0;
    bool eventFilter(QObject*, QEvent* event) override {
      hides += event->type() == QEvent::Hide;
      shows += event->type() == QEvent::Show;
      return false;
    }
  } visibility;
  window->installEventFilter(&visibility);
  // The converter holds on until told; the window must be gone by then.
  std::thread release([&] {
    const std::u16string accept = record.Path() + u"accept";
    for (int i = 0; i < 400 && !test::FileExists(accept); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(25));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    NamedEvent event;
    if (event.Create(u"tessaroven-window-test-release")) event.Set();
  });
  window->findChild<QAbstractButton*>(QStringLiteral("_cmdConvert"))->click();
  release.join();
  SetConverterPathOverride(std::nullopt);
  qunsetenv("TESSAROVEN_FAKE_CONVERTER_RELEASE");
  qunsetenv("TESSAROVEN_FAKE_CONVERTER_ACCEPT");

  // Enumeration order is the file system's: every path once, in the list file's bytes.
  const std::string list = test::ReadBytes(record.Path() + u"list");
  std::vector<std::u16string> listed;
  for (const char* name : kLibraryFiles)
    listed.push_back(FolderText(Library()) + QString(QLatin1String(name)).toStdU16String());
  EXPECT_EQ(list.size(), test::ListFileBytes(listed).size());
  for (const auto& path : listed) EXPECT_NE(list.find(test::ListFileBytes({path})), std::string::npos);
  EXPECT_EQ(test::ReadBytes(record.Path() + u"accept"), "reset");
  EXPECT_EQ(visibility.hides, 1);
  EXPECT_GE(visibility.shows, 1);
  EXPECT_TRUE(window->isVisible());
  EXPECT_TRUE(selector_.AcceptEvent().Wait(std::chrono::milliseconds(0)));
}

TEST_F(MainWindowTest, AnOemFileBesideTheProgramExtendsTheTitle) {
  const std::u16string oem = ExecutableFolder() + u"OEM.txt";
  ASSERT_TRUE(test::WriteBytes(oem, "Studio Edition\n"));
  auto window = Open(selector_);
  fs::remove(QString::fromStdU16String(oem).toStdString());
  EXPECT_EQ(window->windowTitle(), QStringLiteral("Tessaroven Batch Converter: Studio Edition"));
}

// Stored columns come back, an unknown name included; the header menu adds, removes
// and restores them, and closing writes every value back.
TEST_F(MainWindowTest, TheHeaderMenuChangesTheColumnsAndClosingWritesEveryValue) {
  SettingsSetString(u"Name\rNo Such Column", kMainColumnsValue);
  SettingsSetString(u"200\r90", kMainColumnWidthsValue);
  auto window = Open(selector_);
  using Names = std::vector<std::u16string>;
  EXPECT_EQ(window->ListModel()->Columns(), (Names{u"Name", u"No Such Column"}));
  EXPECT_EQ(window->List()->columnWidth(0), 200);
  window->List()->ApplyColumnMenuChoice({false, u"Album"});
  EXPECT_EQ(window->ListModel()->Columns(), (Names{u"Name", u"No Such Column", u"Album"}));
  window->List()->ApplyColumnMenuChoice({false, u"no such column"});  // removed from the set, kept in the list
  window->List()->ApplyColumnMenuChoice({false, u"No Such Column"});
  EXPECT_EQ(window->ListModel()->Columns(), (Names{u"Name", u"Album"}));
  window->List()->ApplyColumnMenuChoice({true, {}});
  EXPECT_EQ(window->ListModel()->Columns(), Names(kDefaultMainColumns.begin(), kDefaultMainColumns.end()));

  window->List()->ApplyColumnMenuChoice({false, u"Album"});
  window->List()->setColumnWidth(0, 321);
  window->close();
  EXPECT_EQ(SettingsGetDword(kNotMaxValue), 0u);
  const ScreenRect saved = window->SavedRect();
  EXPECT_EQ(static_cast<int>(SettingsGetDword(kLeftValue)), saved.left);
  EXPECT_EQ(static_cast<int>(SettingsGetDword(kTopValue)), saved.top);
  EXPECT_EQ(static_cast<int>(SettingsGetDword(kRightValue)), saved.right);
  EXPECT_EQ(static_cast<int>(SettingsGetDword(kBottomValue)), saved.bottom);
  EXPECT_EQ(static_cast<int>(SettingsGetDword(kDividerValue)), window->Divider());
  const std::u16string names = SettingsGetString(kMainColumnsValue);
  EXPECT_TRUE(names.starts_with(u"Name\rSize\r")) << QString::fromStdU16String(names).toStdString();
  EXPECT_TRUE(names.ends_with(u"\rAlbum"));
  EXPECT_TRUE(SettingsGetString(kMainColumnWidthsValue).starts_with(u"321\r"));
}

TEST_F(MainWindowTest, DroppedFoldersAreChosenWithTheirSubFolders) {
  auto window = Open(selector_);
  const std::u16string lib = FolderText(Library());
  window->Selection().Lists().lstFoldersNoSub.push_back(lib);
  window->DropPaths({QString::fromStdU16String(lib), QString::fromStdString((kData / "tone.opus").string()),
                     QString::fromStdString((kData / "README.md").string())});
  const SelectionLists& lists = window->Selection().Lists();
  EXPECT_EQ(lists.lstFoldersAndSub, PathList{lib});
  EXPECT_TRUE(lists.lstFoldersNoSub.empty());
  // An audio file is chosen on its own; a file no decoder reads is not.
  EXPECT_EQ(lists.lstSingleFiles, PathList{QString::fromStdString((kData / "tone.opus").string()).toStdU16String()});
}

// The picture of the window with a ticked folder that the README shows, made by
// the test that drives it there (not a check of pixels): the status line is exact
// for an empty folder, for the listed one and once it is ticked, and the lengths
// arrive through the tick. Then sorting by size is numeric and a second click on
// the header reverses it.
TEST_F(MainWindowTest, ATickedFolderShowsItsStatusAndMetadataAndSortsBySize) {
  auto window = Open(selector_);
  window->resize(1100, 560);
  const std::u16string empty = FolderText(Library() / "Empty");
  IndexOfPath(*window, empty);
  EXPECT_EQ(window->StatusText(), QString::fromStdU16String(u"0 Audio Files Shown in Folder: " + empty));
  const std::u16string lib = FolderText(Library());
  const QModelIndex index = IndexOfPath(*window, lib);
  std::int64_t total = 0;
  for (const char* name : kLibraryFiles) total += static_cast<std::int64_t>(fs::file_size(Library() / name));
  const std::u16string shown = u"4 Audio Files Shown (" + FormatSize(total) + u")";
  EXPECT_EQ(window->StatusText(), QString::fromStdU16String(shown + u" in Folder: " + lib));
  ClickTickImage(*window, index);
  EXPECT_EQ(window->StatusText(),
            QString::fromStdU16String(shown + u", 4 Files Selected (" + FormatSize(total) + u") in Folder: " + lib));

  const auto& columns = window->ListModel()->Columns();
  auto column = [&](std::u16string_view name) {
    return static_cast<int>(std::find(columns.begin(), columns.end(), name) - columns.begin());
  };
  const int length = column(u"Length");
  ASSERT_TRUE(test::SpinUntil([&] {
    for (int row = 0; row < window->ListModel()->rowCount(); ++row)
      if (window->ListModel()->index(row, length).data().toString().isEmpty()) return false;
    return true;
  })) << "the lengths never arrived";
  EXPECT_TRUE(window->ListModel()->index(0, length).data().toString().contains(QStringLiteral("mili-seconds")));
  QTest::qWait(200);
  const QString file = QStringLiteral(TESSAROVEN_SCREENSHOT_DIR "/main-window.png");
  ASSERT_TRUE(window->grab().save(file));
  EXPECT_GT(QFile(file).size(), 1000);

  auto sizes = [&] {
    std::vector<std::uint64_t> values;
    for (std::size_t row = 0; row < window->ListModel()->RowCount(); ++row)
      values.push_back(window->ListModel()->Row(row).entry.size);
    return values;
  };
  emit window->List()->horizontalHeader()->sectionClicked(column(u"Size"));
  const auto ascending = sizes();
  EXPECT_TRUE(std::is_sorted(ascending.begin(), ascending.end()));
  emit window->List()->horizontalHeader()->sectionClicked(column(u"Size"));
  const auto descending = sizes();
  EXPECT_TRUE(std::is_sorted(descending.rbegin(), descending.rend()));
  EXPECT_NE(descending.front(), descending.back());
}

}  // namespace
}  // namespace tessaroven
