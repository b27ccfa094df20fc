// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDKeyedCoalescer.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "LatestRequest.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(GCDKeyedCoalescer)

namespace {

constexpr NSUInteger kSlots = 16;

}  // namespace

GCDKeyedCoalescer::GCDKeyedCoalescer()
    : _keys(NSMutableArray::array()),
      _counts(std::make_unique<NSUInteger[]>(kSlots)),
      _capacity(kSlots) {}

GCDKeyedCoalescer::~GCDKeyedCoalescer() = default;

Ref<GCDKeyedCoalescer> GCDKeyedCoalescer::init() { return make<GCDKeyedCoalescer>(); }

void GCDKeyedCoalescer::dispatch_on_after_block(const id& key, dispatch_queue_t queue,
                                                NSTimeInterval delay, Block<void()> block) {
  require(block != nullptr, "block != nil");
  const NSUInteger slot = slotOf(key);
  latest_[slot]->replace(queue, std::move(block), std::atomic_ref(_counts[slot]), delay, *this);
}

NSUInteger GCDKeyedCoalescer::slotOf(const id& key) {
  const NSUInteger slot = _keys->indexOfObject(key);
  if (slot != NSNotFound) {
    return slot;
  }
  if (_numCounts == _capacity) {
    grow();
  }
  latest_.push_back(
      std::make_shared<LatestRequest>([this, slot = _numCounts] { return countAt(slot); }));
  try {
    _keys->addObject(key);
  } catch (...) {
    latest_.pop_back();
    throw;
  }
  return _numCounts++;
}

/// New counters are 0. The thread that makes requests is the only one that writes here.
void GCDKeyedCoalescer::grow() {
  auto larger = std::make_unique<NSUInteger[]>(_capacity + kSlots);
  const std::lock_guard lock(_lock);
  std::copy_n(_counts.get(), _numCounts, larger.get());
  _counts = std::move(larger);
  _capacity += kSlots;
}

NSUInteger GCDKeyedCoalescer::countAt(NSUInteger slot) {
  const std::lock_guard lock(_lock);
  return std::atomic_ref<NSUInteger>(_counts[slot]).load(std::memory_order_relaxed);
}

}  // namespace kestova
