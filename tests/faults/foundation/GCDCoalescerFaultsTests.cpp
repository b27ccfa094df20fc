// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaFoundation/GCDKeyedCoalescer.h>
#include <KestovaPlatform/Dispatch.h>
#include <gtest/gtest.h>

#include <semaphore>
#include <string>
#include <utility>

#include "AllocationFaults.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

constexpr NSTimeInterval kDelay = 0.01;

/// What ran on a queue of its own.
class Runs {
 public:
  Block<void()> block(char letter) {
    return [this, letter] {
      ran_ += letter;
      one_.release();
    };
  }

  /// Waits for the next run, and answers all letters since the last answer.
  std::string next() {
    one_.acquire();
    return dispatch_sync(queue, [this] { return std::exchange(ran_, {}); });
  }

  const DispatchQueue queue = dispatchSerialQueue();

 private:
  std::string ran_;
  std::counting_semaphore<> one_{0};
};

}  // namespace

TEST(GCDCoalescerFaults, ARequestThatFindsNoMemoryLeavesTheOneBeforeIt) {
  Runs runs;
  Ref<GCDCoalescer> coalescer;
  bool isRequested = false;
  const Block<void()> first = runs.block('a');
  const Block<void()> second = runs.block('b');
  const int refused = walkAllocations(
      [&] {
        isRequested = false;
        coalescer = GCDCoalescer::init();
        coalescer->dispatchOn_after_block(runs.queue, kDelay, first);
        isRequested = true;
        coalescer->dispatchOn_after_block(runs.queue, kDelay, second);
      },
      [&](bool threw) {
        if (!isRequested && coalescer) {
          coalescer->dispatchOn_after_block(runs.queue, kDelay, first);
        }
        if (coalescer) {
          EXPECT_EQ(runs.next(), threw ? "a" : "b");
        }
        coalescer = nullptr;
      });
  EXPECT_GT(refused, 4);
}

TEST(GCDCoalescerFaults, AKeyThatFindsNoMemoryCanBeUsedAgain) {
  Runs runs;
  Ref<GCDKeyedCoalescer> coalescer;
  const Block<void()> first = runs.block('a');
  const Block<void()> second = runs.block('b');
  const int refused = walkAllocations(
      [&] {
        coalescer = GCDKeyedCoalescer::init();
        coalescer->dispatch_on_after_block("a", runs.queue, kDelay, first);
      },
      [&](bool threw) {
        if (coalescer && threw) {
          coalescer->dispatch_on_after_block("a", runs.queue, kDelay, first);
        }
        if (coalescer) {
          EXPECT_EQ(runs.next(), "a");
          coalescer->dispatch_on_after_block("b", runs.queue, kDelay, second);
          EXPECT_EQ(runs.next(), "b");
        }
        coalescer = nullptr;
      });
  EXPECT_GT(refused, 6);
}
