// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Seconds since 2001-01-01 00:00 UTC.
using CFAbsoluteTime = double;

/// The current time, as wall clocks show it: it jumps when the machine's clock is set.
KESTOVA_PLATFORM_EXPORT CFAbsoluteTime CFAbsoluteTimeGetCurrent();

/// Seconds since some moment in the past: it never goes back nor jumps. For measuring and waiting.
KESTOVA_PLATFORM_EXPORT NSTimeInterval systemUptime();

/// Where the two functions above read the time; everything that expires, samples or measures asks
/// them. A test sets a clock of its own and turns it by hand.
///
/// Threads: the clock that is set is read from any thread.
class KESTOVA_PLATFORM_EXPORT Clock {
 public:
  Clock() = default;
  virtual ~Clock() = default;
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;

  virtual CFAbsoluteTime absoluteTime() const = 0;
  virtual NSTimeInterval uptime() const = 0;

  /// The clock in use: the machine's own unless another one was set.
  static const Clock& current();

  /// Puts another clock in use, unowned: it must stay until it is no longer in use. Null puts the
  /// machine's own back.
  static void setCurrent(const Clock* clock);
};

}  // namespace kestova
