// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <atomic>
#include <cstdint>

namespace kestova {

/// A mutex for what takes less time than falling asleep: whoever finds it taken looks again for
/// some microseconds before sleeping. It has four bytes and no destructor.
///
///     const std::lock_guard lock(mutex_);
///
/// Threads: any. It is neither recursive nor fair, and a thread that waits for itself waits for
/// ever.
///
/// Cost: where nobody meets, one atomic operation for taking and one for giving back.
class KESTOVA_PLATFORM_EXPORT BriefMutex {
 public:
  constexpr BriefMutex() noexcept = default;
  BriefMutex(const BriefMutex&) = delete;
  BriefMutex& operator=(const BriefMutex&) = delete;

  void lock() noexcept {
    if (!try_lock()) {
      lockSlowly();
    }
  }

  /// Whether it was free and is the caller's now.
  bool try_lock() noexcept {
    std::uint32_t expected = kFree;
    return word_.compare_exchange_strong(expected, kTaken, std::memory_order_acquire,
                                         std::memory_order_relaxed);
  }

  void unlock() noexcept {
    if (word_.exchange(kFree, std::memory_order_release) == kAwaited) {
      wakeOne();
    }
  }

 private:
  static constexpr std::uint32_t kFree = 0;
  static constexpr std::uint32_t kTaken = 1;
  /// Taken, and others may sleep until it is free.
  static constexpr std::uint32_t kAwaited = 2;

  void lockSlowly() noexcept;
  void wakeOne() const noexcept;

  std::atomic<std::uint32_t> word_{kFree};
};

}  // namespace kestova
