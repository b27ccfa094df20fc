// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

#include "files/TransferProgress.h"

namespace kestova {

/// What the threads of one transfer share: whether to go on, the first failure, the figures, and
/// when the next report is due.
///
/// The first failure wins; it stops all threads. Cancelling is the failure ECANCELED without an
/// item.
///
/// Threads: all functions may be called from any thread.
class TransferControl {
 public:
  using Time = TransferProgress::Time;
  /// Told of the item that is being worked on, at most some forty times a second, by one thread at
  /// a time, with no lock held.
  using Reporter = std::function<void(const std::string& item)>;

  explicit TransferControl(Reporter reporter = {}) : reporter_(std::move(reporter)) {}

  /// Stops the transfer with `error` (an error number, not 0) on `item`, unless it has stopped
  /// before.
  void fail(int error, std::string item);
  void cancel();
  bool stopped() const { return stopped_.load(std::memory_order_relaxed); }

  /// The first failure, 0 while there is none, and the item it happened to.
  int error() const;
  std::string failedItem() const;

  TransferProgress& progress() { return progress_; }

  /// Makes a report if one is due; `item` is asked for the path only then.
  template <typename Item>
  void report(Item&& item) {
    if (!reporter_ || !takeTurn(std::chrono::steady_clock::now())) return;
    reporter_(item());
    reporting_.store(false, std::memory_order_release);
  }

 private:
  bool takeTurn(Time now);

  const Reporter reporter_;
  TransferProgress progress_;
  std::atomic<bool> stopped_ = false;
  std::atomic<bool> reporting_ = false;
  std::atomic<Time> nextReport_{Time{}};
  mutable std::mutex mutex_;
  int error_ = 0;           // guarded by mutex_
  std::string failedItem_;  // guarded by mutex_
};

}  // namespace kestova
