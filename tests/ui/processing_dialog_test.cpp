#include "ui/processing_dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <atomic>
#include <thread>

#include "qt_test_app.h"

namespace tessaroven {
namespace {

// A walk that reports every few milliseconds until it is cancelled, as the
// collector's worker does; the dialog must show its text, and Cancel must stop the
// walk and close the dialog without waiting for it.
TEST(ProcessingDialogTest, ShowsTheProgressAndCancelStopsTheWalk) {
  test::UseOffscreenQt();
  CollectProgress progress;
  progress.SetText(u"Indexing files...");
  XEvent cancel, finished;
  std::atomic<int> added{0};
  std::thread walk([&] {
    while (!cancel.IsSet()) {
      added += 50;
      progress.SetText(std::u16string(u"") + (added >= 100 ? u"100 Files Added" : u"50 Files Added"));
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    finished.Set();
  });
  QString seen;
  QTimer::singleShot(300, [&] {
    QWidget* dialog = QApplication::activeModalWidget();
    ASSERT_NE(dialog, nullptr);
    for (auto* label : dialog->findChildren<QLabel*>()) seen += label->text();
    for (auto* button : dialog->findChildren<QPushButton*>())
      if (button->text() == QStringLiteral("Cancel")) button->click();
  });
  RunProcessingDialog(nullptr, progress, cancel, finished);
  EXPECT_TRUE(cancel.IsSet());
  walk.join();
  EXPECT_TRUE(finished.IsSet());
  EXPECT_EQ(seen, QStringLiteral("100 Files Added"));
}

}  // namespace
}  // namespace tessaroven
