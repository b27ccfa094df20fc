// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThreadSafeQueue.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVThreadSafeQueue,
                     .property<&OVThreadSafeQueue::replacesOldestObject,
                               &OVThreadSafeQueue::setReplacesOldestObject>("replacesOldestObject"))

Ref<OVThreadSafeQueue> OVThreadSafeQueue::initWithMaximumCapacity(NSUInteger maximumCapacity) {
  return make<OVThreadSafeQueue>(maximumCapacity);
}

OVThreadSafeQueue::OVThreadSafeQueue(NSUInteger maximumCapacity)
    : lock(NSConditionLock::initWithCondition(Empty)), maximumCapacity(maximumCapacity) {}

/// Lets go of the lock at the end of the block, with the condition that fits the queue then.
class OVThreadSafeQueue::Unlocking {
 public:
  explicit Unlocking(OVThreadSafeQueue& locked) noexcept : locked_(locked) {}
  ~Unlocking() { locked_.lock->unlockWithCondition(locked_.queue.empty() ? Empty : HoldsObjects); }
  Unlocking(const Unlocking&) = delete;
  Unlocking& operator=(const Unlocking&) = delete;

 private:
  OVThreadSafeQueue& locked_;
};

void OVThreadSafeQueue::setReplacesOldestObject(bool replacesOldestObject) {
  const KeyValueChange change(*this, "replacesOldestObject");
  replacesOldestObject_.store(replacesOldestObject, std::memory_order_relaxed);
}

void OVThreadSafeQueue::enqueue(id object) {
  if (!object) {
    throw NSException(NSInvalidArgumentException, "-[OVThreadSafeQueue enqueue:]: nil argument");
  }
  id dropped;  // goes when the queue is unlocked again
  lock->lock();
  const Unlocking unlocking(*this);
  dropped = append(std::move(object));
}

id OVThreadSafeQueue::dequeue() {
  lock->lockWhenCondition(HoldsObjects);
  return takeOldest();
}

id OVThreadSafeQueue::dequeueBeforeDate(const Ref<NSDate>& date) {
  while (!lock->lockWhenCondition_beforeDate(HoldsObjects, date)) {
    // With objects there, another thread merely held the lock at the end: a moment, no more.
    if (empty()) {
      return nullptr;
    }
  }
  return takeOldest();
}

/// Answers what there is no room for: the object itself, the oldest one, or nothing.
id OVThreadSafeQueue::append(id object) {
  const bool isFull = maximumCapacity != 0 && queue.size() >= maximumCapacity;
  const bool mustFit = isFull && object != NSNull::null();
  if (mustFit && !replacesOldestObject()) {
    return object;
  }
  queue.push_back(std::move(object));
  return mustFit ? removeOldest() : nullptr;
}

id OVThreadSafeQueue::takeOldest() {
  const Unlocking unlocking(*this);
  return removeOldest();
}

id OVThreadSafeQueue::removeOldest() {
  id oldest = std::move(queue.front());
  queue.pop_front();
  return oldest;
}

}  // namespace kestova
