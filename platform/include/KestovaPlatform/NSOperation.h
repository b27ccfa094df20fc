// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace kestova {

class OperationScheduler;

/// Which of the operations that are ready a queue starts first.
enum NSOperationQueuePriority : NSInteger {
  NSOperationQueuePriorityVeryLow = -8,
  NSOperationQueuePriorityLow = -4,
  NSOperationQueuePriorityNormal = 0,
  NSOperationQueuePriorityHigh = 4,
  NSOperationQueuePriorityVeryHigh = 8,
};

/// A piece of work that is done once: by a queue, when the operations that it depends on have
/// finished, or by whoever calls `start`.
///
///     class Thumbnail : public NSOperation {
///       void main() override {
///         for (…; !isCancelled() && …;) …
///       }
///     };
///     const auto thumbnail = make<Thumbnail>();
///     thumbnail->addDependency(download);
///     thumbnail->setCompletionBlock([=] { … });
///     queue->addOperation(thumbnail);
///
/// An operation is pending, then executing, then finished, and finished for good. It is ready while
/// all its dependencies have finished, and from the moment on that it is cancelled. A cancelled
/// operation is not stopped: `main` asks `isCancelled` now and then. One that is cancelled before
/// it starts finishes without `main`. Operations that depend on each other in a circle never run.
///
/// **Subclasses** override `main`. One whose work goes on after `start` has returned overrides
/// `isAsynchronous`, answering true, and `start`:
///
///     void start() override {
///       if (begin()) download([stay = Ref(this)] { stay->finish(); });
///     }
///
/// or keeps its own state: it overrides `isExecuting` and `isFinished` as well, and announces their
/// changes under these names. A subclass that overrides `isReady` announces that one.
///
/// `isReady`, `isExecuting`, `isFinished` and `isCancelled` can be observed under these names; an
/// observer is told on the thread where it happens.
///
/// Threads: any, for everything. Nothing of a subclass, no block and no observer is called with a
/// lock held.
///
/// Ownership: an operation holds its dependencies until they are removed, finished or not, and its
/// completion block until it has been called. A queue holds it until it has finished.
///
/// Exceptions: one that leaves `main` in a queue ends the process, and tells its text. It leaves
/// `start` where that was called by hand; the operation has then finished.
class KESTOVA_PLATFORM_EXPORT NSOperation : public NSObject {
  KESTOVA_CLASS(NSOperation, NSObject)

 public:
  /// An operation that does nothing, for others to depend on.
  static Ref<NSOperation> init();

  /// \name Running
  /// @{

  /// Does the work, on this thread: executing, `main`, finished. Does nothing when the operation
  /// has finished. Throws NSInvalidArgumentException when it is executing already or isn't ready.
  virtual void start();

  /// The work. Here: nothing.
  virtual void main() {}

  /// Asks the operation to end early, and makes it ready. Does nothing when it has finished or was
  /// cancelled before.
  virtual void cancel();

  /// Waits until it has finished, for ever if need be. Waiting for itself from its own `main` is a
  /// broken contract where a queue runs it.
  void waitUntilFinished();

  /// @}
  /// \name State
  /// @{
  virtual bool isCancelled() const;
  virtual bool isReady() const;
  virtual bool isExecuting() const;
  virtual bool isFinished() const;

  /// Whether it may go on executing after `start` has returned. Here: false.
  virtual bool isAsynchronous() const { return false; }
  /// @}
  /// \name Dependencies
  /// @{

  /// Lets this one wait until the other has finished (be it cancelled). Again does nothing; neither
  /// does it once this one has started. Null throws NSInvalidArgumentException.
  void addDependency(const Ref<NSOperation>& operation);

  /// What is no dependency is not removed; that is no failure.
  void removeDependency(const Ref<NSOperation>& operation);

  /// Removes all of them.
  void removeDependencies();

  /// The operations that were added, in the order of adding.
  Ref<NSArray> dependencies() const;

  /// @}

  /// Only between operations that are ready, and only while it waits in its queue. Numbers between
  /// the constants count as the next one toward normal, numbers beyond as the outermost.
  NSOperationQueuePriority queuePriority() const noexcept;
  void setQueuePriority(NSInteger priority);

  /// What is called once after the operation has finished, and has left its queue, on the thread
  /// where it finished; that thread starts no other operation meanwhile. A block that is set later
  /// is never called. Empty for nothing.
  Block<void()> completionBlock() const;
  void setCompletionBlock(Block<void()> block);

  /// For people who debug; null at first.
  Ref<NSString> name() const;
  void setName(const Ref<NSString>& name);

 protected:
  NSOperation() = default;
  ~NSOperation() override;

  /// \name For subclasses with a `start` of their own
  /// @{

  /// Goes over to executing and answers true; a cancelled operation finishes instead, and the
  /// answer is false. Throws as `start` does.
  bool begin();

  /// Goes over to finished. Again does nothing.
  void finish();

  /// @}

 private:
  friend class OperationScheduler;
  friend class OperationStateObserver;

  /// An operation is settled once its dependents and its queue know that it has finished.
  enum State : int { pending, executing, finished, settled };

  void settle();
  std::vector<NSOperation*> takeDependents() noexcept;
  bool addDependent(NSOperation& operation);
  bool removeDependent(const NSOperation& operation);
  bool startDepending(const Ref<NSOperation>& dependency);
  bool stopDepending(NSOperation& dependency);
  std::ptrdiff_t takeDependencies(std::vector<Ref<NSOperation>>& taken);
  void dependencyHasFinished();
  void announceEnd();
  void tellReady();
  void watchOwnEnd();
  bool watchReadiness();
  Ref<OperationScheduler> scheduler() const;

  /// What few operations have.
  struct Relations {
    /// Taken before any other: lets a dependency enter both lists before it leaves them.
    BriefMutex order;
    std::vector<Ref<NSOperation>> dependencies;
    /// Those that wait for this one; unowned, for each of them takes itself out as it goes.
    std::vector<NSOperation*> dependents;
    Ref<NSString> name;
  };

  /// Its places in its queue's lists, guarded by the queue.
  struct Link {
    NSOperation* previous = nullptr;
    NSOperation* next = nullptr;
  };
  enum class Place : std::uint8_t { outside, waiting, ready, started };

  /// What is followed by observation, as a sum of bits.
  enum class Watched : std::uint8_t { end = 1, readiness = 2 };

  bool startWatching(Watched what, const char* key);

  Relations& relations();
  Relations* relationsIfAny() const;

  // Ordered by size, for a queue has many operations: those of blocks fill two lines of a cache.
  Link inQueue_;
  Link inReadyList_;

  /// Made on first need, with the mutex held; stays to the end.
  std::unique_ptr<Relations> relations_;
  Block<void()> completionBlock_;
  /// While it is in a queue; kept by all operations of that queue together.
  OperationScheduler* scheduler_ = nullptr;

  std::atomic<int> state_{pending};
  std::atomic<std::uint32_t> unfinishedDependencies_{0};

  /// Guards the relations, the completion block, the queue and whether dependents were told; never
  /// held while other code runs, nor that of another operation.
  mutable BriefMutex mutex_;

  std::atomic<bool> cancelled_{false};
  std::atomic<bool> isEnding_{false};
  std::atomic<std::uint8_t> watched_{0};
  std::atomic<std::int8_t> priority_{NSOperationQueuePriorityNormal};
  bool toldDependents_ = false;
  Place place_ = Place::outside;
  std::uint8_t readyList_ = 0;
};

/// An operation that runs blocks.
///
///     queue->addOperation(NSBlockOperation::blockOperationWithBlock([=] { index(folder); }));
///
/// It has finished when all its blocks have; several of them run side by side.
class KESTOVA_PLATFORM_EXPORT NSBlockOperation : public NSOperation {
  KESTOVA_CLASS(NSBlockOperation, NSOperation)

 public:
  /// One without blocks.
  static Ref<NSBlockOperation> init();

  /// One with a block; an empty one throws NSInvalidArgumentException.
  static Ref<NSBlockOperation> blockOperationWithBlock(Block<void()> block);

  /// Adds a block; an empty one throws NSInvalidArgumentException, and so does an operation that
  /// executes or has finished.
  void addExecutionBlock(Block<void()> block);

  /// The blocks as objects, in the order of adding (see Block.h).
  Ref<NSArray> executionBlocks() const;

  void main() override;

 protected:
  NSBlockOperation() = default;
  explicit NSBlockOperation(Block<void()> block) : blocks_(Blocks::one), first_(std::move(block)) {}

 private:
  enum class Blocks : std::uint8_t { none, one, several };

  Block<void()> otherAt(std::size_t index) const noexcept;
  void runSeveral() const;

  /// Told when the blocks that it speaks of are there; the first one never changes then.
  std::atomic<Blocks> blocks_{Blocks::none};
  mutable BriefMutex blocksMutex_;  // guards what follows, but for reading the first block
  Block<void()> first_;
  std::unique_ptr<std::vector<Block<void()>>> others_;  // null for none
};

}  // namespace kestova
