#include "base/worker_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "base/event.h"

namespace tessaroven {
namespace {

using namespace std::chrono_literals;

TEST(Event, StaysSetUntilResetAndWakesAWaiter) {
  XEvent event;
  EXPECT_FALSE(event.Wait(0ms));
  std::jthread setter([&] {
    std::this_thread::sleep_for(20ms);
    event.Set();
  });
  EXPECT_TRUE(event.Wait(-1ms));
  EXPECT_TRUE(event.Wait(0ms));  // manual reset: still set
  event.Reset();
  EXPECT_FALSE(event.IsSet());
}

TEST(WorkerThread, StopEndsAWorkerThatWatchesItsStopEvent) {
  XWorkerThread worker;
  auto sawStop = std::make_shared<std::atomic<bool>>(false);
  worker.Start(
      [sawStop](const WorkerStop& stop) {
        stop.event->Wait(-1ms);
        *sawStop = stop.Requested();
      },
      60000ms);
  EXPECT_TRUE(worker.Running());
  EXPECT_TRUE(worker.Stop());
  EXPECT_TRUE(*sawStop);
  EXPECT_FALSE(worker.Running());
}

TEST(WorkerThread, AWorkerThatOverrunsItsTimeOutIsLeftToFinishOnItsOwn) {
  auto release = std::make_shared<XEvent>();
  auto finished = std::make_shared<XEvent>();
  {
    XWorkerThread worker;
    worker.Start(
        [release, finished](const WorkerStop&) {
          release->Wait(-1ms);  // ignores the stop request
          finished->Set();
        },
        50ms);
    EXPECT_FALSE(worker.Stop());
  }
  // The worker outlives the object that started it and still ends cleanly.
  release->Set();
  EXPECT_TRUE(finished->Wait(10000ms));
}

TEST(WorkerThread, StartingAgainStopsThePreviousWorkerFirst) {
  XWorkerThread worker;
  auto runs = std::make_shared<std::atomic<int>>(0);
  auto body = [runs](const WorkerStop& stop) {
    ++*runs;
    stop.event->Wait(-1ms);
  };
  worker.Start(body, 60000ms);
  worker.Start(body, 60000ms);
  EXPECT_TRUE(worker.Stop());
  EXPECT_EQ(*runs, 2);

  // Waiting for a worker to finish does not ask it to stop.
  worker.Start([](const WorkerStop& stop) { EXPECT_FALSE(stop.Requested()); }, 1000ms);
  EXPECT_TRUE(worker.WaitFinished(-1ms));
  EXPECT_FALSE(worker.Running());
}

}  // namespace
}  // namespace tessaroven
