// SPDX-License-Identifier: Apache-2.0
#include "files/TransferProgress.h"

#include <algorithm>

namespace kestova {

bool isUserVisible(const char* name) { return name[0] != '.'; }

// What is complete is read first: the total read after it is the one that already covers it.
TransferCount TransferProgress::Counter::read() const {
  const std::uint64_t done = complete.load();
  const std::uint64_t all = std::max(total.load(), done);
  return {all, done, all - done};
}

void TransferProgress::begin(Time now) { sample(now, bytes_.complete); }

void TransferProgress::expect(std::uint64_t bytes, bool userVisible) {
  bytes_.total += bytes;
  objects_.total += 1;
  userVisibleObjects_.total += userVisible;
}

void TransferProgress::addBytes(std::uint64_t bytes) {
  bytes_.complete.fetch_add(bytes, std::memory_order_relaxed);
}

void TransferProgress::addObject(bool userVisible) {
  objects_.complete.fetch_add(1, std::memory_order_relaxed);
  if (userVisible) userVisibleObjects_.complete.fetch_add(1, std::memory_order_relaxed);
}

void TransferProgress::settle(Time now) {
  for (Counter* counter : {&bytes_, &objects_, &userVisibleObjects_}) {
    counter->total = counter->complete.load();
  }
  const std::lock_guard lock(mutex_);
  if (!settled_) window_.add(now, bytes_.complete);
  settled_ = true;
}

TransferFigures TransferProgress::figures(Time now) {
  TransferFigures figures{bytes_.read(), objects_.read(), userVisibleObjects_.read(), 0};
  figures.throughput = sample(now, figures.bytes.complete);
  return figures;
}

// Two readers may come here in the other order than they read the bytes and the time.
double TransferProgress::sample(Time now, std::uint64_t bytes) {
  const std::lock_guard lock(mutex_);
  if (!settled_) window_.add(now, bytes);
  return window_.rate();
}

}  // namespace kestova
