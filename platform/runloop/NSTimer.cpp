// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSTimer.h>

#include <algorithm>
#include <span>
#include <utility>

#include "runloop/Moment.h"
#include "runloop/RunLoopMode.h"

namespace kestova {
namespace {

constexpr NSTimeInterval shortestInterval = 0.0001;

/// Also for what is not a number.
NSTimeInterval usableInterval(NSTimeInterval seconds) {
  return seconds > shortestInterval ? seconds : shortestInterval;
}

NSTimer::Callback callbackFor(const id& target, SEL selector) {
  require(target != nullptr, "target != nil");
  require(selector != nullptr, "selector != nil");
  require(selector->isAnsweredBy(*target), "the target doesn't answer the selector");
  return [target, selector](const Ref<NSTimer>& timer) {
    const id argument = timer;
    static_cast<void>(selector->perform(*target, std::span(&argument, 1)));
  };
}

/// The first whole number of intervals from `beat` on that lies after `now`.
Moment beatAfter(Moment beat, Moment::duration interval, Moment now) {
  return beat > now ? beat : later(beat + (now - beat) / interval * interval, interval);
}

Ref<NSTimer> scheduled(Ref<NSTimer> timer) {
  NSRunLoop::currentRunLoop()->addTimer_forMode(timer, NSDefaultRunLoopMode);
  return timer;
}

}  // namespace

KESTOVA_DEFINE_CLASS(NSTimer)

/// Makes a timer that fires once invalid after its call, however that ends.
class NSTimer::LastCall {
 public:
  explicit LastCall(NSTimer& timer) noexcept : timer_(timer) {}
  LastCall(const LastCall&) = delete;
  LastCall& operator=(const LastCall&) = delete;
  ~LastCall() {
    if (!timer_.repeats_) {
      timer_.invalidate();
    }
  }

 private:
  NSTimer& timer_;
};

/// Puts a timer back on its schedule after a call that the run loop made, however that ends.
class NSTimer::Firing {
 public:
  Firing(NSTimer& timer, Moment planned) noexcept : timer_(timer), planned_(planned) {}
  Firing(const Firing&) = delete;
  Firing& operator=(const Firing&) = delete;
  ~Firing() {
    {
      const std::lock_guard lock(timer_.mutex_);
      timer_.firing_ = false;
      // Beats that went by during the call are left out, unless the call asked for another moment.
      if (timer_.next_ == planned_) {
        timer_.next_ = beatAfter(planned_, timer_.interval_, Clock::now());
      }
    }
    timer_.reschedule();
  }

 private:
  NSTimer& timer_;
  const Moment planned_;
};

NSTimer::NSTimer(Moment first, NSTimeInterval interval, bool repeats, Callback callback,
                 id userInfo)
    : interval_(std::chrono::nanoseconds(dispatchNanoseconds(interval))),
      repeats_(repeats),
      next_(first),
      callback_(std::move(callback)),
      userInfo_(std::move(userInfo)) {
  require(callback_ != nullptr, "block != nil");
}

NSTimer::~NSTimer() = default;

Ref<NSTimer> NSTimer::timerWithTimeInterval_repeats_block(NSTimeInterval interval, bool repeats,
                                                          Callback block) {
  const NSTimeInterval usable = usableInterval(interval);
  return make<NSTimer>(momentAfter(usable), usable, repeats, std::move(block), nullptr);
}

Ref<NSTimer> NSTimer::timerWithTimeInterval_target_selector_userInfo_repeats(
    NSTimeInterval interval, const id& target, SEL selector, const id& userInfo, bool repeats) {
  const NSTimeInterval usable = usableInterval(interval);
  return make<NSTimer>(momentAfter(usable), usable, repeats, callbackFor(target, selector),
                       userInfo);
}

Ref<NSTimer> NSTimer::initWithFireDate_interval_repeats_block(const Ref<NSDate>& date,
                                                              NSTimeInterval interval, bool repeats,
                                                              Callback block) {
  require(date != nullptr, "date != nil");
  return make<NSTimer>(momentAfter(date->timeIntervalSinceNow()), usableInterval(interval), repeats,
                       std::move(block), nullptr);
}

Ref<NSTimer> NSTimer::scheduledTimerWithTimeInterval_repeats_block(NSTimeInterval interval,
                                                                   bool repeats, Callback block) {
  return scheduled(timerWithTimeInterval_repeats_block(interval, repeats, std::move(block)));
}

Ref<NSTimer> NSTimer::scheduledTimerWithTimeInterval_target_selector_userInfo_repeats(
    NSTimeInterval interval, const id& target, SEL selector, const id& userInfo, bool repeats) {
  return scheduled(timerWithTimeInterval_target_selector_userInfo_repeats(
      interval, target, selector, userInfo, repeats));
}

void NSTimer::fire() {
  const Ref<NSTimer> self(this);
  Callback callback;
  {
    const std::lock_guard lock(mutex_);
    callback = callback_;
  }
  if (callback != nullptr) {
    const LastCall last(*this);
    callback(self);
  }
}

void NSTimer::fireIfDue(Moment now) {
  Callback callback;
  Moment planned;
  {
    const std::lock_guard lock(mutex_);
    if (firing_ || callback_ == nullptr) {
      return;
    }
    if (next_ <= now) {
      callback = callback_;
      firing_ = true;
      next_ = planned = beatAfter(next_, interval_, now);
    }
  }
  if (callback == nullptr) {
    // It was set to a later moment just now.
    reschedule();
    return;
  }
  const LastCall last(*this);
  const Firing firing(*this, planned);
  callback(Ref<NSTimer>(this));
}

void NSTimer::invalidate() {
  const Ref<NSTimer> self(this);
  Callback callback;
  id userInfo;
  std::vector<std::shared_ptr<RunLoopMode>> modes;
  {
    const std::lock_guard lock(mutex_);
    std::swap(callback, callback_);
    std::swap(userInfo, userInfo_);
    modes.swap(modes_);
  }
  for (const auto& mode : modes) {
    mode->removeTimer(*this);
  }
}

bool NSTimer::isValid() const {
  const std::lock_guard lock(mutex_);
  return callback_ != nullptr;
}

Ref<NSDate> NSTimer::fireDate() const {
  const std::lock_guard lock(mutex_);
  return NSDate::dateWithTimeIntervalSinceNow(secondsUntil(next_));
}

void NSTimer::setFireDate(const Ref<NSDate>& date) {
  require(date != nullptr, "date != nil");
  const Moment moment = momentAfter(std::max(date->timeIntervalSinceNow(), 0.0));
  {
    const std::lock_guard lock(mutex_);
    next_ = moment;
  }
  reschedule();
}

NSTimeInterval NSTimer::timeInterval() const noexcept {
  return repeats_ ? std::chrono::duration<NSTimeInterval>(interval_).count() : 0;
}

id NSTimer::userInfo() const {
  const std::lock_guard lock(mutex_);
  return userInfo_;
}

/// Called with the mode's mutex held, as is `detach`. Whether the timer can be served.
bool NSTimer::attach(const std::shared_ptr<RunLoopMode>& mode) {
  const std::lock_guard lock(mutex_);
  if (callback_ == nullptr) {
    return false;
  }
  require(modes_.empty() || modes_.front()->thread() == mode->thread(),
          "the timer belongs to another run loop");
  modes_.push_back(mode);
  return true;
}

void NSTimer::detach(const RunLoopMode& mode) {
  const std::lock_guard lock(mutex_);
  std::erase_if(modes_, [&](const auto& other) { return other.get() == &mode; });
}

/// Called with the mode's mutex held. A timer that is calling back is off the schedule.
Moment NSTimer::scheduledMoment() const {
  const std::lock_guard lock(mutex_);
  return firing_ ? never : next_;
}

/// The mode of that number, in the order of adding; null behind the last one.
std::shared_ptr<RunLoopMode> NSTimer::modeAt(std::size_t index) const {
  const std::lock_guard lock(mutex_);
  return index < modes_.size() ? modes_[index] : nullptr;
}

/// Needs no memory, for a call may have ended because there is none.
void NSTimer::reschedule() {
  for (std::size_t index = 0; const auto mode = modeAt(index); ++index) {
    mode->scheduleTimer(*this);
  }
}

}  // namespace kestova
