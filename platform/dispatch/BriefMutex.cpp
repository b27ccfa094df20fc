// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Backoff.h>
#include <KestovaPlatform/BriefMutex.h>

#include "dispatch/Futex.h"

namespace kestova {

void BriefMutex::lockSlowly() noexcept {
  for (Backoff backoff; backoff.pause();) {
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
