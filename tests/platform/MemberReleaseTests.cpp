// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <utility>

namespace kestova {
namespace {

/// Counts how often one of it goes.
class Counted final : public NSObject {
 public:
  explicit Counted(std::atomic<int>& gone) : gone_(gone) {}
  ~Counted() override { ++gone_; }

 private:
  std::atomic<int>& gone_;
};

TEST(MemberReleaseTests, MembersGoOnceWithEveryKindOfCollection) {
  std::atomic<int> gone = 0;
  (void)NSArray::of(make<Counted>(gone), make<Counted>(gone));
  EXPECT_EQ(gone, 2);
  (void)NSSet::setWithObject(make<Counted>(gone));
  EXPECT_EQ(gone, 3);
  (void)NSDictionary::of({{"key", make<Counted>(gone)}});
  EXPECT_EQ(gone, 4);
}

TEST(MemberReleaseTests, AMemberThatSomebodyElseHoldsStays) {
  std::atomic<int> gone = 0;
  auto member = make<Counted>(gone);
  (void)NSArray::of(member, member);
  EXPECT_EQ(gone, 0);
  EXPECT_EQ(member->retainCount(), 1U);
  member = nullptr;
  EXPECT_EQ(gone, 1);
}

TEST(MemberReleaseTests, MembersThatThreadsLetGoOfAtATimeGoOnce) {
  constexpr int kMembers = 500;
  constexpr int kRounds = 20;
  std::atomic<int> gone = 0;
  for (int round = 0; round < kRounds; ++round) {
    auto first = NSMutableArray::array();
    for (int index = 0; index < kMembers; ++index) {
      first->addObject(make<Counted>(gone));
    }
    Ref<NSArray> second = NSArray::arrayWithArray(first);
    std::latch start(2);
    std::thread other([&] {
      start.arrive_and_wait();
      second = nullptr;
    });
    start.arrive_and_wait();
    first = nullptr;
    other.join();
    EXPECT_EQ(gone, (round + 1) * kMembers);
  }
}

/// Whoever finishes shares those that wait for it by plain pointers, which hold nothing.
TEST(MemberReleaseTests, OperationsThatGoWhileTheyAreToldOfADependencyGoOnce) {
  constexpr int kRounds = 500;
  for (int round = 0; round < kRounds; ++round) {
    auto dependency = NSBlockOperation::blockOperationWithBlock([] {});
    auto dependent = NSBlockOperation::blockOperationWithBlock([] {});
    dependent->addDependency(dependency);
    Ref<NSArray> holder = NSArray::arrayWithObject(std::move(dependent));
    std::latch start(2);
    std::thread other([&] {
      start.arrive_and_wait();
      holder = nullptr;
    });
    start.arrive_and_wait();
    dependency->start();
    other.join();
    EXPECT_TRUE(dependency->isFinished());
  }
}

/// An operation shares its queue by a plain pointer.
TEST(MemberReleaseTests, AQueueThatGoesWhileItsOperationAsksForItGoesOnce) {
  constexpr int kRounds = 500;
  for (int round = 0; round < kRounds; ++round) {
    Ref<NSArray> holder = NSArray::arrayWithObject(NSOperationQueue::init());
    std::latch started(1);
    std::latch ended(1);
    cast<NSOperationQueue>(holder->objectAtIndex(0))->addOperationWithBlock([&] {
      started.count_down();
      (void)NSOperationQueue::currentQueue();
      ended.count_down();
    });
    started.wait();
    holder = nullptr;
    ended.wait();
  }
}

}  // namespace
}  // namespace kestova
