#include "converter/batch.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"
#include "converter/output_file.h"

namespace kovantrix {
namespace {

// Targets compare as the file system compares names, so that on Windows
// "Album\A.flac" and "album\a.flac" count as one.
std::u16string TargetKey(const std::u16string& target) {
  return tessaroven::kPathsFoldCase ? tessaroven::AsciiFold(target) : target;
}

}  // namespace

int DefaultWorkerCount() { return static_cast<int>(std::max(1u, std::thread::hardware_concurrency())); }

std::u16string_view StateText(FileState state) {
  switch (state) {
    case FileState::kWaiting: return u"waiting";
    case FileState::kConverting: return u"converting";
    case FileState::kDone: return u"done";
    case FileState::kFailed: return u"failed";
    case FileState::kSkipped: return u"skipped";
    case FileState::kCancelled: return u"cancelled";
  }
  return u"";
}

Batch::Batch(const std::vector<std::u16string>& sources, const Choices& choices, int workers)
    : choices_(choices), workers_(std::max(1, workers)) {
  std::set<std::u16string> targets;
  files_.reserve(sources.size());
  for (const std::u16string& source : sources) {
    FileStatus file;
    file.source = source;
    file.target = TargetPathFor(source, choices_.outputFolder, choices_.Info().extension);
    std::error_code error;
    const auto size = std::filesystem::file_size(std::filesystem::path(tessaroven::ToOsString(source)), error);
    file.size = error ? 0 : size;
    if (!targets.insert(TargetKey(file.target)).second) {
      file.state = FileState::kSkipped;
      file.message = u"An earlier file of the list is converted to the same name, '" + file.target + u"'.";
    }
    files_.push_back(std::move(file));
  }
}

Batch::~Batch() {
  Cancel();
  Wait();
}

void Batch::Start(BatchObserver* observer) {
  std::lock_guard lock(mutex_);
  observer_ = observer;
  started_ = std::chrono::steady_clock::now();
  const int count = static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(workers_), files_.size()));
  running_ = count;
  if (count == 0) {
    ended_ = started_;
    if (observer_) observer_->Finished();
    return;
  }
  for (int i = 0; i < count; ++i) threads_.emplace_back([this] { Work(); });
}

void Batch::Cancel() { cancel_.store(true); }

void Batch::Wait() {
  for (auto& thread : threads_)
    if (thread.joinable()) thread.join();
}

void Batch::Set(std::size_t index, FileState state, std::u16string message) {
  FileStatus& file = files_[index];
  file.state = state;
  file.message = std::move(message);
  if (state != FileState::kConverting) file.progress = state == FileState::kDone ? 1 : 0;
  if (observer_) observer_->FileChanged(index, file);
}

void Batch::Work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    while (next_ < files_.size() && files_[next_].state != FileState::kWaiting) {
      // Known before the start (a duplicate target): reported once, in list order.
      if (observer_) observer_->FileChanged(next_, files_[next_]);
      ++next_;
    }
    if (next_ >= files_.size() || cancel_.load()) break;
    const std::size_t index = next_++;
    Set(index, FileState::kConverting, {});
    const ConvertJob job{files_[index].source, files_[index].target, choices_.format, choices_.ThePreset(),
                         choices_.overwrite};
    lock.unlock();

    const JobResult result = ConvertFile(job, cancel_, [this, index](double fraction) {
      std::lock_guard progressLock(mutex_);
      files_[index].progress = fraction;
      if (observer_) observer_->FileChanged(index, files_[index]);
    });

    lock.lock();
    switch (result.outcome) {
      case Outcome::kDone: Set(index, FileState::kDone, {}); break;
      case Outcome::kFailed: Set(index, FileState::kFailed, result.message); break;
      case Outcome::kSkipped: Set(index, FileState::kSkipped, result.message); break;
      case Outcome::kCancelled: Set(index, FileState::kCancelled, result.message); break;
    }
  }
  if (--running_ > 0) return;
  // The last worker out: whatever was never started was cancelled.
  for (; next_ < files_.size(); ++next_) {
    if (files_[next_].state == FileState::kWaiting) Set(next_, FileState::kCancelled, u"Not started: the run was cancelled.");
    else if (observer_) observer_->FileChanged(next_, files_[next_]);
  }
  ended_ = std::chrono::steady_clock::now();
  if (observer_) observer_->Finished();
}

std::vector<FileStatus> Batch::Snapshot() const {
  std::lock_guard lock(mutex_);
  return files_;
}

Tally Batch::Count() const {
  std::lock_guard lock(mutex_);
  Tally tally;
  tally.total = files_.size();
  for (const FileStatus& file : files_) {
    switch (file.state) {
      case FileState::kDone: ++tally.done; break;
      case FileState::kFailed: ++tally.failed; break;
      case FileState::kSkipped: ++tally.skipped; break;
      case FileState::kCancelled: ++tally.cancelled; break;
      default: break;
    }
  }
  return tally;
}

double Batch::Fraction() const {
  std::lock_guard lock(mutex_);
  double total = 0;
  double done = 0;
  for (const FileStatus& file : files_) {
    // A file of no size still counts a little, so a list of empty files moves too.
    const double weight = static_cast<double>(file.size) + 1024.0;
    total += weight;
    const bool finished = file.state != FileState::kWaiting && file.state != FileState::kConverting;
    done += weight * (finished ? 1.0 : file.progress);
  }
  return total > 0 ? done / total : 1.0;
}

std::chrono::steady_clock::duration Batch::Elapsed() const {
  std::lock_guard lock(mutex_);
  if (started_ == std::chrono::steady_clock::time_point{}) return {};
  return (ended_ != std::chrono::steady_clock::time_point{} ? ended_ : std::chrono::steady_clock::now()) - started_;
}

}  // namespace kovantrix
