// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Clock.h>

#include <atomic>

namespace kestova::testing {

/// A clock that stands still until it is turned by hand. The process reads it while this lives.
class SettableClock final : public Clock {
 public:
  explicit SettableClock(CFAbsoluteTime start = 0) : absoluteTime_(start) { setCurrent(this); }
  ~SettableClock() override { setCurrent(nullptr); }

  CFAbsoluteTime absoluteTime() const override { return absoluteTime_; }
  NSTimeInterval uptime() const override { return uptime_; }

  /// Lets time pass, on the wall and since the start.
  void advance(NSTimeInterval seconds) {
    absoluteTime_ = absoluteTime_ + seconds;
    uptime_ = uptime_ + seconds;
  }

  /// Sets the wall clock, as a person does; the uptime does not care.
  void setAbsoluteTime(CFAbsoluteTime time) { absoluteTime_ = time; }

 private:
  std::atomic<CFAbsoluteTime> absoluteTime_;
  std::atomic<NSTimeInterval> uptime_{0};
};

}  // namespace kestova::testing
