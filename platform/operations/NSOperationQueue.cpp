// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSOperationQueue.h>

#include "object/ObjectExtras.h"
#include "operations/OperationScheduler.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    NSOperationQueue,
    .property<&NSOperationQueue::name, &NSOperationQueue::setName>("name")
        .property<&NSOperationQueue::operations>("operations")
        .property<&NSOperationQueue::operationCount>("operationCount")
        .property<&NSOperationQueue::maxConcurrentOperationCount,
                  &NSOperationQueue::setMaxConcurrentOperationCount>("maxConcurrentOperationCount")
        .property<&NSOperationQueue::isSuspended, &NSOperationQueue::setSuspended>("isSuspended"))

namespace {

/// The main thread runs one operation at a time, always.
class MainOperationQueue final : public NSOperationQueue {
 public:
  explicit MainOperationQueue(Ref<OperationScheduler> scheduler)
      : NSOperationQueue(std::move(scheduler)) {}

  void setMaxConcurrentOperationCount(NSInteger) override {}
  void setSuspended(bool) override {}
};

}  // namespace

NSOperationQueue::NSOperationQueue()
    : NSOperationQueue(make<OperationScheduler>(OperationScheduler::Threads::workers)) {}

NSOperationQueue::NSOperationQueue(Ref<OperationScheduler> scheduler)
    : scheduler_(std::move(scheduler)) {
  ObjectExtras::letShare(*this);
  scheduler_->setQueue(*this);
}

NSOperationQueue::~NSOperationQueue() { scheduler_->queueGoes(); }

Ref<NSOperationQueue> NSOperationQueue::init() { return make<NSOperationQueue>(); }

Ref<NSOperationQueue> NSOperationQueue::mainQueue() {
  static NSOperationQueue& queue = *[] {
    auto scheduler = make<OperationScheduler>(OperationScheduler::Threads::main);
    scheduler->setMaximum(1);
    return make<MainOperationQueue>(std::move(scheduler)).leak();
  }();
  return Ref<NSOperationQueue>(&queue);
}

Ref<NSOperationQueue> NSOperationQueue::currentQueue() {
  if (OperationScheduler* scheduler = OperationScheduler::current()) {
    return scheduler->queue();
  }
  return OperationScheduler::isMainThread() ? mainQueue() : nullptr;
}

void NSOperationQueue::addOperation(const Ref<NSOperation>& operation) {
  if (!operation) {
    throw NSException(NSInvalidArgumentException, "there is no operation");
  }
  scheduler_->add(operation);
}

void NSOperationQueue::addOperations_waitUntilFinished(const Ref<NSArray>& operations,
                                                       bool waitUntilFinished) {
  if (!operations) {
    return;
  }
  for (const id& operation : operations) {
    NSOperationQueue::addOperation(cast<NSOperation>(operation));
  }
  if (waitUntilFinished) {
    for (const id& operation : operations) {
      cast<NSOperation>(operation)->waitUntilFinished();
    }
  }
}

void NSOperationQueue::addOperationWithBlock(Block<void()> block) {
  scheduler_->add(NSBlockOperation::blockOperationWithBlock(std::move(block)));
}

Ref<NSArray> NSOperationQueue::operations() const {
  return NSArray::arrayWithObjects(scheduler_->operations());
}

NSUInteger NSOperationQueue::operationCount() const noexcept {
  return scheduler_->operationCount();
}

void NSOperationQueue::cancelAllOperations() {
  for (const id& operation : scheduler_->operations()) {
    static_cast<NSOperation&>(*operation).cancel();
  }
}

void NSOperationQueue::waitUntilAllOperationsAreFinished() { scheduler_->waitUntilEmpty(); }

NSInteger NSOperationQueue::maxConcurrentOperationCount() const { return scheduler_->maximum(); }

void NSOperationQueue::setMaxConcurrentOperationCount(NSInteger count) {
  scheduler_->setMaximum(count);
}

bool NSOperationQueue::isSuspended() const { return scheduler_->isSuspended(); }

void NSOperationQueue::setSuspended(bool suspended) { scheduler_->setSuspended(suspended); }

Ref<NSString> NSOperationQueue::name() const { return scheduler_->name(); }

void NSOperationQueue::setName(const Ref<NSString>& name) { scheduler_->setName(name); }

}  // namespace kestova
