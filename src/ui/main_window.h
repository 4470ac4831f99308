// frmMain: the selector's one window. The tree of places on the left, the audio
// files of the folder in focus on the right, Convert and List at the top with the
// profile box and the key of the tick images, Refresh, Clear and Filter with the
// status line at the bottom; the window paints its own caption.
//
// It owns the selection (the model and its lists), the filters, the profiles and
// the background metadata reader, and it is the window side every core rule asks
// for: the selection view, the conversion host and the profile window. A 50 ms tick
// collects paths handed over by later starts and applies the metadata the reader
// has finished.
//
// Main thread only. The SingleInstance passed in outlives the window.
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "app/single_instance.h"
#include "decode/decoder.h"
#include "filters/filter_state.h"
#include "selection/conversion.h"
#include "selection/network_shares.h"
#include "selection/places.h"
#include "selection/profiles.h"
#include "selection/selection_model.h"
#include "ui/column_set.h"
#include "ui/metadata_reader.h"
#include "ui/window_geometry.h"

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSocketNotifier;
class QTableView;
class QToolButton;
class QTreeView;

namespace tessaroven {

class FileListModel;
class FileListView;
class FolderTreeModel;

inline constexpr int kTickMilliseconds = 50;
inline constexpr qint64 kDisplayChangeDelayMs = 5000;

// The persisted values of the window.
inline constexpr std::u16string_view kLeftValue = u"qRV-FileSelector-l";
inline constexpr std::u16string_view kTopValue = u"qRV-FileSelector-t";
inline constexpr std::u16string_view kRightValue = u"qRV-FileSelector-r";
inline constexpr std::u16string_view kBottomValue = u"qRV-FileSelector-b";
inline constexpr std::u16string_view kNotMaxValue = u"qRV-FileSelector-NotMax";
inline constexpr std::u16string_view kDividerValue = u"qRV-FileSelector-Devider";
inline constexpr std::u16string_view kScreenReaderValue = u"ScreenReaderMode";

class frmMain : public QWidget,
                private SelectionView,
                private ConversionHost,
                private ProfileWindow,
                private NetworkSearchSink {
 public:
  explicit frmMain(SingleInstance& instance, QWidget* parent = nullptr);
  ~frmMain() override;

  // One round of the tick. Public for the tests, which drive it rather than wait.
  void Tick();

  // Opens the tree down to `path` (a folder, or a file's folder) and lists it.
  // Spaces around it are trimmed; shorter than three characters, it is ignored.
  // Replaceable so tests can watch what the tick hands over.
  std::function<void(const std::u16string& path)> GoToPath;
  void OpenPath(const std::u16string& path);

  // The status line, as rebuilt after every change of list or ticks.
  const QString& StatusText() const { return status_; }
  int Divider() const { return divider_; }
  bool IsFitted() const { return maximised_; }
  const ScreenRect& SavedRect() const { return savedRect_; }

  // Parts the tests drive as a user would.
  QTreeView* Tree() const { return tree_; }
  FileListView* List() const { return list_; }
  FolderTreeModel* TreeModel() const { return treeModel_; }
  FileListModel* ListModel() const { return listModel_; }
  SelectionModel& Selection() { return selection_; }
  MetadataReader& Reader() { return reader_; }
  // Writes every persisted value, as closing does.
  void SaveLayout();
  // Fits the window to its monitor's work area (its own maximised state).
  void FitToMonitor();
  void RestoreSavedRect();
  // What a change of the screens does: note the time when the window no longer
  // fits, so the tick fits it again once the screens have settled.
  void DisplayChanged();
  // Dropped folders and files, as a drop of them on the window.
  void DropPaths(const QStringList& paths);

  // The network search: started by the first expansion of "Network" and again by
  // Refresh. Tests give it a namespace of their own before it starts.
  void UseNetworkNamespace(NetworkSearch::NamespaceFactory makeNamespace);
  void StartNetworkSearch();
  bool NetworkSearchRunning() const { return network_ && network_->Running(); }
  // The tree's "Network" node.
  NodeId NetworkNode() const;
  const PlaceNodes& Places() const { return places_; }

  // Dialog units of the window's font, as the layout measures them.
  int DluX(int units) const;
  int DluY(int units) const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  // SelectionView
  NodeId CurrentNode() const override;
  std::size_t FileRowCount() const override;
  std::u16string_view FileRowPath(std::size_t row) const override;
  int FileRowImage(std::size_t row) const override;
  void SetFileRowImage(std::size_t row, int image) override;
  void UpdateStatusLine() override;
  void RefillFileList() override;
  void ClearFilters() override;

  // ConversionHost
  void SetBusy(bool busy) override;
  void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) override;
  void ReportPathsTooLong(const std::vector<std::u16string>& paths) override;
  void StopMetadataReader() override;
  const SelectionLists& Lists() const override { return selection_.Lists(); }
  FilterState& Filters() override { return filters_; }
  clQzDecoder& Decoder() override { return decoder_; }
  std::int64_t WindowHandle() const override;
  std::u16string ProfileBoxText() const override;
  NamedEvent* AcceptEvent() override { return &instance_.AcceptEvent(); }
  void HideWindow() override;
  void ShowWindow() override;
  void RefreshTree() override;

  // ProfileWindow
  std::optional<std::u16string> RunNewProfileDialog() override;
  void ProfileListChanged() override;

  // NetworkSearchSink
  void ComputerFound(const std::shared_ptr<const STServer>& server) override;
  void SearchEnded(std::size_t computers, bool opened) override;
  // Whether reading `folder` may hang on a server: it lies on a share or a network
  // drive. Such folders are read on a worker.
  bool OnNetwork(const std::u16string& folder) const;
  void ExpandTreeFolder(NodeId node);

  void BuildControls();
  void BuildPlaces();
  void PlaceWindow();
  void LayoutControls();
  int CaptionHeight() const;
  int TopBandHeight() const;
  int BottomBandHeight() const;
  bool InDividerZone(QPoint pos) const;
  Qt::Edges ResizeEdgesAt(QPoint pos) const;
  void UpdateCaptionButtons();
  void UpdateReadingIndicator();
  void OnCurrentFolderChanged();
  void OnConvert();
  void OnList();
  void OnFilter();
  void UpdateFilterButton();
  void OnClear();
  void OnHelp();
  void OnDrivesChanged();

  SingleInstance& instance_;
  FilterState filters_;
  clQzDecoder decoder_;  // the metadata filter's, on this thread
  SelectionModel selection_{*static_cast<SelectionView*>(this)};
  PlaceNodes places_;
  std::unique_ptr<Profiles> profiles_;
  std::unique_ptr<AudioFileTest> audio_;
  MetadataReader reader_;

  FolderTreeModel* treeModel_ = nullptr;
  FileListModel* listModel_ = nullptr;
  QTreeView* tree_ = nullptr;
  FileListView* list_ = nullptr;
  QToolButton* minimizeButton_ = nullptr;
  QToolButton* restoreButton_ = nullptr;
  QToolButton* closeButton_ = nullptr;
  QPushButton* convertButton_ = nullptr;
  QPushButton* listButton_ = nullptr;
  QPushButton* refreshButton_ = nullptr;
  QPushButton* clearButton_ = nullptr;
  QPushButton* filterButton_ = nullptr;
  QToolButton* helpButton_ = nullptr;
  QLabel* profileLabel_ = nullptr;
  QComboBox* profileBox_ = nullptr;
  QLabel* readingLabel_ = nullptr;
  QProgressBar* readingProgress_ = nullptr;
  QLabel* statusLabel_ = nullptr;
  QSocketNotifier* drivesNotifier_ = nullptr;
  std::unique_ptr<DriveChangeWatcher> drivesWatcher_;

  // Brings the network search's results to this thread, through the event loop.
  class QueuedWaker : public MainThreadWaker {
   public:
    explicit QueuedWaker(frmMain& window) : window_(window) {}
    void Wake() override;

   private:
    frmMain& window_;
  };
  QueuedWaker networkWaker_{*this};
  XMainThreadSync networkQueue_{networkWaker_};
  std::unique_ptr<NetworkSearch> network_;
  bool networkSearched_ = false;
  std::vector<std::u16string> networkFolders_;  // the paths of the shares found

  QTimer tick_;
  QString title_;
  QString status_;
  bool screenReader_ = false;
  bool maximised_ = false;
  ScreenRect savedRect_;
  int divider_ = kMinimumDivider;
  bool draggingDivider_ = false;
  int lastDragX_ = 0;
  QElapsedTimer displayChange_;  // invalid when no change is pending
  bool placing_ = false;                          // moves made by the window itself
};

}  // namespace tessaroven
