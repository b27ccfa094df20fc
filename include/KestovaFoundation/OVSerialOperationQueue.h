// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSOperationQueue.h>

#include <memory>

namespace kestova {

/// An operation queue that runs operations strictly one after another, in the order in which they
/// were added, whatever their priorities and however they became ready.
///
///     const auto queue = OVSerialOperationQueue::init();
///     queue->addOperation(save);
///     queue->addOperation(upload);       // begins when the save has finished
///
/// `addOperation` lets each operation depend on the one that was added before it. When an operation
/// has finished it lets go of all its dependencies, and then calls the completion block that it had
/// when it was added. Only `addOperation` does that: what is added otherwise runs one at a time,
/// but by the rules of the base class.
///
/// Threads: any. Completion blocks are called with no lock held.
///
/// Ownership: the queue holds the operation that was added last until it is empty; an operation
/// does not hold the queue. What is in a queue that goes is run as in every queue.
class KESTOVA_FOUNDATION_EXPORT OVSerialOperationQueue : public NSOperationQueue {
  KESTOVA_CLASS(OVSerialOperationQueue, NSOperationQueue)

 public:
  static Ref<OVSerialOperationQueue> init();

  /// The same operations are refused as by the base class, and then change nothing.
  void addOperation(const Ref<NSOperation>& operation) override;

  /// Sets 1, whatever it is given.
  void setMaxConcurrentOperationCount(NSInteger count) override;

 protected:
  OVSerialOperationQueue();
  ~OVSerialOperationQueue() override;

 private:
  class Chain;

  /// Shared with the completion blocks, which may outlive the queue.
  const std::shared_ptr<Chain> chain_;
};

}  // namespace kestova
