// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(GCDCoalescer)

Ref<GCDCoalescer> GCDCoalescer::init() { return make<GCDCoalescer>(); }

void GCDCoalescer::dispatchOn_after_block(dispatch_queue_t queue, NSTimeInterval delay,
                                          Block<void()> block) {
  require(block != nullptr, "block != nil");
  const NSUInteger number = ++count;
  dispatch_after(dispatchTimeAfter(delay), queue,
                 [kept = Ref<GCDCoalescer>(this), number, block = std::move(block)] {
                   if (kept->count.load(std::memory_order_relaxed) <= number) {
                     block();
                   }
                 });
}

}  // namespace kestova
