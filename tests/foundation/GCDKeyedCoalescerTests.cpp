// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDKeyedCoalescer.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "ResidentMemory.h"
#include "RunRecord.h"
#include "Sanitizers.h"
#include "Stress.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace kestova::testing {
namespace {

/// A delay that a burst stays within however busy the machine is, and one that is over soon.
constexpr NSTimeInterval kLong = 0.5;
constexpr NSTimeInterval kShort = 0.01;
/// A delay that no test waits for.
constexpr NSTimeInterval kEndOfTheTest = 600;

class GCDKeyedCoalescerTests : public ::testing::Test {
 protected:
  void request(const id& key, NSTimeInterval delay, const Block<void()>& block) const {
    coalescer->dispatch_on_after_block(key, queue, delay, block);
  }

  const Ref<GCDKeyedCoalescer> coalescer = GCDKeyedCoalescer::init();
  const DispatchQueue queue = dispatchSerialQueue();
  const RunRecord runs;
};

using GCDKeyedCoalescerDeathTests = GCDKeyedCoalescerTests;

// Shows: init
TEST_F(GCDKeyedCoalescerTests, IsMadeByItsClass) {
  EXPECT_TRUE(cast<GCDKeyedCoalescer>(GCDKeyedCoalescer::staticClass().make()));
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, EachKeyRunsTheLastBlockOfItsBurst) {
  for (const char number : {'1', '2', '3'}) {
    request("a", kLong, runs.block(number));
    request("b", kLong, runs.block(static_cast<char>(number + 4)));
  }
  std::string names = runs.waitFor(2);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, "37");
  letRunWhatIsDue();
  EXPECT_EQ(runs.names().size(), 2U);
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, EachKeyWaitsForTheWholeDelayOfItsLastRequest) {
  using std::chrono::steady_clock;
  const auto asked = steady_clock::now();
  steady_clock::time_point started;
  request("a", kEndOfTheTest, runs.block('A'));
  request("a", kLong, [&] {
    started = steady_clock::now();
    runs.add('B');
  });
  request("b", kShort, runs.block('C'));
  EXPECT_EQ(runs.waitFor(2), "CB");
  EXPECT_GE(started - asked, std::chrono::duration<double>(kLong));
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, EqualKeysAreOne) {
  request(counted(7), kLong, runs.block('A'));
  request(counted(17), kLong, runs.block('B'));
  request(counted(7), kShort, runs.block('C'));
  EXPECT_EQ(runs.waitFor(2), "CB");
  letRunWhatIsDue(kLong);
  EXPECT_EQ(runs.names(), "CB");
  EXPECT_EQ(CountingObject::alive(), 2) << "the first key of each slot is kept";
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, ABlockRunsOnTheQueueOfItsRequest) {
  const DispatchQueue other = dispatchSerialQueue();
  request("a", kLong, runs.block('A'));
  coalescer->dispatch_on_after_block("a", other, kShort,
                                     [&] { runs.add(dispatchQueueIsCurrent(other) ? 'B' : 'x'); });
  EXPECT_EQ(runs.waitFor(1), "B");
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, ADelayThatIsNotAboveZeroIsOverAtOnce) {
  const std::array delays{0.0, -0.0, -1.0, std::nan(""), -std::numeric_limits<double>::infinity()};
  for (std::size_t i = 0; i < delays.size(); ++i) {
    request("a", delays.at(i), runs.block('A'));
    EXPECT_EQ(runs.waitFor(i + 1), std::string(i + 1, 'A'));
  }
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, SeventeenKeysAndTheirCountsOutgrowTheFirstSlots) {
  const auto requestAll = [&](char first, int count) {
    for (int key = 0; key < count; ++key) {
      request(counted(key), kLong, runs.block(static_cast<char>(first + key)));
    }
  };
  requestAll('a', 16);
  requestAll('q', 16);
  requestAll('a', 17);  // outgrows the slots
  requestAll('A', 17);  // would come before the second with a count that was lost
  std::string names = runs.waitFor(17);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, "ABCDEFGHIJKLMNOPQ");
  letRunWhatIsDue();
  EXPECT_EQ(runs.names().size(), 17U);
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, ARequestFromBeforeTheGrowthIsNotLost) {
  request(counted(0), kLong, runs.block('x'));
  request(counted(0), kLong, runs.block('A'));
  for (int key = 1; key < 100; ++key) {
    request(counted(key), std::numeric_limits<double>::infinity(), runs.block('y'));
  }
  EXPECT_EQ(runs.waitFor(1), "A");
}

// Shows: GCDKeyedCoalescer
TEST_F(GCDKeyedCoalescerTests, KeysStayWithTheCoalescerAndGoWithIt) {
  auto mine = GCDKeyedCoalescer::init();
  mine->dispatch_on_after_block(counted(1), queue, kShort, runs.block('A'));
  EXPECT_EQ(mine->retainCount(), 2U) << "the request keeps it";
  runs.waitFor(1);
  dispatch_sync(queue, [] {});
  EXPECT_EQ(mine->retainCount(), 1U);
  EXPECT_EQ(CountingObject::alive(), 1);
  mine = nullptr;
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: GCDKeyedCoalescer, dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, AMillionRequestsHoldOneBlockForEachKey) {
  const std::vector<id> keys = {"window", "colours", "fonts", "panels"};
  const std::int64_t before = residentBytes();
  for (int i = 0; i < shareOf(1'000'000); ++i) {
    request(keys[static_cast<std::size_t>(i % 4)], kEndOfTheTest,
            [object = counted(i)] { (void)object; });
  }
  EXPECT_EQ(CountingObject::alive(), 4);
  EXPECT_EQ(coalescer->retainCount(), 5U) << "once for each key";
  if (!underSanitizer) {
    EXPECT_LT(residentBytes() - before, 8 << 20);
  }
  for (const id& key : keys) {
    request(key, std::numeric_limits<double>::infinity(), [] {});
  }
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerTests, ARequestWithoutAKeyIsRefused) {
  expectException(NSInvalidArgumentException, [&] { request(nullptr, kShort, runs.block('A')); });
}

// Shows: GCDKeyedCoalescer
TEST_F(GCDKeyedCoalescerTests, DueRequestsRunWhileKeysAreAdded) {
  const StressTime time;
  Threads threads;
  threads.start(8, [&](int) {
    while (!time.isOver()) {
      const auto mine = GCDKeyedCoalescer::init();
      for (int key = 0; key < 60; ++key) {
        mine->dispatch_on_after_block(counted(key / 2), dispatch_get_global_queue(0, 0),
                                      1e-5 * (key % 3), [object = counted(key)] { (void)object; });
      }
    }
  });
  threads.join();
  while (CountingObject::alive() > 0) {
    std::this_thread::yield();
  }
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerDeathTests, AMissingQueueOrBlockEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(coalescer->dispatch_on_after_block("a", nullptr, 0, [] {}), "queue != nil");
  EXPECT_DEATH(request("a", 0, nullptr), "block != nil");
}

// Shows: dispatch_on_after_block
TEST_F(GCDKeyedCoalescerDeathTests, ABlockThatThrowsEndsTheProcessWithItsText) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        request("a", 0, [] { throw NSException(NSRangeException, "too far"); });
        runs.waitFor(1);
      },
      "an exception left a submitted block: NSRangeException: too far");
}

}  // namespace
}  // namespace kestova::testing
