// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/RunLoopSource.h>

#include <utility>

#include "runloop/RunLoopMode.h"

namespace kestova {
namespace {

/// What a signal leaves, told apart from every event of a descriptor.
constexpr std::uint32_t askedFor = 1U << 31;

std::uint64_t nextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

KESTOVA_DEFINE_CLASS(RunLoopSource)

RunLoopSource::RunLoopSource(Block<void(Signals)> perform)
    : number_(nextNumber()), perform_(std::move(perform)) {}

RunLoopSource::~RunLoopSource() = default;

Ref<RunLoopSource> RunLoopSource::sourceWithBlock(Block<void()> perform) {
  require(perform != nullptr, "perform != nil");
  return make<RunLoopSource>([perform = std::move(perform)](Signals) { perform(); });
}

void RunLoopSource::signal() {
  if (signals_.fetch_or(askedFor, std::memory_order_acq_rel) & askedFor) {
    return;
  }
  const std::lock_guard lock(mutex_);
  for (const auto& mode : modes_) {
    mode->wake();
  }
}

void RunLoopSource::invalidate() {
  const Ref<RunLoopSource> stay(this);
  Block<void(Signals)> dropped;
  std::vector<std::shared_ptr<RunLoopMode>> modes;
  {
    const std::lock_guard lock(mutex_);
    std::swap(dropped, perform_);
    modes.swap(modes_);
  }
  for (const auto& mode : modes) {
    mode->removeSource(*this);
  }
}

bool RunLoopSource::isValid() const {
  const std::lock_guard lock(mutex_);
  return perform_ != nullptr;
}

/// Called with the mode's mutex held, as is `detach`. Whether the source can be served.
bool RunLoopSource::attach(const std::shared_ptr<RunLoopMode>& mode) {
  const std::lock_guard lock(mutex_);
  if (perform_ == nullptr) {
    return false;
  }
  modes_.push_back(mode);
  if (isSignalled()) {
    mode->wake();
  }
  return true;
}

void RunLoopSource::detach(const RunLoopMode& mode) {
  const std::lock_guard lock(mutex_);
  std::erase_if(modes_, [&](const auto& other) { return other.get() == &mode; });
}

bool RunLoopSource::performIfSignalled() {
  Block<void(Signals)> perform;
  {
    const std::lock_guard lock(mutex_);
    perform = perform_;
  }
  const Signals signals = signals_.exchange(0, std::memory_order_acq_rel);
  if (perform == nullptr || signals == 0) {
    return false;
  }
  perform(signals);
  return true;
}

}  // namespace kestova
