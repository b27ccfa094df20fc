// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "files/ThroughputWindow.h"

namespace kestova {

/// How far something countable has come. `complete + remaining == total` always.
struct TransferCount {
  std::uint64_t total = 0;
  std::uint64_t complete = 0;
  std::uint64_t remaining = 0;
};

/// The ten figures of a transfer.
struct TransferFigures {
  TransferCount bytes;    ///< Logical sizes of regular files; a further link to a file is 0.
  TransferCount objects;  ///< Files, folders, links and special files.
  TransferCount userVisibleObjects;  ///< Those whose name does not begin with a full stop.
  double throughput = 0;             ///< Bytes per second over the last seconds.
};

/// The name of an object as far as the figures ask: whether users see it.
bool isUserVisible(const char* name);

/// Counts what a transfer has to do and has done.
///
/// What is complete never shrinks, and a total never is less. After `settle` the totals equal what
/// is complete.
///
/// Threads: all functions may be called from any thread. Counting is lock-free; reading the figures
/// takes a lock for the throughput.
class TransferProgress {
 public:
  using Time = ThroughputWindow::Time;

  /// The transfer begins now: from here on the throughput counts.
  void begin(Time now);
  /// One more object, of `bytes` bytes, is to be transferred.
  void expect(std::uint64_t bytes, bool userVisible);
  /// Bytes of some file have been transferred.
  void addBytes(std::uint64_t bytes);
  /// An object is complete.
  void addObject(bool userVisible);
  /// All is done: corrects the totals by what became of files that changed meanwhile, and keeps the
  /// throughput as it is.
  void settle(Time now);

  /// The figures at `now`, which also becomes a sample of the throughput.
  TransferFigures figures(Time now);

 private:
  struct Counter {
    std::atomic<std::uint64_t> total = 0;
    std::atomic<std::uint64_t> complete = 0;

    TransferCount read() const;
  };

  double sample(Time now, std::uint64_t bytes);

  Counter bytes_;
  Counter objects_;
  Counter userVisibleObjects_;
  std::mutex mutex_;
  ThroughputWindow window_;  // guarded by mutex_
  bool settled_ = false;     // guarded by mutex_
};

}  // namespace kestova
