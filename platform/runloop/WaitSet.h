// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/epoll.h>

#include <atomic>
#include <cstdint>
#include <span>

#include "files/FileDescriptor.h"
#include "runloop/Moment.h"

namespace kestova {

/// What a thread sleeps on: descriptors, one alarm, and a wake-up from any thread. It is a
/// descriptor itself, readable when a wait would return at once, so sets nest.
///
/// Everything but `wait` may be called from any thread, also during a wait.
class WaitSet {
 public:
  /// Throws NSGenericException when the system has no descriptors left.
  WaitSet();

  int descriptor() const noexcept { return epoll_.get(); }

  /// Makes the wait in progress return, or else the next one; any number of times before that
  /// counts as once. What was written before is seen after that wait.
  void wake() noexcept;

  /// Waits for a descriptor as well, for a sum of EPOLL… bits; `token` comes back when it is ready.
  /// Throws NSGenericException when the system refuses.
  void watch(int descriptor, std::uint32_t events, std::uint64_t token);

  /// Nothing happens for a descriptor that isn't waited for, or a negative number.
  void unwatch(int descriptor) noexcept;

  /// When to wake by itself; `never` for not at all. Reached, it stays reached until it is set
  /// anew. The caller lets one thread at a time set it.
  void setAlarm(Moment moment) noexcept;

  /// Sleeps until the limit at the latest, and calls `ready(token, events)` for the descriptors
  /// that are ready. Wake-ups end with the wait that they ended.
  template <class Ready>
  void wait(Moment limit, Ready&& ready) {
    epoll_event buffer[64];
    for (const epoll_event& event : collect(limit, buffer)) {
      if (event.data.u64 == wakeToken) {
        takeWakeUp();
      } else if (event.data.u64 != alarmToken) {
        ready(event.data.u64, event.events);
      }
    }
  }

 private:
  static constexpr std::uint64_t wakeToken = UINT64_MAX;
  static constexpr std::uint64_t alarmToken = UINT64_MAX - 1;

  std::span<epoll_event> collect(Moment limit, std::span<epoll_event> buffer) noexcept;
  void takeWakeUp() noexcept;

  FileDescriptor epoll_;
  FileDescriptor wakeUp_;
  FileDescriptor alarm_;
  std::atomic<bool> awake_{false};
  Moment alarmMoment_ = never;
};

}  // namespace kestova
