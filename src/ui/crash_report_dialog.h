// dlgCrashReport: what the restart after a crash shows. It says that the program
// stopped, points to the support forum, and opens the file manager on the dump so
// the user can attach it to a report.
#pragma once

#include <QDialog>
#include <functional>
#include <string>

class QLabel;
class QPushButton;

namespace tessaroven {

inline constexpr char kProgramTitle[] = "Tessaroven Batch Converter";
inline constexpr char kSupportForumAddress[] = "https://forum.tessaroven.org/";

class dlgCrashReport : public QDialog {
 public:
  // Opens a file manager on the dump; ShowInFileManager unless a test puts its own.
  using ShowDump = std::function<void(const std::u16string& dumpPath)>;

  explicit dlgCrashReport(std::u16string dumpPath, ShowDump showDump = {}, QWidget* parent = nullptr);

  QPushButton* DumpLocationButton() const { return dumpLocation_; }
  QPushButton* ExitButton() const { return exit_; }

 private:
  std::u16string dumpPath_;
  ShowDump showDump_;
  QPushButton* dumpLocation_ = nullptr;
  QPushButton* exit_ = nullptr;
};

// Runs the report for `dumpPath` to its end; creates the application object when
// none exists yet (the restart shows nothing else).
void RunCrashReport(const std::u16string& dumpPath);

}  // namespace tessaroven
