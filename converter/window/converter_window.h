// The converter's window: the files with their states, the choices of format,
// preset and output folder before the start, the overall progress with the time
// left, Cancel, and at the end a summary and "Open Output Folder".
#pragma once

#include <QWidget>
#include <memory>
#include <optional>
#include <string>

#include "converter/batch.h"
#include "converter/run.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTimer;
class QTreeWidget;

namespace kovantrix {

class ConverterWindow : public QWidget {
 public:
  explicit ConverterWindow(const Plan& plan, QWidget* parent = nullptr);
  ~ConverterWindow() override;

  // Places the window over the selector's window, where the platform lets a
  // program ask for another's position (X11, Windows); centred on the screen
  // otherwise.
  void PlaceOver(std::optional<std::int64_t> selectorWindow);

  // What the buttons do, for the buttons and the tests.
  void StartConversion();
  void CancelConversion();
  bool Running() const;
  bool Ended() const { return ended_; }
  int ExitCode() const { return exitCode_; }
  Choices CurrentChoices() const;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  class Relay;
  void FillPresets();
  void ShowFile(std::size_t index, const FileStatus& status);
  void ShowOverall();
  void ShowEnd();

  Plan plan_;
  std::unique_ptr<Batch> batch_;
  std::unique_ptr<Relay> relay_;
  bool ended_ = false;
  int exitCode_ = kExitSomeNotConverted;

  QComboBox* format_ = nullptr;
  QComboBox* preset_ = nullptr;
  QLineEdit* folder_ = nullptr;
  QPushButton* browse_ = nullptr;
  QCheckBox* overwrite_ = nullptr;
  QTreeWidget* files_ = nullptr;
  QProgressBar* overall_ = nullptr;
  QLabel* timeLeft_ = nullptr;
  QLabel* summary_ = nullptr;
  QPushButton* convert_ = nullptr;
  QPushButton* cancel_ = nullptr;
  QPushButton* openFolder_ = nullptr;
  QTimer* ticker_ = nullptr;
};

// The window over the whole run; the exit code.
int RunWindow(int& argc, char** argv, const Plan& plan);
// A message box for a run that ends before it starts (an unreadable list).
void ShowFailureBox(int& argc, char** argv, const std::u16string& text);

}  // namespace kovantrix
