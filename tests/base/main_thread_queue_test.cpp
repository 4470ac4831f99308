#include "base/main_thread_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace tessaroven {
namespace {

class CountingWaker : public MainThreadWaker {
 public:
  void Wake() override { ++wakes; }
  std::atomic<int> wakes{0};
};

// One wake per batch: posting again before the calls ran wakes nobody, but a call
// posted by a running call needs a wake of its own.
TEST(MainThreadQueue, WakesOnceUntilThePendingCallsHaveRun) {
  CountingWaker waker;
  XMainThreadSync queue(waker);
  std::vector<int> ran;
  queue.Post([&] { ran.push_back(1); });
  queue.Post([&] { ran.push_back(2); });
  EXPECT_EQ(waker.wakes, 1);
  EXPECT_EQ(queue.RunPending(), 2u);
  EXPECT_EQ(ran, (std::vector<int>{1, 2}));
  EXPECT_EQ(queue.RunPending(), 0u);
  queue.Post([&] { queue.Post([&] { ran.push_back(3); }); });
  EXPECT_EQ(waker.wakes, 2);
  EXPECT_EQ(queue.RunPending(), 1u);
  EXPECT_EQ(waker.wakes, 3);
  EXPECT_EQ(queue.RunPending(), 1u);
  EXPECT_EQ(ran.back(), 3);
}

TEST(MainThreadQueue, KeepsEachThreadsOrderAndLosesNothingUnderContention) {
  CountingWaker waker;
  XMainThreadSync queue(waker);
  constexpr int kThreads = 4;
  constexpr int kCalls = 2000;
  std::vector<std::vector<int>> seen(kThreads);
  {
    std::vector<std::jthread> posters;
    for (int t = 0; t < kThreads; ++t)
      posters.emplace_back([&, t] {
        for (int i = 0; i < kCalls; ++i) queue.Post([&seen, t, i] { seen[t].push_back(i); });
      });
    // Drain concurrently, as the user-interface thread would.
    for (int spins = 0; spins < 1000; ++spins) queue.RunPending();
  }
  queue.RunPending();
  for (int t = 0; t < kThreads; ++t) {
    ASSERT_EQ(seen[t].size(), static_cast<std::size_t>(kCalls));
    for (int i = 0; i < kCalls; ++i) ASSERT_EQ(seen[t][i], i);
  }
}

}  // namespace
}  // namespace tessaroven
