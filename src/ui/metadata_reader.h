// The background reader of the listed files' properties and tags.
//
// It works through the files in the order given, on its own worker thread with its
// own decoder object, and queues each finished file's information under one mutex;
// the window's 50 ms tick takes the queue and applies it to the list. Only whole
// results are queued, so whatever the tick takes is complete.
//
// Start and Stop belong to the user-interface thread. Listing a folder stops the
// reader first; a reader that does not stop within its time-out (a hung network
// share) is left behind on shared state, and its late results carry an old
// generation that Take no longer hands out.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/worker_thread.h"
#include "decode/file_info.h"

namespace tessaroven {

struct MetadataResult {
  std::size_t entry = 0;  // the file's position in the list handed to Start
  std::shared_ptr<const FileInfo> info;
};

class MetadataReader {
 public:
  static constexpr std::chrono::milliseconds kStopTimeout{5000};

  MetadataReader();
  ~MetadataReader();
  MetadataReader(const MetadataReader&) = delete;
  MetadataReader& operator=(const MetadataReader&) = delete;

  // Stops a running read, forgets what it queued, and starts on `files`.
  void Start(std::vector<std::u16string> files);
  // Asks the worker to end and waits for it (in 25 ms steps) up to kStopTimeout.
  void Stop();

  // Moves every queued result of the current read into `out` (appended); returns
  // how many.
  std::size_t Take(std::vector<MetadataResult>& out);

  bool Running() const;
  // Files read so far and files in all, of the current read.
  std::size_t Done() const;
  std::size_t Total() const;

 private:
  struct Shared {
    std::mutex mutex;
    std::vector<MetadataResult> queue;
    std::uint64_t generation = 0;  // of the read whose results the queue holds
    std::atomic<std::size_t> done{0};
  };

  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  XWorkerThread worker_;
  std::size_t total_ = 0;
  std::uint64_t generation_ = 0;
};

}  // namespace tessaroven
