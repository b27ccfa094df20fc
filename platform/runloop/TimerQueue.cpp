// SPDX-License-Identifier: Apache-2.0
#include "runloop/TimerQueue.h"

#include <utility>

namespace kestova {

void TimerQueue::add(Ref<NSTimer> timer, Moment due) {
  const NSTimer* key = timer.get();
  const Place place = nextPlace(due);
  const auto ordered = order_.emplace(place, key).first;
  try {
    entries_.emplace(key, Entry{std::move(timer), place});
  } catch (...) {
    order_.erase(ordered);
    throw;
  }
}

Ref<NSTimer> TimerQueue::remove(const NSTimer& timer) {
  auto entry = entries_.extract(&timer);
  if (entry.empty()) {
    return nullptr;
  }
  order_.erase(entry.mapped().place);
  return std::move(entry.mapped().timer);
}

std::vector<Ref<NSTimer>> TimerQueue::removeAll() {
  std::vector<Ref<NSTimer>> timers;
  for (auto& [key, entry] : entries_) {
    timers.push_back(std::move(entry.timer));
  }
  entries_.clear();
  order_.clear();
  return timers;
}

void TimerQueue::schedule(const NSTimer& timer, Moment due) {
  const auto entry = entries_.find(&timer);
  if (entry == entries_.end()) {
    return;
  }
  auto node = order_.extract(entry->second.place);
  node.key() = entry->second.place = nextPlace(due);
  order_.insert(std::move(node));
}

Ref<NSTimer> TimerQueue::takeDue(Moment now) {
  if (earliest() > now) {
    return nullptr;
  }
  const NSTimer* timer = order_.begin()->second;
  schedule(*timer, never);
  return entries_.at(timer).timer;
}

}  // namespace kestova
