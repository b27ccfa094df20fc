// SPDX-License-Identifier: Apache-2.0
#include "dispatch/QueueOrder.h"

namespace kestova {
namespace {

/// Its address is the key under which concurrent queues are marked.
char concurrentKey;

/// The two tags of a queue are addresses within it, so they are unique and end with it.
const void* orderTag(dispatch_queue_t queue) { return queue; }
const void* sideBySideTag(dispatch_queue_t queue) {
  return reinterpret_cast<const char*>(queue) + sizeof(void*);
}

bool markGlobalQueues() {
  for (const long priority : {DISPATCH_QUEUE_PRIORITY_HIGH, DISPATCH_QUEUE_PRIORITY_DEFAULT,
                              DISPATCH_QUEUE_PRIORITY_LOW, DISPATCH_QUEUE_PRIORITY_BACKGROUND}) {
    QueueOrder::markConcurrent(dispatch_get_global_queue(priority, 0));
  }
  return true;
}

bool isConcurrent(dispatch_queue_t queue) {
  [[maybe_unused]] static const bool marked = markGlobalQueues();
  return dispatch_queue_get_specific(queue, &concurrentKey) != nullptr;
}

}  // namespace

void QueueOrder::markConcurrent(dispatch_queue_t queue) {
  if constexpr (threadSanitizer) {
    dispatch_queue_set_specific(queue, &concurrentKey, &concurrentKey, nullptr);
  }
}

void QueueOrder::enter(dispatch_queue_t queue, TaskKind kind) noexcept {
  tellAcquired(orderTag(queue));
  if (!isConcurrent(queue)) {
    released_ = orderTag(queue);
  } else if (kind == TaskKind::barrier) {
    tellAcquired(sideBySideTag(queue));
    released_ = orderTag(queue);
  } else {
    released_ = sideBySideTag(queue);
  }
}

}  // namespace kestova
