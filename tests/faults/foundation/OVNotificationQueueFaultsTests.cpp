// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVNotificationQueue.h>
#include <KestovaFoundation/OVSerialOperationQueue.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <gtest/gtest.h>

#include <atomic>

#include "AllocationFaults.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Counts what it hears, on whatever thread.
class Hearer final : public NSObject {
 public:
  void hear() { ++heard; }
  std::atomic<int> heard = 0;
};

}  // namespace

TEST(OVNotificationQueueFaults, WhatThereIsNoMemoryForKeepsNothingElseBack) {
  const auto center = NSNotificationCenter::init();
  const auto hearer = make<Hearer>();
  center->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), "told", nullptr);
  Ref<OVSerialOperationQueue> operations;
  Ref<OVNotificationQueue> queue;
  const auto enqueue = [&] {
    queue->enqueueNotificationName_object_userInfo_coalesceMask("told", nullptr, nullptr,
                                                                OVNotificationCoalescingOnName);
  };
  const int refused = walkAllocations(
      [&] {
        queue = nullptr;
        operations = OVSerialOperationQueue::init();
        operations->setSuspended(true);
        queue = OVNotificationQueue::initWithNotificationCenter_queue(center, operations);
        enqueue();
      },
      [&](bool) {
        if (queue) {
          hearer->heard = 0;
          enqueue();
          operations->setSuspended(false);
          operations->waitUntilAllOperationsAreFinished();
          EXPECT_EQ(hearer->heard, 1);
        }
      });
  EXPECT_GT(refused, 5);
  center->removeObserver(hearer.get());
}

TEST(OVNotificationQueueFaults, ANotificationThatThereIsNoMemoryForIsNotPostedLater) {
  for (const NSUInteger mask :
       {NSUInteger(OVNotificationNoCoalescing), NSUInteger(OVNotificationCoalescingOnName)}) {
    const auto center = NSNotificationCenter::init();
    const auto hearer = make<Hearer>();
    center->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), "told", nullptr);
    Ref<OVSerialOperationQueue> operations;
    Ref<OVNotificationQueue> queue;
    bool isAsked = false;
    const int refused = walkAllocations(
        [&] {
          queue = nullptr;
          isAsked = false;
          operations = OVSerialOperationQueue::init();
          operations->setSuspended(true);
          queue = OVNotificationQueue::initWithNotificationCenter_queue(center, operations);
          isAsked = true;
          queue->enqueueNotificationName_object_userInfo_coalesceMask("told", nullptr, nullptr,
                                                                      mask);
        },
        [&](bool threw) {
          if (isAsked) {
            hearer->heard = 0;
            queue->enqueueNotificationName_object_userInfo_coalesceMask("other", nullptr, nullptr,
                                                                        OVNotificationNoCoalescing);
            operations->setSuspended(false);
            operations->waitUntilAllOperationsAreFinished();
            EXPECT_EQ(hearer->heard, threw ? 0 : 1);
          }
        });
    EXPECT_GT(refused, 5);
    center->removeObserver(hearer.get());
  }
}
