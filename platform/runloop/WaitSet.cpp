// SPDX-License-Identifier: Apache-2.0
#include "runloop/WaitSet.h"

#include <KestovaPlatform/NSException.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace kestova {
namespace {

[[noreturn]] void throwSystemError(const char* what) {
  throw NSException(NSGenericException,
                    NSString::stringWithFormat("%s: %s", what, std::strerror(errno)));
}

FileDescriptor opened(int descriptor) {
  if (descriptor < 0) {
    throwSystemError("a run loop can't be made");
  }
  return FileDescriptor(descriptor);
}

/// Whole milliseconds, rounded up so that the limit has been reached after them.
int millisecondsUntil(Moment limit) {
  if (limit == never) {
    return -1;
  }
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(limit - std::chrono::steady_clock::now());
  return static_cast<int>(
      std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, std::numeric_limits<int>::max()));
}

timespec timespecFrom(Moment moment) {
  // Zero would switch the alarm off: what lies before the clock's beginning is its first instant.
  const std::int64_t nanoseconds = std::max<std::int64_t>(moment.time_since_epoch().count(), 1);
  return {nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
}

}  // namespace

WaitSet::WaitSet()
    : epoll_(opened(::epoll_create1(EPOLL_CLOEXEC))),
      wakeUp_(opened(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))),
      alarm_(opened(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))) {
  watch(wakeUp_.get(), EPOLLIN, wakeToken);
  watch(alarm_.get(), EPOLLIN, alarmToken);
}

void WaitSet::wake() noexcept {
  if (!awake_.exchange(true)) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto size = ::write(wakeUp_.get(), &one, sizeof one);
  }
}

/// The order keeps every wake-up: one that still finds `awake_` set wrote what it is about before,
/// so whoever comes back from the wait sees it.
void WaitSet::takeWakeUp() noexcept {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto size = ::read(wakeUp_.get(), &count, sizeof count);
  awake_.exchange(false);
}

void WaitSet::watch(int descriptor, std::uint32_t events, std::uint64_t token) {
  epoll_event event{.events = events, .data = {.u64 = token}};
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
    throwSystemError("a descriptor can't be waited for");
  }
}

void WaitSet::unwatch(int descriptor) noexcept {
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, descriptor, nullptr);
}

void WaitSet::setAlarm(Moment moment) noexcept {
  if (moment == alarmMoment_) {
    return;
  }
  alarmMoment_ = moment;
  const itimerspec setting{.it_interval = {},
                           .it_value = moment == never ? timespec{} : timespecFrom(moment)};
  ::timerfd_settime(alarm_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
}

std::span<epoll_event> WaitSet::collect(Moment limit, std::span<epoll_event> buffer) noexcept {
  for (;;) {
    const int count = ::epoll_wait(epoll_.get(), buffer.data(), static_cast<int>(buffer.size()),
                                   millisecondsUntil(limit));
    if (count > 0) {
      return buffer.first(static_cast<std::size_t>(count));
    }
    if (count == 0 && std::chrono::steady_clock::now() >= limit) {
      return {};
    }
  }
}

}  // namespace kestova
