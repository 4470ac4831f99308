#include "ui/qt_app.h"

#include <QApplication>

namespace tessaroven {

namespace {
// QApplication keeps references to both for its whole life.
int g_argc = 0;
char** g_argv = nullptr;
char g_fallbackName[] = "tessaroven";
char* g_fallbackArgv[] = {g_fallbackName, nullptr};
}  // namespace

void SetQtArguments(int argc, char** argv) {
  g_argc = argc;
  g_argv = argv;
}

void EnsureQtApplication() {
  if (QApplication::instance() != nullptr) return;
  if (g_argv == nullptr) {
    g_argc = 1;
    g_argv = g_fallbackArgv;
  }
  // Never destroyed: windows and dialogs may be made at any point, and Qt's own
  // globals are gone by the time static objects would be.
  // QApplication::instance() keeps it reachable.
  new QApplication(g_argc, g_argv);
  QApplication::setApplicationName(QStringLiteral("Tessaroven"));
  QApplication::setDesktopFileName(QStringLiteral("org.orvandelle.Tessaroven"));
}

}  // namespace tessaroven
