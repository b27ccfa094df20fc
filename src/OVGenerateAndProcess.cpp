// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVGenerateAndProcess.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>

#include <utility>

namespace kestova {

void OVGenerateAndProcess(const Block<id()>& generator,
                          const Block<void(const id& item)>& processor) {
  require(generator && processor, "generator != nil && processor != nil");
  const dispatch_queue_t queue = dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
  const DispatchGroup group;
  id next, current;
  do {
    current = std::move(next);
    group.async(queue, [&] { next = generator(); });
    if (current) {
      group.async(queue, [&] {
        processor(current);
        current = nullptr;
      });
    }
    group.wait();
  } while (next);
}

}  // namespace kestova
