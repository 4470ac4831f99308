#include "ui/list_dialog.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/format.h"
#include "base/user_prompts.h"
#include "filters/file_times.h"
#include "ui/column_set.h"
#include "ui/file_list_view.h"
#include "ui/icons.h"

namespace tessaroven {

const std::vector<std::u16string_view> kDefaultListColumns = {u"Name",   u"Folder", u"Size",  u"Type", u"Length",
                                                              u"Artist", u"Album",  u"Title", u"Bit Rate"};

namespace {

FileEntry EntryOf(std::u16string path) {
  FileEntry entry;
  const QFileInfo info(QString::fromStdU16String(path));
  entry.size = static_cast<std::uint64_t>(std::max<qint64>(info.size(), 0));
  FileTimes times;
  if (ReadFileTimes(path, times)) {
    entry.modified = times.lastWrite;
    entry.created = times.creation;
    entry.accessed = times.lastAccess;
  }
  entry.path = std::move(path);
  return entry;
}

}  // namespace

frmList::frmList(std::vector<std::u16string> files, const TypeFilter& types, QWidget* owner) : QDialog(owner) {
  setObjectName(QStringLiteral("frmList"));
  setWindowTitle(QString::fromStdU16String(std::u16string(kMessageTitle)) + QStringLiteral(": Audio Files Converting"));
  resize(1000, 600);
  list_ = new FileListView(types, kListColumnsValue, kListColumnWidthsValue, kDefaultListColumns, this);
  list_->setAccessibleName(QStringLiteral("Audio files converting"));
  list_->LoadColumns(kListRequiredColumns);
  summaryLabel_ = new QLabel(this);
  summaryLabel_->setAccessibleName(QStringLiteral("Summary"));
  auto* buttons = new QDialogButtonBox(this);
  convert_ = buttons->addButton(QStringLiteral("Convert"), QDialogButtonBox::ActionRole);
  QPushButton* ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
  QPushButton* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
  convert_->setIcon(OwnIcon("convert"));
  connect(convert_, &QPushButton::clicked, this, [this] { done(kConvertResult); });
  connect(ok, &QPushButton::clicked, this, &QDialog::accept);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(list_, 1);
  layout->addWidget(summaryLabel_);
  layout->addWidget(buttons);

  std::vector<FileEntry> entries;
  entries.reserve(files.size());
  for (std::u16string& file : files) entries.push_back(EntryOf(std::move(file)));
  // Every file handed over is meant to be converted until the user says otherwise.
  list_->Model()->SetEntries(std::move(entries), [](const FileEntry&) { return kFileImageTicked; });
  list_->Model()->tickChanged = [this](std::size_t, bool) { UpdateSummary(); };
  list_->checkCommand = [this](CheckCommand command) {
    FileListModel* model = list_->Model();
    for (std::size_t row = 0; row < model->RowCount(); ++row) {
      const bool ticked = model->Row(row).image == kFileImageTicked;
      const bool now = command == CheckCommand::kCheckAll ? true
                       : command == CheckCommand::kUncheckAll ? false
                                                              : !ticked;
      model->SetImage(row, now ? kFileImageTicked : kFileImageUnticked);
    }
    UpdateSummary();
  };
  reader_.Start(list_->Model()->ListedPaths());
  connect(&tick_, &QTimer::timeout, this, &frmList::Tick);
  tick_.start(50);
  UpdateSummary();
}

frmList::~frmList() { reader_.Stop(); }

void frmList::Tick() {
  std::vector<MetadataResult> results;
  if (reader_.Take(results) == 0) return;
  applied_ += list_->Model()->ApplyMetadata(results);
  UpdateSummary();
}

bool frmList::Reading() const { return applied_ < list_->Model()->RowCount(); }

void frmList::UpdateSummary() {
  const FileListModel* model = list_->Model();
  std::size_t count = 0;
  std::int64_t size = 0, length = 0;
  for (std::size_t row = 0; row < model->RowCount(); ++row) {
    const FileRow& file = model->Row(row);
    if (file.image == kFileImageUnticked) continue;
    ++count;
    size += static_cast<std::int64_t>(file.entry.size);
    if (file.info) length += file.info->lengthMs;
  }
  std::u16string text = u"Converting " + FormatInteger(static_cast<std::int64_t>(count)) + u" Files";
  if (Reading()) text += u", Reading Meta Data...";
  text += u", Source Size: " + FormatSize(size) + u"  Length: " + FormatDuration(length, DurationStyle::kWords);
  summary_ = QString::fromStdU16String(text);
  summaryLabel_->setText(summary_);
}

std::vector<std::u16string> frmList::CheckedFiles() const {
  std::vector<std::u16string> files;
  const FileListModel* model = list_->Model();
  for (std::size_t row = 0; row < model->RowCount(); ++row)
    if (model->Row(row).image != kFileImageUnticked) files.push_back(model->Row(row).entry.path);
  return files;
}

void frmList::done(int result) {
  reader_.Stop();
  tick_.stop();
  list_->SaveColumns();
  QDialog::done(result);
}

}  // namespace tessaroven
