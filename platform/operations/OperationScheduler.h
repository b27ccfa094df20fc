// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/MainThreadPerformer.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSOperationQueue.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestova {

/// What an operation queue does, and goes on doing when the queue itself has gone.
///
/// Operations are linked into two lists: that of all in the order of adding, and that of those of
/// one priority that are ready. Pumps are tasks of libdispatch that take ready operations one after
/// another. A pump that executes nothing at the moment looks for work; a new one is submitted only
/// when more operations could start than pumps look, so that a row of operations costs one
/// hand-off. Handing over takes no memory that may be missing: a pump that is counted comes.
///
/// Who adds an operation doesn't wait for the pumps: it arrives without the mutex, and whoever
/// holds that next links it before anything else. Only where no pump would come to see it does the
/// adding thread take the mutex as well.
class OperationScheduler final : public NSObject {
 public:
  enum class Threads { workers, main };

  explicit OperationScheduler(Threads threads) : threads_(threads) {}

  /// The scheduler whose operation the calling thread runs; null when it runs none.
  static OperationScheduler* current() noexcept;

  static bool isMainThread();

  /// What is about to wait within a completion block doesn't keep its pump from others.
  static void letOthersLook() noexcept;

  /// Whether the calling thread runs that operation for a scheduler.
  static bool isRunning(const NSOperation& operation) noexcept;

  /// The queue that this is the scheduler of, set before anything else; null when it has gone.
  Ref<NSOperationQueue> queue() const;
  void setQueue(NSOperationQueue& queue) noexcept { queue_ = &queue; }
  void queueGoes();

  void add(Ref<NSOperation> operation);

  /// An operation may have become ready. Where there is no memory to find out, it is asked again
  /// soon.
  void readinessChanged(NSOperation& operation);
  void priorityChanged(NSOperation& operation) noexcept;

  /// What a pump does when its operation has finished, before it looks for the next one.
  enum class Afterwards { nothing, callsBlock };

  /// An operation has finished. Answers what held it here.
  Ref<NSOperation> finished(NSOperation& operation, Afterwards afterwards) noexcept;

  std::vector<id> operations();
  NSUInteger operationCount() noexcept;
  void waitUntilEmpty();

  /// Whether what is in here can run on the calling thread only.
  bool needsCallingThread() const;

  NSInteger maximum() const;
  void setMaximum(NSInteger maximum);
  bool isSuspended() const;
  void setSuspended(bool suspended) noexcept;
  Ref<NSString> name() const;
  void setName(const Ref<NSString>& name);

 private:
  class Pump;
  class Hold;
  using Link = NSOperation::Link;

  /// A list that is linked through its members.
  template <Link NSOperation::*Member>
  struct List {
    NSOperation* first = nullptr;
    NSOperation* last = nullptr;

    void append(NSOperation& operation) noexcept;
    void remove(NSOperation& operation) noexcept;
  };

  static constexpr std::size_t kPriorities = 5;

  /// In the place of arrivals: no pump would see one, so who adds it looks after that.
  static NSOperation* unwatched() noexcept { return reinterpret_cast<NSOperation*>(1); }

  bool arrive(NSOperation& operation) noexcept;
  bool haveArrived() const noexcept;
  void admit() noexcept;
  void admitWhereDue() noexcept;
  bool tellAdders() noexcept;
  void link(NSOperation& operation) noexcept;
  void appendReady(NSOperation& operation) noexcept;
  void removeReady(NSOperation& operation) noexcept;
  Ref<NSOperation> takeReady() noexcept;
  Ref<NSOperation> takeTurn() noexcept;
  std::size_t free() const noexcept;
  std::size_t startable() const noexcept;
  std::size_t missingPumps() noexcept;
  void submitMissingPumps() noexcept;
  void submitPumps(std::size_t count) noexcept;
  void submitPump() noexcept;
  void handPumpTo(MainThreadPerformer& performer) noexcept;
  dispatch_queue_t dispatchQueue() const noexcept;
  void pump();
  void startIfReady(NSOperation& operation);
  bool returnToWaiting(NSOperation& operation) noexcept;
  void look(const Pump& pump) noexcept;
  void waitForWork() const noexcept;
  bool mayLookOn() noexcept;
  void leave(NSOperation& operation) noexcept;

  const Threads threads_;

  /// What was added since somebody held the mutex, the latest first, linked through `inQueue_`.
  /// Apart from the rest, so that threads that add don't disturb those that run.
  alignas(64) std::atomic<NSOperation*> arrivals_{unwatched()};

  /// Guards what follows; never held while other code runs, and taken after an operation's. What
  /// every operation needs stands together, for threads hand it to each other all the time.
  alignas(64) mutable BriefMutex mutex_;
  bool suspended_ = false;
  bool isWatched_ = false;   // whether adders know that they needn't care for pumps
  std::uint8_t filled_ = 0;  // a bit for each list of ready operations
  std::atomic<std::uint32_t> readyCount_{0};  // changed with the mutex held
  std::uint32_t executing_ = 0;
  std::uint32_t lookingPumps_ = 0;
  std::uint32_t callingPumps_ = 0;  // those of them that are to look after a completion block
  std::uint32_t waiting_ = 0;       // for the end of all
  NSUInteger count_ = 0;
  NSInteger maximum_ = NSOperationQueueDefaultMaxConcurrentOperationCount;
  List<&NSOperation::inQueue_> all_;
  std::array<List<&NSOperation::inReadyList_>, kPriorities> ready_;

  std::condition_variable_any emptied_;
  NSOperationQueue* queue_ = nullptr;  // unowned: takes itself out as it goes
  /// Itself while there are operations and no queue: they know it by a plain pointer.
  Ref<OperationScheduler> stay_;
  Ref<NSString> name_;
};

}  // namespace kestova
