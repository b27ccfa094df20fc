// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/FirstException.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSOperation.h>

#include "collections/MemberRelease.h"
#include "object/ObjectExtras.h"
#include "operations/OperationScheduler.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSOperation, .property<&NSOperation::isCancelled>("isCancelled")
                                      .property<&NSOperation::isExecuting>("isExecuting")
                                      .property<&NSOperation::isFinished>("isFinished")
                                      .property<&NSOperation::isReady>("isReady")
                                      .property<&NSOperation::isAsynchronous>("isAsynchronous")
                                      .property<&NSOperation::dependencies>("dependencies")
                                      .property<&NSOperation::name, &NSOperation::setName>("name"))

namespace {

constexpr const char* kFinishedKey = "isFinished";
constexpr const char* kReadyKey = "isReady";

[[noreturn]] void refuse(const char* reason) {
  throw NSException(NSInvalidArgumentException, reason);
}

/// Whether an operation is in a list, and out of it from now on.
template <class List>
bool removeFrom(List& list, const NSOperation& operation) noexcept {
  const auto found =
      std::ranges::find_if(list, [&](const auto& member) { return &*member == &operation; });
  if (found == list.end()) {
    return false;
  }
  list.erase(found);
  return true;
}

}  // namespace

/// Follows the operations that keep their own state by what they announce of it.
class OperationStateObserver final : public NSObject {
 public:
  static OperationStateObserver& shared() {
    static OperationStateObserver& observer = *make<OperationStateObserver>().leak();
    return observer;
  }

  void observe(NSOperation& operation, const char* key) {
    operation.addObserver_forKeyPath_options_context(this, key, 0, nullptr);
  }

  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath,
                                                      const id& object, const Ref<NSDictionary>&,
                                                      void*) override {
    auto& operation = static_cast<NSOperation&>(*object);
    if (keyPath == kReadyKey) {
      operation.tellReady();
    } else if (operation.isFinished()) {
      operation.settle();
    }
  }
};

NSOperation::~NSOperation() {
  if (!relations_) {
    return;
  }
  auto& dependencies = relations_->dependencies;
  for (const auto& dependency : dependencies) {
    static_cast<void>(dependency->removeDependent(*this));
  }
  // A long row of operations that depend on each other may go at once.
  MemberRelease().letGo(dependencies);
}

Ref<NSOperation> NSOperation::init() { return make<NSOperation>(); }

void NSOperation::start() {
  if (isFinished() || !begin()) {
    return;
  }
  try {
    main();
  } catch (...) {
    // In a queue the process ends over it: nobody is to go on as if it had finished.
    if (!OperationScheduler::isRunning(*this)) {
      finish();
    }
    throw;
  }
  finish();
}

bool NSOperation::begin() {
  if (state_.load() != pending) {
    refuse("the operation executes already or has finished");
  }
  if (isCancelled()) {
    finish();
    return false;
  }
  // A dependency that comes after a queue has found it ready comes too late.
  if (!OperationScheduler::isRunning(*this) && !isReady()) {
    refuse("the operation is not ready");
  }
  bool isBegun = false;
  try {
    KeyValueChange change(*this, "isExecuting");
    int expected = pending;
    if (!state_.compare_exchange_strong(expected, executing)) {
      refuse("the operation executes already or has finished");
    }
    isBegun = true;
  } catch (...) {
    // Whoever began it doesn't know, so nobody would end it.
    if (isBegun && !OperationScheduler::isRunning(*this)) {
      finish();
    }
    throw;
  }
  return true;
}

/// Whatever observers throw, the operation has finished then and everybody knows.
void NSOperation::finish() {
  if (isEnding_.exchange(true)) {
    return;
  }
  FirstException failure;
  failure.attempt([this] { announceEnd(); });
  if (state_.load() < finished) {
    state_.store(finished, std::memory_order_release);
  }
  failure.attempt([this] { settle(); });
  failure.rethrow();
}

void NSOperation::announceEnd() {
  KeyValueChange finishedChange(*this, kFinishedKey);
  if (state_.load() == executing) {
    KeyValueChange executingChange(*this, "isExecuting");
    state_.store(finished, std::memory_order_release);
  } else {
    state_.store(finished, std::memory_order_release);
  }
}

/// Tells everybody who waits for the end, once.
void NSOperation::settle() {
  std::vector<NSOperation*> dependents;
  OperationScheduler* scheduler = nullptr;
  Block<void()> completion;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(toldDependents_, true)) {
      return;
    }
    dependents = takeDependents();
    std::swap(scheduler, scheduler_);
    std::swap(completion, completionBlock_);
  }
  FirstException failure;
  for (NSOperation* dependent : dependents) {
    const auto held = Ref<NSOperation>::adopt(dependent);
    failure.attempt([&] { held->dependencyHasFinished(); });
  }
  const auto afterwards = completion ? OperationScheduler::Afterwards::callsBlock
                                     : OperationScheduler::Afterwards::nothing;
  const Ref<NSOperation> stay = scheduler ? scheduler->finished(*this, afterwards) : Ref(this);
  state_.store(settled);
  state_.notify_all();
  failure.attempt([&] {
    if (completion) {
      completion();
    }
  });
  failure.rethrow();
}

void NSOperation::cancel() {
  if (isFinished() || cancelled_.load()) {
    return;
  }
  FirstException failure;
  failure.attempt([this] {
    KeyValueChange cancelledChange(*this, "isCancelled");
    KeyValueChange readyChange(*this, kReadyKey);
    cancelled_.store(true);
  });
  failure.attempt([this] { tellReady(); });
  failure.rethrow();
}

void NSOperation::waitUntilFinished() {
  require(!OperationScheduler::isRunning(*this), "an operation does not wait for itself");
  if (isAsynchronous()) {
    watchOwnEnd();
  }
  int state = state_.load();
  if (state == pending) {
    const auto queue = scheduler();
    require(queue == nullptr || !queue->needsCallingThread(),
            "the main thread does not wait for its own queue");
  }
  for (; state != settled; state = state_.load()) {
    OperationScheduler::letOthersLook();
    state_.wait(state);
  }
}

bool NSOperation::isCancelled() const { return cancelled_.load(); }

bool NSOperation::isReady() const { return unfinishedDependencies_.load() == 0 || isCancelled(); }

bool NSOperation::isExecuting() const { return state_.load() == executing; }

bool NSOperation::isFinished() const { return state_.load() >= finished; }

void NSOperation::addDependency(const Ref<NSOperation>& operation) {
  if (!operation) {
    refuse("an operation cannot depend on nothing");
  }
  if (operation->isAsynchronous()) {
    operation->watchOwnEnd();
  }
  bool isCounted = false;
  try {
    KeyValueChange change(*this, kReadyKey);
    isCounted = startDepending(operation);
  } catch (...) {
    tellReady();
    throw;
  }
  if (!isCounted) {
    // A queue may have met it while the dependency was counted.
    tellReady();
  }
}

NSOperation::Relations& NSOperation::relations() {
  const std::lock_guard lock(mutex_);
  if (!relations_) {
    relations_ = std::make_unique<Relations>();
  }
  return *relations_;
}

/// Null when none were needed so far.
NSOperation::Relations* NSOperation::relationsIfAny() const {
  const std::lock_guard lock(mutex_);
  return relations_.get();
}

/// Whether the dependency has not finished.
bool NSOperation::startDepending(const Ref<NSOperation>& dependency) {
  Relations& own = relations();
  const std::lock_guard ordered(own.order);
  {
    const std::lock_guard lock(mutex_);
    if (std::ranges::find(own.dependencies, dependency) != own.dependencies.end()) {
      return true;
    }
    own.dependencies.push_back(dependency);
    // Counted before it can be counted down.
    unfinishedDependencies_.fetch_add(1);
  }
  try {
    if (dependency->addDependent(*this)) {
      return true;
    }
  } catch (...) {
    const std::lock_guard lock(mutex_);
    removeFrom(own.dependencies, *dependency);
    unfinishedDependencies_.fetch_sub(1);
    throw;
  }
  unfinishedDependencies_.fetch_sub(1);
  return false;
}

void NSOperation::removeDependency(const Ref<NSOperation>& operation) {
  const Ref<NSOperation> stay = operation;
  if (stay && stopDepending(*stay)) {
    dependencyHasFinished();
  }
}

void NSOperation::removeDependencies() {
  std::vector<Ref<NSOperation>> removed;  // let go of after the mutexes
  FirstException failure;
  for (auto counted = takeDependencies(removed); counted > 0; --counted) {
    failure.attempt([this] { dependencyHasFinished(); });
  }
  failure.rethrow();
}

/// How many of them are counted still.
std::ptrdiff_t NSOperation::takeDependencies(std::vector<Ref<NSOperation>>& taken) {
  Relations* const own = relationsIfAny();
  if (own == nullptr) {
    return 0;
  }
  const std::lock_guard ordered(own->order);
  {
    const std::lock_guard lock(mutex_);
    taken.swap(own->dependencies);
  }
  return std::ranges::count_if(
      taken, [this](const auto& dependency) { return dependency->removeDependent(*this); });
}

/// Whether the dependency was one and is counted still.
bool NSOperation::stopDepending(NSOperation& dependency) {
  Relations* const own = relationsIfAny();
  if (own == nullptr) {
    return false;
  }
  const std::lock_guard ordered(own->order);
  {
    const std::lock_guard lock(mutex_);
    if (!removeFrom(own->dependencies, dependency)) {
      return false;
    }
  }
  return dependency.removeDependent(*this);
}

Ref<NSArray> NSOperation::dependencies() const {
  std::vector<id> objects;
  {
    const std::lock_guard lock(mutex_);
    if (relations_) {
      objects.assign(relations_->dependencies.begin(), relations_->dependencies.end());
    }
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

/// Whether the operation is to wait for this one.
bool NSOperation::addDependent(NSOperation& operation) {
  Relations& own = relations();
  ObjectExtras::letShare(operation);
  const std::lock_guard lock(mutex_);
  if (!toldDependents_) {
    own.dependents.push_back(&operation);
  }
  return !toldDependents_;
}

/// Whether the operation would have been told.
bool NSOperation::removeDependent(const NSOperation& operation) {
  const std::lock_guard lock(mutex_);
  return relations_ && removeFrom(relations_->dependents, operation);
}

/// Those of the operations that wait for this one that are not about to go: these wait for the
/// mutex to take themselves out. The caller, who holds the mutex, gets a reference to each. That
/// needs no memory: nobody would be told otherwise.
std::vector<NSOperation*> NSOperation::takeDependents() noexcept {
  std::vector<NSOperation*> taken;
  if (relations_) {
    taken.swap(relations_->dependents);
  }
  std::erase_if(taken, [](NSOperation* dependent) {
    return ObjectExtras::share(*dependent).leak() == nullptr;
  });
  return taken;
}

/// The dependency counts no more, whatever observers throw.
void NSOperation::dependencyHasFinished() {
  FirstException failure;
  bool isCounted = true;
  const auto countDown = [&] {
    if (std::exchange(isCounted, false)) {
      unfinishedDependencies_.fetch_sub(1);
    }
  };
  failure.attempt([&] {
    KeyValueChange change(*this, kReadyKey);
    countDown();
  });
  countDown();
  failure.attempt([this] { tellReady(); });
  failure.rethrow();
}

void NSOperation::tellReady() {
  if (const auto queue = scheduler()) {
    queue->readinessChanged(*this);
  }
}

void NSOperation::watchOwnEnd() {
  startWatching(Watched::end, kFinishedKey);
  if (isFinished()) {
    settle();
  }
}

/// Where a subclass has reasons of its own not to be ready, what it announces is followed. Whether
/// that has just begun.
bool NSOperation::watchReadiness() {
  return unfinishedDependencies_.load() == 0 && startWatching(Watched::readiness, kReadyKey);
}

/// Whether it was not followed so far. It counts as followed once it is: two threads that meet here
/// follow it twice, which does no harm.
bool NSOperation::startWatching(Watched what, const char* key) {
  const auto bit = static_cast<std::uint8_t>(what);
  if ((watched_.load() & bit) != 0) {
    return false;
  }
  OperationStateObserver::shared().observe(*this, key);
  watched_.fetch_or(bit);
  return true;
}

Ref<OperationScheduler> NSOperation::scheduler() const {
  const std::lock_guard lock(mutex_);
  return Ref(scheduler_);
}

NSOperationQueuePriority NSOperation::queuePriority() const noexcept {
  return static_cast<NSOperationQueuePriority>(priority_.load());
}

void NSOperation::setQueuePriority(NSInteger priority) {
  priority_.store(static_cast<std::int8_t>(std::clamp<NSInteger>(priority / 4, -2, 2) * 4));
  if (const auto queue = scheduler()) {
    queue->priorityChanged(*this);
  }
}

Block<void()> NSOperation::completionBlock() const {
  const std::lock_guard lock(mutex_);
  return completionBlock_;
}

void NSOperation::setCompletionBlock(Block<void()> block) {
  const std::lock_guard lock(mutex_);
  std::swap(completionBlock_, block);
}

Ref<NSString> NSOperation::name() const {
  const std::lock_guard lock(mutex_);
  return relations_ ? relations_->name : nullptr;
}

void NSOperation::setName(const Ref<NSString>& name) {
  Ref<NSString> replaced = copyOf(name);  // let go of after the mutex
  Relations& own = relations();
  const std::lock_guard lock(mutex_);
  std::swap(own.name, replaced);
}

}  // namespace kestova
