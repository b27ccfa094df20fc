// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Backoff.h>
#include <KestovaPlatform/BriefMutex.h>

#include <cstdint>

#include "dispatch/Futex.h"

namespace kestova {
namespace {

/// A look takes the mutex, and what it guards, from the processor that works with it. Who looks
/// rarely lets the other one do several turns meanwhile: operations of a queue then take two thirds
/// of the time that they take with a first pause of 1, postings of two threads less than a half.
constexpr std::uint32_t kFirstPause = 64;
constexpr std::uint32_t kLongestPause = 128;

}  // namespace

void BriefMutex::lockSlowly() noexcept {
  for (Backoff backoff(kFirstPause, kLongestPause); backoff.pause();) {
    if (word_.load(std::memory_order_relaxed) == kFree && try_lock()) {
      return;
    }
  }
  // Who has slept can't know whether others sleep still.
  while (word_.exchange(kAwaited, std::memory_order_acquire) != kFree) {
    sleepAt(word_, kAwaited, never);
  }
}

void BriefMutex::wakeOne() const noexcept { wakeOneAt(&word_); }

}  // namespace kestova
