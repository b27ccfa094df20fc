// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSConditionLock.h>

#include <algorithm>

#include <KestovaPlatform/Backoff.h>
#include "dispatch/Futex.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(NSConditionLock)

namespace {

enum LockState : std::uint32_t { kFree, kHeld, kHeldAndAwaited };
enum WaiterState : std::uint32_t { kAsleep, kChosen };

Moment momentOf(const Ref<NSDate>& date) {
  return date ? momentAfter(date->timeIntervalSinceNow()) : atOnce;
}

void wakeChosen(const FutexWord* chosen) {
  if (chosen != nullptr) {
    wakeOneAt(chosen);
  }
}

bool hasPassed(Moment moment) {
  return moment != never && moment <= std::chrono::steady_clock::now();
}

}  // namespace

/// A thread that sleeps until the condition is its own.
struct NSConditionLock::Waiter {
  NSInteger condition;
  FutexWord state{kAsleep};

  /// Whether it was chosen before its time was up.
  bool sleepUntilChosen(Moment deadline) {
    while (state.load(std::memory_order_acquire) == kAsleep) {
      if (!sleepAt(state, kAsleep, deadline)) {
        return false;
      }
    }
    return true;
  }
};

Ref<NSConditionLock> NSConditionLock::initWithCondition(NSInteger condition) {
  return make<NSConditionLock>(condition);
}

void NSConditionLock::lock() { lockBefore(never); }

bool NSConditionLock::tryLock() {
  std::uint32_t free = kFree;
  return state_.compare_exchange_strong(free, kHeld, std::memory_order_acquire,
                                        std::memory_order_relaxed);
}

bool NSConditionLock::lockBeforeDate(const Ref<NSDate>& date) { return lockBefore(momentOf(date)); }

void NSConditionLock::lockWhenCondition(NSInteger condition) {
  lockWhenConditionBefore(condition, never);
}

bool NSConditionLock::tryLockWhenCondition(NSInteger condition) {
  if (condition_.load(std::memory_order_relaxed) != condition || !tryLock()) {
    return false;
  }
  if (condition_.load(std::memory_order_relaxed) == condition) {
    return true;
  }
  unlock();
  return false;
}

bool NSConditionLock::lockWhenCondition_beforeDate(NSInteger condition, const Ref<NSDate>& date) {
  return lockWhenConditionBefore(condition, momentOf(date));
}

void NSConditionLock::unlock() {
  require(state_.load(std::memory_order_relaxed) != kFree, "the lock is held");
  const Word* chosen = chooseWaiter();
  if (state_.exchange(kFree, std::memory_order_release) == kHeldAndAwaited) {
    wakeOneAt(&state_);
  }
  wakeChosen(chosen);
}

void NSConditionLock::unlockWithCondition(NSInteger condition) {
  condition_.store(condition, std::memory_order_release);
  unlock();
}

bool NSConditionLock::lockBefore(Moment deadline) {
  return tryLock() || lockSlowlyBefore(deadline);
}

bool NSConditionLock::lockSlowlyBefore(Moment deadline) {
  for (Backoff backoff; backoff.pause();) {
    if (state_.load(std::memory_order_relaxed) == kFree && tryLock()) {
      return true;
    }
  }
  while (state_.exchange(kHeldAndAwaited, std::memory_order_acquire) != kFree) {
    if (!sleepAt(state_, kHeldAndAwaited, deadline)) {
      return false;
    }
  }
  return true;
}

bool NSConditionLock::lockWhenConditionBefore(NSInteger condition, Moment deadline) {
  for (Backoff backoff; this->condition() != condition && !hasPassed(deadline);) {
    if (!backoff.pause()) {
      break;
    }
  }
  while (lockBefore(deadline)) {
    if (condition_.load(std::memory_order_relaxed) == condition) {
      return true;
    }
    if (!waitBefore(condition, deadline)) {
      break;
    }
  }
  if (tryLockWhenCondition(condition)) {
    return true;
  }
  // It may have been chosen as its time ran out, by a thread that still lets go of the lock and
  // will not look again.
  wakeChosen(chooseWaiter());
  return false;
}

/// Lets go of the lock and sleeps. Whether it was chosen; if not, its time is up.
bool NSConditionLock::waitBefore(NSInteger condition, Moment deadline) {
  Waiter waiter{condition};
  add(waiter);
  unlock();
  if (waiter.sleepUntilChosen(deadline)) {
    return true;
  }
  remove(waiter);
  return false;
}

void NSConditionLock::add(Waiter& waiter) {
  const std::scoped_lock lock(waitersMutex_);
  waiters_.push_back(&waiter);
  waiterCount_.store(static_cast<std::uint32_t>(waiters_.size()), std::memory_order_relaxed);
}

/// One that was chosen is there no more.
void NSConditionLock::remove(Waiter& waiter) {
  const std::scoped_lock lock(waitersMutex_);
  std::erase(waiters_, &waiter);
  waiterCount_.store(static_cast<std::uint32_t>(waiters_.size()), std::memory_order_relaxed);
}

/// Chooses the oldest of those that can have the lock once it is free, and answers where to wake
/// it. From here on the waiter may be gone at any time.
const NSConditionLock::Word* NSConditionLock::chooseWaiter() {
  if (waiterCount_.load(std::memory_order_relaxed) == 0) {
    return nullptr;
  }
  const std::scoped_lock lock(waitersMutex_);
  const auto chosen = std::ranges::find(waiters_, condition(), &Waiter::condition);
  if (chosen == waiters_.end()) {
    return nullptr;
  }
  Word& state = (*chosen)->state;
  waiters_.erase(chosen);
  waiterCount_.store(static_cast<std::uint32_t>(waiters_.size()), std::memory_order_relaxed);
  state.store(kChosen, std::memory_order_release);
  return &state;
}

}  // namespace kestova
