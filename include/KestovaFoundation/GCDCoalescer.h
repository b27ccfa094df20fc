// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <memory>

namespace kestova {

class LatestRequest;

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
/// Ownership: a request keeps the coalescer until its delay is over, also where it was superseded:
/// there is no need to keep the coalescer for what was asked for. It keeps its queue and its block
/// until that has run, or until another request is made; a superseded block goes on the thread that
/// makes that request.
///
/// Cost: a burst holds one block however many requests it has, and a request that is due later than
/// the one before sets no timer.
class KESTOVA_FOUNDATION_EXPORT GCDCoalescer : public NSObject {
  KESTOVA_CLASS(GCDCoalescer, NSObject)

 public:
  static Ref<GCDCoalescer> init();  ///< One without a request.

  /// Runs the block on the queue after so many seconds, unless another request is made until then.
  /// A delay that is not above 0, or no number, is over at once; an infinite one supersedes the
  /// requests before it and drops its own block. A null queue or block is a broken contract.
  void dispatchOn_after_block(dispatch_queue_t queue, NSTimeInterval delay, Block<void()> block);

 protected:
  GCDCoalescer();
  ~GCDCoalescer() override;

 private:
  /// How many requests have been made; used as an atomic.
  NSUInteger count = 0;
  const std::shared_ptr<LatestRequest> latest_;
};

}  // namespace kestova
