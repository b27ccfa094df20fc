// SPDX-License-Identifier: Apache-2.0
#include "operations/OperationScheduler.h"

#include <KestovaPlatform/Backoff.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSThread.h>

#include "dispatch/QueueOrder.h"
#include "dispatch/Submission.h"
#include "dispatch/ThreadSanitizer.h"
#include "object/ObjectExtras.h"

#include <algorithm>
#include <bit>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

namespace kestova {
namespace {

/// How many operations execute at once where the system may choose. libdispatch runs as many of
/// their pumps as there are processors, and more while some of these sleep.
constexpr std::size_t kMostExecuting = 64;

/// After so many operations a pump lets other tasks of the process have its thread.
constexpr int kOperationsPerTurn = 256;

/// About a third and two thirds of a microsecond.
constexpr std::uint32_t kFirstPause = 32;
constexpr std::uint32_t kLongestPause = 64;

/// Seconds until what found no memory is tried again.
constexpr NSTimeInterval kUntilNextTry = 0.01;

/// An object as the context of a task of libdispatch, which takes no memory of ours and so can't
/// fail to be submitted. `takeOver` is the other end.
template <class T>
void* handOver(T& object) noexcept {
  object.retain();
  tellReleased(&object);
  return &object;
}

template <class T, class Function>
void takeOver(void* context, const Function& function) noexcept {
  tellAcquired(context);
  const auto object = Ref<T>::adopt(static_cast<T*>(context));
  performSubmitted([&] { function(*object); });
}

dispatch_queue_t anyThread() noexcept {
  return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
}

std::size_t processors() noexcept {
  static const std::size_t count = std::max(1U, std::thread::hardware_concurrency());
  return count;
}

/// Counts what only the holder of a mutex changes.
void changeBy(std::atomic<std::uint32_t>& count, int difference) noexcept {
  count.store(count.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(difference),
              std::memory_order_release);
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
  /// Whether it counts as looking already, and among these as one that calls a completion block.
  enum { executes, calls, looks } activity = executes;

 private:
  Pump* const outer_;
};

/// The mutex, with everything linked that has arrived.
class OperationScheduler::Hold {
 public:
  explicit Hold(OperationScheduler& scheduler) noexcept : lock_(scheduler.mutex_) {
    scheduler.admit();
  }

 private:
  const std::lock_guard<BriefMutex> lock_;
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
    const Hold hold(*this);
    queue_ = nullptr;
    if (count_ > 0) {
      stay_ = Ref(this);
    }
    isStuck = suspended_ || maximum_ == 0;
  }
  if (isStuck) {
    for (NSUInteger left = operationCount(); left > 0; --left) {
      if (const auto operation = takeTurn()) {
        operation->cancel();
      }
    }
    setMaximum(maximum() == 0 ? 1 : maximum());
    setSuspended(false);
  }
}

/// The first operation, which is the last one from now on; null when there is none.
Ref<NSOperation> OperationScheduler::takeTurn() noexcept {
  const Hold hold(*this);
  NSOperation* const first = all_.first;
  if (first != nullptr) {
    all_.remove(*first);
    all_.append(*first);
  }
  return Ref<NSOperation>(first);
}

void OperationScheduler::add(Ref<NSOperation> operation) {
  const bool isPending = !operation->isExecuting() && !operation->isFinished();
  const bool isReady = operation->isReady();
  if (operation->isAsynchronous()) {
    operation->watchOwnEnd();  // while a failure of it changes nothing
  }
  const Ref<NSOperation> stay = isReady ? nullptr : operation;
  bool isSeen = true;
  {
    // Arrives with its lock held, so that one that is finished meanwhile is told to the queue.
    const std::lock_guard lock(operation->mutex_);
    if (!isPending || operation->scheduler_ != nullptr || operation->toldDependents_ ||
        operation->state_.load() != NSOperation::pending) {
      throw NSException(NSInvalidArgumentException,
                        "the operation is in a queue, executes or has finished");
    }
    operation->scheduler_ = this;
    operation->place_ = isReady ? NSOperation::Place::ready : NSOperation::Place::waiting;
    // Pumps look at what is urgent when the mutex was held, and at the rest when they need it.
    const bool isUrgent = operation->queuePriority() > NSOperationQueuePriorityNormal;
    isSeen = arrive(*operation.leak()) && !isUrgent;
  }
  if (!isSeen) {
    submitMissingPumps();
  }
  if (!isReady) {
    readinessChanged(*stay);
  }
}

/// Whether a pump will see it, or nothing could start now.
bool OperationScheduler::arrive(NSOperation& operation) noexcept {
  NSOperation* before = arrivals_.load(std::memory_order_relaxed);
  do {
    operation.inQueue_.next = before == unwatched() ? nullptr : before;
  } while (!arrivals_.compare_exchange_weak(before, &operation, std::memory_order_release,
                                            std::memory_order_relaxed));
  return before != unwatched();
}

bool OperationScheduler::haveArrived() const noexcept {
  const NSOperation* latest = arrivals_.load(std::memory_order_relaxed);
  return latest != nullptr && latest != unwatched();
}

/// Links what has arrived, in the order of its arrival.
void OperationScheduler::admit() noexcept {
  if (!haveArrived()) {
    return;
  }
  NSOperation* first = nullptr;
  NSOperation* latest = arrivals_.exchange(nullptr, std::memory_order_acquire);
  isWatched_ = true;
  while (latest != nullptr) {
    NSOperation* const before = std::exchange(latest->inQueue_.next, first);
    first = std::exchange(latest, before);
  }
  while (first != nullptr) {
    NSOperation* const next = first->inQueue_.next;
    link(*std::exchange(first, next));
  }
}

/// Admits for a pump: what arrived comes after what is ready, unless that is of low priority. To
/// leave it alone while it isn't needed lets an adding thread have it to itself.
void OperationScheduler::admitWhereDue() noexcept {
  constexpr unsigned kNormalAndAbove = 0b111;
  if ((filled_ & kNormalAndAbove) == 0) {
    admit();
  }
}

void OperationScheduler::link(NSOperation& operation) noexcept {
  all_.append(operation);
  ++count_;
  if (operation.place_ == NSOperation::Place::ready) {
    appendReady(operation);
  }
}

void OperationScheduler::readinessChanged(NSOperation& operation) {
  try {
    // What became ready while it wasn't watched yet is seen by asking again.
    if (!operation.isReady() && !(operation.watchReadiness() && operation.isReady())) {
      return;
    }
  } catch (const std::bad_alloc&) {
    dispatch_after_f(
        dispatchTimeAfter(kUntilNextTry), anyThread(), handOver(operation), [](void* context) {
          takeOver<NSOperation>(context, [](NSOperation& asked) { asked.tellReady(); });
        });
    return;
  }
  std::size_t missing = 0;
  {
    const Hold hold(*this);
    if (operation.place_ != NSOperation::Place::waiting) {
      return;
    }
    appendReady(operation);
    missing = missingPumps();
  }
  submitPumps(missing);
}

void OperationScheduler::priorityChanged(NSOperation& operation) noexcept {
  const Hold hold(*this);
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

/// How many operations may start besides those that execute.
std::size_t OperationScheduler::free() const noexcept {
  const std::size_t most = maximum_ < 0 ? kMostExecuting : static_cast<std::size_t>(maximum_);
  return suspended_ || executing_ >= most ? 0 : most - executing_;
}

/// How many operations could start at this moment.
std::size_t OperationScheduler::startable() const noexcept {
  return std::min<std::size_t>(readyCount_.load(std::memory_order_relaxed), free());
}

/// How many pumps are to be submitted, counted as looking already. Asked before the mutex is given
/// back by whoever changed what may start or who looks.
std::size_t OperationScheduler::missingPumps() noexcept {
  std::size_t missing = 0;
  for (;;) {
    const std::size_t wanted = std::min(startable(), processors());
    const std::size_t more = wanted > lookingPumps_ ? wanted - lookingPumps_ : 0;
    lookingPumps_ += static_cast<std::uint32_t>(more);
    missing += more;
    if (tellAdders()) {
      return missing;
    }
    admit();
  }
}

/// Lets those who add know whether they have to look after pumps. False where something has arrived
/// that no pump would see.
bool OperationScheduler::tellAdders() noexcept {
  const bool isWatched = lookingPumps_ > callingPumps_ || free() == 0;
  if (isWatched == isWatched_) {
    return true;
  }
  NSOperation* before = isWatched ? unwatched() : nullptr;
  NSOperation* const after = isWatched ? nullptr : unwatched();
  const bool isTold = arrivals_.compare_exchange_strong(before, after, std::memory_order_relaxed);
  if (isTold) {
    isWatched_ = isWatched;
  }
  return isTold || isWatched;  // who came instead of the mark is about to take the mutex
}

void OperationScheduler::submitMissingPumps() noexcept {
  std::size_t missing = 0;
  {
    const Hold hold(*this);
    missing = missingPumps();
  }
  submitPumps(missing);
}

void OperationScheduler::submitPumps(std::size_t count) noexcept {
  for (; count > 0; --count) {
    submitPump();
  }
}

void OperationScheduler::submitPump() noexcept {
  MainThreadPerformer* const performer =
      threads_ == Threads::main ? MainThreadPerformer::current() : nullptr;
  if (performer != nullptr) {
    return handPumpTo(*performer);
  }
  dispatch_async_f(dispatchQueue(), handOver(*this), [](void* context) {
    takeOver<OperationScheduler>(context, [](OperationScheduler& scheduler) {
      const QueueOrder order(scheduler.dispatchQueue(), TaskKind::plain);
      scheduler.pump();
    });
  });
}

/// The way through a performer has the same guard as libdispatch.
void OperationScheduler::handPumpTo(MainThreadPerformer& performer) noexcept {
  try {
    performer.perform([self = Ref(this)] { performSubmitted([&] { self->pump(); }); });
  } catch (...) {
    dispatch_after_f(dispatchTimeAfter(kUntilNextTry), anyThread(), handOver(*this),
                     [](void* context) {
                       takeOver<OperationScheduler>(
                           context, [](OperationScheduler& scheduler) { scheduler.submitPump(); });
                     });
  }
}

dispatch_queue_t OperationScheduler::dispatchQueue() const noexcept {
  return threads_ == Threads::main ? dispatch_get_main_queue() : anyThread();
}

/// Takes the next operation for a pump, which looks no more then; null when there is none, and then
/// the pump ends. It may take long, so another pump looks where there is more to start.
Ref<NSOperation> OperationScheduler::takeReady() noexcept {
  Ref<NSOperation> operation;
  std::size_t missing = 0;
  {
    const std::lock_guard lock(mutex_);
    --lookingPumps_;
    admitWhereDue();
    if (startable() > 0) {
      operation = Ref<NSOperation>(ready_[std::countr_zero(filled_)].first);
      removeReady(*operation);
      operation->place_ = NSOperation::Place::started;
      ++executing_;
    }
    missing = lookingPumps_ > callingPumps_ ? 0 : missingPumps();
  }
  submitPumps(missing);
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
      look(pump);
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
bool OperationScheduler::returnToWaiting(NSOperation& operation) noexcept {
  std::size_t missing = 0;
  {
    const Hold hold(*this);
    if (operation.place_ != NSOperation::Place::started) {
      return false;
    }
    operation.place_ = NSOperation::Place::waiting;
    --executing_;
    missing = missingPumps();
  }
  submitPumps(missing);
  return true;
}

/// An operation that executes on after its start leaves its pump free to look.
void OperationScheduler::look(const Pump& pump) noexcept {
  if (pump.activity != Pump::looks) {
    const std::lock_guard lock(mutex_);
    (pump.activity == Pump::executes ? ++lookingPumps_ : --callingPumps_);
    tellAdders();
  }
}

/// Who hands over one operation after the other is met without a hand-off to libdispatch for each.
/// What arrives is left alone for a moment even so: a pump that took each operation as it comes
/// would meet the adding thread at every one, and moving memory between two processors takes longer
/// than the work.
void OperationScheduler::waitForWork() const noexcept {
  Backoff backoff(kFirstPause, kLongestPause);
  while (readyCount_.load(std::memory_order_relaxed) == 0 && backoff.pause() && !haveArrived()) {
  }
}

void OperationScheduler::letOthersLook() noexcept {
  Pump* pump = Pump::innermost;
  if (pump != nullptr && pump->activity != Pump::executes) {
    OperationScheduler& scheduler = pump->scheduler;
    std::size_t missing = 0;
    {
      const Hold hold(scheduler);
      scheduler.callingPumps_ -= pump->activity == Pump::calls ? 1 : 0;
      --scheduler.lookingPumps_;
      pump->activity = Pump::executes;
      missing = scheduler.missingPumps();
    }
    scheduler.submitPumps(missing);
  }
}

/// Whether a pump is worth another turn; it looks no more otherwise.
bool OperationScheduler::mayLookOn() noexcept {
  std::size_t missing = 0;
  {
    const std::lock_guard lock(mutex_);
    admitWhereDue();
    if (startable() > 0) {
      return true;
    }
    --lookingPumps_;
    missing = missingPumps();
  }
  submitPumps(missing);
  return false;
}

Ref<NSOperation> OperationScheduler::finished(NSOperation& operation,
                                              Afterwards afterwards) noexcept {
  const bool isPumped = isRunning(operation);
  const bool calls = isPumped && afterwards == Afterwards::callsBlock;
  if (isPumped) {
    Pump::innermost->operation = nullptr;
    Pump::innermost->activity = calls ? Pump::calls : Pump::looks;
  }
  std::size_t missing = 0;
  Ref<OperationScheduler> stay;  // who isn't a pump may be the last to know it
  {
    const std::lock_guard lock(mutex_);
    if (!isPumped) {
      admit();  // it may be among those
    }
    leave(operation);
    if (count_ == 0) {
      stay = std::move(stay_);
    }
    lookingPumps_ += isPumped ? 1 : 0;
    callingPumps_ += calls ? 1 : 0;
    missing = missingPumps();
    if (missing > 0) {
      stay = Ref(this);
    }
  }
  submitPumps(missing);
  return Ref<NSOperation>::adopt(&operation);
}

/// Takes what has finished out of the lists.
void OperationScheduler::leave(NSOperation& operation) noexcept {
  if (operation.place_ == NSOperation::Place::ready) {
    removeReady(operation);
  } else if (operation.place_ == NSOperation::Place::started) {
    --executing_;
  }
  operation.place_ = NSOperation::Place::outside;
  all_.remove(operation);
  if (--count_ == 0 && waiting_ > 0) {
    emptied_.notify_all();
  }
}

NSUInteger OperationScheduler::operationCount() noexcept {
  const Hold hold(*this);
  return count_;
}

std::vector<id> OperationScheduler::operations() {
  const Hold hold(*this);
  std::vector<id> operations;
  operations.reserve(count_);
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
  emptied_.wait(lock, [this] {
    admit();
    return count_ == 0;
  });
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
    const Hold hold(*this);
    maximum_ = maximum;
    missing = missingPumps();
  }
  submitPumps(missing);
}

bool OperationScheduler::isSuspended() const {
  const std::lock_guard lock(mutex_);
  return suspended_;
}

void OperationScheduler::setSuspended(bool suspended) noexcept {
  std::size_t missing = 0;
  {
    const Hold hold(*this);
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
