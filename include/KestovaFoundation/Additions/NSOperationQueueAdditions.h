// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSOperationQueue.h>

namespace kestova {

inline namespace NSOperationQueue_DefaultInstanceAdditions {

/// A queue with default settings that all of a process shares; the same at each call. From any
/// thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSOperationQueue> defaultOperationQueue();

}  // namespace NSOperationQueue_DefaultInstanceAdditions

inline namespace NSOperationQueue_Helpful {

/// Adds the block as an operation that depends on those of the array, in its order, and answers the
/// operation. It goes through the queue's own `addOperation`. A null array is an empty one; an
/// empty block throws NSInvalidArgumentException, and so does a member that is no operation. From
/// any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSBlockOperation> addOperationWithBlock_dependencies(
    const Ref<NSOperationQueue>& self, Block<void()> block, const Ref<NSArray>& dependencies);

}  // namespace NSOperationQueue_Helpful

}  // namespace kestova
