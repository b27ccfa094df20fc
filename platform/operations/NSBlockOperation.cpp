// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSOperation.h>

#include <cstddef>
#include <mutex>
#include <new>
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
  if (blocks_.load() == Blocks::none) {
    first_ = std::move(block);
    blocks_.store(Blocks::one);
    return;
  }
  if (!others_) {
    others_ = std::make_unique<std::vector<Block<void()>>>();
  }
  others_->push_back(std::move(block));
  blocks_.store(Blocks::several);
}

Ref<NSArray> NSBlockOperation::executionBlocks() const {
  const std::lock_guard lock(blocksMutex_);
  std::vector<id> objects;
  if (first_) {
    objects.push_back(first_.object());
  }
  if (others_) {
    for (const auto& block : *others_) {
      objects.push_back(block.object());
    }
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

void NSBlockOperation::main() {
  switch (blocks_.load(std::memory_order_acquire)) {
    case Blocks::none:
      return;
    case Blocks::one:
      return first_();
    case Blocks::several:
      return runSeveral();
  }
}

/// The block behind the first one at that index; empty behind the last one.
Block<void()> NSBlockOperation::otherAt(std::size_t index) const noexcept {
  const std::lock_guard lock(blocksMutex_);
  return index < others_->size() ? (*others_)[index] : nullptr;
}

/// The first block runs here, the others beside it, unless there is no memory to hand them over.
void NSBlockOperation::runSeveral() const {
  const DispatchGroup group;
  struct Wait {
    const DispatchGroup& group;
    ~Wait() { group.wait(); }
  };
  const Wait wait{group};
  for (std::size_t index = 0; const auto block = otherAt(index); ++index) {
    try {
      group.async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), block);
    } catch (const std::bad_alloc&) {
      block();
    }
  }
  first_();
}

}  // namespace kestova
