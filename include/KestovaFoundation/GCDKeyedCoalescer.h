// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <memory>
#include <mutex>
#include <vector>

namespace kestova {

class LatestRequest;

/// What GCDCoalescer is, with a burst for each key: of the requests with equal keys only the block
/// of the last one runs.
///
///     const auto saves = GCDKeyedCoalescer::init();
///     …
///     saves->dispatch_on_after_block("window", queue, 0.5, [=] { saveFrame(); });
///     saves->dispatch_on_after_block("colours", queue, 0.5, [=] { saveColours(); });
///
/// Threads: requests from one thread at a time, for example always the main one. Blocks run on the
/// queues of their requests, side by side with all that, and no lock is held. An exception that
/// leaves one ends the process.
///
/// Ownership: the coalescer shares every key that it has seen for its whole life. Requests keep the
/// coalescer, their queues and their blocks as those of GCDCoalescer do.
///
/// Cost: that of GCDCoalescer for each key, and a search through all keys seen so far, by
/// `isEqual`: it is meant for a few fixed ones.
class KESTOVA_FOUNDATION_EXPORT GCDKeyedCoalescer : public NSObject {
  KESTOVA_CLASS(GCDKeyedCoalescer, NSObject)

 public:
  static Ref<GCDKeyedCoalescer> init();  ///< One without a request.

  /// Runs the block on the queue after so many seconds, unless another request with an equal key is
  /// made until then. Delays are those of GCDCoalescer. A null key throws
  /// NSInvalidArgumentException; a null queue or block is a broken contract.
  void dispatch_on_after_block(const id& key, dispatch_queue_t queue, NSTimeInterval delay,
                               Block<void()> block);

 protected:
  GCDKeyedCoalescer();
  ~GCDKeyedCoalescer() override;

 private:
  using Counts = std::unique_ptr<NSUInteger[]>;

  NSUInteger slotOf(const id& key);
  void grow();
  NSUInteger countAt(NSUInteger slot);

  /// Keeps `_counts` where it is while a task that is due reads there.
  std::mutex _lock;
  /// In the order of their first use, which is that of the counters.
  const Ref<NSMutableArray> _keys;
  Counts _counts;
  NSUInteger _numCounts = 0;
  NSUInteger _capacity;
  /// One for each key, used by the thread that makes requests.
  std::vector<std::shared_ptr<LatestRequest>> latest_;
};

}  // namespace kestova
