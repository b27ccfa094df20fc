// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <latch>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace kestova::testing {

/// Which blocks have run, as a text with a letter for each, in the order of their runs. Blocks may
/// outlive it.
class RunRecord {
 public:
  RunRecord() : shared_(std::make_shared<Shared>()) {}

  void add(char name) const {
    const std::lock_guard lock(shared_->mutex);
    shared_->names += name;
    shared_->changed.notify_all();
  }

  /// A new block that adds its letter and then does what is given.
  Block<void()> block(char name, Block<void()> then = nullptr) const {
    return [record = *this, name, then = std::move(then)] {
      record.add(name);
      if (then) {
        then();
      }
    };
  }

  /// Waits until so many have run, a minute at most, and answers all that have.
  std::string waitFor(std::size_t count) const {
    std::unique_lock lock(shared_->mutex);
    shared_->changed.wait_for(lock, std::chrono::minutes(1),
                              [&] { return shared_->names.size() >= count; });
    return shared_->names;
  }

  std::string names() const { return waitFor(0); }

 private:
  struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::string names;
  };

  std::shared_ptr<Shared> shared_;
};

/// Gives whatever is due now the time to run, so that a test sees what should not have.
inline void letRunWhatIsDue(NSTimeInterval seconds = 0.05) {
  std::latch later(1);
  dispatch_after(dispatchTimeAfter(seconds), dispatch_get_global_queue(0, 0),
                 [&] { later.count_down(); });
  later.wait();
}

/// A gate that blocks wait at until it is opened.
class Gate {
 public:
  Gate() : latch_(std::make_shared<std::latch>(1)) {}

  void open() const { latch_->count_down(); }
  Block<void()> wait() const {
    return [latch = latch_] { latch->wait(); };
  }

 private:
  std::shared_ptr<std::latch> latch_;
};

}  // namespace kestova::testing
