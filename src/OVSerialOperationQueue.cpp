// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVSerialOperationQueue.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>

#include <mutex>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVSerialOperationQueue)

/// Knows which operation the next one has to wait for.
class OVSerialOperationQueue::Chain {
 public:
  explicit Chain(const OVSerialOperationQueue& queue) : queue_(&queue) {}

  /// Where an operation was put.
  struct Place {
    Ref<NSOperation> previous;
    bool isNewDependency;
  };

  /// Puts an operation at the end, behind the one that stands there.
  Place append(const Ref<NSOperation>& operation) {
    const std::lock_guard lock(mutex_);
    const bool isNewDependency = mPreviousOperation && mPreviousOperation != operation &&
                                 !operation->dependencies()->containsObject(mPreviousOperation);
    if (isNewDependency) {
      operation->addDependency(mPreviousOperation);
    }
    return {std::exchange(mPreviousOperation, operation), isNewDependency};
  }

  /// Takes back the latest `append`, unless the next one has followed already.
  void takeBack(const Ref<NSOperation>& operation, Place place) {
    if (place.isNewDependency) {
      operation->removeDependency(place.previous);
    }
    {
      const std::lock_guard lock(mutex_);
      if (mPreviousOperation == operation) {
        std::swap(mPreviousOperation, place.previous);
      }
    }
    letGoIfEmpty();
  }

  /// One that has been appended but is not in the queue yet still stands at the end.
  void letGoIfEmpty() {
    Ref<NSOperation> released;  // after the lock
    const std::lock_guard lock(mutex_);
    if (queue_ != nullptr && queue_->operationCount() == 0 && mPreviousOperation &&
        mPreviousOperation->isFinished()) {
      std::swap(released, mPreviousOperation);
    }
  }

  void queueGoes() {
    Ref<NSOperation> released;
    const std::lock_guard lock(mutex_);
    queue_ = nullptr;
    std::swap(released, mPreviousOperation);
  }

 private:
  std::recursive_mutex mutex_;           // guards what follows
  const OVSerialOperationQueue* queue_;  // unowned; null when it has gone
  Ref<NSOperation> mPreviousOperation;
};

OVSerialOperationQueue::OVSerialOperationQueue() : chain_(std::make_shared<Chain>(*this)) {
  NSOperationQueue::setMaxConcurrentOperationCount(1);
}

OVSerialOperationQueue::~OVSerialOperationQueue() { chain_->queueGoes(); }

Ref<OVSerialOperationQueue> OVSerialOperationQueue::init() {
  return make<OVSerialOperationQueue>();
}

void OVSerialOperationQueue::setMaxConcurrentOperationCount(NSInteger) {
  NSOperationQueue::setMaxConcurrentOperationCount(1);
}

void OVSerialOperationQueue::addOperation(const Ref<NSOperation>& operation) {
  if (!operation) {
    throw NSException(NSInvalidArgumentException, "there is no operation");
  }
  Block<void()> existing = operation->completionBlock();
  // Unowned: it is the operation itself that calls its completion block.
  Block<void()> completion = [chain = chain_, finished = operation.get(), existing] {
    finished->removeDependencies();
    finished->setCompletionBlock(nullptr);
    chain->letGoIfEmpty();
    if (existing) {
      existing();
    }
  };
  auto place = chain_->append(operation);
  operation->setCompletionBlock(std::move(completion));
  try {
    NSOperationQueue::addOperation(operation);
  } catch (...) {
    operation->setCompletionBlock(std::move(existing));
    chain_->takeBack(operation, std::move(place));
    throw;
  }
}

}  // namespace kestova
