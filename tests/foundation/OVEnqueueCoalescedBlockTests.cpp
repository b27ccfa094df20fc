// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVEnqueueCoalescedBlock.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RunRecord.h"
#include "Stress.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace kestova::testing {
namespace {

class OVEnqueueCoalescedBlockTests : public ::testing::Test {
 protected:
  void enqueue(Block<void()> block) const {
    OVEnqueueCoalescedBlock(this, queue, std::move(block));
  }
  void cancel() const { OVCancelEnqueuedBlock(this); }

  /// Enqueues a block that stays at the gate, and returns when it runs.
  void enqueueHeld(char name) const {
    const std::size_t before = runs.names().size();
    enqueue(runs.block(name, gate.wait()));
    runs.waitFor(before + 1);
  }

  /// A block that carries an object, to see when it is let go of.
  Block<void()> carrier(char name) const {
    return runs.block(name, [object = counted(0)] { (void)object; });
  }

  /// Returns when everything has run that was on the queue, or is put there by a block that ends.
  void drain() const {
    for (int i = 0; i < 3; ++i) {
      dispatch_sync(queue, [] {});
    }
  }

  const DispatchQueue queue = dispatchSerialQueue();
  const RunRecord runs;
  const Gate gate;
};

using OVEnqueueCoalescedBlockDeathTests = OVEnqueueCoalescedBlockTests;

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, AnIdleKeyStartsItsBlockAtOnce) {
  enqueue(runs.block('A'));
  EXPECT_EQ(runs.waitFor(1), "A");
  drain();
  enqueue(runs.block('B'));
  EXPECT_EQ(runs.waitFor(2), "AB") << "it is idle again";
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, OfThoseThatComeWhileOneRunsTheLatestRunsNext) {
  enqueueHeld('A');
  enqueue(carrier('B'));
  EXPECT_EQ(CountingObject::alive(), 1);
  enqueue(carrier('C'));
  EXPECT_EQ(CountingObject::alive(), 1) << "B was dropped";
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AC");
  drain();
  EXPECT_EQ(runs.names(), "AC");
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, NoTwoBlocksOfAKeyRunAtATime) {
  const DispatchQueue concurrent = dispatchConcurrentQueue();
  OVEnqueueCoalescedBlock(this, concurrent, runs.block('A', gate.wait()));
  runs.waitFor(1);
  OVEnqueueCoalescedBlock(this, concurrent, runs.block('B'));
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AB");
}

// Shows: OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, TheBlockThatWaitsCanBeCancelled) {
  enqueueHeld('A');
  enqueue(carrier('B'));
  cancel();
  EXPECT_EQ(CountingObject::alive(), 0);
  gate.open();
  drain();
  EXPECT_EQ(runs.names(), "A");
}

// Shows: OVCancelEnqueuedBlock, OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, ABlockEnqueuedAfterCancellingStillWaitsForTheRunningOne) {
  enqueueHeld('A');
  enqueue(runs.block('B'));
  cancel();
  enqueue(runs.block('C'));
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AC");
}

// Shows: OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, ABlockThatRunsIsNotCancelled) {
  enqueueHeld('A');
  cancel();
  gate.open();
  drain();
  EXPECT_EQ(runs.names(), "A");
}

// Shows: OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, ABlockThatIsOnItsQueueIsNotCancelled) {
  dispatch_async(queue, gate.wait());
  enqueue(runs.block('A'));
  cancel();
  gate.open();
  EXPECT_EQ(runs.waitFor(1), "A");
}

// Shows: OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, CancellingAnIdleKeyDoesNothing) {
  cancel();
  enqueue(runs.block('A'));
  EXPECT_EQ(runs.waitFor(1), "A");
}

// Shows: OVAllEnqueuedBlocks
TEST_F(OVEnqueueCoalescedBlockTests, TheKeyOfAllBlocksIsTheNullPointer) {
  EXPECT_EQ(OVAllEnqueuedBlocks, nullptr);
}

// Shows: OVCancelEnqueuedBlock, OVAllEnqueuedBlocks
TEST_F(OVEnqueueCoalescedBlockTests, CancellingAllCancelsNone) {
  enqueueHeld('A');
  enqueue(runs.block('B'));
  OVCancelEnqueuedBlock(OVAllEnqueuedBlocks);
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AB");
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, KeysOfEqualTextsAtTwoAddressesRunSideBySide) {
  const std::string one = "equal";
  const std::string other = "equal";
  const auto global = dispatch_get_global_queue(0, 0);
  OVEnqueueCoalescedBlock(&one, global, runs.block('A', gate.wait()));
  OVEnqueueCoalescedBlock(&other, global, runs.block('B', gate.wait()));
  std::string names = runs.waitFor(2);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, "AB") << "their addresses differ";
  gate.open();
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, TheBlockThatWaitsRunsOnItsOwnQueue) {
  const DispatchQueue other = dispatchSerialQueue();
  enqueueHeld('A');
  OVEnqueueCoalescedBlock(this, other,
                          [&] { runs.add(dispatchQueueIsCurrent(other) ? 'B' : 'x'); });
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AB");
  dispatch_sync(other, [] {});
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, ABlockMayEnqueueForItsOwnKey) {
  enqueue(runs.block('A', [this] {
    enqueue(runs.block('x'));
    enqueue(runs.block('B'));
    runs.add('a');
  }));
  EXPECT_EQ(runs.waitFor(3), "AaB");
  drain();
}

// Shows: OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, ABlockMayCancelForItsOwnKey) {
  enqueue(runs.block('A', [this] {
    enqueue(runs.block('x'));
    cancel();
  }));
  runs.waitFor(1);
  drain();
  EXPECT_EQ(runs.names(), "A");
}

// Shows: OVEnqueueCoalescedBlock, OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, WhatIsDroppedMayEnqueueAsItGoes) {
  const char otherKey = 0;
  enqueueHeld('A');
  for (const bool cancels : {false, true}) {
    std::shared_ptr<void> farewell(
        nullptr, [&](void*) { OVEnqueueCoalescedBlock(&otherKey, queue, runs.block('B')); });
    enqueue([kept = std::move(farewell)] { (void)kept; });
    cancels ? cancel() : enqueue([] {});
  }
  gate.open();
  runs.waitFor(2);
  drain();
}

// Shows: OVEnqueueCoalescedBlock, OVAllEnqueuedBlocks
TEST_F(OVEnqueueCoalescedBlockTests, WrongArgumentsAreToldOneAtATime) {
  const auto reason = [&](const void* key, dispatch_queue_t to, Block<void()> block) {
    const auto exception = expectException(
        NSInvalidArgumentException, [&] { OVEnqueueCoalescedBlock(key, to, std::move(block)); });
    return exception.reason()->displayUTF8();
  };
  EXPECT_EQ(reason(nullptr, nullptr, nullptr),
            "OVEnqueueCoalescedBlock key cannot be OVAllEnqueuedBlocks");
  EXPECT_EQ(reason(OVAllEnqueuedBlocks, queue, nullptr),
            "OVEnqueueCoalescedBlock key cannot be OVAllEnqueuedBlocks");
  EXPECT_EQ(reason(this, nullptr, nullptr), "OVEnqueueCoalescedBlock queue cannot be nil");
  EXPECT_EQ(reason(this, queue, nullptr), "OVEnqueueCoalescedBlock block cannot be nil");
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockTests, AWrongArgumentChangesNothing) {
  enqueueHeld('A');
  enqueue(runs.block('B'));
  expectException(NSInvalidArgumentException, [&] { enqueue(nullptr); });
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AB");
}

// Shows: OVEnqueueCoalescedBlock, OVCancelEnqueuedBlock
TEST_F(OVEnqueueCoalescedBlockTests, NoTwoBlocksOfAKeyOverlapWhileManyThreadsEnqueueAndCancel) {
  const StressTime time;
  std::array<std::atomic<int>, 4> running{};
  std::atomic<bool> overlap{false};
  Threads threads;
  threads.start(8, [&](int number) {
    for (std::size_t i = static_cast<std::size_t>(number); !time.isOver(); ++i) {
      auto& key = running.at(i % running.size());
      OVEnqueueCoalescedBlock(&key, dispatch_get_global_queue(0, 0),
                              [&key, &overlap, object = counted(0)] {
                                (void)object;
                                overlap = overlap || key.fetch_add(1) != 0;
                                key.fetch_sub(1);
                              });
      if (i % 7 == 0) {
        OVCancelEnqueuedBlock(&key);
      }
    }
  });
  threads.join();
  while (CountingObject::alive() > 0) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(overlap);
}

// Shows: OVEnqueueCoalescedBlock
TEST_F(OVEnqueueCoalescedBlockDeathTests, ABlockThatThrowsEndsTheProcessWithItsText) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        enqueue([] { throw NSException(NSRangeException, "too far"); });
        runs.waitFor(1);
      },
      "an exception left a submitted block: NSRangeException: too far");
}

}  // namespace
}  // namespace kestova::testing
