// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/RunLoopSource.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "runloop/TimerQueue.h"
#include "runloop/WaitSet.h"

namespace kestova {

/// A block that waits in several modes and runs in the first of them that comes to it.
class OnceBlock {
 public:
  explicit OnceBlock(Block<void()> block) : block_(std::move(block)) {}

  bool hasRun() const noexcept { return hasRun_.load(); }

  /// On one thread only. What ran is let go of, however many modes still hold this.
  void run() {
    if (!hasRun_.exchange(true)) {
      std::exchange(block_, nullptr)();
    }
  }

 private:
  std::atomic<bool> hasRun_{false};
  Block<void()> block_;
};

/// One mode of a run loop: its sources, timers and blocks, and what the thread sleeps on while it
/// serves them. What the common modes share is such a mode too: its set to wait on is nested in
/// theirs, and each turn of theirs serves it as well.
///
/// Threads: what adds, removes and wakes, any; the rest is for the run loop's own thread. Nothing
/// of others, neither a callback nor a destructor, runs with the mutex held.
class RunLoopMode : public std::enable_shared_from_this<RunLoopMode> {
 public:
  /// `shared` is what the common modes share, which this mode serves as well once it is one of
  /// them; null for that itself.
  RunLoopMode(Ref<NSString> name, std::thread::id thread, std::shared_ptr<RunLoopMode> shared);

  const Ref<NSString>& name() const noexcept { return name_; }
  std::thread::id thread() const noexcept { return thread_; }
  int descriptor() const noexcept { return waitSet_.descriptor(); }

  /// Makes this one of the common modes; again does nothing. One thread at a time.
  void becomeCommon();

  void addSource(const Ref<RunLoopSource>& source);
  void removeSource(const RunLoopSource& source);
  bool containsSource(const RunLoopSource& source) const;

  void addTimer(const Ref<NSTimer>& timer);
  void removeTimer(const NSTimer& timer);
  /// Has the timer fire at the moment that it states itself.
  void scheduleTimer(const NSTimer& timer);

  void addBlock(Block<void()> block);
  void addBlock(const std::shared_ptr<OnceBlock>& once);

  void wake() noexcept { waitSet_.wake(); }

  /// Lets go of everything and takes nothing more: the thread has ended.
  void close();

  /// Whether there is nothing to wait for.
  bool isEmpty() const;

  /// Sleeps until there is something to do, or the limit comes.
  void wait(Moment limit);

  /// \name The parts of a turn; each serves what there was when it began
  /// @{
  void runBlocks();
  void fireTimers();
  bool performSources();
  /// @}

  /// Makes the next wait return at once, in this mode and, if it is a common one, in all of them.
  void wakeAll() noexcept;

 private:
  /// What is served beside this mode; null for nothing.
  RunLoopMode* shared() const noexcept { return isCommon_.load() ? shared_.get() : nullptr; }

  void watchSource(const RunLoopSource& source);
  void noteReady(std::uint64_t number, std::uint32_t events);
  struct PendingBlock {
    /// Blocks handed in later have larger numbers, in all modes together.
    std::uint64_t number;
    Block<void()> block;
    /// What the block runs, where it waits in several modes; null for one mode.
    std::shared_ptr<const OnceBlock> once;
  };

  void addPending(Block<void()> block, std::shared_ptr<const OnceBlock> once);
  bool holdsNothing() const { return sources_.empty() && timers_.isEmpty() && blocks_.empty(); }
  void wakeIfEmptied();

  Moment earliestTimer() const;
  Ref<NSTimer> takeDueTimer(Moment now);
  std::uint64_t firstBlock() const;
  Block<void()> takeBlock(std::uint64_t limit);
  std::vector<Ref<RunLoopSource>> signalledSources() const;

  const Ref<NSString> name_;
  const std::thread::id thread_;
  WaitSet waitSet_;
  const std::shared_ptr<RunLoopMode> shared_;
  std::atomic<bool> isCommon_{false};

  /// Guards what follows. A source's or timer's own mutex is taken after it, never before.
  mutable std::mutex mutex_;
  bool closed_ = false;
  /// By their numbers, so in the order in which they were made.
  std::map<std::uint64_t, Ref<RunLoopSource>> sources_;
  TimerQueue timers_;
  std::deque<PendingBlock> blocks_;
};

}  // namespace kestova
