#include "base/event.h"

namespace tessaroven {

void XEvent::Set() {
  {
    std::lock_guard lock(mutex_);
    set_ = true;
  }
  changed_.notify_all();
}

void XEvent::Reset() {
  std::lock_guard lock(mutex_);
  set_ = false;
}

bool XEvent::IsSet() const {
  std::lock_guard lock(mutex_);
  return set_;
}

bool XEvent::Wait(std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex_);
  if (timeout.count() < 0) {
    changed_.wait(lock, [this] { return set_; });
    return true;
  }
  return changed_.wait_for(lock, timeout, [this] { return set_; });
}

}  // namespace tessaroven
