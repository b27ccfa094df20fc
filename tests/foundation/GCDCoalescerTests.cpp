// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ResidentMemory.h"
#include "RunRecord.h"
#include "Sanitizers.h"
#include "Stress.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <latch>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace kestova::testing {
namespace {

/// A delay that a burst stays within however busy the machine is, and one that is over soon.
constexpr NSTimeInterval kLong = 0.5;
constexpr NSTimeInterval kShort = 0.01;
/// A delay that no test waits for.
constexpr NSTimeInterval kEndOfTheTest = 600;

class GCDCoalescerTests : public ::testing::Test {
 protected:
  void request(NSTimeInterval delay, const Block<void()>& block) const {
    coalescer->dispatchOn_after_block(queue, delay, block);
  }

  /// A block that carries an object, to see when it is let go of.
  Block<void()> carrier(char name) const {
    return runs.block(name, [object = counted(0)] { (void)object; });
  }

  static void waitUntilAllAreGone() {
    while (CountingObject::alive() > 0) {
      std::this_thread::yield();
    }
  }

  void waitUntilNoRequestKeepsIt() const {
    while (coalescer->retainCount() > 1) {
      std::this_thread::yield();
    }
  }

  const Ref<GCDCoalescer> coalescer = GCDCoalescer::init();
  const DispatchQueue queue = dispatchSerialQueue();
  const RunRecord runs;
};

using GCDCoalescerDeathTests = GCDCoalescerTests;

// Shows: init
TEST_F(GCDCoalescerTests, IsMadeByItsClass) {
  EXPECT_TRUE(cast<GCDCoalescer>(GCDCoalescer::staticClass().make()));
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, OfABurstTheLastBlockRunsAlone) {
  for (const char name : {'A', 'B', 'C'}) {
    request(kLong, runs.block(name));
  }
  EXPECT_EQ(runs.waitFor(1), "C");
  request(kShort, runs.block('D'));
  EXPECT_EQ(runs.waitFor(2), "CD") << "a later request is a burst of its own";
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ALaterRequestSupersedesWhateverItsDelay) {
  request(kLong, runs.block('A'));
  request(kShort, runs.block('B'));
  EXPECT_EQ(runs.waitFor(1), "B");
  letRunWhatIsDue(kLong);
  EXPECT_EQ(runs.names(), "B");
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, TheLastBlockWaitsForItsWholeDelayFromItsOwnRequestOn) {
  using std::chrono::steady_clock;
  request(kEndOfTheTest, runs.block('A'));
  const auto asked = steady_clock::now();
  steady_clock::time_point started;
  request(kLong, [&] {
    started = steady_clock::now();
    runs.add('B');
  });
  EXPECT_EQ(runs.waitFor(1), "B");
  EXPECT_GE(started - asked, std::chrono::duration<double>(kLong));
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ABlockRunsOnTheQueueOfItsRequest) {
  const DispatchQueue other = dispatchSerialQueue();
  request(kLong, runs.block('A'));
  coalescer->dispatchOn_after_block(other, kShort,
                                    [&] { runs.add(dispatchQueueIsCurrent(other) ? 'B' : 'x'); });
  EXPECT_EQ(runs.waitFor(1), "B");
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ADelayThatIsNotAboveZeroIsOverAtOnce) {
  const std::array delays{0.0, -0.0, -1.0, std::nan(""), -std::numeric_limits<double>::infinity()};
  for (std::size_t i = 0; i < delays.size(); ++i) {
    request(delays.at(i), runs.block('A'));
    EXPECT_EQ(runs.waitFor(i + 1), std::string(i + 1, 'A'));
  }
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, AnEndlessDelaySupersedesAndDropsItsOwnBlock) {
  request(kShort, carrier('A'));
  request(std::numeric_limits<double>::infinity(), carrier('B'));
  waitUntilAllAreGone();
  waitUntilNoRequestKeepsIt();
  EXPECT_EQ(runs.names(), "");
}

// Shows: GCDCoalescer
TEST_F(GCDCoalescerTests, ARequestKeepsTheCoalescerUntilItIsDue) {
  auto mine = GCDCoalescer::init();
  mine->dispatchOn_after_block(queue, kLong, runs.block('A'));
  EXPECT_EQ(mine->retainCount(), 2U);
  mine = nullptr;
  EXPECT_EQ(runs.waitFor(1), "A");
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ASupersededBlockGoesWithTheRequestThatSupersedesIt) {
  request(kEndOfTheTest, carrier('A'));
  EXPECT_EQ(CountingObject::alive(), 1);
  request(kEndOfTheTest, runs.block('B'));
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ABlockThatGoesMayMakeTheNextRequest) {
  std::shared_ptr<void> last(nullptr, [this](void*) { request(kShort, runs.block('C')); });
  request(kEndOfTheTest, [last = std::exchange(last, nullptr)] {});
  request(kEndOfTheTest, runs.block('B'));
  EXPECT_EQ(runs.waitFor(1), "C");
}

// Shows: GCDCoalescer
TEST_F(GCDCoalescerTests, ASupersededRequestKeepsTheCoalescerUntilItsDelayIsOver) {
  request(kLong, runs.block('A'));
  request(kShort, runs.block('B'));
  EXPECT_EQ(coalescer->retainCount(), 2U);
  EXPECT_EQ(runs.waitFor(1), "B");
  waitUntilNoRequestKeepsIt();
  EXPECT_EQ(runs.names(), "B");
}

// Shows: GCDCoalescer, dispatchOn_after_block
TEST_F(GCDCoalescerTests, ALongDelayOutlastsShortOnes) {
  request(kEndOfTheTest, runs.block('A'));
  for (const char name : {'B', 'C', 'D'}) {
    request(kShort, runs.block(name));
    EXPECT_EQ(runs.waitFor(static_cast<std::size_t>(name - 'A')).back(), name);
  }
  dispatch_sync(queue, [] {});
  EXPECT_EQ(coalescer->retainCount(), 2U);
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ABlockOnItsQueueIsSupersededStill) {
  std::latch end(1);
  dispatch_async(queue, [&] { end.wait(); });
  request(0, carrier('A'));
  request(kEndOfTheTest, runs.block('B'));
  end.count_down();
  waitUntilAllAreGone();
  EXPECT_EQ(runs.names(), "");
}

// Shows: GCDCoalescer, dispatchOn_after_block
TEST_F(GCDCoalescerTests, AMillionRequestsHoldOneBlock) {
  const std::int64_t before = residentBytes();
  for (int i = 0; i < shareOf(1'000'000); ++i) {
    request(kEndOfTheTest, [object = counted(i)] { (void)object; });
  }
  EXPECT_EQ(CountingObject::alive(), 1);
  EXPECT_EQ(coalescer->retainCount(), 2U);
  if (!underSanitizer) {
    EXPECT_LT(residentBytes() - before, 8 << 20);
  }
  request(kShort, runs.block('Z'));
  EXPECT_EQ(runs.waitFor(1), "Z");
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerTests, ABlockMayMakeTheNextRequest) {
  request(0, runs.block('A', [this] {
    request(0, runs.block('B'));
    runs.add('a');
  }));
  EXPECT_EQ(runs.waitFor(3), "AaB");
}

// Shows: GCDCoalescer, dispatchOn_after_block
TEST_F(GCDCoalescerTests, RequestsOfManyThreadsMakeOneBurst) {
  Threads threads;
  threads.start(8, [&](int) {
    for (int i = 0; i < 500; ++i) {
      coalescer->dispatchOn_after_block(dispatch_get_global_queue(0, 0), 60 + i, [] {});
    }
  });
  threads.join();
  EXPECT_EQ(coalescer->retainCount(), 2U);
  request(kShort, runs.block('Z'));
  EXPECT_EQ(runs.waitFor(1), "Z");
}

// Shows: GCDCoalescer
TEST_F(GCDCoalescerTests, CoalescersMayGoWhileTheirRequestsAreUnderWay) {
  const StressTime time;
  Threads threads;
  threads.start(8, [&](int number) {
    while (!time.isOver()) {
      const auto mine = GCDCoalescer::init();
      for (int i = 0; i < 10; ++i) {
        mine->dispatchOn_after_block(dispatch_get_global_queue(0, 0), 1e-5 * (i % 3),
                                     [object = counted(number)] { (void)object; });
      }
    }
  });
  threads.join();
  waitUntilAllAreGone();
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerDeathTests, AMissingQueueOrBlockEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(coalescer->dispatchOn_after_block(nullptr, 0, [] {}), "queue != nil");
  EXPECT_DEATH(request(0, nullptr), "block != nil");
}

// Shows: dispatchOn_after_block
TEST_F(GCDCoalescerDeathTests, ABlockThatThrowsEndsTheProcessWithItsText) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        request(0, [] { throw NSException(NSRangeException, "too far"); });
        runs.waitFor(1);
      },
      "an exception left a submitted block: NSRangeException: too far");
}

}  // namespace
}  // namespace kestova::testing
