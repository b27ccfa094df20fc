// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

namespace kestova {

/// A lock that carries a number, its condition: a thread can wait until the lock is free and the
/// condition is the one that it waits for.
///
///     enum { Empty, Full };
///     const auto lock = NSConditionLock::initWithCondition(Empty);
///     …
///     lock->lock();                          // a producer
///     parcel = made;
///     lock->unlockWithCondition(Full);
///     …
///     lock->lockWhenCondition(Full);         // a consumer
///     use(std::move(parcel));
///     lock->unlockWithCondition(Empty);
///
/// What the condition means is for its users to say; only who holds the lock changes it.
///
/// Threads: any. The thread that locks is the one that unlocks; it does not lock again before.
/// Unlocking what nobody holds is a broken contract. Who waits is served in no particular order.
///
/// Deadlines: how long to wait is told once, by the date and the current time at the call (see
/// Clock.h); the waiting itself goes by the kernel's monotonic clock. A clock that stands still or
/// is set meanwhile neither lengthens nor shortens it. A date that has passed, or none (null),
/// means not to wait.
///
/// Cost: locking and unlocking what nobody else wants is two atomic operations. A thread that must
/// wait looks again for about a microsecond before it sleeps. Unlocking wakes one thread that waits
/// for the lock alone and one that waits for just this condition, at most; it looks through those
/// that wait for a condition.
class KESTOVA_PLATFORM_EXPORT NSConditionLock : public NSObject {
  KESTOVA_CLASS(NSConditionLock, NSObject)

 public:
  /// A free lock with the condition 0.
  static Ref<NSConditionLock> init() { return initWithCondition(0); }

  /// A free lock with that condition.
  static Ref<NSConditionLock> initWithCondition(NSInteger condition);

  /// The condition at this moment. Asked without holding the lock, it may be another one at once.
  NSInteger condition() const noexcept { return condition_.load(std::memory_order_acquire); }

  /// \name Locking, whatever the condition
  /// @{

  /// Waits as long as another thread holds the lock.
  void lock();

  /// Whether the lock could be taken without waiting.
  bool tryLock();

  /// Waits until the date at most. Whether the lock was taken.
  bool lockBeforeDate(const Ref<NSDate>& date);

  /// @}
  /// \name Locking with a certain condition
  /// @{

  /// Waits until the lock is free and has that condition.
  void lockWhenCondition(NSInteger condition);

  /// Whether the lock was free, had that condition and was taken.
  bool tryLockWhenCondition(NSInteger condition);

  /// Waits until the date at most. Whether the lock was taken.
  bool lockWhenCondition_beforeDate(NSInteger condition, const Ref<NSDate>& date);

  /// @}
  /// \name Unlocking
  /// @{

  /// Lets go of the lock; the condition stays.
  void unlock();

  /// Lets go of the lock with a new condition.
  void unlockWithCondition(NSInteger condition);

  /// @}

 protected:
  explicit NSConditionLock(NSInteger condition) noexcept : condition_(condition) {}

 private:
  using Moment = std::chrono::steady_clock::time_point;
  using Word = std::atomic<std::uint32_t>;
  struct Waiter;

  bool lockBefore(Moment deadline);
  bool lockSlowlyBefore(Moment deadline);
  bool lockWhenConditionBefore(NSInteger condition, Moment deadline);
  bool waitBefore(NSInteger condition, Moment deadline);
  void add(Waiter& waiter);
  void remove(Waiter& waiter);
  const Word* chooseWaiter();

  /// Free, held, or held while others may sleep here.
  Word state_{0};
  /// How many `waiters_` there are. It grows only under the lock, so who holds it misses nobody.
  Word waiterCount_{0};
  /// Changed only under the lock.
  std::atomic<NSInteger> condition_;

  /// Guards `waiters_`. It is not the lock itself, so that a waiter whose time is up can leave
  /// while another thread holds that one.
  std::mutex waitersMutex_;
  /// Those that sleep until the condition is theirs, oldest first. Whenever the lock is free and
  /// one of them could have it, another thread is on its way to take the lock, and will look here
  /// again when it lets go of it.
  std::vector<Waiter*> waiters_;
};

}  // namespace kestova
