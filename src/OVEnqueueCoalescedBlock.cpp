// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVEnqueueCoalescedBlock.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/NSException.h>

#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "QueuedBlock.h"

namespace kestova {
namespace {

/// What waits and what runs, for the life of the process. Both containers are used in turn only; no
/// block is let go of there, for its end may run code of others.
struct EnqueuedBlocks {
  /// Where threads wait for their turn.
  BriefMutex __OVEnqueueQueue;
  std::unordered_map<const void*, QueuedBlock> __OVEnqueueTable;
  std::unordered_set<const void*> __OVEnqueueRunningSet;

  static EnqueuedBlocks& shared() {
    static auto& blocks = *new EnqueuedBlocks;
    return blocks;
  }

  /// An exception ends the process: what waits would be neither there nor gone.
  template <class Operation>
  void inTurn(const Operation& operation) noexcept {
    const std::lock_guard lock(__OVEnqueueQueue);
    operation();
  }
};

void OVEnqueue_doneRunningEnqueuedBlockForKey(const void* key);

void OVEnqueue_runEnqueuedBlockForKey(const void* key) {
  EnqueuedBlocks& blocks = EnqueuedBlocks::shared();
  const auto pending = blocks.__OVEnqueueTable.extract(key);
  if (pending.empty()) {
    return;
  }
  blocks.__OVEnqueueRunningSet.insert(key);
  dispatch_async(pending.mapped().queue, [key, block = std::move(pending.mapped().block)] {
    block();
    EnqueuedBlocks::shared().inTurn([key] { OVEnqueue_doneRunningEnqueuedBlockForKey(key); });
  });
}

void OVEnqueue_doneRunningEnqueuedBlockForKey(const void* key) {
  EnqueuedBlocks::shared().__OVEnqueueRunningSet.erase(key);
  OVEnqueue_runEnqueuedBlockForKey(key);
}

void requireArgument(bool condition, const char* message) {
  if (!condition) {
    throw NSException(NSInvalidArgumentException, message);
  }
}

}  // namespace

void OVEnqueueCoalescedBlock(const void* key, dispatch_queue_t queue, Block<void()> block) {
  requireArgument(key != OVAllEnqueuedBlocks,
                  "OVEnqueueCoalescedBlock key cannot be OVAllEnqueuedBlocks");
  requireArgument(queue != nullptr, "OVEnqueueCoalescedBlock queue cannot be nil");
  requireArgument(block != nullptr, "OVEnqueueCoalescedBlock block cannot be nil");
  EnqueuedBlocks& blocks = EnqueuedBlocks::shared();
  QueuedBlock superseded;
  blocks.inTurn([&] {
    superseded = blocks.__OVEnqueueTable[key].replace(queue, std::move(block));
    if (!blocks.__OVEnqueueRunningSet.contains(key)) {
      OVEnqueue_runEnqueuedBlockForKey(key);
    }
  });
}

void OVCancelEnqueuedBlock(const void* key) {
  EnqueuedBlocks& blocks = EnqueuedBlocks::shared();
  decltype(blocks.__OVEnqueueTable)::node_type dropped;
  blocks.inTurn([&] { dropped = blocks.__OVEnqueueTable.extract(key); });
}

}  // namespace kestova
