#include "ui/main_window.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTableView>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>
#include <QWindow>

#include "base/format.h"
#include "base/path.h"
#include "base/platform.h"
#include "base/settings.h"
#include "base/temp_file.h"
#include "base/user_prompts.h"
#include "decode/plugin_folder.h"
#include "selection/file_columns.h"
#include "selection/folder_scanning.h"
#include "ui/column_menu.h"
#include "ui/crash_report_dialog.h"
#include "ui/file_list_model.h"
#include "ui/file_list_view.h"
#include "ui/icons.h"
#include "ui/file_manager.h"
#include "ui/filter_dialog.h"
#include "ui/folder_tree_model.h"
#include "ui/list_dialog.h"
#include "ui/new_profile_dialog.h"
#include "ui/processing_dialog.h"
#include "ui/state_image_delegate.h"
#include "ui/tick_accessibility.h"

namespace tessaroven {

namespace {

QString Q(std::u16string_view text) { return QString::fromStdU16String(std::u16string(text)); }

int Scaled(int pixelsAt96) { return ScaledToScreen(pixelsAt96); }

constexpr int kDividerWidth = 4;
constexpr int kResizeBorder = 4;
constexpr int kTreeImageSize = 16;
constexpr int kTreeItemHeight = 18;

// The tree's five images in state order; slot 0 is never shown.
std::vector<QIcon> TreeStateImages() {
  return {QIcon(),
          OwnIcon("tick-unchecked"),
          OwnIcon("tick-child-selected"),
          OwnIcon("tick-single-files"),
          OwnIcon("tick-folder-and-sub"),
          OwnIcon("tick-folder-no-sub")};
}


// The file of the help page: beside the program, or in the shared data of an
// installed copy.
QString HelpPagePath() {
  const QString folder = Q(ExecutableFolder());
  for (const QString& candidate : {folder + QStringLiteral("Help/qRV/FileSelector.htm"),
                                   folder + QStringLiteral("../share/tessaroven/Help/qRV/FileSelector.htm")}) {
    if (QFileInfo::exists(candidate)) return QFileInfo(candidate).canonicalFilePath();
  }
  return {};
}

// "Tessaroven Batch Converter", and the text of an "OEM.txt" beside the program.
QString WindowTitle() {
  QString title = Q(kMessageTitle);
  QFile oem(Q(ExecutableFolder()) + QStringLiteral("OEM.txt"));
  if (oem.open(QIODevice::ReadOnly)) {
    const QString text = QString::fromUtf8(oem.read(4096)).trimmed();
    if (!text.isEmpty()) title += QStringLiteral(": ") + text;
  }
  return title;
}

}  // namespace

frmMain::frmMain(SingleInstance& instance, QWidget* parent) : QWidget(parent), instance_(instance) {
  setObjectName(QStringLiteral("frmMain"));
  setAttribute(Qt::WA_DeleteOnClose, false);
  setWindowIcon(OwnIcon("tessaroven"));
  screenReader_ = SettingsGetDword(kScreenReaderValue) != 0;
  // The window draws its own caption; for a screen reader the desktop's title bar
  // and standard controls are the ones it knows how to read.
  if (!screenReader_) setWindowFlag(Qt::FramelessWindowHint, true);
  setAcceptDrops(true);
  setMouseTracking(true);
  title_ = WindowTitle();
  setWindowTitle(title_);
  setAccessibleName(title_);

  // The selection colours of the lists: on a white background a pale blue with
  // black text reads better than the strong system highlight.
  QPalette colours = palette();
  if (colours.color(QPalette::Base) == QColor(Qt::white)) {
    colours.setColor(QPalette::Highlight, QColor(0xE5, 0xF1, 0xFB));
    colours.setColor(QPalette::HighlightedText, Qt::black);
  }
  setPalette(colours);

  filters_.Types().Build();
  audio_ = std::make_unique<AudioFileTest>(filters_.Types());
  profiles_ = std::make_unique<Profiles>(selection_, *static_cast<SelectionView*>(this), filters_,
                                         *static_cast<ProfileWindow*>(this));

  BuildControls();
  PlaceWindow();
  divider_ = InitialDivider(static_cast<int>(SettingsGetDword(kDividerValue)),
                            QGuiApplication::primaryScreen() ? QGuiApplication::primaryScreen()->availableGeometry().width()
                                                             : 900);
  BuildPlaces();
  profiles_->FillProfileList();
  ProfileListChanged();

  GoToPath = [this](const std::u16string& path) {
    OpenPath(path);
    // A hand-over means the user wants this window: bring it forward.
    if (isMinimized()) showNormal();
    raise();
    activateWindow();
  };
  connect(&tick_, &QTimer::timeout, this, &frmMain::Tick);
  tick_.start(kTickMilliseconds);

  connect(qApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, &frmMain::DisplayChanged);
    DisplayChanged();
  });
  connect(qApp, &QGuiApplication::screenRemoved, this, &frmMain::DisplayChanged);
  for (QScreen* screen : QGuiApplication::screens())
    connect(screen, &QScreen::geometryChanged, this, &frmMain::DisplayChanged);

  drivesWatcher_ = std::make_unique<DriveChangeWatcher>();
  if (const int fd = drivesWatcher_->PollDescriptor(); fd >= 0) {
    drivesNotifier_ = new QSocketNotifier(fd, QSocketNotifier::Exception, this);
    connect(drivesNotifier_, &QSocketNotifier::activated, this, &frmMain::OnDrivesChanged);
  }
  UpdateStatusLine();
  LayoutControls();
}

frmMain::~frmMain() {
  tick_.stop();
  reader_.Stop();
  if (network_) network_->Stop();
  // The tree model observes the selection's tree; it goes before the tree does.
  delete tree_;
  tree_ = nullptr;
  delete treeModel_;
  treeModel_ = nullptr;
}

// ---------------------------------------------------------------------------------
// Building

void frmMain::BuildControls() {
  auto captionButton = [this](const char* icon, const QString& name) {
    auto* button = new QToolButton(this);
    button->setIcon(OwnIcon(icon));
    button->setAutoRaise(true);
    button->setAccessibleName(name);
    button->setToolTip(name);
    button->setFocusPolicy(Qt::NoFocus);  // the keyboard has the desktop's own keys for these
    button->setVisible(!screenReader_);
    return button;
  };
  minimizeButton_ = captionButton("caption-minimize", QStringLiteral("Minimize"));
  restoreButton_ = captionButton("caption-maximize", QStringLiteral("Maximize"));
  closeButton_ = captionButton("caption-close", QStringLiteral("Close"));
  connect(minimizeButton_, &QToolButton::clicked, this, &QWidget::showMinimized);
  connect(restoreButton_, &QToolButton::clicked, this, [this] {
    if (maximised_)
      RestoreSavedRect();
    else
      FitToMonitor();
  });
  connect(closeButton_, &QToolButton::clicked, this, &QWidget::close);

  auto textButton = [this](const QString& text, const QString& tip, const char* objectName) {
    auto* button = new QPushButton(text, this);
    button->setToolTip(tip);
    button->setAccessibleName(text);
    button->setAccessibleDescription(tip);
    button->setObjectName(QLatin1String(objectName));
    return button;
  };
  convertButton_ = textButton(QStringLiteral("Convert"), QStringLiteral("Convert Selected Files"), "_cmdConvert");
  convertButton_->setIcon(OwnIcon("convert"));
  listButton_ = textButton(QStringLiteral("List"), QStringLiteral("List Audio Files Converting"), "_cmdList");
  listButton_->setIcon(OwnIcon("list"));
  refreshButton_ =
      textButton(QStringLiteral("Refresh"), QStringLiteral("Refreshes, Showing New Files or Folders"), "_cmdRefresh");
  clearButton_ = textButton(QStringLiteral("Clear"), QStringLiteral("Unselects all Folders & Files"), "_cmdReset");
  filterButton_ =
      textButton(QStringLiteral("Filter"), QStringLiteral("Remove Audio Types From Conversion"), "_cmdFilter");
  connect(convertButton_, &QPushButton::clicked, this, &frmMain::OnConvert);
  connect(listButton_, &QPushButton::clicked, this, &frmMain::OnList);
  connect(filterButton_, &QPushButton::clicked, this, &frmMain::OnFilter);
  connect(refreshButton_, &QPushButton::clicked, this, [this] { RefreshTree(); });
  connect(clearButton_, &QPushButton::clicked, this, &frmMain::OnClear);

  helpButton_ = new QToolButton(this);
  helpButton_->setIcon(OwnIcon("help"));
  helpButton_->setAutoRaise(true);
  helpButton_->setAccessibleName(QStringLiteral("Help"));
  helpButton_->setToolTip(QStringLiteral("Help"));
  helpButton_->setObjectName(QStringLiteral("_cmdHelp"));
  connect(helpButton_, &QToolButton::clicked, this, &frmMain::OnHelp);

  profileLabel_ = new QLabel(QStringLiteral("Profile"), this);
  profileBox_ = new QComboBox(this);
  profileBox_->setObjectName(QStringLiteral("_CmbProfile"));
  profileBox_->setAccessibleName(QStringLiteral("Profile"));
  profileLabel_->setBuddy(profileBox_);
  connect(profileBox_, &QComboBox::activated, this,
          [this](int index) { profiles_->ProfileSelectionChanged(static_cast<std::size_t>(index)); });

  readingLabel_ = new QLabel(QStringLiteral("Reading Meta Data..."), this);
  readingProgress_ = new QProgressBar(this);
  readingProgress_->setAccessibleName(QStringLiteral("Reading Meta Data..."));
  readingProgress_->setTextVisible(false);
  readingLabel_->hide();
  readingProgress_->hide();

  statusLabel_ = new QLabel(this);
  statusLabel_->setAccessibleName(QStringLiteral("Status"));
  statusLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

  // The tree.
  tree_ = new QTreeView(this);
  MarkTicksAccessible(tree_);
  tree_->setObjectName(QStringLiteral("_TreeDrive"));
  tree_->setAccessibleName(QStringLiteral("Folders"));
  tree_->setHeaderHidden(true);
  tree_->setUniformRowHeights(true);
  tree_->setIconSize(QSize(Scaled(kTreeImageSize), Scaled(kTreeImageSize)));
  tree_->setItemDelegate(
      new StateImageDelegate(TreeStateImages(), Scaled(kTreeImageSize), Scaled(kTreeItemHeight), tree_));
  treeModel_ = new FolderTreeModel(selection_, places_);
  treeModel_->tickChanged = [this] { UpdateStatusLine(); };
  treeModel_->expandFolder = [this](NodeId node) { ExpandTreeFolder(node); };
  tree_->setModel(treeModel_);
  connect(tree_, &QTreeView::expanded, this, [this](const QModelIndex& index) {
    if (!networkSearched_ && treeModel_->NodeOf(index) == NetworkNode()) StartNetworkSearch();
  });
  connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
          [this](const QModelIndex&, const QModelIndex&) { OnCurrentFolderChanged(); });

  // The file list.
  list_ = new FileListView(filters_.Types(), kMainColumnsValue, kMainColumnWidthsValue, kDefaultMainColumns, this);
  list_->setObjectName(QStringLiteral("_ListFiles"));
  list_->setAccessibleName(QStringLiteral("Audio files"));
  listModel_ = list_->Model();
  listModel_->tickChanged = [this](std::size_t row, bool ticked) {
    selection_.SetFileSelected(row, ticked);
    UpdateStatusLine();
  };
  list_->checkCommand = [this](CheckCommand command) {
    if (command == CheckCommand::kCheckAll)
      selection_.CheckAll();
    else if (command == CheckCommand::kUncheckAll)
      selection_.UncheckAll();
    else
      selection_.InvertSelection();
    UpdateStatusLine();
  };
  list_->LoadColumns();

  // Tab order: the two views first, where the work is done.
  setTabOrder(tree_, list_);
  setTabOrder(list_, convertButton_);
}

void frmMain::BuildPlaces() {
  AddPlacesToTree(selection_.Tree(), selection_.Lists(), places_, ListPlaces());
  selection_.InitialStatesForLoadedNodes();
}

void frmMain::PlaceWindow() {
  placing_ = true;
  const QScreen* primary = QGuiApplication::primaryScreen();
  const ScreenRect desktop = primary ? ScreenRect::FromQRect(primary->geometry()) : ScreenRect{0, 0, 1024, 768};
  ScreenRect rect{static_cast<int>(SettingsGetDword(kLeftValue)), static_cast<int>(SettingsGetDword(kTopValue)),
                  static_cast<int>(SettingsGetDword(kRightValue)), static_cast<int>(SettingsGetDword(kBottomValue))};
  if (rect.IsNull() || rect.Width() <= 0 || rect.Height() <= 0) rect = MiddleThreeFifths(desktop);
  const QPoint centre((rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2);
  if (!QGuiApplication::screenAt(centre)) rect = desktop;
  savedRect_ = rect;
  setGeometry(rect.ToQRect());

  if (SettingsGetDword(kNotMaxValue) == 0) {
    FitToMonitor();
  } else {
    // A window whose corner is on no part of its monitor (a monitor that went, a
    // resolution that shrank) comes back to the middle of the nearest one.
    const QScreen* nearest = QGuiApplication::screenAt(centre);
    if (!nearest) nearest = primary;
    if (nearest && !nearest->geometry().contains(QPoint(rect.left, rect.top))) {
      savedRect_ = MiddleThreeFifths(ScreenRect::FromQRect(nearest->geometry()));
      setGeometry(savedRect_.ToQRect());
    }
  }
  placing_ = false;
  UpdateCaptionButtons();
}

void frmMain::FitToMonitor() {
  const QScreen* monitor = screen();
  if (!monitor) monitor = QGuiApplication::primaryScreen();
  if (!monitor) return;
  placing_ = true;
  maximised_ = true;
  const ScreenRect fitted = FitToWorkArea(ScreenRect::FromQRect(monitor->availableGeometry()),
                                          ScreenRect::FromQRect(monitor->geometry()));
  setGeometry(fitted.ToQRect());
  placing_ = false;
  UpdateCaptionButtons();
}

void frmMain::RestoreSavedRect() {
  placing_ = true;
  maximised_ = false;
  setGeometry(savedRect_.ToQRect());
  placing_ = false;
  UpdateCaptionButtons();
}

void frmMain::UpdateCaptionButtons() {
  const QString name = maximised_ ? QStringLiteral("Restore") : QStringLiteral("Maximize");
  restoreButton_->setIcon(OwnIcon(maximised_ ? "caption-restore" : "caption-maximize"));
  restoreButton_->setAccessibleName(name);
  restoreButton_->setToolTip(name);
}

void frmMain::DisplayChanged() {
  const QScreen* monitor = screen();
  const bool tooBig = monitor && (width() > monitor->geometry().width() || height() > monitor->geometry().height());
  if (maximised_ || tooBig) displayChange_.start();
}

// ---------------------------------------------------------------------------------
// Layout and painting

int frmMain::DluX(int units) const {
  // A dialog unit is a quarter of the font's average character width.
  static const QString alphabet = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  const int average = (fontMetrics().horizontalAdvance(alphabet) / 26 + 1) / 2;
  return units * average / 4;
}

int frmMain::DluY(int units) const { return units * fontMetrics().height() / 8; }

int frmMain::CaptionHeight() const { return screenReader_ ? 0 : DluY(14); }
int frmMain::TopBandHeight() const { return CaptionHeight() + 1 + DluY(16) + 1; }
int frmMain::BottomBandHeight() const { return DluY(16); }

void frmMain::LayoutControls() {
  const int w = width(), h = height();
  const int top = TopBandHeight(), bottom = BottomBandHeight();
  const int caption = CaptionHeight();
  const int middle = std::max(0, h - top - bottom);
  divider_ = std::max(divider_, kMinimumDivider);
  tree_->setGeometry(0, top, divider_, middle);
  list_->setGeometry(divider_ + kDividerWidth, top, std::max(0, w - (divider_ + kDividerWidth)), middle);

  // Caption buttons at the right of the caption band.
  const int captionButton = std::max(caption - 2, 1);
  closeButton_->setGeometry(w - captionButton - 2, 1, captionButton, captionButton);
  restoreButton_->setGeometry(w - 2 * captionButton - 4, 1, captionButton, captionButton);
  minimizeButton_->setGeometry(w - 3 * captionButton - 6, 1, captionButton, captionButton);

  // The band under the caption: Convert, List, the profile, the key, the reader.
  const int rowY = caption + 1 + DluY(1);
  const int rowH = DluY(14);
  int x = 4;
  convertButton_->setGeometry(x, rowY, Scaled(94), rowH);
  x += Scaled(94) + 6;
  listButton_->setGeometry(x, rowY, Scaled(80), rowH);
  x += Scaled(80) + 16;
  const int labelW = profileLabel_->sizeHint().width();
  profileLabel_->setGeometry(x, rowY, labelW, rowH);
  x += labelW + 6;
  profileBox_->setGeometry(x, rowY, Scaled(220), rowH);
  x += Scaled(220) + 16;
  // The key is painted from here (paintEvent); the reader's progress after it.
  const int keyW = fontMetrics().horizontalAdvance(QStringLiteral("Key  folder & sub-folders   no sub-folders")) +
                   2 * Scaled(kTreeImageSize) + 24;
  x += keyW;
  helpButton_->setGeometry(w - rowH - 4, rowY, rowH, rowH);
  const int readingW = fontMetrics().horizontalAdvance(readingLabel_->text()) + 8;
  readingLabel_->setGeometry(x, rowY, readingW, rowH);
  readingProgress_->setGeometry(x + readingW, rowY + rowH / 4, std::max(0, std::min(Scaled(140), w - rowH - 12 - x - readingW)),
                                rowH / 2);

  // The bottom band.
  const int buttonY = h - bottom + DluY(2);
  const int buttonH = DluY(12);
  refreshButton_->setGeometry(DluX(4), buttonY, DluX(44), buttonH);
  clearButton_->setGeometry(DluX(50), buttonY, DluX(44), buttonH);
  filterButton_->setGeometry(DluX(96), buttonY, DluX(44), buttonH);
  statusLabel_->setGeometry(DluX(146), buttonY, std::max(0, w - DluX(146) - 8), buttonH);
  update();
}

void frmMain::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QPalette& colours = palette();
  painter.fillRect(rect(), colours.color(QPalette::Window));
  const int caption = CaptionHeight();
  if (caption > 0) {
    painter.fillRect(QRect(0, 0, width(), caption), colours.color(QPalette::Window).darker(108));
    const int iconSize = std::min(caption - 4, Scaled(16));
    windowIcon().paint(&painter, QRect(6, (caption - iconSize) / 2, iconSize, iconSize));
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(colours.color(QPalette::WindowText));
    painter.drawText(QRect(12 + iconSize, 0, width() - 200, caption), Qt::AlignVCenter | Qt::AlignLeft, title_);
    painter.setFont(font());
  }
  // The key of the tree's images.
  const int rowY = caption + 1 + DluY(1);
  const int rowH = DluY(14);
  int x = profileBox_->geometry().right() + 16;
  const int image = Scaled(kTreeImageSize);
  painter.setPen(colours.color(QPalette::WindowText));
  const auto drawText = [&](const QString& text) {
    const int w = fontMetrics().horizontalAdvance(text);
    painter.drawText(QRect(x, rowY, w, rowH), Qt::AlignVCenter, text);
    x += w + 6;
  };
  const auto drawImage = [&](const char* name) {
    OwnIcon(name).paint(&painter, QRect(x, rowY + (rowH - image) / 2, image, image));
    x += image + 3;
  };
  drawText(QStringLiteral("Key"));
  drawImage("tick-folder-and-sub");
  drawText(QStringLiteral("folder & sub-folders"));
  drawImage("tick-folder-no-sub");
  drawText(QStringLiteral("no sub-folders"));
  // The divider between tree and list.
  painter.fillRect(QRect(divider_, TopBandHeight(), kDividerWidth, height() - TopBandHeight() - BottomBandHeight()),
                   colours.color(QPalette::Window));
}

void frmMain::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (!maximised_ && !placing_) savedRect_ = ScreenRect::FromQRect(geometry());
  LayoutControls();
}

void frmMain::moveEvent(QMoveEvent* event) {
  QWidget::moveEvent(event);
  if (!maximised_ && !placing_) savedRect_ = ScreenRect::FromQRect(geometry());
}

void frmMain::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange) LayoutControls();
}

// ---------------------------------------------------------------------------------
// Mouse: the divider, the caption and the frame

bool frmMain::InDividerZone(QPoint pos) const {
  return pos.x() >= divider_ && pos.x() <= divider_ + kDividerWidth && pos.y() > TopBandHeight() &&
         pos.y() < height() - BottomBandHeight();
}

Qt::Edges frmMain::ResizeEdgesAt(QPoint pos) const {
  Qt::Edges edges;
  if (screenReader_ || maximised_) return edges;
  if (pos.x() < kResizeBorder) edges |= Qt::LeftEdge;
  if (pos.x() >= width() - kResizeBorder) edges |= Qt::RightEdge;
  if (pos.y() < kResizeBorder) edges |= Qt::TopEdge;
  if (pos.y() >= height() - kResizeBorder) edges |= Qt::BottomEdge;
  return edges;
}

void frmMain::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  const QPoint pos = event->position().toPoint();
  if (InDividerZone(pos)) {
    draggingDivider_ = true;
    lastDragX_ = pos.x();
    grabMouse(Qt::SizeHorCursor);
    return;
  }
  if (const Qt::Edges edges = ResizeEdgesAt(pos); edges && windowHandle()) {
    windowHandle()->startSystemResize(edges);
    return;
  }
  if (pos.y() < CaptionHeight() && windowHandle()) {
    // The window manager moves the window: this works on X11 and Wayland alike.
    if (!maximised_) windowHandle()->startSystemMove();
    return;
  }
  QWidget::mousePressEvent(event);
}

void frmMain::mouseMoveEvent(QMouseEvent* event) {
  const QPoint pos = event->position().toPoint();
  if (draggingDivider_) {
    divider_ = DragDivider(divider_, pos.x() - lastDragX_);
    lastDragX_ = pos.x();
    LayoutControls();
    return;
  }
  const Qt::Edges edges = ResizeEdgesAt(pos);
  if (InDividerZone(pos) || edges == Qt::LeftEdge || edges == Qt::RightEdge)
    setCursor(Qt::SizeHorCursor);
  else if (edges == Qt::TopEdge || edges == Qt::BottomEdge)
    setCursor(Qt::SizeVerCursor);
  else if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
    setCursor(Qt::SizeFDiagCursor);
  else if (edges)
    setCursor(Qt::SizeBDiagCursor);
  else
    setCursor(Qt::ArrowCursor);
}

void frmMain::mouseReleaseEvent(QMouseEvent* event) {
  if (draggingDivider_) {
    draggingDivider_ = false;
    releaseMouse();
    return;
  }
  QWidget::mouseReleaseEvent(event);
}

void frmMain::mouseDoubleClickEvent(QMouseEvent* event) {
  // A double click on the caption fits or restores, as on every desktop.
  if (event->button() == Qt::LeftButton && event->position().y() < CaptionHeight()) {
    if (maximised_)
      RestoreSavedRect();
    else
      FitToMonitor();
    return;
  }
  QWidget::mouseDoubleClickEvent(event);
}

// ---------------------------------------------------------------------------------
// The tick

void frmMain::Tick() {
  if (displayChange_.isValid() && displayChange_.elapsed() > kDisplayChangeDelayMs) {
    displayChange_.invalidate();
    FitToMonitor();
  }
  instance_.Receive([this](const std::u16string& path) {
    if (GoToPath) GoToPath(path);
  });
  std::vector<MetadataResult> results;
  if (reader_.Take(results) > 0 && listModel_->ApplyMetadata(results) > 0) UpdateStatusLine();
  UpdateReadingIndicator();
}

void frmMain::UpdateReadingIndicator() {
  const bool reading = reader_.Running();
  if (reading) {
    readingProgress_->setRange(0, static_cast<int>(reader_.Total()));
    readingProgress_->setValue(static_cast<int>(reader_.Done()));
  }
  if (readingLabel_->isVisible() != reading) {
    readingLabel_->setVisible(reading);
    readingProgress_->setVisible(reading);
  }
}

// ---------------------------------------------------------------------------------
// The tree, the list and the status line

void frmMain::OpenPath(const std::u16string& given) {
  std::u16string path = TrimSpaces(given);
  if (path.size() < 3) return;
  const QFileInfo info(Q(path));
  if (info.exists() && !info.isDir()) path = std::u16string(FolderOf(path));
  path = WithTrailingSeparator(path);
  // The deepest place that holds the path is where the walk down starts.
  const FolderTree& tree = selection_.Tree();
  NodeId node = kNoNode;
  std::size_t best = 0;
  for (const NodeId top : tree.TopLevelNodes()) {
    const std::u16string& root = tree.PathOf(top);
    if (!root.empty() && root.size() > best && PathEqualsNoCase(path, root, root.size())) {
      node = top;
      best = root.size();
    }
  }
  if (node == kNoNode) return;
  while (tree.PathOf(node).size() < path.size()) {
    const QModelIndex index = treeModel_->IndexOf(node);
    if (treeModel_->canFetchMore(index)) treeModel_->fetchMore(index);
    tree_->expand(index);
    NodeId next = kNoNode;
    for (const NodeId child : tree.ChildrenOf(node)) {
      const std::u16string& childPath = tree.PathOf(child);
      if (PathEqualsNoCase(path, childPath, childPath.size())) {
        next = child;
        break;
      }
    }
    if (next == kNoNode) break;  // gone, hidden or skipped: stop at the nearest folder
    node = next;
  }
  const QModelIndex target = treeModel_->IndexOf(node);
  tree_->setCurrentIndex(target);
  tree_->scrollTo(target);
}

void frmMain::OnCurrentFolderChanged() {
  RefillFileList();
}

NodeId frmMain::CurrentNode() const {
  return tree_ && treeModel_ ? treeModel_->NodeOf(tree_->currentIndex()) : kNoNode;
}

std::size_t frmMain::FileRowCount() const { return listModel_ ? listModel_->RowCount() : 0; }

std::u16string_view frmMain::FileRowPath(std::size_t row) const { return listModel_->Row(row).entry.path; }

int frmMain::FileRowImage(std::size_t row) const { return listModel_->Row(row).image; }

void frmMain::SetFileRowImage(std::size_t row, int image) { listModel_->SetImage(row, image); }

void frmMain::RefillFileList() {
  if (!listModel_) return;
  QApplication::setOverrideCursor(Qt::BusyCursor);
  reader_.Stop();
  const NodeId node = CurrentNode();
  std::vector<FileEntry> entries;
  const std::u16string& folder = selection_.Tree().PathOf(node);
  if (node != kNoNode && !folder.empty() && folder.front() != u'{') {
    if (OnNetwork(folder)) {
      std::u16string failure;
      entries = ListFolderFilesOnWorker(folder, filters_, *this, failure).value_or(std::vector<FileEntry>());
      if (!failure.empty()) ShowPrompt(failure, kMessageTitle, kPromptOk | kPromptIconWarning);
    } else {
      entries = ListFolderFiles(folder, filters_, *audio_, decoder_);
    }
  }
  listModel_->SetEntries(std::move(entries), nullptr);
  for (std::size_t row = 0; row < listModel_->RowCount(); ++row)
    listModel_->SetImage(row, selection_.IsFileSelected(row) ? kFileImageTicked : kFileImageUnticked);
  list_->Resort();
  reader_.Start(listModel_->ListedPaths());
  UpdateStatusLine();
  UpdateReadingIndicator();
  QApplication::restoreOverrideCursor();
}

void frmMain::UpdateStatusLine() {
  const NodeId node = CurrentNode();
  if (node == kNoNode || !listModel_) {
    status_.clear();
  } else {
    std::int64_t shownSize = 0, chosenSize = 0;
    std::size_t chosen = 0;
    const std::size_t rows = listModel_->RowCount();
    for (std::size_t row = 0; row < rows; ++row) {
      const FileRow& file = listModel_->Row(row);
      shownSize += static_cast<std::int64_t>(file.entry.size);
      if (file.image != kFileImageUnticked) {
        ++chosen;
        chosenSize += static_cast<std::int64_t>(file.entry.size);
      }
    }
    std::u16string text = FormatInteger(static_cast<std::int64_t>(rows)) + u" Audio Files Shown";
    if (shownSize != 0) text += u" (" + FormatSize(shownSize) + u")";
    if (chosen != 0)
      text += u", " + FormatInteger(static_cast<std::int64_t>(chosen)) + u" Files Selected (" + FormatSize(chosenSize) +
              u")";
    text += u" in Folder: " + selection_.Tree().PathOf(node);
    status_ = QString::fromStdU16String(text);
  }
  if (statusLabel_) {
    statusLabel_->setText(status_);
    statusLabel_->setAccessibleDescription(status_);
  }
}

void frmMain::ClearFilters() {
  filters_.Clear();
  audio_->ClearCache();
  UpdateFilterButton();
}

// ---------------------------------------------------------------------------------
// Commands

void frmMain::OnConvert() {
  Convert(*static_cast<ConversionHost*>(this));
}

void frmMain::OnList() {
  StopMetadataReader();
  std::vector<std::u16string> files;
  if (!GatherFiles(*static_cast<ConversionHost*>(this), files)) return;
  frmList dialog(std::move(files), filters_.Types(), this);
  const int result = dialog.exec();
  if (result == kConvertResult) ConvertFiles(*static_cast<ConversionHost*>(this), dialog.CheckedFiles());
  // The reader was stopped for the gathering; the shown folder's rows still need it.
  RefillFileList();
}

void frmMain::OnFilter() {
  // The tag tabs offer the values of the chosen files: read them first, with the
  // progress the collector shows on a long walk.
  StopMetadataReader();
  CollectSelectedFiles(selection_.Lists(), filters_, decoder_, true, u"Reading tags: ",
                       *static_cast<ConversionHost*>(this));
  frmFilter dialog(filters_, this);
  if (dialog.exec() == 1) {
    audio_->ClearCache();
    UpdateFilterButton();
  }
  RefillFileList();
}

void frmMain::UpdateFilterButton() {
  // A filter that is on narrows every list and conversion: the button says so.
  const bool active = filters_.AnyFilterActive();
  QFont font = filterButton_->font();
  font.setBold(active);
  filterButton_->setFont(font);
  filterButton_->setAccessibleDescription(active ? QStringLiteral("Filters are on")
                                                 : QStringLiteral("Remove Audio Types From Conversion"));
}

void frmMain::OnClear() {
  if (selection_.ResetSelections()) UpdateStatusLine();
}

void frmMain::OnHelp() {
  const QString page = HelpPagePath();
  if (page.isEmpty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(page)))
    ShowPrompt(u"The help page could not be opened.", kMessageTitle, kPromptOk | kPromptIconWarning);
}

void frmMain::RefreshTree() {
  // Folders are read afresh: the loaded branches go and the way down to the
  // current folder is opened again, with every tick drawn from the lists.
  const std::u16string current = selection_.Tree().PathOf(CurrentNode());
  FolderTreeEditor editor(selection_.Tree());
  RefreshDrives(editor, selection_.Lists(), places_, ListDrives());
  for (const NodeId top : std::vector<NodeId>(selection_.Tree().TopLevelNodes())) {
    if (places_.Find(top) && places_.Find(top)->kind == PlaceKind::kNetwork) continue;
    selection_.Tree().DiscardChildren(top);
    selection_.Tree().SetHasChildren(top, true);
  }
  selection_.InitialStatesForLoadedNodes();
  if (networkSearched_) StartNetworkSearch();
  if (!current.empty() && current.front() != u'{') OpenPath(current);
  RefillFileList();
}

void frmMain::OnDrivesChanged() {
  FolderTreeEditor editor(selection_.Tree());
  const DriveRefreshResult result = RefreshDrives(editor, selection_.Lists(), places_, ListDrives());
  for (const NodeId node : result.added) selection_.InitialNodeState(node);
}

void frmMain::DropPaths(const QStringList& paths) {
  STStringStorage known;
  ListDecodableExtensions(known);
  SelectionLists& lists = selection_.Lists();
  bool changed = false;
  for (const QString& dropped : paths) {
    const std::u16string path = dropped.toStdU16String();
    if (path.empty() || path.size() > 260) continue;
    const QFileInfo info(dropped);
    if (info.isDir()) {
      const std::u16string folder = WithTrailingSeparator(path);
      RemovePath(lists.lstFoldersNoSub, folder);
      RemovePath(lists.lstFoldersExclude, folder);
      if (!ContainsPath(lists.lstFoldersAndSub, folder)) lists.lstFoldersAndSub.push_back(folder);
      changed = true;
    } else if (info.isFile()) {
      // A dropped file of a type some decoder reads is chosen on its own.
      const QString suffix = QStringLiteral(".") + info.suffix();
      if (info.suffix().isEmpty() || known.Find(suffix.toStdU16String()) == STStringStorage::npos) continue;
      RemovePath(lists.lstSingleFilesExclude, path);
      if (!ContainsPath(lists.lstSingleFiles, path)) lists.lstSingleFiles.push_back(path);
      changed = true;
    }
  }
  if (!changed) return;
  selection_.InitialStatesForLoadedNodes();
  for (const NodeId top : selection_.Tree().TopLevelNodes()) selection_.RefreshDescendantStates(top);
  RefillFileList();
}

void frmMain::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void frmMain::dropEvent(QDropEvent* event) {
  QStringList paths;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) paths << url.toLocalFile();
  DropPaths(paths);
  event->acceptProposedAction();
}

// ---------------------------------------------------------------------------------
// Conversion host and profile window

void frmMain::SetBusy(bool busy) {
  if (busy)
    QApplication::setOverrideCursor(Qt::WaitCursor);
  else
    QApplication::restoreOverrideCursor();
}

void frmMain::ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) {
  RunProcessingDialog(this, progress, cancel, finished);
}

void frmMain::ReportPathsTooLong(const std::vector<std::u16string>& paths) {
  if (paths.empty()) return;
  // Never lost without a word: name what was left out (the first few of a long list).
  constexpr std::size_t kNamed = 12;
  std::u16string text = u"These files and folders were left out: their paths are longer than the system can open.\n";
  for (std::size_t i = 0; i < paths.size() && i < kNamed; ++i) text += u"\n" + paths[i];
  if (paths.size() > kNamed)
    text += u"\n... and " + FormatInteger(static_cast<std::int64_t>(paths.size() - kNamed)) + u" more";
  ShowPrompt(text, kMessageTitle, kPromptOk | kPromptIconWarning);
}

void frmMain::StopMetadataReader() {
  reader_.Stop();
  UpdateReadingIndicator();
}

std::int64_t frmMain::WindowHandle() const { return static_cast<std::int64_t>(winId()); }

std::u16string frmMain::ProfileBoxText() const { return profileBox_->currentText().toStdU16String(); }

void frmMain::HideWindow() { hide(); }

void frmMain::ShowWindow() {
  show();
  raise();
}

std::optional<std::u16string> frmMain::RunNewProfileDialog() { return tessaroven::RunNewProfileDialog(this); }

void frmMain::ProfileListChanged() {
  const QSignalBlocker quiet(profileBox_);
  profileBox_->clear();
  const ProfileList& list = profiles_->List();
  for (const std::u16string& entry : list.entries) profileBox_->addItem(Q(entry));
  profileBox_->setCurrentIndex(static_cast<int>(list.selected));
  // A profile brings its own filters.
  audio_->ClearCache();
  UpdateFilterButton();
  UpdateStatusLine();
}

// ---------------------------------------------------------------------------------
// The network

void frmMain::QueuedWaker::Wake() {
  // From the search's worker: the call runs on this window's thread.
  QMetaObject::invokeMethod(
      &window_, [window = &window_] { window->networkQueue_.RunPending(); }, Qt::QueuedConnection);
}

NodeId frmMain::NetworkNode() const {
  for (const PlaceNodes::Entry& entry : places_.Entries())
    if (entry.place.kind == PlaceKind::kNetwork) return entry.node;
  return kNoNode;
}

void frmMain::UseNetworkNamespace(NetworkSearch::NamespaceFactory makeNamespace) {
  if (network_) network_->Stop();
  network_ = std::make_unique<NetworkSearch>(networkQueue_, *static_cast<NetworkSearchSink*>(this),
                                             std::move(makeNamespace));
}

void frmMain::StartNetworkSearch() {
  if (!network_) UseNetworkNamespace({});
  network_->Stop();
  if (networkSearched_) {
    // Found again from scratch: a computer may have gone, a share been added.
    ResetNetworkEntry(selection_, places_, NetworkNode());
    networkFolders_.clear();
  }
  networkSearched_ = true;
  network_->Start();
}

void frmMain::ComputerFound(const std::shared_ptr<const STServer>& server) {
  if (AddComputerToTree(selection_, places_, NetworkNode(), *server) == kNoNode) return;
  for (const std::u16string& path : server->sharePaths) networkFolders_.push_back(WithTrailingSeparator(path));
}

void frmMain::SearchEnded(std::size_t computers, bool) {
  if (computers == 0) MarkNoComputersFound(selection_, places_);
}

bool frmMain::OnNetwork(const std::u16string& folder) const {
  for (const std::u16string& share : networkFolders_)
    if (PathStartsWith(folder, share)) return true;
  for (const PlaceNodes::Entry& entry : places_.Entries())
    if (entry.place.driveType == kDriveRemote && PathStartsWith(folder, entry.place.path)) return true;
  return false;
}

void frmMain::ExpandTreeFolder(NodeId node) {
  const std::u16string folder = selection_.Tree().PathOf(node);
  if (!OnNetwork(folder)) {
    QApplication::setOverrideCursor(Qt::BusyCursor);
    ExpandFolderNode(selection_, node);
    QApplication::restoreOverrideCursor();
    return;
  }
  std::u16string failure;
  std::optional<std::vector<std::u16string>> paths = ReadSubFoldersOnWorker(folder, *this, failure);
  if (!failure.empty()) ShowPrompt(failure, kMessageTitle, kPromptOk | kPromptIconWarning);
  // Cancelled, or left behind on a server that stopped answering: the folder stays
  // unread and offers to expand again.
  if (paths) AddSubFolders(selection_, node, std::move(*paths));
}

// ---------------------------------------------------------------------------------
// Closing

void frmMain::SaveLayout() {
  // Each value through its own opening of the key: a value that cannot be written
  // does not keep the others from being saved.
  SettingsSetDword(maximised_ ? 0 : 1, kNotMaxValue);
  SettingsSetDword(static_cast<std::uint32_t>(savedRect_.left), kLeftValue);
  SettingsSetDword(static_cast<std::uint32_t>(savedRect_.right), kRightValue);
  SettingsSetDword(static_cast<std::uint32_t>(savedRect_.top), kTopValue);
  SettingsSetDword(static_cast<std::uint32_t>(savedRect_.bottom), kBottomValue);
  SettingsSetDword(static_cast<std::uint32_t>(divider_), kDividerValue);
  list_->SaveColumns();
}

void frmMain::closeEvent(QCloseEvent* event) {
  reader_.Stop();
  // The search must not add computers to a tree whose profile is being saved.
  if (network_) network_->Stop();
  SaveLayout();
  profiles_->SaveProfile();
  QWidget::closeEvent(event);
}

}  // namespace tessaroven
