// SPDX-License-Identifier: Apache-2.0
#include "dispatch/Futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>

namespace kestova {
namespace {

static_assert(sizeof(FutexWord) == sizeof(std::uint32_t) && FutexWord::is_always_lock_free);

/// On the kernel's monotonic clock, which is that of `Moment`.
timespec timespecOf(Moment moment) noexcept {
  const auto sinceStart = moment.time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceStart);
  const std::chrono::nanoseconds rest = sinceStart - seconds;
  return {static_cast<std::time_t>(seconds.count()), static_cast<long>(rest.count())};
}

}  // namespace

bool sleepAt(const FutexWord& word, std::uint32_t value, Moment deadline) noexcept {
  const timespec until = timespecOf(deadline);
  const auto answer =
      ::syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, value,
                deadline == never ? nullptr : &until, nullptr, FUTEX_BITSET_MATCH_ANY);
  return answer == 0 || errno != ETIMEDOUT;
}

void wakeOneAt(const FutexWord* word) noexcept {
  ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

}  // namespace kestova
