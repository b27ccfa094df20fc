// SPDX-License-Identifier: Apache-2.0
#include "operations/OperationScheduler.h"

#include <KestovaPlatform/Backoff.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/MainThreadPerformer.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSThread.h>

#include "dispatch/Submission.h"
#include "object/ObjectExtras.h"

#include <algorithm>
#include <bit>
#include <mutex>
#include <thread>
#include <utility>

namespace kestova {
namespace {

/// How many operations execute at once where the system may choose. libdispatch runs as many of
/// their pumps as there are processors, and more while some of these sleep.
constexpr std::size_t kMostExecuting = 64;

/// After so many operations a pump lets other tasks of the process have its thread.
constexpr int kOperationsPerTurn = 256;

/// Runs a block on the main thread; the way through the performer has the same guard as
/// libdispatch.
void submitToMainThread(Block<void()> block) {
  if (MainThreadPerformer* performer = MainThreadPerformer::current()) {
    performer->perform([block = std::move(block)] { performSubmitted(block); });
  } else {
    dispatch_async(dispatch_get_main_queue(), std::move(block));
  }
}

std::size_t processors() noexcept {
  static const std::size_t count = std::max(1U, std::thread::hardware_concurrency());
  return count;
}

/// Counts what only the holder of a mutex changes.
template <class Count>
Count changeBy(std::atomic<Count>& count, int difference) noexcept {
  const Count changed = count.load(std::memory_order_relaxed) + static_cast<Count>(difference);
  count.store(changed, std::memory_order_release);
  return changed;
}

/// 0 is the highest.
std::size_t readyListFor(NSInteger priority) noexcept {
  return static_cast<std::size_t>((NSOperationQueuePriorityVeryHigh - priority) / 4);
}

}  // namespace

/// One run of a pump, known to what happens within the operation that it executes.
class OperationScheduler::Pump {
 public:
  Pump(OperationScheduler& scheduler, const NSOperation& operation) noexcept
      : scheduler(scheduler), operation(&operation), outer_(std::exchange(innermost, this)) {}
  ~Pump() { innermost = outer_; }
  Pump(const Pump&) = delete;
  Pump& operator=(const Pump&) = delete;

  static inline thread_local Pump* innermost = nullptr;

  OperationScheduler& scheduler;
  /// What it executes; null once that has finished, be it in its completion block.
  const NSOperation* operation;
  /// Whether it counts as looking already, for it will look when the completion block has returned.
  bool looks = false;

 private:
  Pump* const outer_;
};

template <OperationScheduler::Link NSOperation::*Member>
void OperationScheduler::List<Member>::append(NSOperation& operation) noexcept {
  operation.*Member = {last, nullptr};
  (last == nullptr ? first : (last->*Member).next) = &operation;
  last = &operation;
}

template <OperationScheduler::Link NSOperation::*Member>
void OperationScheduler::List<Member>::remove(NSOperation& operation) noexcept {
  const auto [previous, next] = operation.*Member;
  (previous == nullptr ? first : (previous->*Member).next) = next;
  (next == nullptr ? last : (next->*Member).previous) = previous;
}

OperationScheduler* OperationScheduler::current() noexcept {
  const Pump* pump = Pump::innermost;
  return pump == nullptr || pump->operation == nullptr ? nullptr : &pump->scheduler;
}

bool OperationScheduler::isMainThread() {
  const MainThreadPerformer* performer = MainThreadPerformer::current();
  return performer == nullptr ? NSThread::isMainThread() : performer->isMainThread();
}

bool OperationScheduler::isRunning(const NSOperation& operation) noexcept {
  return Pump::innermost != nullptr && Pump::innermost->operation == &operation;
}

Ref<NSOperationQueue> OperationScheduler::queue() const {
  const std::lock_guard lock(mutex_);
  return queue_ == nullptr ? nullptr : ObjectExtras::share(*queue_);
}

/// Nobody can let the operations go on any more where nothing starts now: they finish as cancelled.
void OperationScheduler::queueGoes() {
  bool isStuck = false;
  {
    const std::lock_guard lock(mutex_);
    queue_ = nullptr;
    if (operationCount() > 0) {
      stay_ = shared_from_this();
    }
    isStuck = suspended_ || maximum_ == 0;
  }
  if (isStuck) {
    for (const id& operation : operations()) {
      static_cast<NSOperation&>(*operation).cancel();
    }
    setMaximum(maximum() == 0 ? 1 : maximum());
    setSuspended(false);
  }
}

void OperationScheduler::add(const Ref<NSOperation>& operation) {
  const bool isPending = !operation->isExecuting() && !operation->isFinished();
  const bool isReady = operation->isReady();
  std::size_t missing = 0;
  {
    // With both locks, so that one that is finished meanwhile is told to the queue that lists it.
    const std::lock_guard lock(operation->mutex_);
    if (!isPending || operation->scheduler_ != nullptr || operation->toldDependents_ ||
        operation->state_.load() != NSOperation::pending) {
      throw NSException(NSInvalidArgumentException,
                        "the operation is in a queue, executes or has finished");
    }
    operation->scheduler_ = this;
    missing = link(operation, isReady);
  }
  submitPumps(missing);
  if (operation->isAsynchronous()) {
    operation->watchOwnEnd();
  }
  if (!isReady) {
    readinessChanged(*operation);
  }
}

/// Answers how many pumps are to be submitted.
std::size_t OperationScheduler::link(const Ref<NSOperation>& operation, bool isReady) {
  const std::lock_guard lock(mutex_);
  all_.append(*Ref<NSOperation>(operation).leak());
  changeBy(count_, 1);
  operation->place_ = NSOperation::Place::waiting;
  if (isReady) {
    appendReady(*operation);
  }
  return missingPumps();
}

void OperationScheduler::readinessChanged(NSOperation& operation) {
  // What became ready while it wasn't watched yet is seen by asking again.
  if (!operation.isReady() && !(operation.watchReadiness() && operation.isReady())) {
    return;
  }
  std::size_t missing = 0;
  {
    const std::lock_guard lock(mutex_);
    if (operation.place_ != NSOperation::Place::waiting) {
      return;
    }
    appendReady(operation);
    missing = missingPumps();
  }
  submitPumps(missing);
}

void OperationScheduler::priorityChanged(NSOperation& operation) {
  const std::lock_guard lock(mutex_);
  if (operation.place_ == NSOperation::Place::ready &&
      operation.readyList_ != readyListFor(operation.queuePriority())) {
    removeReady(operation);
    appendReady(operation);
  }
}

void OperationScheduler::appendReady(NSOperation& operation) noexcept {
  const std::size_t list = readyListFor(operation.queuePriority());
  operation.readyList_ = static_cast<std::uint8_t>(list);
  operation.place_ = NSOperation::Place::ready;
  ready_[list].append(operation);
  filled_ = static_cast<std::uint8_t>(filled_ | 1U << list);
  changeBy(readyCount_, 1);
}

void OperationScheduler::removeReady(NSOperation& operation) noexcept {
  auto& list = ready_[operation.readyList_];
  list.remove(operation);
  if (list.first == nullptr) {
    filled_ = static_cast<std::uint8_t>(filled_ & ~(1U << operation.readyList_));
  }
  changeBy(readyCount_, -1);
}

/// How many operations could start at this moment.
std::size_t OperationScheduler::startable() const noexcept {
  if (suspended_) {
    return 0;
  }
  const std::size_t ready = readyCount_.load(std::memory_order_relaxed);
  const std::size_t most = maximum_ < 0 ? kMostExecuting : static_cast<std::size_t>(maximum_);
  return executing_ >= most ? 0 : std::min(ready, most - executing_);
}

/// How many pumps are to be submitted, counted as looking already.
std::size_t OperationScheduler::missingPumps() noexcept {
  const std::size_t wanted = std::min(startable(), processors());
  const std::size_t missing = wanted > lookingPumps_ ? wanted - lookingPumps_ : 0;
  lookingPumps_ += static_cast<std::uint32_t>(missing);
  return missing;
}

void OperationScheduler::submitPumps(std::size_t count) {
  for (; count > 0; --count) {
    Block<void()> pump = [self = shared_from_this()] { self->pump(); };
    if (threads_ == Threads::main) {
      submitToMainThread(std::move(pump));
    } else {
      dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0),
                     std::move(pump));
    }
  }
}

/// Takes the next operation for a pump, which looks no more then; null when there is none, and then
/// the pump ends. It may take long, so another pump looks where there is more to start.
Ref<NSOperation> OperationScheduler::takeReady() {
  std::unique_lock lock(mutex_);
  --lookingPumps_;
  if (startable() == 0) {
    return nullptr;
  }
  Ref<NSOperation> operation(ready_[std::countr_zero(filled_)].first);
  removeReady(*operation);
  operation->place_ = NSOperation::Place::started;
  ++executing_;
  if (lookingPumps_ == 0 && startable() > 0) {
    ++lookingPumps_;
    lock.unlock();
    submitPumps(1);
  }
  return operation;
}

/// On the main thread each operation is a task of its own, so that others come in between.
void OperationScheduler::pump() {
  const int most = threads_ == Threads::main ? 1 : kOperationsPerTurn;
  for (int done = 0; done < most; ++done) {
    const Ref<NSOperation> operation = takeReady();
    if (!operation) {
      return;
    }
    {
      Pump pump(*this, *operation);
      performSubmitted([&] { startIfReady(*operation); });
      lookAfter(pump);
    }
    waitForWork();
  }
  if (mayLookOn()) {
    submitPumps(1);
  }
}

/// What was given another dependency after it had become ready waits once more.
void OperationScheduler::startIfReady(NSOperation& operation) {
  if (operation.isReady()) {
    operation.start();
  } else if (returnToWaiting(operation)) {
    readinessChanged(operation);
  }
}

/// False where somebody has started and finished it by hand meanwhile.
bool OperationScheduler::returnToWaiting(NSOperation& operation) {
  const std::lock_guard lock(mutex_);
  if (operation.place_ != NSOperation::Place::started) {
    return false;
  }
  operation.place_ = NSOperation::Place::waiting;
  --executing_;
  return true;
}

/// An operation that executes on after its start leaves its pump free to look.
void OperationScheduler::lookAfter(const Pump& pump) {
  if (!pump.looks) {
    const std::lock_guard lock(mutex_);
    ++lookingPumps_;
  }
}

/// Who hands over one operation after the other is met without a hand-off to libdispatch for each.
void OperationScheduler::waitForWork() const noexcept {
  for (Backoff backoff; readyCount_.load(std::memory_order_relaxed) == 0 && backoff.pause();) {
  }
}

void OperationScheduler::letOthersLook() {
  Pump* pump = Pump::innermost;
  if (pump != nullptr && std::exchange(pump->looks, false)) {
    std::size_t missing = 0;
    {
      const std::lock_guard lock(pump->scheduler.mutex_);
      --pump->scheduler.lookingPumps_;
      missing = pump->scheduler.missingPumps();
    }
    pump->scheduler.submitPumps(missing);
  }
}

/// Whether a pump is worth another turn; it looks no more otherwise.
bool OperationScheduler::mayLookOn() {
  const std::lock_guard lock(mutex_);
  if (startable() > 0) {
    return true;
  }
  --lookingPumps_;
  return false;
}

Ref<NSOperation> OperationScheduler::finished(NSOperation& operation) {
  const bool isPumped = isRunning(operation);
  if (isPumped) {
    Pump::innermost->operation = nullptr;
    Pump::innermost->looks = true;
  }
  std::size_t missing = 0;
  std::shared_ptr<OperationScheduler> stay;  // who isn't a pump may be the last to know it
  {
    const std::lock_guard lock(mutex_);
    if (operation.place_ == NSOperation::Place::ready) {
      removeReady(operation);
    } else if (operation.place_ == NSOperation::Place::started) {
      --executing_;
    }
    operation.place_ = NSOperation::Place::outside;
    all_.remove(operation);
    if (changeBy(count_, -1) == 0) {
      stay = std::move(stay_);
      if (waiting_ > 0) {
        emptied_.notify_all();
      }
    }
    lookingPumps_ += isPumped ? 1 : 0;
    missing = missingPumps();
    if (missing > 0) {
      stay = shared_from_this();
    }
  }
  submitPumps(missing);
  return Ref<NSOperation>::adopt(&operation);
}

std::vector<id> OperationScheduler::operations() const {
  const std::lock_guard lock(mutex_);
  std::vector<id> operations;
  operations.reserve(operationCount());
  for (NSOperation* next = all_.first; next != nullptr; next = next->inQueue_.next) {
    operations.emplace_back(next);
  }
  return operations;
}

void OperationScheduler::waitUntilEmpty() {
  require(current() != this, "an operation does not wait for its own queue");
  require(operationCount() == 0 || !needsCallingThread(),
          "the main thread does not wait for its own queue");
  letOthersLook();
  std::unique_lock lock(mutex_);
  ++waiting_;
  emptied_.wait(lock, [this] { return operationCount() == 0; });
  --waiting_;
}

bool OperationScheduler::needsCallingThread() const {
  return threads_ == Threads::main && isMainThread();
}

NSInteger OperationScheduler::maximum() const {
  const std::lock_guard lock(mutex_);
  return maximum_;
}

void OperationScheduler::setMaximum(NSInteger maximum) {
  if (maximum < NSOperationQueueDefaultMaxConcurrentOperationCount) {
    throw NSException(NSInvalidArgumentException, "the maximum is less than -1");
  }
  std::size_t missing = 0;
  {
    const std::lock_guard lock(mutex_);
    maximum_ = maximum;
    missing = missingPumps();
  }
  submitPumps(missing);
}

bool OperationScheduler::isSuspended() const {
  const std::lock_guard lock(mutex_);
  return suspended_;
}

void OperationScheduler::setSuspended(bool suspended) {
  std::size_t missing = 0;
  {
    const std::lock_guard lock(mutex_);
    suspended_ = suspended;
    missing = missingPumps();
  }
  submitPumps(missing);
}

Ref<NSString> OperationScheduler::name() const {
  const std::lock_guard lock(mutex_);
  return name_;
}

void OperationScheduler::setName(const Ref<NSString>& name) {
  Ref<NSString> replaced = copyOf(name);  // let go of after the mutex
  const std::lock_guard lock(mutex_);
  std::swap(name_, replaced);
}

}  // namespace kestova
