// The application object for window tests: Qt's offscreen platform, so the tests
// run without a display, made once per test executable.
#pragma once

#include <QApplication>
#include <QTest>
#include <chrono>
#include <functional>

#include "ui/qt_app.h"

namespace tessaroven::test {

inline void UseOffscreenQt() {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  EnsureQtApplication();
}

// Runs the event loop until `done` holds or the time is up; true when it held.
inline bool SpinUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  return QTest::qWaitFor(done, static_cast<int>(limit.count()));
}

}  // namespace tessaroven::test
