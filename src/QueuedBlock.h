// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>

#include <utility>

namespace kestova {

/// A block and the queue that it is to run on.
struct QueuedBlock {
  DispatchQueue queue;
  Block<void()> block;

  /// Puts another block and queue here and hands out what was here before. A queue that stays is
  /// kept as it is, and null is handed out for it.
  QueuedBlock replace(dispatch_queue_t newQueue, Block<void()> newBlock) noexcept {
    QueuedBlock before;
    before.block = std::exchange(block, std::move(newBlock));
    if (queue != newQueue) {
      before.queue = std::exchange(queue, DispatchQueue(newQueue));
    }
    return before;
  }
};

}  // namespace kestova
