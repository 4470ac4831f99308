#include "converter/window/converter_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>
#include <QWindow>

#include "base/path.h"
#include "converter/terminal_face.h"

namespace kovantrix {
namespace {

QString Q(std::u16string_view text) { return QString::fromStdU16String(std::u16string(text)); }

constexpr int kFileColumn = 0;
constexpr int kStateColumn = 1;

QString StateCell(const FileStatus& status) {
  switch (status.state) {
    case FileState::kWaiting: return QStringLiteral("Waiting");
    case FileState::kConverting:
      return QStringLiteral("Converting %1%").arg(static_cast<int>(status.progress * 100.0));
    case FileState::kDone: return QStringLiteral("Done");
    case FileState::kFailed: return QStringLiteral("Failed: ") + Q(status.message);
    case FileState::kSkipped: return QStringLiteral("Skipped: ") + Q(status.message);
    case FileState::kCancelled: return QStringLiteral("Cancelled");
  }
  return {};
}

}  // namespace

// Hands the batch's reports, which come from its workers, to the window's thread.
class ConverterWindow::Relay : public BatchObserver {
 public:
  explicit Relay(ConverterWindow* window) : window_(window) {}
  void FileChanged(std::size_t index, const FileStatus& status) override {
    QMetaObject::invokeMethod(window_, [window = window_, index, status] { window->ShowFile(index, status); },
                              Qt::QueuedConnection);
  }
  void Finished() override {
    QMetaObject::invokeMethod(window_, [window = window_] { window->ShowEnd(); }, Qt::QueuedConnection);
  }

 private:
  ConverterWindow* window_;
};

ConverterWindow::ConverterWindow(const Plan& plan, QWidget* parent)
    : QWidget(parent), plan_(plan), relay_(std::make_unique<Relay>(this)) {
  setWindowTitle(QStringLiteral("Kovantrix: converting %1 files").arg(plan_.files.size()));

  format_ = new QComboBox;
  format_->setObjectName(QStringLiteral("format"));
  for (const FormatInfo& info : AllFormats()) format_->addItem(Q(info.label), Q(info.name));
  format_->setCurrentIndex(format_->findData(Q(plan_.choices.Info().name)));
  preset_ = new QComboBox;
  preset_->setObjectName(QStringLiteral("preset"));
  FillPresets();
  preset_->setCurrentIndex(std::max(0, preset_->findData(Q(plan_.choices.ThePreset().name))));
  connect(format_, &QComboBox::currentIndexChanged, this, [this] { FillPresets(); });

  folder_ = new QLineEdit(Q(plan_.choices.outputFolder));
  folder_->setObjectName(QStringLiteral("outputFolder"));
  browse_ = new QPushButton(QStringLiteral("Browse..."));
  connect(browse_, &QPushButton::clicked, this, [this] {
    const QString chosen = QFileDialog::getExistingDirectory(this, QStringLiteral("Output Folder"), folder_->text());
    if (!chosen.isEmpty()) folder_->setText(chosen);
  });
  auto* folderRow = new QHBoxLayout;
  folderRow->addWidget(folder_, 1);
  folderRow->addWidget(browse_);
  overwrite_ = new QCheckBox(QStringLiteral("Replace files that exist already"));
  overwrite_->setObjectName(QStringLiteral("overwrite"));
  overwrite_->setChecked(plan_.choices.overwrite);

  auto* form = new QFormLayout;
  form->addRow(QStringLiteral("Format:"), format_);
  form->addRow(QStringLiteral("Quality:"), preset_);
  form->addRow(QStringLiteral("Output folder:"), folderRow);
  form->addRow(QString(), overwrite_);

  files_ = new QTreeWidget;
  files_->setObjectName(QStringLiteral("files"));
  files_->setRootIsDecorated(false);
  files_->setUniformRowHeights(true);
  files_->setHeaderLabels({QStringLiteral("File"), QStringLiteral("State")});
  files_->header()->setSectionResizeMode(kFileColumn, QHeaderView::Stretch);
  files_->header()->setSectionResizeMode(kStateColumn, QHeaderView::Interactive);
  files_->header()->resizeSection(kStateColumn, 220);
  QList<QTreeWidgetItem*> rows;
  for (const std::u16string& file : plan_.files)
    rows.append(new QTreeWidgetItem(QStringList{Q(file), QStringLiteral("Waiting")}));
  files_->addTopLevelItems(rows);

  overall_ = new QProgressBar;
  overall_->setObjectName(QStringLiteral("overall"));
  overall_->setRange(0, 1000);
  overall_->setValue(0);
  overall_->setTextVisible(false);
  timeLeft_ = new QLabel;
  auto* progressRow = new QHBoxLayout;
  progressRow->addWidget(overall_, 1);
  progressRow->addWidget(timeLeft_);
  summary_ = new QLabel(QStringLiteral("%1 files to convert.").arg(plan_.files.size()));
  summary_->setObjectName(QStringLiteral("summary"));
  summary_->setWordWrap(true);

  convert_ = new QPushButton(QStringLiteral("Convert"));
  convert_->setObjectName(QStringLiteral("convert"));
  convert_->setDefault(true);
  cancel_ = new QPushButton(QStringLiteral("Cancel"));
  cancel_->setObjectName(QStringLiteral("cancel"));
  openFolder_ = new QPushButton(QStringLiteral("Open Output Folder"));
  openFolder_->setObjectName(QStringLiteral("openFolder"));
  openFolder_->setVisible(false);
  connect(convert_, &QPushButton::clicked, this, [this] { StartConversion(); });
  connect(cancel_, &QPushButton::clicked, this, [this] {
    if (Running()) CancelConversion();
    else close();
  });
  connect(openFolder_, &QPushButton::clicked, this, [this] {
    QDesktopServices::openUrl(QUrl::fromLocalFile(Q(batch_ ? batch_->TheChoices().outputFolder : CurrentChoices().outputFolder)));
  });
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(openFolder_);
  buttons->addStretch(1);
  buttons->addWidget(convert_);
  buttons->addWidget(cancel_);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(files_, 1);
  layout->addLayout(progressRow);
  layout->addWidget(summary_);
  layout->addLayout(buttons);

  ticker_ = new QTimer(this);
  ticker_->setInterval(250);
  connect(ticker_, &QTimer::timeout, this, [this] { ShowOverall(); });
  resize(760, 480);
}

ConverterWindow::~ConverterWindow() {
  // The workers report to the relay until they have ended.
  batch_.reset();
}

void ConverterWindow::FillPresets() {
  const FormatInfo* info = FindFormat(format_->currentData().toString().toStdU16String());
  if (info == nullptr) return;
  preset_->clear();
  for (const Preset& preset : info->presets) preset_->addItem(Q(preset.label), Q(preset.name));
  preset_->setCurrentIndex(static_cast<int>(info->defaultPreset));
}

Choices ConverterWindow::CurrentChoices() const {
  Choices choices = plan_.choices;
  if (const FormatInfo* info = FindFormat(format_->currentData().toString().toStdU16String())) {
    choices.format = info->format;
    choices.preset = std::u16string(PresetOrDefault(*info, preset_->currentData().toString().toStdU16String()).name);
  }
  const std::u16string folder = folder_->text().trimmed().toStdU16String();
  if (!folder.empty()) choices.outputFolder = tessaroven::WithTrailingSeparator(folder);
  choices.overwrite = overwrite_->isChecked();
  return choices;
}

bool ConverterWindow::Running() const { return batch_ != nullptr && !ended_; }

void ConverterWindow::StartConversion() {
  if (batch_) return;
  const Choices choices = CurrentChoices();
  SaveChoices(choices, plan_.arguments.profile);
  for (QWidget* choice : std::initializer_list<QWidget*>{format_, preset_, folder_, browse_, overwrite_})
    choice->setEnabled(false);
  convert_->setEnabled(false);
  summary_->setText(QStringLiteral("Converting into %1").arg(Q(choices.outputFolder)));
  batch_ = std::make_unique<Batch>(plan_.files, choices, plan_.arguments.jobs.value_or(DefaultWorkerCount()));
  ticker_->start();
  batch_->Start(relay_.get());
}

void ConverterWindow::CancelConversion() {
  if (!Running()) return;
  batch_->Cancel();
  cancel_->setEnabled(false);
  summary_->setText(QStringLiteral("Cancelling..."));
}

void ConverterWindow::ShowFile(std::size_t index, const FileStatus& status) {
  QTreeWidgetItem* row = files_->topLevelItem(static_cast<int>(index));
  if (row == nullptr) return;
  row->setText(kStateColumn, StateCell(status));
  row->setToolTip(kFileColumn, Q(status.target));
  if (!status.message.empty()) row->setToolTip(kStateColumn, Q(status.message));
  if (status.state == FileState::kConverting && status.progress == 0) files_->scrollToItem(row);
}

void ConverterWindow::ShowOverall() {
  if (!batch_) return;
  const double fraction = batch_->Fraction();
  overall_->setValue(static_cast<int>(fraction * 1000.0));
  const auto left = TimeLeft(fraction, batch_->Elapsed());
  timeLeft_->setText(left && !ended_ ? Q(ClockText(*left) + u" left") : QString());
}

void ConverterWindow::ShowEnd() {
  if (ended_ || !batch_) return;
  batch_->Wait();
  ended_ = true;
  ticker_->stop();
  ShowOverall();
  const Tally tally = batch_->Count();
  exitCode_ = ExitCodeFor(tally);
  std::u16string text = SummaryText(tally, batch_->TheChoices().outputFolder, batch_->Elapsed(),
                                    batch_->CancelFlag()->load());
  if (!text.empty() && text.back() == u'\n') text.pop_back();
  summary_->setText(Q(text));
  openFolder_->setVisible(tally.done > 0);
  cancel_->setText(QStringLiteral("Close"));
  cancel_->setEnabled(true);
  cancel_->setDefault(true);
}

void ConverterWindow::closeEvent(QCloseEvent* event) {
  if (Running()) {
    // Nothing is left half-written: the running files stop and remove their parts.
    batch_->Cancel();
    batch_->Wait();
    ShowEnd();
  }
  event->accept();
}

void ConverterWindow::PlaceOver(std::optional<std::int64_t> selectorWindow) {
  QRect over;
  const QString platform = QGuiApplication::platformName();
  // Only X11 and Windows let a program look up another program's window.
  if (selectorWindow && *selectorWindow != 0 && (platform == QLatin1String("xcb") || platform == QLatin1String("windows"))) {
    if (QWindow* foreign = QWindow::fromWinId(static_cast<WId>(*selectorWindow))) {
      over = foreign->geometry();
      delete foreign;
    }
  }
  if (!over.isValid()) {
    if (QScreen* screen = QGuiApplication::primaryScreen()) over = screen->availableGeometry();
  }
  if (over.isValid()) move(over.center() - QPoint(width() / 2, height() / 2));
}

int RunWindow(int& argc, char** argv, const Plan& plan) {
  QApplication application(argc, argv);
  ConverterWindow window(plan);
  window.PlaceOver(plan.arguments.centerOnWindow);
  window.show();
  application.exec();
  return window.Ended() ? window.ExitCode() : kExitSomeNotConverted;
}

void ShowFailureBox(int& argc, char** argv, const std::u16string& text) {
  QApplication application(argc, argv);
  QMessageBox::critical(nullptr, QStringLiteral("Kovantrix"), Q(text));
}

}  // namespace kovantrix
