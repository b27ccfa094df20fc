// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <memory>

namespace kestova {

/// The latest of the requests of one burst, until its delay is over.
///
/// One timer serves them all. It stands at the earliest moment at which something could have to
/// happen, and is set again as it fires: a request that is due later than the one before doesn't
/// touch it.
class LatestRequest : public std::enable_shared_from_this<LatestRequest> {
 public:
  struct Request {
    NSUInteger number = 0;
    DispatchQueue queue;
    Block<void(NSUInteger number)> block;
  };

  /// What a request of that delay needs memory for, before its number is taken: a number that
  /// nobody replaces anything for would make the request before it one that isn't the latest.
  void prepareFor(NSTimeInterval delay);

  /// Submits the block when the delay is over, unless a request of a higher number comes until
  /// then; the block of a lower one goes here. Whichever it is, the owner is kept until that delay
  /// is over; an endless one counts as none.
  void replace(Request request, NSTimeInterval delay, NSObject& owner);

 private:
  Request take() noexcept;
  void keep(NSObject& owner, dispatch_time_t until);
  void arm(dispatch_time_t moment);
  void makeTimer();
  void wake();

  BriefMutex mutex_;  // guards what follows; no block or owner goes with it held
  Request latest_;
  dispatch_time_t due_ = 0;
  id owner_;
  dispatch_time_t ownerIsKeptUntil_ = 0;
  dispatch_time_t armedFor_ = DISPATCH_TIME_FOREVER;
  std::unique_ptr<DispatchTimer> timer_;  // made with the first request that waits
};

}  // namespace kestova
