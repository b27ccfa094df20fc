// SPDX-License-Identifier: Apache-2.0
#include "runloop/WaitSet.h"

#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ExceptionExpectation.h"

namespace kestova {
namespace {

class WaitSetTest : public ::testing::Test {
 protected:
  bool isReadable() {
    pollfd descriptor{set.descriptor(), POLLIN, 0};
    return ::poll(&descriptor, 1, 0) == 1;
  }

  /// The tokens of what is ready.
  std::vector<std::uint64_t> wait(Moment limit = atOnce) {
    std::vector<std::uint64_t> tokens;
    set.wait(limit, [&](std::uint64_t token, std::uint32_t) { tokens.push_back(token); });
    return tokens;
  }

  WaitSet set;
};

TEST_F(WaitSetTest, WakeUpsCountAsOneAndEndWithTheirWait) {
  EXPECT_FALSE(isReadable());
  set.wake();
  set.wake();
  EXPECT_TRUE(isReadable());
  EXPECT_TRUE(wait(never).empty());
  EXPECT_FALSE(isReadable());
  set.wake();
  EXPECT_TRUE(isReadable());
}

TEST_F(WaitSetTest, NoWakeUpOfAnotherThreadIsLost) {
  constexpr int rounds = 20'000;
  std::atomic<int> written{0};
  std::thread waker([&] {
    for (int i = 1; i <= rounds; ++i) {
      written.store(i, std::memory_order_relaxed);
      set.wake();
    }
  });
  while (written.load(std::memory_order_relaxed) < rounds) {
    wait(never);
  }
  waker.join();
}

TEST_F(WaitSetTest, AnAlarmStaysReachedUntilItIsSetAnew) {
  const Moment alarm = momentAfter(0.002);
  set.setAlarm(alarm);
  EXPECT_TRUE(wait(never).empty());
  EXPECT_GE(std::chrono::steady_clock::now(), alarm);
  EXPECT_TRUE(isReadable());
  set.setAlarm(never);
  EXPECT_FALSE(isReadable());
}

TEST_F(WaitSetTest, AnAlarmInThePastIsReached) {
  set.setAlarm(atOnce);
  EXPECT_TRUE(isReadable());
}

TEST_F(WaitSetTest, AWaitEndsAtItsLimit) {
  const Moment limit = momentAfter(0.002);
  EXPECT_TRUE(wait(limit).empty());
  EXPECT_GE(std::chrono::steady_clock::now(), limit);
}

TEST_F(WaitSetTest, ADescriptorIsToldByItsTokenUntilItIsTakenOut) {
  const FileDescriptor event(::eventfd(1, EFD_CLOEXEC));
  set.watch(event.get(), EPOLLIN, 7);
  EXPECT_EQ(wait(never), std::vector<std::uint64_t>{7});
  EXPECT_EQ(wait(), std::vector<std::uint64_t>{7});
  set.unwatch(event.get());
  set.unwatch(event.get());
  EXPECT_TRUE(wait().empty());
}

TEST_F(WaitSetTest, ADescriptorThatCannotBeWaitedForIsRefused) {
  testing::expectException(NSGenericException, [&] { set.watch(-1, EPOLLIN, 7); });
}

TEST_F(WaitSetTest, SetsNest) {
  WaitSet outer;
  outer.watch(set.descriptor(), EPOLLIN, 1);
  set.wake();
  std::uint64_t seen = 0;
  outer.wait(never, [&](std::uint64_t token, std::uint32_t) { seen = token; });
  EXPECT_EQ(seen, 1u);
}

}  // namespace
}  // namespace kestova
