// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>

#include <utility>

#include "dispatch/Submission.h"

namespace kestova {

DispatchGroup::DispatchGroup()
    : group_(DispatchObject<dispatch_group_t>::adopt(dispatch_group_create())) {}

void DispatchGroup::async(dispatch_queue_t queue, Block<void()> block) const {
  const dispatch_group_t group = group_;
  void* submission = Submission::send({queue, std::move(block), TaskKind::plain, group});
  dispatch_group_async_f(group, queue, submission, &Submission::run);
}

void DispatchGroup::enter() const noexcept { dispatch_group_enter(group_); }

void DispatchGroup::leave() const noexcept {
  const dispatch_group_t group = group_;
  tellReleased(group);
  dispatch_group_leave(group);
}

void DispatchGroup::wait() const noexcept {
  const dispatch_group_t group = group_;
  dispatch_group_wait(group, DISPATCH_TIME_FOREVER);
  tellAcquired(group);
}

bool DispatchGroup::waitFor(NSTimeInterval seconds) const noexcept {
  const dispatch_group_t group = group_;
  if (dispatch_group_wait(group, dispatchTimeAfter(seconds)) != 0) {
    return false;
  }
  tellAcquired(group);
  return true;
}

void DispatchGroup::notify(dispatch_queue_t queue, Block<void()> block) const {
  require(block != nullptr, "block != nil");
  // The notification keeps the group, as its tag for the sanitizer lasts no longer.
  auto notified = [group = group_, block = std::move(block)] {
    tellAcquired(static_cast<dispatch_group_t>(group));
    block();
  };
  void* submission = Submission::send({queue, std::move(notified)});
  dispatch_group_notify_f(group_, queue, submission, &Submission::run);
}

}  // namespace kestova
