// SPDX-License-Identifier: Apache-2.0
#include "LatestRequest.h"

#include <KestovaPlatform/Contract.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace kestova {

/// The timer comes first: a number that nothing is replaced for would make the request before it
/// one that isn't the latest.
void LatestRequest::replace(dispatch_queue_t queue, Block<void()> block,
                            std::atomic_ref<NSUInteger> counter, NSTimeInterval delay,
                            NSObject& owner) {
  require(queue != nullptr, "queue != nil");
  const dispatch_time_t due = dispatchTimeAfter(delay);
  const bool isDue = dispatchNanoseconds(delay) <= 0;
  const bool waits = !isDue && due != DISPATCH_TIME_FOREVER;
  NSUInteger number = 0;
  QueuedBlock superseded;
  QueuedBlock taken;
  {
    const std::lock_guard lock(mutex_);
    if (waits) {
      makeTimer();
    }
    number = ++counter;
    number_ = number;
    due_ = due;
    superseded = latest_.replace(queue, std::move(block));
    if (waits) {
      keep(owner, due);
    } else {
      taken = take();
    }
  }
  if (isDue) {
    submit(std::move(taken), number, id(&owner));
  }
}

QueuedBlock LatestRequest::take() noexcept {
  return {std::exchange(latest_.queue, nullptr), std::exchange(latest_.block, nullptr)};
}

void LatestRequest::submit(QueuedBlock request, NSUInteger number, id owner) {
  if (request.block) {
    dispatch_async(request.queue,
                   [this, number, owner = std::move(owner), block = std::move(request.block)] {
                     if (count_() <= number) {
                       block();
                     }
                   });
  }
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
  armedFor_ = moment;
  timer_->setTimer(moment);
}

void LatestRequest::wake() {
  QueuedBlock taken;
  NSUInteger number = 0;
  id owner;
  {
    const std::lock_guard lock(mutex_);
    number = number_;
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
  submit(std::move(taken), number, std::move(owner));
}

}  // namespace kestova
