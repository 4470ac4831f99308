// XMainThreadSync: hands work from any thread to the user-interface thread.
//
// Workers post calls; the queue asks the front-end to wake the user-interface
// thread (MainThreadWaker, which the window implements with its event loop), at
// most once until the pending calls have been run, and the woken thread runs them
// in the order posted. Calls carry their data by value: a worker may be gone by
// the time its call runs.
#pragma once

#include <functional>
#include <mutex>
#include <vector>

namespace tessaroven {

class MainThreadWaker {
 public:
  virtual ~MainThreadWaker() = default;
  // Called from any thread; must arrange for RunPending() on the user-interface
  // thread soon, without blocking.
  virtual void Wake() = 0;
};

class XMainThreadSync {
 public:
  // `waker` must outlive the queue.
  explicit XMainThreadSync(MainThreadWaker& waker) : waker_(waker) {}

  // Any thread.
  void Post(std::function<void()> call);
  // User-interface thread only: runs every call posted so far, in order, and
  // returns how many ran. Calls posted meanwhile wake the thread again.
  std::size_t RunPending();

 private:
  MainThreadWaker& waker_;
  std::mutex mutex_;
  std::vector<std::function<void()>> pending_;
  bool wakePending_ = false;
};

}  // namespace tessaroven
