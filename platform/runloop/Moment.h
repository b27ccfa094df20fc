// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSTypes.h>

#include <algorithm>
#include <chrono>

namespace kestova {

/// A point on the clock by which run loops wait: the kernel's own, so that no test's clock can make
/// a thread sleep for ever or not at all.
using Moment = std::chrono::steady_clock::time_point;

inline constexpr Moment never = Moment::max();

/// A moment that has passed: waiting for it is not waiting.
inline constexpr Moment atOnce{};

/// Later by a duration of zero or more; `never` where that is too far off.
inline Moment later(Moment moment, Moment::duration by) {
  return by > never - moment ? never : moment + by;
}

/// So many seconds from now: `never` where that is too far off, the clock's beginning for what lies
/// before it.
inline Moment momentAfter(NSTimeInterval seconds) {
  const std::chrono::nanoseconds delay(dispatchNanoseconds(seconds));
  const Moment now = std::chrono::steady_clock::now();
  return delay.count() < 0 ? std::max(now + delay, atOnce) : later(now, delay);
}

inline NSTimeInterval secondsUntil(Moment moment) {
  return std::chrono::duration<NSTimeInterval>(moment - std::chrono::steady_clock::now()).count();
}

}  // namespace kestova
