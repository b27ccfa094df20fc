// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Dispatch.h>

/// \file
/// One block at a time for each key, and of those that come meanwhile only the latest.
///
///     OVEnqueueCoalescedBlock(this, queue, [=] { layOut(); });
///     …
///     OVCancelEnqueuedBlock(this);
///
/// There is no delay: the first block starts at once, and the latest of those that were enqueued
/// while it ran starts when it has ended.
///
/// Keys are addresses and are compared as such; nothing is read there. They are shared by the whole
/// process, so an address should be one's own: that of an object or of a static variable.
///
/// Threads: any, also from within the blocks, for their own key too. Blocks run on the queues that
/// they were enqueued for, with no lock held; those of different keys run side by side where their
/// queues allow. A block that is dropped goes on the thread that drops it.
///
/// Cost: a short turn, one thread at a time in the whole process, for each call and each end of a
/// block. A key that has no block takes no memory.

namespace kestova {

/// The key that no block can be enqueued for.
inline constexpr const void* OVAllEnqueuedBlocks = nullptr;

/// Runs the block on the queue: at once if no block of that key is running, else in place of the
/// one that waits, when the running one has ended. Throws NSInvalidArgumentException, before
/// anything is changed, when the key is OVAllEnqueuedBlocks or the queue or the block is null. An
/// exception that leaves the block ends the process.
KESTOVA_FOUNDATION_EXPORT void OVEnqueueCoalescedBlock(const void* key, dispatch_queue_t queue,
                                                       Block<void()> block);

/// Drops the block that waits under that key. One that has been handed to its queue still runs. For
/// OVAllEnqueuedBlocks it deliberately does nothing: no block waits under that key.
KESTOVA_FOUNDATION_EXPORT void OVCancelEnqueuedBlock(const void* key);

}  // namespace kestova
