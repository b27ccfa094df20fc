// SPDX-License-Identifier: Apache-2.0
#include "runloop/RunLoopMode.h"

#include <KestovaPlatform/NSTimer.h>

#include <algorithm>
#include <utility>

namespace kestova {
namespace {

/// The token of the shared part in the sets that it is nested in; sources count from 1.
constexpr std::uint64_t sharedToken = 0;

constexpr std::uint64_t noBlock = UINT64_MAX;

/// The number of the block that is handed in next. Numbers are drawn with the mode's mutex held, so
/// each mode's queue is in their order.
std::atomic<std::uint64_t> nextBlock{0};

}  // namespace

RunLoopMode::RunLoopMode(Ref<NSString> name, std::thread::id thread,
                         std::shared_ptr<RunLoopMode> shared)
    : name_(std::move(name)), thread_(thread), shared_(std::move(shared)) {}

void RunLoopMode::becomeCommon() {
  if (!isCommon_.load()) {
    waitSet_.watch(shared_->descriptor(), EPOLLIN, sharedToken);
    isCommon_.store(true);
  }
}

void RunLoopMode::addSource(const Ref<RunLoopSource>& source) {
  const std::lock_guard lock(mutex_);
  if (closed_ || sources_.contains(source->number_) || !source->attach(shared_from_this())) {
    return;
  }
  try {
    watchSource(*source);
    sources_.emplace(source->number_, source);
  } catch (...) {
    source->detach(*this);
    throw;
  }
}

void RunLoopMode::watchSource(const RunLoopSource& source) {
  if (source.descriptor() >= 0) {
    waitSet_.watch(source.descriptor(), source.awaited(), source.number_);
  }
}

void RunLoopMode::removeSource(const RunLoopSource& source) {
  decltype(sources_)::node_type removed;
  const std::lock_guard lock(mutex_);
  removed = sources_.extract(source.number_);
  if (!removed.empty()) {
    waitSet_.unwatch(source.descriptor());
    removed.mapped()->detach(*this);
    wakeIfEmptied();
  }
}

bool RunLoopMode::containsSource(const RunLoopSource& source) const {
  const std::lock_guard lock(mutex_);
  return sources_.contains(source.number_);
}

void RunLoopMode::addTimer(const Ref<NSTimer>& timer) {
  const std::lock_guard lock(mutex_);
  if (closed_ || timers_.contains(*timer) || !timer->attach(shared_from_this())) {
    return;
  }
  try {
    timers_.add(timer, timer->scheduledMoment());
  } catch (...) {
    timer->detach(*this);
    throw;
  }
  waitSet_.setAlarm(timers_.earliest());
}

void RunLoopMode::removeTimer(const NSTimer& timer) {
  Ref<NSTimer> removed;
  const std::lock_guard lock(mutex_);
  removed = timers_.remove(timer);
  if (removed) {
    waitSet_.setAlarm(timers_.earliest());
    wakeIfEmptied();
  }
}

void RunLoopMode::scheduleTimer(const NSTimer& timer) {
  const std::lock_guard lock(mutex_);
  timers_.schedule(timer, timer.scheduledMoment());
  waitSet_.setAlarm(timers_.earliest());
}

/// A run that waits on another thread ends when there is nothing left to wait for.
void RunLoopMode::wakeIfEmptied() {
  if (holdsNothing() && std::this_thread::get_id() != thread_) {
    wake();
  }
}

void RunLoopMode::addBlock(Block<void()> block) { addPending(std::move(block), nullptr); }

void RunLoopMode::addBlock(const std::shared_ptr<OnceBlock>& once) {
  addPending([once] { once->run(); }, once);
}

void RunLoopMode::addPending(Block<void()> block, std::shared_ptr<const OnceBlock> once) {
  {
    const std::lock_guard lock(mutex_);
    if (closed_) {
      return;
    }
    if (once != nullptr) {
      // What ran in another mode would pile up in one that never has its turn.
      std::erase_if(blocks_, [](const auto& other) { return other.once && other.once->hasRun(); });
    }
    blocks_.push_back({nextBlock.fetch_add(1), std::move(block), std::move(once)});
  }
  wake();
}

void RunLoopMode::close() {
  decltype(sources_) sources;
  std::vector<Ref<NSTimer>> timers;
  decltype(blocks_) blocks;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    sources.swap(sources_);
    timers = timers_.removeAll();
    blocks.swap(blocks_);
    for (const auto& [number, source] : sources) {
      waitSet_.unwatch(source->descriptor());
      source->detach(*this);
    }
  }
  for (const Ref<NSTimer>& timer : timers) {
    timer->invalidate();
  }
}

bool RunLoopMode::isEmpty() const {
  {
    const std::lock_guard lock(mutex_);
    if (!holdsNothing()) {
      return false;
    }
  }
  const RunLoopMode* other = shared();
  return other == nullptr || other->isEmpty();
}

void RunLoopMode::wait(Moment limit) {
  waitSet_.wait(limit, [this](std::uint64_t token, std::uint32_t events) {
    if (token == sharedToken) {
      shared_->wait(atOnce);
    } else {
      noteReady(token, events);
    }
  });
}

void RunLoopMode::noteReady(std::uint64_t number, std::uint32_t events) {
  const std::lock_guard lock(mutex_);
  const auto source = sources_.find(number);
  if (source != sources_.end()) {
    source->second->note(events);
  }
}

void RunLoopMode::wakeAll() noexcept {
  wake();
  if (RunLoopMode* other = shared()) {
    other->wake();
  }
}

std::uint64_t RunLoopMode::firstBlock() const {
  const std::lock_guard lock(mutex_);
  return blocks_.empty() ? noBlock : blocks_.front().number;
}

Block<void()> RunLoopMode::takeBlock(std::uint64_t limit) {
  const std::lock_guard lock(mutex_);
  if (blocks_.empty() || blocks_.front().number >= limit) {
    return nullptr;
  }
  Block<void()> block = std::move(blocks_.front().block);
  blocks_.pop_front();
  return block;
}

void RunLoopMode::runBlocks() {
  RunLoopMode* other = shared();
  const std::uint64_t limit = nextBlock.load();
  for (;;) {
    const std::uint64_t first = firstBlock();
    const std::uint64_t othersFirst = other != nullptr ? other->firstBlock() : noBlock;
    if (std::min(first, othersFirst) >= limit) {
      return;
    }
    if (const Block<void()> block = (first < othersFirst ? *this : *other).takeBlock(limit)) {
      block();
    }
  }
}

Moment RunLoopMode::earliestTimer() const {
  const std::lock_guard lock(mutex_);
  return timers_.earliest();
}

Ref<NSTimer> RunLoopMode::takeDueTimer(Moment now) {
  const std::lock_guard lock(mutex_);
  Ref<NSTimer> timer = timers_.takeDue(now);
  waitSet_.setAlarm(timers_.earliest());
  return timer;
}

void RunLoopMode::fireTimers() {
  RunLoopMode* other = shared();
  const Moment now = std::chrono::steady_clock::now();
  for (;;) {
    const bool othersFirst = other != nullptr && other->earliestTimer() < earliestTimer();
    const Ref<NSTimer> timer = (othersFirst ? *other : *this).takeDueTimer(now);
    if (timer == nullptr) {
      return;
    }
    timer->fireIfDue(now);
  }
}

std::vector<Ref<RunLoopSource>> RunLoopMode::signalledSources() const {
  std::vector<Ref<RunLoopSource>> signalled;
  const std::lock_guard lock(mutex_);
  for (const auto& [number, source] : sources_) {
    if (source->isSignalled()) {
      signalled.push_back(source);
    }
  }
  return signalled;
}

bool RunLoopMode::performSources() {
  bool performed = false;
  for (const Ref<RunLoopSource>& source : signalledSources()) {
    // A source before it may have removed it.
    performed |= containsSource(*source) && source->performIfSignalled();
  }
  RunLoopMode* other = shared();
  return (other != nullptr && other->performSources()) || performed;
}

}  // namespace kestova
