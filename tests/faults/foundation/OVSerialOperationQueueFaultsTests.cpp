// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVSerialOperationQueue.h>
#include <KestovaPlatform/NSArray.h>
#include <gtest/gtest.h>

#include <string>

#include "AllocationFaults.h"

using namespace kestova;
using namespace kestova::testing;

// The operation that was added before stays the one that the next one waits for.
TEST(OVSerialOperationQueueFaults, AnOperationThatThereIsNoMemoryForIsNotAdded) {
  Ref<OVSerialOperationQueue> queue;
  Ref<NSOperation> first;
  Ref<NSOperation> refused;
  bool isSetUp = false;
  std::string log;
  const Block<void()> completion = [] {};
  const auto operation = [&log](char letter) {
    return NSBlockOperation::blockOperationWithBlock([&log, letter] { log += letter; });
  };
  const int times = walkAllocations(
      [&] {
        isSetUp = false;
        queue = OVSerialOperationQueue::init();
        queue->setSuspended(true);
        first = operation('a');
        queue->addOperation(first);
        refused = operation('b');
        refused->setCompletionBlock(completion);
        refused->setQueuePriority(NSOperationQueuePriorityVeryHigh);
        isSetUp = true;
        queue->addOperation(refused);
      },
      [&](bool threw) {
        if (isSetUp) {
          EXPECT_EQ(queue->operationCount(), threw ? 1U : 2U);
          EXPECT_EQ(refused->dependencies()->count(), threw ? 0U : 1U);
          EXPECT_EQ(refused->completionBlock().object() == completion.object(), threw);
          const auto last = operation('c');
          last->setQueuePriority(NSOperationQueuePriorityVeryHigh);
          queue->addOperation(last);
          EXPECT_TRUE(last->dependencies()->isEqual(NSArray::of(threw ? first : refused)));
          queue->setSuspended(false);
          queue->waitUntilAllOperationsAreFinished();
          EXPECT_EQ(log, threw ? "ac" : "abc");
        }
        log.clear();
        queue = nullptr;
        first = refused = nullptr;
      });
  EXPECT_GT(times, 5);
}

TEST(OVSerialOperationQueueFaults, ARowOfOperationsNeedsNoMemoryToRun) {
  const auto queue = OVSerialOperationQueue::init();
  queue->setSuspended(true);
  std::string log;
  for (const char letter : std::string("abc")) {
    queue->addOperation(
        NSBlockOperation::blockOperationWithBlock([&log, letter] { log += letter; }));
  }
  const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM),
                        FaultyThreads::all);
  queue->setSuspended(false);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "abc");
}
