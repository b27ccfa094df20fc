// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSConditionLock.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <atomic>
#include <deque>

namespace kestova {

/// Hands objects from threads that make them to threads that use them: first in, first out.
///
///     const auto queue = OVThreadSafeQueue::initWithMaximumCapacity(100);
///     …
///     queue->enqueue(page);                      // a producer
///     queue->enqueue(NSNull::null());            // and its end marker, which always gets through
///     …
///     for (id page = queue->dequeue(); page != NSNull::null(); page = queue->dequeue()) …
///
/// Producers never wait. Where a queue with a maximum capacity is full, a new object is dropped, or
/// takes the place of the oldest one if `replacesOldestObject` says so; the null placeholder alone
/// is added beyond the capacity.
///
/// Threads: any number of producers and consumers at once. Each object goes to exactly one
/// consumer, in the order of arrival. Nothing is let go of while the queue is locked: what is
/// dropped or replaced may use the queue as it goes.
///
/// Ownership: the queue shares its objects until it hands them out.
///
/// Cost: constant time, on average; an object that is moved in is handed through without touching
/// its count. A consumer that waits sleeps, and one producer wakes one consumer.
class KESTOVA_FOUNDATION_EXPORT OVThreadSafeQueue : public NSObject {
  KESTOVA_CLASS(OVThreadSafeQueue, NSObject)

 public:
  /// An empty queue without a maximum.
  static Ref<OVThreadSafeQueue> init() { return initWithMaximumCapacity(0); }

  /// An empty queue for that many objects; 0 is without a maximum.
  static Ref<OVThreadSafeQueue> initWithMaximumCapacity(NSUInteger maximumCapacity);

  /// Adds the object at the end, or does with it what a full queue does. Null throws
  /// NSInvalidArgumentException.
  void enqueue(id object);

  /// Waits until there is an object, for ever if need be, and removes and answers the oldest.
  id dequeue();

  /// The same, but waits until the date at most, and answers null if there was no object by then.
  /// An object that is there is handed out whatever the date; a date that has passed, or none
  /// (null), means not to wait. NSConditionLock tells how deadlines are kept.
  id dequeueBeforeDate(const Ref<NSDate>& date);

  /// Whether the queue is empty at this moment. Takes no lock: the answer may be out of date at
  /// once.
  bool empty() const noexcept { return lock->condition() == Empty; }

  /// Whether a full queue drops its oldest object for a new one, instead of the new one. False in a
  /// new queue. Takes no lock. Observers are told on the thread that sets it.
  bool replacesOldestObject() const noexcept {
    return replacesOldestObject_.load(std::memory_order_relaxed);
  }
  void setReplacesOldestObject(bool replacesOldestObject);

 protected:
  explicit OVThreadSafeQueue(NSUInteger maximumCapacity);

 private:
  enum Condition : NSInteger { Empty = 0, HoldsObjects = 1 };

  class Unlocking;

  id append(id object);
  id takeOldest();
  id removeOldest();

  /// Its condition tells whether the queue holds objects.
  const Ref<NSConditionLock> lock;
  /// Guarded by the lock, oldest first.
  std::deque<id> queue;
  const NSUInteger maximumCapacity;
  std::atomic<bool> replacesOldestObject_{false};
};

}  // namespace kestova
