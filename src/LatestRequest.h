// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include "QueuedBlock.h"

#include <atomic>
#include <memory>
#include <utility>

namespace kestova {

/// The latest of the requests of one burst, until its delay is over.
///
/// One timer serves them all. It stands at the earliest moment at which something could have to
/// happen, and is set again as it fires: a request that is due later than the one before doesn't
/// touch it.
class LatestRequest : public std::enable_shared_from_this<LatestRequest> {
 public:
  /// `count` answers how many requests there have been. It is asked for while the owner is kept,
  /// who keeps this object.
  explicit LatestRequest(Block<NSUInteger()> count) : count_(std::move(count)) {}

  /// Counts the request, and submits its block when the delay is over, unless another one comes
  /// until then; the block of the one before goes here. The block then runs unless more requests
  /// have been counted by now. Whichever it is, the owner is kept until that delay is over; an
  /// endless one counts as none. Where no memory is left for waiting, nothing has happened.
  void replace(dispatch_queue_t queue, Block<void()> block, std::atomic_ref<NSUInteger> counter,
               NSTimeInterval delay, NSObject& owner);

 private:
  QueuedBlock take() noexcept;
  void submit(QueuedBlock request, NSUInteger number, id owner);
  void keep(NSObject& owner, dispatch_time_t until);
  void arm(dispatch_time_t moment);
  void makeTimer();
  void wake();

  const Block<NSUInteger()> count_;
  BriefMutex mutex_;  // guards what follows; no block or owner goes with it held
  QueuedBlock latest_;
  NSUInteger number_ = 0;  // of the latest
  dispatch_time_t due_ = 0;
  id owner_;
  dispatch_time_t ownerIsKeptUntil_ = 0;
  dispatch_time_t armedFor_ = DISPATCH_TIME_FOREVER;
  std::unique_ptr<DispatchTimer> timer_;  // made with the first request that waits
};

}  // namespace kestova
