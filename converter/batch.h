// A run over the whole list: as many files at once as there are workers, started
// in the order of the list, each file's state reported as it changes.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "converter/choices.h"
#include "converter/transcoder.h"

namespace kovantrix {

enum class FileState { kWaiting, kConverting, kDone, kFailed, kSkipped, kCancelled };

struct FileStatus {
  std::u16string source;
  std::u16string target;
  std::uint64_t size = 0;  // of the source, to weigh the overall progress
  FileState state = FileState::kWaiting;
  double progress = 0;     // while converting, 0 to 1
  std::u16string message;  // the reason of a failure, skip or cancel
};

struct Tally {
  std::size_t total = 0, done = 0, failed = 0, skipped = 0, cancelled = 0;
  std::size_t Finished() const { return done + failed + skipped + cancelled; }
};

// Told about every change. Calls come from the workers, one at a time and in the
// order the changes happened (a file's start before its end, files started in list
// order); they must not call back into the batch.
class BatchObserver {
 public:
  virtual ~BatchObserver() = default;
  virtual void FileChanged(std::size_t index, const FileStatus& status) = 0;
  // After the last file; no call follows.
  virtual void Finished() = 0;
};

// The worker count the run uses when none is asked for: one per core.
int DefaultWorkerCount();

class Batch {
 public:
  // Works out every target now, so that two files of the list that would write the
  // same target are known before either starts: the later one is skipped.
  Batch(const std::vector<std::u16string>& sources, const Choices& choices, int workers);
  // Cancels a run still going and waits for it.
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  void Start(BatchObserver* observer);
  // Files still waiting are not started; those converting stop and leave nothing.
  void Cancel();
  // The flag Cancel sets, for a signal handler (setting it is all it may do).
  std::atomic<bool>* CancelFlag() { return &cancel_; }
  void Wait();

  std::vector<FileStatus> Snapshot() const;
  Tally Count() const;
  // Of the whole run, weighed by the sources' sizes.
  double Fraction() const;
  std::chrono::steady_clock::duration Elapsed() const;
  const Choices& TheChoices() const { return choices_; }

 private:
  void Work();
  void Set(std::size_t index, FileState state, std::u16string message);

  Choices choices_;
  int workers_;
  mutable std::mutex mutex_;
  std::vector<FileStatus> files_;
  std::size_t next_ = 0;
  int running_ = 0;
  std::atomic<bool> cancel_{false};
  BatchObserver* observer_ = nullptr;
  std::vector<std::thread> threads_;
  std::chrono::steady_clock::time_point started_{};
  std::chrono::steady_clock::time_point ended_{};
};

// Words for a state, as the faces show them.
std::u16string_view StateText(FileState state);

}  // namespace kovantrix
