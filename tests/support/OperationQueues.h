// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSOperationQueue.h>

#include <utility>

namespace kestova::testing {

inline Ref<NSBlockOperation> operation(Block<void()> block) {
  return NSBlockOperation::blockOperationWithBlock(std::move(block));
}

inline Ref<NSOperationQueue> queueOf(NSInteger maximum) {
  auto queue = NSOperationQueue::init();
  queue->setMaxConcurrentOperationCount(maximum);
  return queue;
}

}  // namespace kestova::testing
