#include "ui/crash_report_dialog.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "ui/file_manager.h"
#include "ui/qt_app.h"

namespace tessaroven {

dlgCrashReport::dlgCrashReport(std::u16string dumpPath, ShowDump showDump, QWidget* parent)
    : QDialog(parent), dumpPath_(std::move(dumpPath)), showDump_(std::move(showDump)) {
  if (!showDump_) showDump_ = [](const std::u16string& path) { ShowInFileManager(path); };
  const QString title = QStringLiteral("%1 has stopped working").arg(QLatin1String(kProgramTitle));
  setWindowTitle(title);

  auto* heading = new QLabel(title, this);
  QFont bigger = heading->font();
  bigger.setBold(true);
  bigger.setPointSizeF(bigger.pointSizeF() * 1.25);
  heading->setFont(bigger);

  auto* icon = new QLabel(this);
  icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxCritical).pixmap(48, 48));
  icon->setAlignment(Qt::AlignTop);

  auto* what = new QLabel(QStringLiteral("Something unexpected happend which led to a crash."), this);
  auto* forum = new QLabel(
      QStringLiteral("1) Report on support forum: <a href=\"%1\">%1</a>").arg(QLatin1String(kSupportForumAddress)),
      this);
  forum->setObjectName(QStringLiteral("forumLink"));
  forum->setTextFormat(Qt::RichText);
  forum->setTextInteractionFlags(Qt::TextBrowserInteraction);
  forum->setOpenExternalLinks(true);  // the desktop's browser
  auto* send = new QLabel(QStringLiteral("2) Send crash dump, helping fix the issue"), this);

  dumpLocation_ = new QPushButton(QStringLiteral("Crash Dump Location"), this);
  exit_ = new QPushButton(QStringLiteral("Exit"), this);
  exit_->setDefault(true);
  connect(dumpLocation_, &QPushButton::clicked, this, [this] { showDump_(dumpPath_); });
  connect(exit_, &QPushButton::clicked, this, &QDialog::accept);

  auto* text = new QVBoxLayout;
  text->addWidget(heading);
  text->addSpacing(8);
  text->addWidget(what);
  text->addSpacing(8);
  text->addWidget(forum);
  text->addWidget(send);
  auto* top = new QHBoxLayout;
  top->addWidget(icon);
  top->addLayout(text, 1);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(dumpLocation_);
  buttons->addStretch(1);
  buttons->addWidget(exit_);
  auto* all = new QVBoxLayout(this);
  all->addLayout(top);
  all->addSpacing(12);
  all->addLayout(buttons);
}

void RunCrashReport(const std::u16string& dumpPath) {
  EnsureQtApplication();
  dlgCrashReport dialog(dumpPath);
  dialog.exec();
}

}  // namespace tessaroven
