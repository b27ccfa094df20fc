// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSLock.h>
#include <KestovaPlatform/NSRecursiveLock.h>

#include "dispatch/ThreadSanitizer.h"
#include "runloop/Moment.h"

#include <cerrno>
#include <ctime>

namespace kestova {

KESTOVA_DEFINE_CLASS(MutexLock)
KESTOVA_DEFINE_CLASS(NSLock)
KESTOVA_DEFINE_CLASS(NSRecursiveLock)

namespace {

timespec timespecOf(Moment moment) {
  const auto sinceStart = std::chrono::nanoseconds(moment.time_since_epoch());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceStart);
  return {seconds.count(), (sinceStart - seconds).count()};
}

}  // namespace

MutexLock::MutexLock(int kind) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, kind);
  const int status = pthread_mutex_init(&mutex_, &attributes);
  pthread_mutexattr_destroy(&attributes);
  require(status == 0, "a mutex can be made");
}

MutexLock::~MutexLock() { pthread_mutex_destroy(&mutex_); }

void MutexLock::lock() {
  require(pthread_mutex_lock(&mutex_) == 0, "the thread does not hold the lock yet");
}

void MutexLock::unlock() {
  require(pthread_mutex_unlock(&mutex_) == 0, "the thread holds the lock");
}

bool MutexLock::tryLock() { return pthread_mutex_trylock(&mutex_) == 0; }

bool MutexLock::lockBeforeDate(const Ref<NSDate>& limit) {
  if (tryLock()) {
    return true;
  }
  if (!limit || limit->timeIntervalSinceNow() <= 0) {
    return false;
  }
  const timespec end = timespecOf(momentAfter(limit->timeIntervalSinceNow()));
  const int status = pthread_mutex_clocklock(&mutex_, CLOCK_MONOTONIC, &end);
  require(status == 0 || status == ETIMEDOUT, "the thread does not hold the lock yet");
  if (status == 0) {
    tellLocked(&mutex_);  // the sanitizer of g++ 12 knows no waiting by this clock
  }
  return status == 0;
}

Ref<NSLock> NSLock::init() { return make<NSLock>(); }

Ref<NSRecursiveLock> NSRecursiveLock::init() { return make<NSRecursiveLock>(); }

}  // namespace kestova
