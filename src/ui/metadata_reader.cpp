#include "ui/metadata_reader.h"

namespace tessaroven {

MetadataReader::MetadataReader() = default;

MetadataReader::~MetadataReader() { Stop(); }

void MetadataReader::Start(std::vector<std::u16string> files) {
  Stop();
  total_ = files.size();
  const std::uint64_t generation = ++generation_;
  {
    const std::lock_guard lock(shared_->mutex);
    shared_->queue.clear();
    shared_->generation = generation;
    shared_->done = 0;
  }
  if (files.empty()) return;
  worker_.Start(
      [shared = shared_, files = std::move(files), generation](const WorkerStop& stop) {
        clQzDecoder decoder;
        for (std::size_t i = 0; i < files.size(); ++i) {
          if (stop.Requested()) return;
          auto info = std::make_shared<FileInfo>();
          ReadFileInfo(files[i], decoder, *info);
          const std::lock_guard lock(shared->mutex);
          // A reader left behind by a stop that timed out must not feed a newer list.
          if (shared->generation != generation) return;
          shared->queue.push_back({i, std::move(info)});
          ++shared->done;
        }
      },
      kStopTimeout);
}

void MetadataReader::Stop() { worker_.Stop(); }

std::size_t MetadataReader::Take(std::vector<MetadataResult>& out) {
  const std::lock_guard lock(shared_->mutex);
  const std::size_t count = shared_->queue.size();
  if (out.empty()) {
    out.swap(shared_->queue);
  } else {
    for (MetadataResult& result : shared_->queue) out.push_back(std::move(result));
    shared_->queue.clear();
  }
  return count;
}

bool MetadataReader::Running() const { return worker_.Running(); }
std::size_t MetadataReader::Done() const { return shared_->done.load(); }
std::size_t MetadataReader::Total() const { return total_; }

}  // namespace tessaroven
