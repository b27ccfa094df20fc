// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

class OperationScheduler;

/// Lets the system choose how many operations run at once.
inline constexpr NSInteger NSOperationQueueDefaultMaxConcurrentOperationCount = -1;

/// Runs operations on threads of the system, as many at once as pay or as it is told.
///
///     const auto queue = NSOperationQueue::init();
///     queue->setMaxConcurrentOperationCount(2);
///     queue->addOperation(make<Thumbnail>(url));
///     queue->addOperationWithBlock([=] { index(folder); });
///     queue->waitUntilAllOperationsAreFinished();
///
/// Operations start when they are ready (see NSOperation.h), those of higher priority first, those
/// of one priority in the order in which they became ready. They leave the queue when they have
/// finished, before their completion blocks are called.
///
/// The main queue runs its operations on the main thread, one at a time, through the main dispatch
/// queue or the application's MainThreadPerformer. It has no other maximum, and is never suspended.
///
/// Threads: any. No operation, block or observer is called with a lock held.
///
/// Ownership: a queue holds its operations, and its work outlives it: what is in a queue that goes
/// is run all the same. What waits in one that could never start it (suspended, or with a maximum
/// of 0) is cancelled instead and finishes without running, so that nobody waits for it in vain.
/// Operations of which one never finishes stay together with those that depend on it.
///
/// Cost: a hand-off to libdispatch for a row of operations, not for each one.
class KESTOVA_PLATFORM_EXPORT NSOperationQueue : public NSObject {
  KESTOVA_CLASS(NSOperationQueue, NSObject)

 public:
  static Ref<NSOperationQueue> init();

  /// The queue of the main thread.
  static Ref<NSOperationQueue> mainQueue();

  /// The queue whose operation is being run by the calling thread; on the main thread otherwise the
  /// main queue, elsewhere null. Null as well once that queue has gone.
  static Ref<NSOperationQueue> currentQueue();

  /// \name Adding
  /// @{

  /// Null, and an operation that was in a queue before, executes or has finished, throw
  /// NSInvalidArgumentException.
  virtual void addOperation(const Ref<NSOperation>& operation);

  /// Adds those of an array, in its order, as `addOperation` of this class does it. With
  /// `waitUntilFinished` it returns when they have finished, else at once.
  virtual void addOperations_waitUntilFinished(const Ref<NSArray>& operations,
                                               bool waitUntilFinished);

  /// Adds the block as an operation, as `addOperation` of this class does it. An empty one throws
  /// NSInvalidArgumentException.
  virtual void addOperationWithBlock(Block<void()> block);

  /// @}
  /// \name What is in the queue
  /// @{

  /// The operations that have not finished, in the order of adding.
  Ref<NSArray> operations() const;
  NSUInteger operationCount() const noexcept;

  /// Cancels them.
  void cancelAllOperations();

  /// Waits until there are none, for ever if need be. From one of them it is a broken contract.
  void waitUntilAllOperationsAreFinished();

  /// @}
  /// \name Settings
  /// @{

  /// How many operations execute at once; at first
  /// NSOperationQueueDefaultMaxConcurrentOperationCount.
  NSInteger maxConcurrentOperationCount() const;

  /// With 0 none is started any more. Other negative numbers throw NSInvalidArgumentException.
  virtual void setMaxConcurrentOperationCount(NSInteger count);

  /// A suspended queue starts nothing; what executes goes on.
  bool isSuspended() const;
  virtual void setSuspended(bool suspended);

  /// For people who debug; null at first.
  Ref<NSString> name() const;
  void setName(const Ref<NSString>& name);

  /// @}

 protected:
  NSOperationQueue();
  explicit NSOperationQueue(Ref<OperationScheduler> scheduler);
  ~NSOperationQueue() override;

 private:
  const Ref<OperationScheduler> scheduler_;
};

}  // namespace kestova
