#include "ui/main_window.h"

#include <QStatusBar>

#include "ui/crash_report_dialog.h"

namespace tessaroven {

frmMain::frmMain(SingleInstance& instance, QWidget* parent) : QMainWindow(parent), instance_(instance) {
  setWindowTitle(QLatin1String(kProgramTitle));
  resize(900, 600);
  statusBar()->showMessage(QString());
  GoToPath = [this](const std::u16string& path) {
    statusBar()->showMessage(QString::fromStdU16String(path));
    // A hand-over means the user wants this window: bring it forward.
    if (isMinimized()) showNormal();
    raise();
    activateWindow();
  };
  connect(&tick_, &QTimer::timeout, this, &frmMain::Tick);
  tick_.start(kTickMilliseconds);
}

void frmMain::Tick() {
  instance_.Receive([this](const std::u16string& path) {
    if (GoToPath) GoToPath(path);
  });
}

}  // namespace tessaroven
