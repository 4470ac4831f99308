#include "base/worker_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "base/event.h"

namespace tessaroven {
namespace {

using namespace std::chrono_literals;

TEST(WorkerThread, StartingAgainStopsThePreviousWorkerFirst) {
  XWorkerThread worker;
  auto runs = std::make_shared<std::atomic<int>>(0);
  auto sawStop = std::make_shared<std::atomic<bool>>(false);
  auto body = [runs, sawStop](const WorkerStop& stop) {
    ++*runs;
    stop.event->Wait(-1ms);
    *sawStop = stop.Requested();
  };
  worker.Start(body, 60000ms);
  worker.Start(body, 60000ms);
  EXPECT_TRUE(worker.Stop());
  EXPECT_EQ(*runs, 2);
  EXPECT_TRUE(*sawStop);

  // Waiting for a worker to finish does not ask it to stop.
  worker.Start([](const WorkerStop& stop) { EXPECT_FALSE(stop.Requested()); }, 1000ms);
  EXPECT_TRUE(worker.WaitFinished(-1ms));
  EXPECT_FALSE(worker.Running());
}

}  // namespace
}  // namespace tessaroven
