// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Dispatch.h>

#include "dispatch/ThreadSanitizer.h"

namespace kestova {

/// Whether a task waits for all others of its queue, and they for it.
enum class TaskKind { plain, barrier };

/// Tells the thread sanitizer, while it lives around a task, which other tasks of the queue
/// happened before it and which come after: on a serial queue and for a barrier all of them, on a
/// concurrent queue the barriers alone. Without the sanitizer it is nothing.
class QueueOrder {
 public:
  QueueOrder(dispatch_queue_t queue, TaskKind kind) noexcept {
    if constexpr (threadSanitizer) {
      enter(queue, kind);
    }
  }
  ~QueueOrder() { tellReleased(released_); }
  QueueOrder(const QueueOrder&) = delete;
  QueueOrder& operator=(const QueueOrder&) = delete;

  /// Marks a queue as one that runs its tasks side by side.
  static void markConcurrent(dispatch_queue_t queue);

 private:
  void enter(dispatch_queue_t queue, TaskKind kind) noexcept;

  const void* released_ = nullptr;
};

}  // namespace kestova
