// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <atomic>
#include <utility>

#include "LatestRequest.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(GCDCoalescer)

GCDCoalescer::GCDCoalescer()
    : latest_(std::make_shared<LatestRequest>(
          [this] { return std::atomic_ref(count).load(std::memory_order_relaxed); })) {}

GCDCoalescer::~GCDCoalescer() = default;

Ref<GCDCoalescer> GCDCoalescer::init() { return make<GCDCoalescer>(); }

void GCDCoalescer::dispatchOn_after_block(dispatch_queue_t queue, NSTimeInterval delay,
                                          Block<void()> block) {
  require(block != nullptr, "block != nil");
  latest_->replace(queue, std::move(block), std::atomic_ref(count), delay, *this);
}

}  // namespace kestova
