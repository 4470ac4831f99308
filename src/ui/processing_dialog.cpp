#include "ui/processing_dialog.h"

#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "base/user_prompts.h"

namespace tessaroven {

void RunProcessingDialog(QWidget* owner, const CollectProgress& progress, XEvent& cancel, const XEvent& finished) {
  QDialog dialog(owner);
  dialog.setObjectName(QStringLiteral("dlgProcessing"));
  dialog.setWindowTitle(QString::fromStdU16String(std::u16string(kMessageTitle)));
  dialog.setModal(true);
  auto* layout = new QVBoxLayout(&dialog);
  auto* text = new QLabel(QString::fromStdU16String(progress.Text()), &dialog);
  text->setAccessibleName(QStringLiteral("Progress"));
  text->setMinimumWidth(320);
  auto* bar = new QProgressBar(&dialog);
  bar->setRange(0, 0);  // the number of files to come is unknown
  bar->setAccessibleName(QStringLiteral("Collecting files"));
  auto* cancelButton = new QPushButton(QStringLiteral("Cancel"), &dialog);
  layout->addWidget(text);
  layout->addWidget(bar);
  layout->addWidget(cancelButton, 0, Qt::AlignRight);

  std::uint64_t shown = progress.Generation();
  QObject::connect(cancelButton, &QPushButton::clicked, &dialog, [&] {
    cancel.Set();
    cancelButton->setEnabled(false);
    text->setText(QStringLiteral("Cancelling..."));
  });
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, &dialog, [&] {
    if (finished.IsSet()) {
      dialog.accept();
      return;
    }
    if (progress.Generation() != shown && !cancel.IsSet()) {
      shown = progress.Generation();
      text->setText(QString::fromStdU16String(progress.Text()));
    }
  });
  poll.start(static_cast<int>(kCollectPollStep.count()));
  // Closing the window is the same as Cancel: the walk still has to end first.
  QObject::connect(&dialog, &QDialog::rejected, &dialog, [&] { cancel.Set(); });
  while (!finished.IsSet()) {
    dialog.exec();
    if (!finished.IsSet()) finished.Wait(std::chrono::milliseconds(-1));
  }
}

}  // namespace tessaroven
