// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>

#include <algorithm>
#include <utility>

#include "dispatch/MainQueue.h"
#include "runloop/Moment.h"
#include "runloop/RunLoopMode.h"

namespace kestova {

constinit const StringConstant NSDefaultRunLoopMode{"kCFRunLoopDefaultMode"};
constinit const StringConstant NSRunLoopCommonModes{"kCFRunLoopCommonModes"};

KESTOVA_DEFINE_CLASS(NSRunLoop)

namespace {

Ref<RunLoopSource> mainQueueSource() {
  Ref<RunLoopSource> source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
      MainQueue::descriptor(), RunLoopDescriptorReadable, [](NSUInteger) { MainQueue::drain(); });
  if (source == nullptr) {
    throw NSException(NSGenericException, "the main queue can't be waited for");
  }
  return source;
}

}  // namespace

struct NSRunLoop::Activation {
  Activation(NSRunLoop& runLoop, std::shared_ptr<RunLoopMode> served)
      : loop(runLoop), mode(std::move(served)) {
    const std::lock_guard lock(loop.mutex_);
    outer = std::exchange(loop.innermost_, this);
  }
  Activation(const Activation&) = delete;
  Activation& operator=(const Activation&) = delete;
  ~Activation() {
    const std::lock_guard lock(loop.mutex_);
    loop.innermost_ = outer;
  }

  bool isStopped() const {
    const std::lock_guard lock(loop.mutex_);
    return stopped;
  }

  NSRunLoop& loop;
  const std::shared_ptr<RunLoopMode> mode;
  Activation* outer = nullptr;
  /// Guarded by the run loop's mutex.
  bool stopped = false;
};

NSRunLoop::NSRunLoop(std::thread::id thread, bool servesMainQueue) : thread_(thread) {
  const auto shared = std::make_shared<RunLoopMode>(NSRunLoopCommonModes, thread, nullptr);
  const auto standard = std::make_shared<RunLoopMode>(NSDefaultRunLoopMode, thread, shared);
  standard->becomeCommon();
  modes_ = {shared, standard};
  if (servesMainQueue) {
    shared->addSource(mainQueueSource());
  }
}

NSRunLoop::~NSRunLoop() { close(); }

Ref<NSRunLoop> NSRunLoop::currentRunLoop() { return NSThread::currentThread()->runLoop(); }

Ref<NSRunLoop> NSRunLoop::mainRunLoop() { return NSThread::mainThread()->runLoop(); }

void NSRunLoop::close() {
  decltype(modes_) modes;
  {
    const std::lock_guard lock(mutex_);
    modes.swap(modes_);
  }
  for (const auto& mode : modes) {
    mode->close();
  }
}

void NSRunLoop::requireOwnThread() const {
  require(std::this_thread::get_id() == thread_, "a run loop is run by its own thread");
}

/// The mode of that name if it has been mentioned before. Called with the mutex held.
std::shared_ptr<RunLoopMode> NSRunLoop::existingMode(const Ref<NSString>& name) const {
  require(name != nullptr, "mode != nil");
  const auto mode = std::find_if(modes_.begin(), modes_.end(), [&](const auto& candidate) {
    return candidate->name()->isEqualToString(name);
  });
  return mode == modes_.end() ? nullptr : *mode;
}

std::shared_ptr<RunLoopMode> NSRunLoop::findMode(const Ref<NSString>& name) const {
  const std::lock_guard lock(mutex_);
  return existingMode(name);
}

/// The mode of that name, made if need be; null once the thread has ended.
std::shared_ptr<RunLoopMode> NSRunLoop::modeNamed(const Ref<NSString>& name) {
  const std::lock_guard lock(mutex_);
  if (auto mode = existingMode(name); mode != nullptr || modes_.empty()) {
    return mode;
  }
  return modes_.emplace_back(std::make_shared<RunLoopMode>(copyOf(name), thread_, modes_.front()));
}

void NSRunLoop::addCommonMode(const Ref<NSString>& mode) {
  require(!NSRunLoopCommonModes->isEqualToString(mode), "the common modes are no mode");
  const auto added = modeNamed(mode);
  const std::lock_guard lock(mutex_);
  if (added != nullptr) {
    added->becomeCommon();
  }
}

void NSRunLoop::addSource_forMode(const Ref<RunLoopSource>& source, const Ref<NSString>& mode) {
  require(source != nullptr, "source != nil");
  if (const auto target = modeNamed(mode)) {
    target->addSource(source);
  }
}

void NSRunLoop::removeSource_forMode(const Ref<RunLoopSource>& source, const Ref<NSString>& mode) {
  require(source != nullptr, "source != nil");
  if (const auto target = findMode(mode)) {
    target->removeSource(*source);
  }
}

bool NSRunLoop::containsSource_forMode(const Ref<RunLoopSource>& source,
                                       const Ref<NSString>& mode) const {
  require(source != nullptr, "source != nil");
  const auto target = findMode(mode);
  return target != nullptr && target->containsSource(*source);
}

void NSRunLoop::addTimer_forMode(const Ref<NSTimer>& timer, const Ref<NSString>& mode) {
  require(timer != nullptr, "timer != nil");
  if (const auto target = modeNamed(mode)) {
    target->addTimer(timer);
  }
}

void NSRunLoop::performBlock(Block<void()> block) {
  performInMode_block(NSDefaultRunLoopMode, std::move(block));
}

void NSRunLoop::performInMode_block(const Ref<NSString>& mode, Block<void()> block) {
  require(block != nullptr, "block != nil");
  if (const auto target = modeNamed(mode)) {
    target->addBlock(std::move(block));
  }
}

void NSRunLoop::performInModes_block(const Ref<NSArray>& modes, Block<void()> block) {
  require(modes != nullptr, "modes != nil");
  require(block != nullptr, "block != nil");
  const auto once = std::make_shared<OnceBlock>(std::move(block));
  for (const id& mode : modes) {
    if (const auto target = modeNamed(cast<NSString>(mode))) {
      target->addBlock(once);
    }
  }
}

void NSRunLoop::run() { runUntil(NSDefaultRunLoopMode, never, false); }

void NSRunLoop::runUntilDate(const Ref<NSDate>& limit) {
  require(limit != nullptr, "limit != nil");
  runUntil(NSDefaultRunLoopMode, momentAfter(limit->timeIntervalSinceNow()), false);
}

bool NSRunLoop::runMode_beforeDate(const Ref<NSString>& mode, const Ref<NSDate>& limit) {
  require(limit != nullptr, "limit != nil");
  return runUntil(mode, momentAfter(limit->timeIntervalSinceNow()), true) != kCFRunLoopRunFinished;
}

CFRunLoopRunResult NSRunLoop::runInMode_seconds_returnAfterSourceHandled(
    const Ref<NSString>& mode, NSTimeInterval seconds, bool returnAfterSourceHandled) {
  return runUntil(mode, momentAfter(seconds), returnAfterSourceHandled);
}

CFRunLoopRunResult NSRunLoop::runUntil(const Ref<NSString>& name, Moment limit,
                                       bool returnAfterSourceHandled) {
  requireOwnThread();
  const auto mode = findMode(name);
  if (mode == nullptr || mode->isEmpty() || NSRunLoopCommonModes->isEqualToString(name)) {
    return kCFRunLoopRunFinished;
  }
  const Activation activation(*this, mode);
  // The first turn doesn't wait: a run around this one may have come back from its wait for
  // something that it has not yet served.
  for (Moment turnLimit = atOnce;; turnLimit = limit) {
    const bool served = takeTurn(*mode, turnLimit);
    if (served && returnAfterSourceHandled) {
      return kCFRunLoopRunHandledSource;
    }
    if (activation.isStopped()) {
      return kCFRunLoopRunStopped;
    }
    if (std::chrono::steady_clock::now() >= limit) {
      return kCFRunLoopRunTimedOut;
    }
    if (mode->isEmpty()) {
      return kCFRunLoopRunFinished;
    }
  }
}

/// Waits until the limit at the latest and serves what there is. Whether that was a source.
bool NSRunLoop::takeTurn(RunLoopMode& mode, Moment limit) {
  waiting_.store(limit != atOnce);
  mode.wait(limit);
  waiting_.store(false);
  turns_.fetch_add(1, std::memory_order_relaxed);
  try {
    mode.runBlocks();
    mode.fireTimers();
    const bool served = mode.performSources();
    mode.runBlocks();
    return served;
  } catch (...) {
    // What this turn had not come to is for the next.
    mode.wakeAll();
    throw;
  }
}

void NSRunLoop::stop() {
  const std::lock_guard lock(mutex_);
  if (innermost_ != nullptr) {
    innermost_->stopped = true;
    innermost_->mode->wake();
  }
}

void NSRunLoop::wakeUp() {
  const std::lock_guard lock(mutex_);
  if (innermost_ != nullptr) {
    innermost_->mode->wake();
  }
}

Ref<NSString> NSRunLoop::currentMode() const {
  const std::lock_guard lock(mutex_);
  return innermost_ == nullptr ? nullptr : innermost_->mode->name();
}

int NSRunLoop::fileDescriptor() const {
  const auto mode = findMode(NSDefaultRunLoopMode);
  return mode == nullptr ? -1 : mode->descriptor();
}

bool NSRunLoop::turn() {
  requireOwnThread();
  const auto mode = findMode(NSDefaultRunLoopMode);
  if (mode == nullptr) {
    return false;
  }
  const Activation activation(*this, mode);
  return takeTurn(*mode, atOnce);
}

}  // namespace kestova
