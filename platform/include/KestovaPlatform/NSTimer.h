// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Selector.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

namespace kestova {

class NSDate;
class RunLoopMode;

/// Calls back on a run loop's thread at a moment, once or again and again.
///
///     Ref<NSTimer> timer = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
///         60, false, [](const Ref<NSTimer>&) { releaseRights(); });
///     …
///     timer->invalidate();
///
/// A timer fires only while its run loop runs in one of the timer's modes, so never early and
/// perhaps late. A repeating one keeps to its beat, first date plus whole intervals, and leaves out
/// the beats that have gone by, also those during its own callback: it never fires to catch up. One
/// that fires once is invalid when its callback has returned. A timer doesn't fire within its own
/// callback.
///
/// Time is that of the monotonic clock: setting the machine's clock moves no timer, and the time
/// that the machine sleeps doesn't count. Intervals are in seconds; zero or less, or not a number,
/// is taken as a tenth of a millisecond.
///
/// Threads: everything may be called from any thread. The callback runs on the run loop's thread
/// (or wherever `fire` is called), with no lock held, and may invalidate the timer. On the run
/// loop's own thread it is never called after `invalidate`; another thread may meet a call that has
/// begun already, or is just beginning.
///
/// Ownership: run loops hold their timers until these are invalid. A timer holds its block, target
/// and user info until it is invalid.
class KESTOVA_PLATFORM_EXPORT NSTimer : public NSObject {
  KESTOVA_CLASS(NSTimer, NSObject)

 public:
  using Callback = Block<void(const Ref<NSTimer>&)>;

  /// \name Making
  /// An empty block, a null target, date or selector, or a target that doesn't answer the selector
  /// is a broken contract. The selector's function takes the timer, or nothing.
  /// @{

  /// A timer that is to be added to a run loop by `addTimer_forMode`, and fires one interval from
  /// now for the first time.
  static Ref<NSTimer> timerWithTimeInterval_repeats_block(NSTimeInterval interval, bool repeats,
                                                          Callback block);
  static Ref<NSTimer> timerWithTimeInterval_target_selector_userInfo_repeats(
      NSTimeInterval interval, const id& target, SEL selector, const id& userInfo, bool repeats);

  /// The same, fires at `date` for the first time.
  static Ref<NSTimer> initWithFireDate_interval_repeats_block(const Ref<NSDate>& date,
                                                              NSTimeInterval interval, bool repeats,
                                                              Callback block);

  /// A timer that has been added to the calling thread's run loop in the default mode.
  static Ref<NSTimer> scheduledTimerWithTimeInterval_repeats_block(NSTimeInterval interval,
                                                                   bool repeats, Callback block);
  static Ref<NSTimer> scheduledTimerWithTimeInterval_target_selector_userInfo_repeats(
      NSTimeInterval interval, const id& target, SEL selector, const id& userInfo, bool repeats);

  /// @}

  /// Calls back now, on the calling thread. A repeating timer keeps its beat all the same; any
  /// other is invalid then. Does nothing when it is invalid.
  void fire();

  /// Takes the timer out of its run loop and lets go of what it holds, for good. Again does
  /// nothing.
  void invalidate();

  /// Whether it may still fire.
  bool isValid() const;

  /// When it fires next, or would have when it is invalid; seen through the settable clock, so it
  /// moves with that.
  Ref<NSDate> fireDate() const;

  /// Lets it fire at that moment next; a repeating timer's beat goes on from there.
  void setFireDate(const Ref<NSDate>& date);

  /// Seconds between two beats; 0 for a timer that fires once.
  NSTimeInterval timeInterval() const noexcept;

  /// What was handed in by that name; null for nothing, and once the timer is invalid.
  id userInfo() const;

 private:
  friend class RunLoopMode;

  using Clock = std::chrono::steady_clock;
  using Moment = Clock::time_point;

  class Firing;
  class LastCall;

  NSTimer(Moment first, NSTimeInterval interval, bool repeats, Callback callback, id userInfo);
  ~NSTimer() override;

  bool attach(const std::shared_ptr<RunLoopMode>& mode);
  void detach(const RunLoopMode& mode);
  Moment scheduledMoment() const;
  void fireIfDue(Moment now);
  std::shared_ptr<RunLoopMode> modeAt(std::size_t index) const;
  void reschedule();

  const Clock::duration interval_;
  const bool repeats_;

  /// Guards what follows. Taken after a mode's own mutex, never before it.
  mutable std::mutex mutex_;
  Moment next_;
  /// While the run loop calls back no mode has the timer on its schedule.
  bool firing_ = false;
  /// Empty once the timer is invalid.
  Callback callback_;
  id userInfo_;
  std::vector<std::shared_ptr<RunLoopMode>> modes_;
};

}  // namespace kestova
