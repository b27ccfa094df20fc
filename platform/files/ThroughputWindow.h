// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>

namespace kestova {

/// The rate of a growing byte count over the last few seconds.
///
/// Threads: none of its own; the caller keeps it to one thread or behind a lock.
/// Cost: samples closer together than 50 ms to the one before are not kept, so the memory is
/// bounded.
class ThroughputWindow {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Tells that `bytes` in all were done at `now`. Neither may be smaller than at the last call.
  void add(Time now, std::uint64_t bytes);
  /// Bytes per second between the oldest sample in the window and the newest; 0 with fewer than
  /// two.
  double rate() const;

 private:
  struct Sample {
    Time time;
    std::uint64_t bytes;
  };

  // Oldest first. The first is the youngest sample that is at least a whole window old, if one is,
  // so that the rate always spans the window.
  std::deque<Sample> samples_;
  Sample newest_{};
};

}  // namespace kestova
