// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVNotificationQueue.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "Stress.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

/// A queue that posts when the test says so, and a listener that writes down names.
class OVNotificationQueueTests : public ::testing::Test {
 protected:
  OVNotificationQueueTests() {
    postingQueue->setMaxConcurrentOperationCount(1);
    postingQueue->setSuspended(true);
    token_ = centre->addObserverForName_object_queue_usingBlock(
        nullptr, nullptr, nullptr,
        [this](const Ref<NSNotification>& notification) { hear(notification); });
  }
  ~OVNotificationQueueTests() override {
    (void)posted();
    centre->removeObserver(token_.get());
  }

  void enqueue(const Ref<NSString>& name, NSUInteger mask, const id& object = nullptr,
               const Ref<NSDictionary>& userInfo = nullptr) {
    queue->enqueueNotificationName_object_userInfo_coalesceMask(name, object, userInfo, mask);
  }

  /// Lets the posting queue work off what it has, and answers the names in their order.
  std::string posted() {
    heard.clear();
    postingQueue->setSuspended(false);
    postingQueue->waitUntilAllOperationsAreFinished();
    postingQueue->setSuspended(true);
    return heard;
  }

  const Ref<NSNotificationCenter> centre = NSNotificationCenter::init();
  const Ref<NSOperationQueue> postingQueue = NSOperationQueue::init();
  const Ref<OVNotificationQueue> queue =
      OVNotificationQueue::initWithNotificationCenter_queue(centre, postingQueue);
  std::string heard;
  std::vector<Ref<NSNotification>> notifications;
  std::function<void(const std::string&)> whenHeard;

 private:
  void hear(const Ref<NSNotification>& notification) {
    const std::string name = notification->name() ? notification->name()->displayUTF8() : "-";
    heard += name;
    notifications.push_back(notification);
    if (whenHeard) {
      whenHeard(name);
    }
  }

  id token_;
};

using OVNotificationQueueDeathTest = OVNotificationQueueTests;

// Shows: initWithNotificationCenter_queue, notificationCenter, postingQueue
TEST_F(OVNotificationQueueTests, KeepsItsCentreAndItsPostingQueue) {
  EXPECT_EQ(queue->notificationCenter(), centre);
  EXPECT_EQ(queue->postingQueue(), postingQueue);
  EXPECT_EQ(queue->operation(), nullptr);
  EXPECT_EQ(queue->valueForKey("notificationCenter"), centre);
  EXPECT_EQ(queue->valueForKey("postingQueue"), postingQueue);
}

// Shows: setNotificationCenter, setPostingQueue, setOperation
TEST_F(OVNotificationQueueTests, ObserversSeeItsPropertiesSet) {
  class Observer final : public NSObject {
   public:
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                        const Ref<NSDictionary>&, void*) override {
      seen += keyPath->UTF8String().value() + ";";
    }
    std::string seen;
  };
  const auto observer = make<Observer>();
  const auto queue = OVNotificationQueue::initWithNotificationCenter_queue(
      NSNotificationCenter::init(), NSOperationQueue::init());
  for (const char* key : {"notificationCenter", "postingQueue", "operation"}) {
    queue->addObserver_forKeyPath_options_context(observer.get(), key, 0, nullptr);
  }
  queue->setNotificationCenter(NSNotificationCenter::init());
  queue->setPostingQueue(NSOperationQueue::init());
  queue->setOperation(nullptr);
  EXPECT_EQ(observer->seen, "notificationCenter;postingQueue;operation;");
  for (const char* key : {"notificationCenter", "postingQueue", "operation"}) {
    queue->removeObserver_forKeyPath(observer.get(), key);
  }
}

// Shows: OVNotificationCoalescing
TEST_F(OVNotificationQueueTests, TheMasksAreZeroToThree) {
  EXPECT_EQ(OVNotificationNoCoalescing, 0U);
  EXPECT_EQ(OVNotificationCoalescingOnName, 1U);
  EXPECT_EQ(OVNotificationCoalescingOnSender, 2U);
  EXPECT_EQ(OVNotificationCoalescingOnNameAndSender, 3U);
}

// Shows: enqueueNotificationName_object_userInfo_coalesceMask
TEST_F(OVNotificationQueueTests, ANotificationIsBuiltFromNameObjectAndUserInfo) {
  const id object = counted(1);
  enqueue("a", 0, object, NSDictionary::of({{"key", "value"}}));
  enqueue("b", 0);
  EXPECT_EQ(posted(), "ab");
  EXPECT_EQ(notifications[0]->object(), object);
  EXPECT_TRUE(notifications[0]->userInfo()->isEqual(NSDictionary::of({{"key", "value"}})));
  EXPECT_EQ(notifications[1]->object(), nullptr);
  EXPECT_EQ(notifications[1]->userInfo(), nullptr);
}

// Shows: enqueueNotificationName_object_userInfo_coalesceMask, enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, PostsInTheOrderOfQueuing) {
  enqueue("a", 0);
  enqueue("b", 0);
  enqueue("c", 0);
  EXPECT_EQ(heard, "");
  EXPECT_EQ(posted(), "abc");
  EXPECT_EQ(posted(), "");
}

// Shows: enqueueNotification_coalesceMask, OVNotificationCoalescingOnName
TEST_F(OVNotificationQueueTests, ANewOneTakesThePlaceOfTheOldOneOfItsName) {
  enqueue("x", 1, "A");
  enqueue("y", 1, "B");
  enqueue("x", 1, "C");
  EXPECT_EQ(posted(), "xy");
  EXPECT_TRUE(notifications[0]->object()->isEqual("C"));
  EXPECT_TRUE(notifications[1]->object()->isEqual("B"));
}

// Shows: enqueueNotification_coalesceMask, OVNotificationCoalescingOnName
TEST_F(OVNotificationQueueTests, NamesAreComparedAsText) {
  enqueue(NSString::stringWithUTF16Storage(u"name"), 1);
  enqueue(NSString::stringWithEightBitStorage("name"), 1);
  EXPECT_EQ(posted(), "name");
}

// Shows: enqueueNotification_coalesceMask, OVNotificationCoalescingOnName
TEST_F(OVNotificationQueueTests, OneWithoutANameHasANameLikeNoOther) {
  enqueue(nullptr, 1);
  enqueue(nullptr, 1);
  enqueue(nullptr, 3);
  EXPECT_EQ(posted(), "---");
}

// Shows: enqueueNotification_coalesceMask, OVNotificationCoalescingOnSender
TEST_F(OVNotificationQueueTests, OnSenderTwoWithoutAnObjectMatch) {
  enqueue("a", 2);
  enqueue("b", 2);
  EXPECT_EQ(posted(), "b");
}

// Shows: enqueueNotification_coalesceMask, OVNotificationCoalescingOnSender
TEST_F(OVNotificationQueueTests, OnSenderObjectsAreToldApartByIdentity) {
  const id object = counted(1);
  enqueue("a", 2, object);
  enqueue("b", 2, counted(1));
  enqueue("c", 2, object);
  EXPECT_EQ(posted(), "cb");
}

// Shows: enqueueNotification_coalesceMask, OVNotificationCoalescingOnNameAndSender
TEST_F(OVNotificationQueueTests, OnNameAndSenderBothMustMatch) {
  const id object = counted(1);
  enqueue("a", 3, object);
  enqueue("b", 3, object);
  enqueue("a", 3);
  enqueue("a", 3, object, NSDictionary::of({{"latest", true}}));
  EXPECT_EQ(posted(), "aba");
  EXPECT_NE(notifications[0]->userInfo(), nullptr);
  EXPECT_EQ(notifications[2]->object(), nullptr);
}

// Shows: enqueueNotification_coalesceMask, OVNotificationNoCoalescing
TEST_F(OVNotificationQueueTests, NoOtherMaskCoalesces) {
  for (const NSUInteger mask :
       {NSUInteger{0}, NSUInteger{4}, NSUInteger{5}, NSUInteger{7}, ~NSUInteger{0}}) {
    enqueue("a", mask);
    enqueue("a", mask);
    EXPECT_EQ(posted(), "aa") << mask;
  }
}

// Shows: enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, OnlyTheFirstMatchIsReplaced) {
  enqueue("a", 0, "1");
  enqueue("a", 0, "2");
  enqueue("a", 1, "3");
  EXPECT_EQ(posted(), "aa");
  EXPECT_TRUE(notifications[0]->object()->isEqual("3"));
  EXPECT_TRUE(notifications[1]->object()->isEqual("2"));
}

// Shows: enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, TheMaskOfTheQueuedOneDoesNotMatter) {
  enqueue("a", 2, "1");
  enqueue("a", 1, "2");
  EXPECT_EQ(posted(), "a");
}

// Shows: enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, ANotificationIsPostedAsItWasQueued) {
  const auto notification = NSNotification::notificationWithName_object("a", "object");
  queue->enqueueNotification_coalesceMask(notification, 0);
  EXPECT_EQ(posted(), "a");
  EXPECT_EQ(notifications[0], notification);
}

// Shows: enqueuePostingOperation, operation
TEST_F(OVNotificationQueueTests, AtMostOneOperationWaits) {
  for (int i = 0; i < 100; ++i) {
    enqueue("a", 0);
    EXPECT_EQ(postingQueue->operationCount(), 1U);
  }
  EXPECT_EQ(queue->operation(), postingQueue->operations()->firstObject());
  queue->enqueuePostingOperation();
  EXPECT_EQ(postingQueue->operationCount(), 1U);
  EXPECT_EQ(posted().size(), 100U);
  EXPECT_EQ(queue->operation(), nullptr);
}

// Shows: enqueuePostingOperation, operation
TEST_F(OVNotificationQueueTests, APostingOperationMayFindNothingToPost) {
  queue->enqueuePostingOperation();
  EXPECT_NE(queue->operation(), nullptr);
  EXPECT_EQ(posted(), "");
  EXPECT_EQ(queue->operation(), nullptr);
}

// Shows: enqueueNotification_coalesceMask, operation
TEST_F(OVNotificationQueueTests, WhatAnObserverQueuesIsPostedInTheNextBatch) {
  std::string log;
  whenHeard = [&](const std::string& name) {
    log += name + (queue->operation() ? "*" : "");
    if (name == "a") {
      enqueue("b", 1);
      log += queue->operation() ? "+" : "-";
    }
  };
  enqueue("a", 0);
  enqueue("b", 1);
  EXPECT_EQ(posted(), "abb");
  EXPECT_EQ(log, "a+b*b");
}

// Shows: setNotificationCenter
TEST_F(OVNotificationQueueTests, TheCentreIsReadForEachNotification) {
  const auto other = NSNotificationCenter::init();
  std::string otherHeard;
  (void)other->addObserverForName_object_queue_usingBlock(
      nullptr, nullptr, nullptr,
      [&](const Ref<NSNotification>& n) { otherHeard += n->name()->displayUTF8(); });
  whenHeard = [&](const std::string&) { queue->setNotificationCenter(other); };
  enqueue("a", 0);
  enqueue("b", 0);
  EXPECT_EQ(posted(), "a");
  EXPECT_EQ(otherHeard, "b");
}

// Shows: setPostingQueue
TEST_F(OVNotificationQueueTests, ANewPostingQueueTakesTheNextOperation) {
  enqueue("a", 0);
  const auto other = NSOperationQueue::init();
  other->setSuspended(true);
  queue->setPostingQueue(other);
  enqueue("b", 0);
  EXPECT_EQ(other->operationCount(), 0U);
  EXPECT_EQ(posted(), "ab");
  enqueue("c", 0);
  EXPECT_EQ(other->operationCount(), 1U);
  other->setSuspended(false);
  other->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(heard, "abc");
}

// Shows: setOperation, enqueuePostingOperation
TEST_F(OVNotificationQueueTests, WithoutItsOperationItAddsAnotherOne) {
  enqueue("a", 0);
  queue->setOperation(nullptr);
  enqueue("b", 0);
  EXPECT_EQ(postingQueue->operationCount(), 2U);
  EXPECT_EQ(posted(), "ab");
}

// Shows: operation, enqueuePostingOperation
TEST_F(OVNotificationQueueTests, WhatWasQueuedForACancelledOperationWaitsForTheNextOne) {
  enqueue("a", 0);
  postingQueue->cancelAllOperations();
  EXPECT_EQ(posted(), "");
  while (queue->operation() != nullptr) {
    std::this_thread::yield();
  }
  enqueue("b", 0);
  EXPECT_EQ(posted(), "ab");
}

// Shows: enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, AMissingNotificationIsRefused) {
  expectException(NSInvalidArgumentException,
                  [&] { queue->enqueueNotification_coalesceMask(nullptr, 1); });
  EXPECT_EQ(postingQueue->operationCount(), 0U);
}

// Shows: OVNotificationQueue
TEST_F(OVNotificationQueueTests, AQueueThatGoesLetsGoOfItsCentreAndItsPostingQueue) {
  const auto ownCentre = NSNotificationCenter::init();
  const auto ownPosting = NSOperationQueue::init();
  auto own = OVNotificationQueue::initWithNotificationCenter_queue(ownCentre, ownPosting);
  EXPECT_EQ(ownCentre->retainCount(), 2U);
  EXPECT_EQ(ownPosting->retainCount(), 2U);
  own = nullptr;
  EXPECT_EQ(ownCentre->retainCount(), 1U);
  EXPECT_EQ(ownPosting->retainCount(), 1U);
}

// Shows: OVNotificationQueue
TEST_F(OVNotificationQueueTests, TheScheduledOperationKeepsAQueueUntilItHasRun) {
  const int before = CountingObject::alive();
  auto own = OVNotificationQueue::initWithNotificationCenter_queue(centre, postingQueue);
  own->enqueueNotificationName_object_userInfo_coalesceMask("last", counted(1), nullptr, 0);
  own = nullptr;
  EXPECT_EQ(CountingObject::alive(), before + 1);
  EXPECT_EQ(posted(), "last");
  notifications.clear();
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, LetsGoOfWhatItReplaces) {
  const int before = CountingObject::alive();
  for (int i = 0; i < 10; ++i) {
    enqueue("a", 1, counted(i));
  }
  EXPECT_EQ(CountingObject::alive(), before + 1);
  EXPECT_EQ(posted(), "a");
}

// Shows: OVNotificationQueue, enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, AMillionRequestsOfAHundredNamesHoldAHundred) {
  const int before = CountingObject::alive();
  std::vector<Ref<NSString>> names;
  for (int i = 0; i < 100; ++i) {
    names.push_back("name" + std::to_string(i));
  }
  for (int i = 0; i < 1'000'000; ++i) {
    enqueue(names[static_cast<std::size_t>(i % 100)], 1, counted(i));
  }
  EXPECT_EQ(CountingObject::alive(), before + 100);
  EXPECT_EQ(postingQueue->operationCount(), 1U);
  (void)posted();
  EXPECT_EQ(notifications.size(), 100U);
  EXPECT_EQ(valueOf(notifications[0]->object()), 999'900);
}

// Shows: enqueueNotification_coalesceMask
TEST_F(OVNotificationQueueTests, RandomQueuingAndMergingPostsWhatAPlainListSays) {
  RandomRun random;
  const std::array<id, 3> objects = {nullptr, counted(1), counted(2)};
  std::vector<std::pair<std::string, id>> model;
  for (int step = 0; step < 3000; ++step) {
    const std::string name(1, static_cast<char>('a' + random.below(3)));
    const id object = objects[random.below(3)];
    const NSUInteger mask = random.below(5);
    const auto found = std::ranges::find_if(model, [&](const auto& queued) {
      return (mask == 1 && queued.first == name) || (mask == 2 && queued.second == object) ||
             (mask == 3 && queued.first == name && queued.second == object);
    });
    if (found != model.end()) {
      *found = {name, object};
    } else {
      model.emplace_back(name, object);
    }
    enqueue(name, mask, object);
    if (random.below(10) == 0) {
      notifications.clear();
      (void)posted();
      ASSERT_EQ(notifications.size(), model.size()) << "step " << step;
      for (std::size_t i = 0; i < model.size(); ++i) {
        ASSERT_TRUE(notifications[i]->name() == model[i].first) << "step " << step;
        ASSERT_EQ(notifications[i]->object(), model[i].second) << "step " << step;
      }
      model.clear();
    }
  }
}

// Shows: mainQueue
TEST_F(OVNotificationQueueTests, TheMainQueuePostsToTheDefaultCentreOnTheMainThread) {
  const auto main = OVNotificationQueue::mainQueue();
  EXPECT_EQ(OVNotificationQueue::mainQueue(), main);
  EXPECT_EQ(main->notificationCenter(), NSNotificationCenter::defaultCenter());
  EXPECT_EQ(main->postingQueue(), NSOperationQueue::mainQueue());
  bool wasOnMainThread = false;
  bool done = false;
  const id token =
      NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
          "OVNotificationQueueTests", nullptr, nullptr, [&](const Ref<NSNotification>&) {
            wasOnMainThread = NSThread::isMainThread();
            done = true;
          });
  std::thread([&] {
    main->enqueueNotificationName_object_userInfo_coalesceMask("OVNotificationQueueTests", nullptr,
                                                               nullptr, 1);
  }).join();
  EXPECT_FALSE(done);
  while (!done) {
    (void)NSRunLoop::mainRunLoop()->runMode_beforeDate(NSDefaultRunLoopMode,
                                                       NSDate::dateWithTimeIntervalSinceNow(10));
  }
  EXPECT_TRUE(wasOnMainThread);
  NSNotificationCenter::defaultCenter()->removeObserver(token.get());
}

// Shows: OVNotificationQueue
TEST_F(OVNotificationQueueTests, QueuesComeAndGoWhileThreadsUseThem) {
  const int before = CountingObject::alive();
  std::atomic<int> calls{0};
  {
    const StressTime time;
    Threads threads;
    threads.start(8, [&](int number) {
      const auto ownCentre = NSNotificationCenter::init();
      (void)ownCentre->addObserverForName_object_queue_usingBlock(
          nullptr, nullptr, nullptr, [&](const Ref<NSNotification>&) { ++calls; });
      const auto ownPosting = NSOperationQueue::init();
      while (!time.isOver()) {
        const auto own =
            OVNotificationQueue::initWithNotificationCenter_queue(ownCentre, ownPosting);
        for (int i = 0; i < 20; ++i) {
          own->enqueueNotificationName_object_userInfo_coalesceMask(
              "name", counted(i), nullptr, static_cast<NSUInteger>(number % 4));
          if (i % 5 == 0) {
            own->setNotificationCenter(ownCentre);
            own->setPostingQueue(ownPosting);
          }
        }
      }
      ownPosting->waitUntilAllOperationsAreFinished();
    });
  }
  EXPECT_GT(calls.load(), 0);
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

// Shows: OVNotificationQueue
TEST_F(OVNotificationQueueTests, ThreadsShareOneQueueAndEachNotificationIsPostedOnce) {
  constexpr int kEach = 2000;
  std::atomic<bool> stop{false};
  std::thread poster([&] {
    while (!stop.load()) {
      postingQueue->setSuspended(false);
      std::this_thread::yield();
    }
  });
  {
    Threads threads;
    threads.start(8, [&](int) {
      for (int i = 0; i < kEach; ++i) {
        enqueue("a", 0);
      }
    });
  }
  stop = true;
  poster.join();
  postingQueue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(notifications.size(), 8U * kEach);
}

// Shows: initWithNotificationCenter_queue, setNotificationCenter, setPostingQueue
TEST_F(OVNotificationQueueDeathTest, AMissingCentreOrPostingQueueEndsTheProcess) {
  EXPECT_DEATH((void)OVNotificationQueue::initWithNotificationCenter_queue(nullptr, postingQueue),
               "center != nil");
  EXPECT_DEATH((void)OVNotificationQueue::initWithNotificationCenter_queue(centre, nullptr),
               "queue != nil");
  EXPECT_DEATH(queue->setNotificationCenter(nullptr), "center != nil");
  EXPECT_DEATH(queue->setPostingQueue(nullptr), "queue != nil");
}

}  // namespace
}  // namespace kestova::testing
