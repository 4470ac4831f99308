// The converter without a window: a progress bar on stderr when it is a terminal,
// one line per finished file otherwise, and a summary at the end.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "converter/batch.h"

namespace kovantrix {

// "0:42", "12:05", "1:02:05".
std::u16string ClockText(std::chrono::seconds time);
// The time still needed, judged from the time taken so far; nullopt while too
// little is done to judge.
std::optional<std::chrono::seconds> TimeLeft(double fraction, std::chrono::steady_clock::duration elapsed);

// "[=======>            ]  35%  14/40 files  0:12 left", cut to `width` columns.
std::u16string ProgressBarText(double fraction, std::size_t finished, std::size_t total,
                               std::optional<std::chrono::seconds> left, int width);
// One line (with its line break) for a file that has finished.
std::u16string FinishedLine(const FileStatus& file);
// "Converted 38 of 40 files into FOLDER in 12.3 s; 1 failed, 1 skipped."
std::u16string SummaryText(const Tally& tally, std::u16string_view outputFolder,
                           std::chrono::steady_clock::duration elapsed, bool cancelled);

class TerminalFace : public BatchObserver {
 public:
  TerminalFace(bool progressBar, int width) : bar_(progressBar), width_(width) {}

  // Runs the batch to its end, drawing the bar while it runs; prints the summary.
  void Run(Batch& batch);

  void FileChanged(std::size_t index, const FileStatus& status) override;
  void Finished() override;

 private:
  bool bar_;
  int width_;
  std::mutex mutex_;
  std::condition_variable finishedSignal_;
  bool finished_ = false;
  bool barShown_ = false;
};

}  // namespace kovantrix
