// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSDate.h>

#include <atomic>
#include <ctime>

namespace kestova {
namespace {

NSTimeInterval read(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

class SystemClock final : public Clock {
 public:
  CFAbsoluteTime absoluteTime() const override {
    return read(CLOCK_REALTIME) - NSTimeIntervalSince1970;
  }
  NSTimeInterval uptime() const override { return read(CLOCK_MONOTONIC); }
};

/// Null while the machine's own clock is in use.
std::atomic<const Clock*> chosenClock{nullptr};

}  // namespace

const Clock& Clock::current() {
  static const auto& system = *new SystemClock;
  const Clock* chosen = chosenClock.load(std::memory_order_acquire);
  return chosen != nullptr ? *chosen : system;
}

void Clock::setCurrent(const Clock* clock) { chosenClock.store(clock, std::memory_order_release); }

CFAbsoluteTime CFAbsoluteTimeGetCurrent() { return Clock::current().absoluteTime(); }

NSTimeInterval systemUptime() { return Clock::current().uptime(); }

}  // namespace kestova
