// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSOperationQueueAdditions.h>
#include <KestovaPlatform/Contract.h>

#include <utility>

namespace kestova {

inline namespace NSOperationQueue_DefaultInstanceAdditions {

Ref<NSOperationQueue> defaultOperationQueue() {
  static NSOperationQueue& queue = *NSOperationQueue::init().leak();
  return Ref<NSOperationQueue>(&queue);
}

}  // namespace NSOperationQueue_DefaultInstanceAdditions

inline namespace NSOperationQueue_Helpful {

Ref<NSBlockOperation> addOperationWithBlock_dependencies(const Ref<NSOperationQueue>& self,
                                                         Block<void()> block,
                                                         const Ref<NSArray>& dependencies) {
  require(self != nullptr, "self != nil");
  auto operation = NSBlockOperation::blockOperationWithBlock(std::move(block));
  if (dependencies) {
    for (const id& dependency : dependencies) {
      operation->addDependency(cast<NSOperation>(dependency));
    }
  }
  self->addOperation(operation);
  return operation;
}

}  // namespace NSOperationQueue_Helpful

}  // namespace kestova
