// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThreadSafeQueue.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "SettableClock.h"
#include "Stress.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <latch>
#include <string>
#include <thread>
#include <vector>

namespace kestova::testing {
namespace {

Ref<NSDate> inSeconds(NSTimeInterval seconds) {
  return NSDate::dateWithTimeIntervalSinceNow(seconds);
}

/// What an object is called in these tests: its text, "-" for the placeholder, "" for nothing.
std::string nameOf(const id& object) {
  return object == NSNull::null() ? "-" : object ? object->description()->displayUTF8() : "";
}

/// Takes out what is there, in one text.
std::string drained(OVThreadSafeQueue& queue) {
  std::string names;
  while (const id object = queue.dequeueBeforeDate(nullptr)) {
    names += nameOf(object);
  }
  return names;
}

Ref<OVThreadSafeQueue> fullQueue(bool replacesOldestObject) {
  const auto queue = OVThreadSafeQueue::initWithMaximumCapacity(2);
  queue->setReplacesOldestObject(replacesOldestObject);
  queue->enqueue("A");
  queue->enqueue("B");
  return queue;
}

// Shows: dequeue, enqueue
TEST(OVThreadSafeQueueTests, HandsObjectsOutInTheOrderOfTheirArrival) {
  const auto queue = OVThreadSafeQueue::init();
  const id object = counted(1);
  queue->enqueue(object);
  queue->enqueue("B");
  queue->enqueue("C");
  EXPECT_EQ(queue->dequeue(), object);
  EXPECT_EQ(nameOf(queue->dequeue()), "B");
  EXPECT_EQ(nameOf(queue->dequeue()), "C");
}

// Shows: empty, init
TEST(OVThreadSafeQueueTests, IsEmptyUntilAnObjectCameAndAfterTheLastWent) {
  const auto queue = OVThreadSafeQueue::init();
  EXPECT_TRUE(queue->empty());
  queue->enqueue(1);
  queue->enqueue(2);
  EXPECT_FALSE(queue->empty());
  (void)queue->dequeue();
  EXPECT_FALSE(queue->empty());
  (void)queue->dequeue();
  EXPECT_TRUE(queue->empty());
}

// Shows: enqueue, initWithMaximumCapacity
TEST(OVThreadSafeQueueTests, AFullQueueDropsTheNewObject) {
  const auto queue = fullQueue(false);
  queue->enqueue("C");
  EXPECT_EQ(drained(*queue), "AB");
}

// Shows: enqueue, setReplacesOldestObject, initWithMaximumCapacity
TEST(OVThreadSafeQueueTests, AFullQueueThatReplacesDropsTheOldestObject) {
  const auto queue = fullQueue(true);
  queue->enqueue("C");
  EXPECT_EQ(drained(*queue), "BC");
}

// Shows: enqueue
TEST(OVThreadSafeQueueTests, TheNullPlaceholderGetsThroughBeyondTheCapacity) {
  for (const bool replaces : {false, true}) {
    const auto queue = fullQueue(replaces);
    queue->enqueue(NSNull::null());
    queue->enqueue(NSNull::null());
    EXPECT_EQ(drained(*queue), "AB--");
  }
}

// Shows: enqueue, setReplacesOldestObject
TEST(OVThreadSafeQueueTests, AQueueBeyondItsCapacityStaysThereWhileItReplaces) {
  const auto queue = fullQueue(true);
  queue->enqueue(NSNull::null());
  queue->enqueue("C");
  EXPECT_EQ(drained(*queue), "B-C");
}

// Shows: enqueue
TEST(OVThreadSafeQueueTests, APlaceholderCountsAsAnObjectAndMayBeReplaced) {
  const auto queue = OVThreadSafeQueue::initWithMaximumCapacity(1);
  queue->enqueue(NSNull::null());
  queue->enqueue("A");
  EXPECT_EQ(drained(*queue), "-");
  queue->setReplacesOldestObject(true);
  queue->enqueue(NSNull::null());
  queue->enqueue("A");
  EXPECT_EQ(drained(*queue), "A");
}

// Shows: init, enqueue
TEST(OVThreadSafeQueueTests, HasNoMaximumUnlessOneIsGiven) {
  const auto queue = OVThreadSafeQueue::init();
  for (const char* name : {"A", "B", "C", "D"}) {
    queue->enqueue(name);
  }
  EXPECT_EQ(drained(*queue), "ABCD");
}

// Shows: initWithMaximumCapacity, enqueue, dequeue
TEST(OVThreadSafeQueueTests, WithoutAMaximumNothingIsDropped) {
  const auto queue = OVThreadSafeQueue::initWithMaximumCapacity(0);
  queue->setReplacesOldestObject(true);
  for (int i = 0; i < 10000; ++i) {
    queue->enqueue(i);
  }
  for (int i = 0; i < 10000; ++i) {
    ASSERT_TRUE(queue->dequeue()->isEqual(i));
  }
  EXPECT_TRUE(queue->empty());
}

// Shows: setReplacesOldestObject, replacesOldestObject
TEST(OVThreadSafeQueueTests, WhatAFullQueueDoesCanBeChangedAtAnyTimeAlsoByName) {
  const auto queue = fullQueue(false);
  EXPECT_FALSE(queue->replacesOldestObject());
  queue->setValue_forKey(true, "replacesOldestObject");
  EXPECT_TRUE(queue->replacesOldestObject());
  EXPECT_TRUE(queue->valueForKey("replacesOldestObject")->isEqual(true));
  queue->enqueue("C");
  queue->setReplacesOldestObject(false);
  queue->enqueue("D");
  EXPECT_EQ(drained(*queue), "BC");
}

// Shows: setReplacesOldestObject
TEST(OVThreadSafeQueueTests, ObserversSeeWhatAFullQueueWillDo) {
  class Observer final : public NSObject {
   public:
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                        const Ref<NSDictionary>& change,
                                                        void*) override {
      seen += nameOf(change->objectForKey(NSKeyValueChangeNewKey));
    }
    std::string seen;
  };
  const auto observer = make<Observer>();
  const auto queue = OVThreadSafeQueue::init();
  queue->addObserver_forKeyPath_options_context(observer.get(), "replacesOldestObject",
                                                NSKeyValueObservingOptionNew, nullptr);
  queue->setReplacesOldestObject(true);
  queue->setValue_forKey(false, "replacesOldestObject");
  EXPECT_EQ(observer->seen, "10");
  queue->removeObserver_forKeyPath(observer.get(), "replacesOldestObject");
}

// Shows: enqueue
TEST(OVThreadSafeQueueTests, RefusesNull) {
  const auto queue = OVThreadSafeQueue::init();
  expectException(NSInvalidArgumentException, [&] { queue->enqueue(nullptr); });
  EXPECT_TRUE(queue->empty());
}

// Shows: dequeueBeforeDate
TEST(OVThreadSafeQueueTests, ADateThatHasPassedOrNoneMeansNotToWait) {
  const auto queue = OVThreadSafeQueue::init();
  for (const auto& date : {NSDate::distantPast(), inSeconds(-1), Ref<NSDate>()}) {
    EXPECT_EQ(queue->dequeueBeforeDate(date), nullptr);
    queue->enqueue("A");
    EXPECT_EQ(nameOf(queue->dequeueBeforeDate(date)), "A");
  }
}

// Shows: dequeueBeforeDate
TEST(OVThreadSafeQueueTests, GivesUpAtTheDateAndNotBefore) {
  const auto queue = OVThreadSafeQueue::init();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(queue->dequeueBeforeDate(inSeconds(1)), nullptr);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(999));
  queue->enqueue("A");
  EXPECT_EQ(drained(*queue), "A");
}

// Shows: dequeueBeforeDate
TEST(OVThreadSafeQueueTests, AnObjectThatArrivesBeforeTheDateIsHandedOut) {
  const auto queue = OVThreadSafeQueue::init();
  std::latch waits(1);
  Threads threads;
  id received;
  threads.start([&] {
    waits.count_down();
    received = queue->dequeueBeforeDate(inSeconds(60));
  });
  waits.wait();
  queue->enqueue("A");
  threads.join();
  EXPECT_EQ(nameOf(received), "A");
}

// Shows: dequeueBeforeDate
TEST(OVThreadSafeQueueTests, AClockThatStandsStillDoesNotKeepAConsumer) {
  const SettableClock clock(1000);
  EXPECT_EQ(OVThreadSafeQueue::init()->dequeueBeforeDate(inSeconds(0.02)), nullptr);
}

// Shows: dequeue, enqueue
TEST(OVThreadSafeQueueTests, ABlockedConsumerWakesWhenAProducerEnqueues) {
  const auto there = OVThreadSafeQueue::init();
  const auto back = OVThreadSafeQueue::init();
  Threads threads;
  threads.start([&] {
    for (int i = 0; i < 1000; ++i) {
      back->enqueue(there->dequeue());
    }
  });
  for (int i = 0; i < 1000; ++i) {
    there->enqueue(i);
    ASSERT_TRUE(back->dequeue()->isEqual(i));
  }
}

/// Uses a queue when it goes, which it can only while the queue is not locked.
class LastWord final : public NSObject {
 public:
  explicit LastWord(OVThreadSafeQueue& queue) : queue_(queue) {}
  ~LastWord() override { queue_.enqueue(NSNull::null()); }

 private:
  OVThreadSafeQueue& queue_;
};

// Shows: enqueue
TEST(OVThreadSafeQueueTests, WhatIsDroppedMayUseTheQueueAsItGoes) {
  const auto dropsNew = fullQueue(false);
  dropsNew->enqueue(make<LastWord>(*dropsNew));
  EXPECT_EQ(drained(*dropsNew), "AB-");

  const auto dropsOld = OVThreadSafeQueue::initWithMaximumCapacity(1);
  dropsOld->setReplacesOldestObject(true);
  dropsOld->enqueue(make<LastWord>(*dropsOld));
  dropsOld->enqueue("A");
  EXPECT_EQ(drained(*dropsOld), "A-");
}

// Shows: OVThreadSafeQueue, enqueue, dequeue
TEST(OVThreadSafeQueueTests, OwnsItsObjectsUntilItHandsThemOut) {
  const int before = CountingObject::alive();
  const id object = counted(1);
  auto queue = OVThreadSafeQueue::init();
  queue->enqueue(object);
  EXPECT_EQ(object->retainCount(), 2U);
  id received = queue->dequeue();
  EXPECT_EQ(object->retainCount(), 2U);
  received = nullptr;
  queue->enqueue(counted(2));
  queue->enqueue(counted(3));
  EXPECT_EQ(CountingObject::alive() - before, 3);
  queue = nullptr;
  EXPECT_EQ(CountingObject::alive() - before, 1);
}

// Shows: OVThreadSafeQueue, enqueue, dequeueBeforeDate, empty
TEST(OVThreadSafeQueueTests, BehavesAsAPlainQueueDoes) {
  RandomRun random;
  for (NSUInteger capacity = 0; capacity < 6; ++capacity) {
    const auto queue = OVThreadSafeQueue::initWithMaximumCapacity(capacity);
    std::deque<std::string> model;
    for (int step = 0; step < 2000; ++step) {
      const auto choice = random.below(8);
      if (choice == 0) {
        queue->setReplacesOldestObject(!queue->replacesOldestObject());
      } else if (choice < 4) {
        const std::string expected = model.empty() ? "" : model.front();
        ASSERT_EQ(nameOf(queue->dequeueBeforeDate(nullptr)), expected);
        if (!model.empty()) {
          model.pop_front();
        }
      } else {
        const bool isPlaceholder = choice == 4;
        queue->enqueue(isPlaceholder ? id(NSNull::null()) : id(step));
        const bool fits = capacity == 0 || model.size() < capacity || isPlaceholder;
        if (!fits && queue->replacesOldestObject()) {
          model.pop_front();
        }
        if (fits || queue->replacesOldestObject()) {
          model.push_back(isPlaceholder ? "-" : std::to_string(step));
        }
      }
      ASSERT_EQ(queue->empty(), model.empty());
    }
  }
}

/// Producers and consumers at work until the time is over; then each consumer gets an end marker.
class Traffic {
 public:
  static constexpr int kEach = 4;

  explicit Traffic(Ref<OVThreadSafeQueue> queue) : queue_(std::move(queue)) {}

  void run() {
    Threads consumers, producers;
    consumers.start(kEach, [this](int number) { consume(number); });
    producers.start(kEach, [this](int number) { produce(number); });
    producers.join();
    for (int i = 0; i < kEach; ++i) {
      queue_->enqueue(NSNull::null());
    }
    consumers.join();
  }

  /// How many objects each producer made.
  const std::vector<int>& produced() const { return produced_; }

  /// What all consumers received of a producer, sorted. Each received it in order.
  std::vector<int> receivedFrom(int producer) const {
    std::vector<int> all;
    for (const auto& consumer : received_) {
      const std::vector<int>& received = consumer[producer];
      EXPECT_TRUE(std::ranges::is_sorted(received));
      all.insert(all.end(), received.begin(), received.end());
    }
    std::ranges::sort(all);
    return all;
  }

 private:
  static constexpr int kMost = 1'000'000;

  void produce(int number) {
    for (int value = 0; value < kMost && !time_.isOver(); ++value) {
      queue_->enqueue(counted(number * kMost + value));
      produced_[number] = value + 1;
      ++onTheWay_;
      while (onTheWay_ > 10000 && !time_.isOver()) {
        std::this_thread::yield();
      }
    }
  }

  /// Every second one waits in small portions.
  id next(int number) {
    if (number % 2 == 0) {
      return queue_->dequeue();
    }
    id object;
    while (!(object = queue_->dequeueBeforeDate(inSeconds(0.0001)))) {
    }
    return object;
  }

  void consume(int number) {
    for (id object = next(number); object != NSNull::null(); object = next(number)) {
      --onTheWay_;
      received_[number][valueOf(object) / kMost].push_back(valueOf(object) % kMost);
    }
  }

  Ref<OVThreadSafeQueue> queue_;
  StressTime time_;
  std::atomic<int> onTheWay_{0};
  std::vector<int> produced_ = std::vector<int>(kEach);
  std::vector<std::vector<std::vector<int>>> received_{
      kEach, std::vector<std::vector<int>>(kEach, std::vector<int>())};
};

// Shows: OVThreadSafeQueue, enqueue, dequeue, dequeueBeforeDate
TEST(OVThreadSafeQueueTests, ManyThreadsGetEachObjectOnceAndInOrder) {
  const int before = CountingObject::alive();
  const auto queue = OVThreadSafeQueue::init();
  Traffic traffic(queue);
  traffic.run();
  EXPECT_TRUE(queue->empty());
  for (int producer = 0; producer < Traffic::kEach; ++producer) {
    const std::vector<int> all = traffic.receivedFrom(producer);
    ASSERT_EQ(all.size(), static_cast<std::size_t>(traffic.produced()[producer]));
    for (std::size_t i = 0; i < all.size(); ++i) {
      ASSERT_EQ(all[i], static_cast<int>(i));
    }
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: OVThreadSafeQueue, enqueue, dequeue, dequeueBeforeDate
TEST(OVThreadSafeQueueTests, ManyThreadsNeverGetAnObjectTwiceFromAQueueThatDrops) {
  const int before = CountingObject::alive();
  const auto queue = OVThreadSafeQueue::initWithMaximumCapacity(3);
  queue->setReplacesOldestObject(true);
  Traffic traffic(queue);
  traffic.run();
  for (int producer = 0; producer < Traffic::kEach; ++producer) {
    const std::vector<int> all = traffic.receivedFrom(producer);
    EXPECT_EQ(std::ranges::adjacent_find(all), all.end());
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

}  // namespace
}  // namespace kestova::testing
