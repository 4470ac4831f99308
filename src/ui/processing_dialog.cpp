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
  // Closing the window is the same as Cancel. Either way the dialog goes at once: the
  // collector waits for the walk itself and leaves one that hangs (a network share
  // that stopped answering) behind after its stop time-out.
  QObject::connect(&dialog, &QDialog::rejected, &dialog, [&] { cancel.Set(); });
  QObject::connect(cancelButton, &QPushButton::clicked, &dialog, &QDialog::reject);
  if (!finished.IsSet()) dialog.exec();
}

}  // namespace tessaroven
