#include "base/main_thread_queue.h"

namespace tessaroven {

void XMainThreadSync::Post(std::function<void()> call) {
  bool wake = false;
  {
    std::lock_guard lock(mutex_);
    pending_.push_back(std::move(call));
    wake = !wakePending_;
    wakePending_ = true;
  }
  if (wake) waker_.Wake();
}

std::size_t XMainThreadSync::RunPending() {
  std::vector<std::function<void()>> calls;
  {
    std::lock_guard lock(mutex_);
    calls.swap(pending_);
    wakePending_ = false;
  }
  for (auto& call : calls) call();
  return calls.size();
}

}  // namespace tessaroven
