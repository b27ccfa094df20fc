// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSLock.h>

namespace kestova {

/// A lock that a thread may take again while it holds it: it is free once it was given back as
/// often as it was taken.
class KESTOVA_PLATFORM_EXPORT NSRecursiveLock : public MutexLock {
  KESTOVA_CLASS(NSRecursiveLock, MutexLock)

 public:
  static Ref<NSRecursiveLock> init();

 protected:
  NSRecursiveLock() : MutexLock(PTHREAD_MUTEX_RECURSIVE) {}
};

}  // namespace kestova
