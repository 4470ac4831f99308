// XEvent: an in-process manual-reset event, the cancel and stop signal of workers.
//
// Once set it stays set, waking every waiter, until Reset. Any thread may call any
// member. (Named events shared between processes are a different thing and live
// with the start-up code.)
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tessaroven {

class XEvent {
 public:
  explicit XEvent(bool initiallySet = false) : set_(initiallySet) {}

  void Set();
  void Reset();
  bool IsSet() const;
  // Waits until the event is set or `timeout` has passed; true when it is set.
  // A negative time-out waits for ever, zero only looks.
  bool Wait(std::chrono::milliseconds timeout) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  bool set_;
};

}  // namespace tessaroven
