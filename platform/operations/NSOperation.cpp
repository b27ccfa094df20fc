// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
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
bool removeFrom(List& list, const NSOperation& operation) {
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
  KeyValueChange change(*this, "isExecuting");
  int expected = pending;
  if (!state_.compare_exchange_strong(expected, executing)) {
    refuse("the operation executes already or has finished");
  }
  return true;
}

void NSOperation::finish() {
  if (isEnding_.exchange(true)) {
    return;
  }
  {
    KeyValueChange finishedChange(*this, kFinishedKey);
    if (state_.load() == executing) {
      KeyValueChange executingChange(*this, "isExecuting");
      state_.store(finished, std::memory_order_release);
    } else {
      state_.store(finished, std::memory_order_release);
    }
  }
  settle();
}

/// Tells everybody who waits for the end, once.
void NSOperation::settle() {
  std::vector<Ref<NSOperation>> dependents;
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
  for (const auto& dependent : dependents) {
    dependent->dependencyHasFinished();
  }
  const auto afterwards = completion ? OperationScheduler::Afterwards::callsBlock
                                     : OperationScheduler::Afterwards::nothing;
  const Ref<NSOperation> stay = scheduler ? scheduler->finished(*this, afterwards) : Ref(this);
  state_.store(settled);
  state_.notify_all();
  if (completion) {
    completion();
  }
}

void NSOperation::cancel() {
  if (isFinished() || cancelled_.load()) {
    return;
  }
  {
    KeyValueChange cancelledChange(*this, "isCancelled");
    KeyValueChange readyChange(*this, kReadyKey);
    cancelled_.store(true);
  }
  tellReady();
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
    own.dependencies.pop_back();
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

/// Whether the dependency was one and is counted still.
bool NSOperation::stopDepending(NSOperation& dependency) {
  Relations& own = relations();
  const std::lock_guard ordered(own.order);
  {
    const std::lock_guard lock(mutex_);
    if (!removeFrom(own.dependencies, dependency)) {
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
/// mutex to take themselves out. Called with the mutex held.
std::vector<Ref<NSOperation>> NSOperation::takeDependents() {
  std::vector<Ref<NSOperation>> taken;
  if (!relations_) {
    return taken;
  }
  taken.reserve(relations_->dependents.size());
  for (NSOperation* dependent : std::exchange(relations_->dependents, {})) {
    if (auto stays = ObjectExtras::share(*dependent)) {
      taken.push_back(std::move(stays));
    }
  }
  return taken;
}

void NSOperation::dependencyHasFinished() {
  {
    KeyValueChange change(*this, kReadyKey);
    unfinishedDependencies_.fetch_sub(1);
  }
  tellReady();
}

void NSOperation::tellReady() {
  if (const auto queue = scheduler()) {
    queue->readinessChanged(*this);
  }
}

void NSOperation::watchOwnEnd() {
  if (startWatching(Watched::end)) {
    OperationStateObserver::shared().observe(*this, kFinishedKey);
  }
  if (isFinished()) {
    settle();
  }
}

/// Where a subclass has reasons of its own not to be ready, what it announces is followed. Whether
/// that has just begun.
bool NSOperation::watchReadiness() {
  if (unfinishedDependencies_.load() > 0 || !startWatching(Watched::readiness)) {
    return false;
  }
  OperationStateObserver::shared().observe(*this, kReadyKey);
  return true;
}

std::shared_ptr<OperationScheduler> NSOperation::scheduler() const {
  const std::lock_guard lock(mutex_);
  return scheduler_ == nullptr ? nullptr : scheduler_->shared_from_this();
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
