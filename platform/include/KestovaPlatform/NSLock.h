// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSObject.h>

#include <pthread.h>

namespace kestova {

/// What NSLock and NSRecursiveLock have in common: one thread at a time holds a lock, and only that
/// thread gives it back.
///
///     const std::lock_guard guard(*lock);     // given back on every way out
///
/// Threads: any. Giving back a lock that the thread does not hold is a broken contract.
///
/// Cost: holding and giving back what nobody else wants is an atomic operation each.
class KESTOVA_PLATFORM_EXPORT MutexLock : public NSObject {
  KESTOVA_CLASS(MutexLock, NSObject)

 public:
  /// Waits until the lock is free, then holds it.
  void lock();

  /// Gives the lock back.
  void unlock();

  /// Holds the lock if it is free; never waits. Answers whether it does.
  bool tryLock();

  /// Waits for the lock, but no longer than until that moment, and answers whether the thread now
  /// holds it. How long that is is told once, by the current time at the call (see Clock.h). A date
  /// that has passed, or none (null), means not to wait.
  bool lockBeforeDate(const Ref<NSDate>& limit);

 protected:
  /// `kind` is one of the PTHREAD_MUTEX_… numbers.
  explicit MutexLock(int kind);
  ~MutexLock() override;

 private:
  pthread_mutex_t mutex_;
};

/// A lock that a thread holds once: waiting for what it holds already is a broken contract.
class KESTOVA_PLATFORM_EXPORT NSLock : public MutexLock {
  KESTOVA_CLASS(NSLock, MutexLock)

 public:
  static Ref<NSLock> init();

 protected:
  NSLock() : MutexLock(PTHREAD_MUTEX_ERRORCHECK) {}
};

}  // namespace kestova
