// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSOperation.h>

#include <span>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSBlockOperation)

namespace {

void checkBlock(const Block<void()>& block) {
  if (!block) {
    throw NSException(NSInvalidArgumentException, "the block is empty");
  }
}

}  // namespace

Ref<NSBlockOperation> NSBlockOperation::init() { return make<NSBlockOperation>(); }

Ref<NSBlockOperation> NSBlockOperation::blockOperationWithBlock(Block<void()> block) {
  checkBlock(block);
  return make<NSBlockOperation>(std::move(block));
}

void NSBlockOperation::addExecutionBlock(Block<void()> block) {
  checkBlock(block);
  if (isExecuting() || isFinished()) {
    throw NSException(NSInvalidArgumentException, "the operation executes or has finished");
  }
  const std::lock_guard lock(blocksMutex_);
  if (!first_) {
    first_ = std::move(block);
  } else {
    others_.push_back(std::move(block));
  }
}

Ref<NSArray> NSBlockOperation::executionBlocks() const {
  const std::lock_guard lock(blocksMutex_);
  std::vector<id> objects;
  if (first_) {
    objects.push_back(first_.object());
  }
  for (const auto& block : others_) {
    objects.push_back(block.object());
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

/// The first block runs here, the others beside it.
void NSBlockOperation::main() {
  Block<void()> first;
  std::vector<Block<void()>> others;
  {
    const std::lock_guard lock(blocksMutex_);
    first = first_;
    others = others_;
  }
  if (others.empty()) {
    if (first) {
      first();
    }
    return;
  }
  const DispatchGroup group;
  for (auto& block : others) {
    group.async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), std::move(block));
  }
  struct Wait {
    const DispatchGroup& group;
    ~Wait() { group.wait(); }
  };
  const Wait wait{group};
  first();
}

}  // namespace kestova
