// XWorkerThread: a worker with the program's stop procedure.
//
// Stopping a worker asks it to stop (its stop token and stop event), then waits in
// 25 ms steps up to the worker's stop time-out. A worker that has not ended by then
// cannot be suspended or killed portably, so it is detached and left to finish on
// its own: everything a worker touches must therefore be shared-owned (captured by
// shared_ptr or value), never borrowed from the object that started it.
//
// Start, Stop and the destructor belong to the thread that owns the object (the
// user-interface thread); the body runs on the worker.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <thread>

#include "base/event.h"

namespace tessaroven {

// What the body gets to notice a stop: poll the token, or wait on the event (which
// lets a worker sleep and still stop at once).
struct WorkerStop {
  std::stop_token token;
  std::shared_ptr<const XEvent> event;
  bool Requested() const { return token.stop_requested(); }
};

class XWorkerThread {
 public:
  using Body = std::function<void(const WorkerStop& stop)>;
  static constexpr std::chrono::milliseconds kStopStep{25};

  XWorkerThread() = default;
  XWorkerThread(const XWorkerThread&) = delete;
  XWorkerThread& operator=(const XWorkerThread&) = delete;
  // Stops the worker with its stop time-out.
  ~XWorkerThread();

  // Starts `body` on a new thread. A worker still running from an earlier Start is
  // stopped first.
  void Start(Body body, std::chrono::milliseconds stopTimeout);

  // Requests the stop and waits for the worker up to its stop time-out. True when
  // it ended (or none ran); false when it was left running, detached.
  bool Stop();

  // Whether the body has not yet returned.
  bool Running() const;
  // Waits for the body to return, up to `timeout` (negative: for ever), without
  // asking it to stop. True when it has returned.
  bool WaitFinished(std::chrono::milliseconds timeout) const;

 private:
  struct Shared {
    std::shared_ptr<XEvent> stopEvent = std::make_shared<XEvent>();
    XEvent finished;
  };
  std::shared_ptr<Shared> shared_;
  std::jthread thread_;
  std::chrono::milliseconds stopTimeout_{0};
};

}  // namespace tessaroven
