// frmMain: the selector's main window.
//
// For now it is the frame the rest of the window grows into: the title, the status
// line and the 50 ms tick that collects paths handed over by later starts of the
// program (SingleInstance::Receive). A received path is shown in the status line
// and passed to `GoToPath`, where the tree will select it.
//
// Lives on the main thread; the SingleInstance passed in outlives the window.
#pragma once

#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <string>

#include "app/single_instance.h"

namespace tessaroven {

inline constexpr int kTickMilliseconds = 50;

class frmMain : public QMainWindow {
 public:
  explicit frmMain(SingleInstance& instance, QWidget* parent = nullptr);

  // One round of the tick: collects a waiting path. Public for the tests, which
  // drive the tick themselves rather than wait for the timer.
  void Tick();

  // Where a received path goes; by default it is shown in the status line.
  std::function<void(const std::u16string& path)> GoToPath;

 private:
  SingleInstance& instance_;
  QTimer tick_;
};

}  // namespace tessaroven
