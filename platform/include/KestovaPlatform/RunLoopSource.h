// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kestova {

class RunLoopMode;

/// Work that a run loop does when any thread asks for it: the way from a worker to its client's
/// thread.
///
///     auto source = RunLoopSource::sourceWithBlock([] { reportProgress(); });
///     NSRunLoop::currentRunLoop()->addSource_forMode(source, NSRunLoopCommonModes);
///     …                       // on the worker, as often as it likes
///     source->signal();
///
/// Signals coalesce: however many arrive before the block runs, it runs once for all of them, and
/// it sees everything that was written before each. A source in several modes or run loops runs in
/// the first of them that takes its turn. One that belongs to no run loop keeps its signal until it
/// is added to one.
///
/// Threads: everything may be called from any thread. The block runs on the thread of the run loop,
/// with no lock held, and may do anything, also invalidate or remove its own source. On the run
/// loop's own thread no call begins after the source was removed or invalidated. Another thread
/// that removes it may meet a call that has begun already, or is just beginning.
///
/// Ownership: run loops hold their sources until these are removed or invalidated, or the loop's
/// thread ends. The block goes with the source or its invalidation, whichever is first.
///
/// Cost: a signal is one atomic exchange, and a system call only where the run loop may be asleep.
class KESTOVA_PLATFORM_EXPORT RunLoopSource : public NSObject {
  KESTOVA_CLASS(RunLoopSource, NSObject)

 public:
  /// A source that runs `perform` for its signals. An empty block is a broken contract.
  static Ref<RunLoopSource> sourceWithBlock(Block<void()> perform);

  /// Asks for one call of the block, soon. Does nothing once the source is invalid.
  void signal();

  /// Whether a call has been asked for and has not begun.
  bool isSignalled() const noexcept { return signals_.load(std::memory_order_relaxed) != 0; }

  /// Removes the source from every run loop and lets go of its block, for good. Again does nothing.
  void invalidate();

  bool isValid() const;

 protected:
  /// What descriptors report, as a sum of bits; a signal is the same without a descriptor.
  using Signals = std::uint32_t;

  explicit RunLoopSource(Block<void(Signals)> perform);
  ~RunLoopSource() override;

 private:
  friend class RunLoopMode;

  /// The descriptor that signals this source, and for what; a negative one for none.
  virtual int descriptor() const noexcept { return -1; }
  virtual Signals awaited() const noexcept { return 0; }

  bool attach(const std::shared_ptr<RunLoopMode>& mode);
  void detach(const RunLoopMode& mode);
  void note(Signals signals) noexcept { signals_.fetch_or(signals, std::memory_order_acq_rel); }
  bool performIfSignalled();

  /// Told apart by number, since an address may come again.
  const std::uint64_t number_;
  std::atomic<Signals> signals_{0};

  /// Guards what follows. Taken after a mode's own mutex, never before it.
  mutable std::mutex mutex_;
  /// Empty once the source is invalid.
  Block<void(Signals)> perform_;
  std::vector<std::shared_ptr<RunLoopMode>> modes_;
};

}  // namespace kestova
