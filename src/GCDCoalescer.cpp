// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <utility>

#include "LatestRequest.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(GCDCoalescer)

GCDCoalescer::GCDCoalescer() : latest_(std::make_shared<LatestRequest>()) {}

GCDCoalescer::~GCDCoalescer() = default;

Ref<GCDCoalescer> GCDCoalescer::init() { return make<GCDCoalescer>(); }

void GCDCoalescer::dispatchOn_after_block(dispatch_queue_t queue, NSTimeInterval delay,
                                          Block<void()> block) {
  require(block != nullptr, "block != nil");
  Block<void(NSUInteger)> runIfLatest = [this, block = std::move(block)](NSUInteger number) {
    if (count.load(std::memory_order_relaxed) <= number) {
      block();
    }
  };
  latest_->prepareFor(delay);
  latest_->replace({++count, DispatchQueue(queue), std::move(runIfLatest)}, delay, *this);
}

}  // namespace kestova
