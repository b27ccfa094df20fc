// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <atomic>

namespace kestova {

/// Waits for a burst of requests to end: only the block of the last one runs, a delay after it.
///
///     const auto typing = GCDCoalescer::init();
///     …
///     typing->dispatchOn_after_block(queue, 0.5, [=] { search(text); });   // after each key
///
///     requests at 0, 0.2 and 0.4 s with a delay of 0.5 s: the third block, at 0.9 s
///
/// Threads: any. A block runs on the queue of its request, with no lock held, and may make requests
/// itself. An exception that leaves it ends the process.
///
/// Ownership: each request keeps the coalescer, its queue and its block until its delay is over,
/// also one that was superseded. There is no need to keep the coalescer for what was asked for.
///
/// Cost: every request is a timed task of its own, which wakes up to see whether it was superseded.
/// Some hundred bytes are held for each one meanwhile; a dispatcher that throttles holds one slot
/// for all (see OVThrottlingDispatcher).
class KESTOVA_FOUNDATION_EXPORT GCDCoalescer : public NSObject {
  KESTOVA_CLASS(GCDCoalescer, NSObject)

 public:
  static Ref<GCDCoalescer> init();

  /// Runs the block on the queue after so many seconds, unless another request is made until then.
  /// A delay that is not above 0, or no number, is over at once; an infinite one supersedes the
  /// requests before it and drops its own block. A null queue or block is a broken contract.
  void dispatchOn_after_block(dispatch_queue_t queue, NSTimeInterval delay, Block<void()> block);

 protected:
  GCDCoalescer() = default;

 private:
  /// How many requests have been made.
  std::atomic<NSUInteger> count{0};
};

}  // namespace kestova
