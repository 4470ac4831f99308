#include "app/named_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

#include "app/test_files.h"
#include "support/child_process.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using std::chrono::milliseconds;
using test::ChildProcess;
using test::Hex;
using test::TempDir;
using test::Unhex;
using test::WaitForContent;

constexpr milliseconds kLook{0};
constexpr milliseconds kForever{-1};
// Generous: only reached when something is broken, never a measured duration.
constexpr milliseconds kPatience{20000};

// Manual reset: looking does not clear it; a waiter on another thread wakes when it
// is set, with and without a time limit. A closed or failed event does nothing.
TEST(NamedEvent, IsManualResetSharedBetweenHandlesAndWakesWaiters) {
  NamedEvent a, b;
  ASSERT_TRUE(a.Create(u"tessaroven-test-event"));
  ASSERT_TRUE(b.Create(u"tessaroven-test-event"));
  EXPECT_FALSE(b.Wait(milliseconds(30)));
  ASSERT_TRUE(a.Set());
  EXPECT_TRUE(b.Wait(kLook));
  EXPECT_TRUE(b.Wait(kLook));
  for (const milliseconds limit : {kForever, kPatience}) {
    ASSERT_TRUE(b.Reset());
    EXPECT_FALSE(a.Wait(kLook));
    std::thread later([&] {
      std::this_thread::sleep_for(milliseconds(50));
      b.Set();
    });
    EXPECT_TRUE(a.Wait(limit)) << limit.count();
    later.join();
  }
  NamedEvent closed;
  EXPECT_FALSE(closed.Set());
  EXPECT_FALSE(closed.Wait(kLook));
  EXPECT_FALSE(closed.Create(u""));
  EXPECT_FALSE(closed.IsOpen());
}

// Recursive for its owner, exclusive to other threads; closing a handle releases
// what it held.
TEST(NamedMutex, ExcludesOtherThreadsIsRecursiveAndClosingReleases) {
  NamedMutex mine, theirs;
  ASSERT_TRUE(mine.Create(u"tessaroven-test-mutex"));
  ASSERT_TRUE(theirs.Create(u"tessaroven-test-mutex"));
  ASSERT_TRUE(mine.Wait(kForever));
  EXPECT_TRUE(mine.Wait(kLook));
  std::atomic<int> got{-1};
  std::thread([&] { got = theirs.Wait(kLook) + 2 * theirs.Wait(milliseconds(30)); }).join();
  EXPECT_EQ(got, 0);
  EXPECT_TRUE(mine.Release());
  EXPECT_TRUE(mine.Release());
  EXPECT_FALSE(mine.Release()) << "released more often than taken";
  ASSERT_TRUE(mine.Wait(kForever));
  mine.Close();
  std::thread([&] {
    got = theirs.Wait(kLook);
    theirs.Release();
  }).join();
  EXPECT_EQ(got, 1);
}

// Takes the mutex, says so and waits to be killed. Arguments: mutex name in hex,
// ready file in hex.
TESSAROVEN_TEST_CHILD(hold_mutex) {
  NamedMutex mutex;
  if (!mutex.Create(Unhex(args.at(0))) || !mutex.Wait(kForever)) return 99;
  test::WriteBytes(Unhex(args.at(1)), "held");
  std::this_thread::sleep_for(std::chrono::seconds(60));
  return 0;
}

// A process that ends holding the mutex (killed here; an exit without releasing it
// looks the same to the system) leaves it to the next waiter.
TEST(NamedMutex, NextWaiterGetsTheMutexOfADeadOwnerInsteadOfWaitingForEver) {
  const std::u16string name = u"tessaroven-test-abandoned";
  TempDir dir;
  NamedMutex mutex, other;
  ASSERT_TRUE(mutex.Create(name));  // keeps the object alive past the child
  ASSERT_TRUE(other.Create(name));
  ChildProcess owner("hold_mutex", {Hex(name), Hex(dir / u"ready")});
  ASSERT_EQ(WaitForContent(dir / u"ready"), "held");
  owner.Kill();
  owner.Wait();

  ASSERT_TRUE(mutex.Wait(kPatience));
  ASSERT_TRUE(mutex.Release());
  bool got = false;
  std::thread([&] { got = other.Wait(kPatience) && other.Release(); }).join();
  EXPECT_TRUE(got) << "the recovered mutex works for other handles too";
}

TEST(NamedSharedBlock, StartsZeroedAndIsSharedBetweenHandles) {
  NamedSharedBlock a, b;
  ASSERT_TRUE(a.Create(u"tessaroven-test-block", 520));
  ASSERT_EQ(a.Size(), 520u);
  EXPECT_TRUE(std::all_of(a.Data(), a.Data() + 520, [](std::uint8_t x) { return x == 0; }));
  std::memset(a.Data(), 0xA5, 520);
  ASSERT_TRUE(b.Create(u"tessaroven-test-block", 520));
  EXPECT_TRUE(b.ExistedBefore());
  EXPECT_EQ(b.Data()[0], 0xA5);
  EXPECT_EQ(b.Data()[519], 0xA5);
  b.Data()[7] = 1;
  EXPECT_EQ(a.Data()[7], 1);
}

// What a waiting sender asks about the recorded receiver.
TEST(ProcessIdentityTest, ThisProcessRunsAnOtherStartTimeOrAnEndedProcessDoesNot) {
  const ProcessIdentity self = CurrentProcessIdentity();
  ASSERT_TRUE(self.Known());
  EXPECT_TRUE(ProcessIsRunning(self));
  EXPECT_FALSE(ProcessIsRunning(ProcessIdentity{self.id, self.started + 1})) << "the id reused by a later process";
  EXPECT_TRUE(ProcessIsRunning(ProcessIdentity{})) << "nobody recorded: nobody declared gone";
  // An id far above any in use names nobody.
  EXPECT_FALSE(ProcessIsRunning(ProcessIdentity{0x7FFFFFF0, 1}));
}

}  // namespace
}  // namespace tessaroven
