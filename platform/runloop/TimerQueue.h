// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSTimer.h>

#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

#include "runloop/Moment.h"

namespace kestova {

/// The timers of one mode in the order in which they are due; for the same moment, in the order in
/// which that was set. One thread at a time.
class TimerQueue {
 public:
  bool contains(const NSTimer& timer) const { return entries_.contains(&timer); }
  bool isEmpty() const noexcept { return entries_.empty(); }

  void add(Ref<NSTimer> timer, Moment due);

  /// The timer's reference, so that it goes where the caller wants it to; null when it isn't there.
  Ref<NSTimer> remove(const NSTimer& timer);
  std::vector<Ref<NSTimer>> removeAll();

  /// Sets when a timer is due next; nothing for one that isn't there.
  void schedule(const NSTimer& timer, Moment due);

  /// When the first timer is due; `never` if none is.
  Moment earliest() const { return order_.empty() ? never : order_.begin()->first.first; }

  /// The first timer if it is due; it stays, but off the schedule. Null when none is due.
  Ref<NSTimer> takeDue(Moment now);

 private:
  using Place = std::pair<Moment, std::uint64_t>;

  struct Entry {
    Ref<NSTimer> timer;
    Place place;
  };

  Place nextPlace(Moment due) { return {due, ++lastNumber_}; }

  std::unordered_map<const NSTimer*, Entry> entries_;
  std::map<Place, const NSTimer*> order_;
  std::uint64_t lastNumber_ = 0;
};

}  // namespace kestova
