// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <memory>

namespace kestova {

/// What the interval of a throttling dispatcher lies between.
enum OVThrottleMode : NSUInteger {
  /// From handing one block to the queue to handing over the next one. On a concurrent queue a slow
  /// block may still run when the next one starts.
  OVThrottleBetweenStarts = 0,
  /// From the end of one block to handing over the next one, so that no two run at a time.
  OVThrottleBetweenExecution = 1,
};

/// Runs blocks on a queue, but no more often than an interval allows. Of the blocks that come while
/// it is throttling only the latest runs, at the next permitted moment.
///
///     const auto saver = OVThrottlingDispatcher::initWithQueue_seconds(queue, 2.0);
///     …
///     saver->dispatch([=] { save(document); });   // after each change
///
/// The first block after a pause runs at once, in either mode:
///
///     between starts      A at 0 s, then B, C, D within the second: A at 0 s, D at 1 s
///     between execution   A at 0 s for 3 s, B and C meanwhile: A at 0 s, C at 4 s
///
/// Threads: any, also from within a block that the dispatcher runs. Blocks run on the queue that
/// was given, with no lock held; which of them run is decided on a private serial queue. A block
/// that is dropped goes on the thread that drops it, outside that queue, so that what goes with it
/// may use the dispatcher. An exception that leaves a block ends the process.
///
/// Ownership: the dispatcher holds its queue and the latest block; blocks on their way to their run
/// don't hold the dispatcher. When it goes, at any moment, also in one of its own blocks, the
/// pending block is dropped without running; one that is already on the queue still runs.
///
/// Cost: a burst of any length costs its callables, one slot and one timer. A block that replaces
/// another one allocates nothing, and waits for no block to run.
class KESTOVA_FOUNDATION_EXPORT OVThrottlingDispatcher : public NSObject {
  KESTOVA_CLASS(OVThrottlingDispatcher, NSObject)

 public:
  /// A dispatcher for that queue and an interval in seconds. A null queue and an interval that is
  /// not greater than 0 end the process. With a mode that is none of OVThrottleMode the dispatcher
  /// swallows every block, deliberately.
  static Ref<OVThrottlingDispatcher> initWithQueue_seconds_mode(dispatch_queue_t queue,
                                                                NSTimeInterval seconds,
                                                                NSUInteger mode);

  /// The same, between starts.
  static Ref<OVThrottlingDispatcher> initWithQueue_seconds(dispatch_queue_t queue,
                                                           NSTimeInterval seconds);

  /// Runs the block as soon as the interval permits, unless another one comes before that. An empty
  /// block is a broken contract.
  ///
  /// Between execution, the very block that is running counts as having run: handed over again
  /// before it ends, it is forgotten at its end. A block made afresh of the same callable is
  /// another one and does run.
  void dispatch(Block<void()> block);

 protected:
  OVThrottlingDispatcher(dispatch_queue_t queue, NSTimeInterval seconds, NSUInteger mode);
  ~OVThrottlingDispatcher() override;

 private:
  class State;

  /// The dispatcher's own; the timer and the tasks under way look whether it is still there.
  const std::shared_ptr<State> state_;
};

}  // namespace kestova
