// SPDX-License-Identifier: Apache-2.0
#include "LatestRequest.h"

#include <KestovaPlatform/Contract.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace kestova {
namespace {

void submit(LatestRequest::Request request, id owner) {
  if (request.block) {
    dispatch_async(request.queue, [owner = std::move(owner), number = request.number,
                                   block = std::move(request.block)] { block(number); });
  }
}

}  // namespace

void LatestRequest::prepareFor(NSTimeInterval delay) {
  if (dispatchNanoseconds(delay) > 0) {
    const std::lock_guard lock(mutex_);
    makeTimer();
  }
}

void LatestRequest::replace(Request request, NSTimeInterval delay, NSObject& owner) {
  require(request.queue != nullptr, "queue != nil");
  const dispatch_time_t due = dispatchTimeAfter(delay);
  const bool isDue = dispatchNanoseconds(delay) <= 0;
  const bool waits = !isDue && due != DISPATCH_TIME_FOREVER;
  Request taken;
  {
    const std::lock_guard lock(mutex_);
    if (request.number > latest_.number) {
      std::swap(latest_, request);
      due_ = due;
      if (!waits) {
        taken = take();
      }
    }
    if (waits) {
      keep(owner, due);
    }
  }
  if (isDue) {
    submit(std::move(taken), id(&owner));
  }
}

/// The number stays: what comes late is told by it.
LatestRequest::Request LatestRequest::take() noexcept {
  return {latest_.number, std::exchange(latest_.queue, nullptr),
          std::exchange(latest_.block, nullptr)};
}

void LatestRequest::keep(NSObject& owner, dispatch_time_t until) {
  if (!owner_) {
    owner_ = id(&owner);
  }
  ownerIsKeptUntil_ = std::max(ownerIsKeptUntil_, until);
  if (until < armedFor_) {
    arm(until);
  }
}

void LatestRequest::makeTimer() {
  if (timer_) {
    return;
  }
  auto timer = std::make_unique<DispatchTimer>();
  timer->setEventHandler([weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->wake();
    }
  });
  timer->resume();
  timer_ = std::move(timer);
}

void LatestRequest::arm(dispatch_time_t moment) {
  makeTimer();
  armedFor_ = moment;
  timer_->setTimer(moment);
}

void LatestRequest::wake() {
  Request taken;
  id owner;
  {
    const std::lock_guard lock(mutex_);
    const dispatch_time_t now = dispatch_time(DISPATCH_TIME_NOW, 0);
    if (latest_.block && due_ <= now) {
      taken = take();
    }
    if (now < ownerIsKeptUntil_) {
      owner = owner_;
      arm(latest_.block ? due_ : ownerIsKeptUntil_);
    } else {
      owner = std::move(owner_);
      armedFor_ = DISPATCH_TIME_FOREVER;
    }
  }
  submit(std::move(taken), std::move(owner));
}

}  // namespace kestova
