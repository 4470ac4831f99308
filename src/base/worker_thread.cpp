#include "base/worker_thread.h"

namespace tessaroven {

XWorkerThread::~XWorkerThread() { Stop(); }

void XWorkerThread::Start(Body body, std::chrono::milliseconds stopTimeout) {
  Stop();
  shared_ = std::make_shared<Shared>();
  stopTimeout_ = stopTimeout;
  thread_ = std::jthread([shared = shared_, body = std::move(body)](std::stop_token token) {
    body(WorkerStop{token, shared->stopEvent});
    shared->finished.Set();
  });
}

bool XWorkerThread::Stop() {
  if (!thread_.joinable()) return true;
  thread_.request_stop();
  shared_->stopEvent->Set();
  bool ended = false;
  for (auto waited = std::chrono::milliseconds::zero();; waited += kStopStep) {
    if (shared_->finished.Wait(kStopStep)) {
      ended = true;
      break;
    }
    if (waited >= stopTimeout_) break;
  }
  if (ended) thread_.join();
  else thread_.detach();
  return ended;
}

bool XWorkerThread::Running() const { return thread_.joinable() && !shared_->finished.IsSet(); }

bool XWorkerThread::WaitFinished(std::chrono::milliseconds timeout) const {
  return !shared_ || shared_->finished.Wait(timeout);
}

}  // namespace tessaroven
