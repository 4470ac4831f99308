// The application object for window tests: Qt's offscreen platform, so the tests
// run without a display, made once per test executable. TESSAROVEN_TEST_QT_PLATFORM
// names another (xcb, under Xvfb), so the same tests also run on a real X server.
#pragma once

#include <QApplication>
#include <QTest>
#include <chrono>
#include <functional>

#include "ui/qt_app.h"

namespace tessaroven::test {

inline void UseOffscreenQt() {
  const QByteArray platform = qgetenv("TESSAROVEN_TEST_QT_PLATFORM");
  qputenv("QT_QPA_PLATFORM", platform.isEmpty() ? QByteArrayLiteral("offscreen") : platform);
  EnsureQtApplication();
}

// Runs the event loop until `done` holds or the time is up; true when it held.
inline bool SpinUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  return QTest::qWaitFor(done, static_cast<int>(limit.count()));
}

}  // namespace tessaroven::test
