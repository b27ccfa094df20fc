// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kestova {

/// Waits for another thread in ever longer pauses without giving up the processor, about a
/// microsecond in all: what pays where the other one is done before a sleep would have begun.
class Backoff {
 public:
  Backoff() noexcept = default;

  /// With other lengths of the first and the longest pause, in units of some ten nanoseconds.
  Backoff(std::uint32_t first, std::uint32_t longest) noexcept
      : pauses_(first), longest_(longest) {}

  /// Whether it paused; if not, it is time to sleep.
  bool pause() noexcept {
    if (pauses_ > longest_) {
      return false;
    }
    for (std::uint32_t i = 0; i < pauses_; ++i) {
      relax();
    }
    pauses_ *= 2;
    return true;
  }

 private:
  /// Tells the processor that this is a wait.
  static void relax() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ volatile("yield");
#endif
  }

  std::uint32_t pauses_ = 1;
  std::uint32_t longest_ = 32;
};

}  // namespace kestova
