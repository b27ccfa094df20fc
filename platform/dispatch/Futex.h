// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

#include "runloop/Moment.h"

namespace kestova {

/// A word in memory that threads sleep at until another one wakes them.
using FutexWord = std::atomic<std::uint32_t>;

/// Sleeps while the word holds `value`, until it is woken or the moment has come. Whether time was
/// left: a true answer may also come for no reason, so the caller looks at the word again.
bool sleepAt(const FutexWord& word, std::uint32_t value, Moment deadline) noexcept;

/// Wakes one thread that sleeps at the address. Nothing is read or written there: the word may have
/// gone meanwhile, and then at most a stranger is woken for no reason.
void wakeOneAt(const FutexWord* word) noexcept;

}  // namespace kestova
