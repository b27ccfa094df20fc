// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSIndexSet.h>

namespace kestova {

inline namespace NSMutableArray_KestovaAdditions {

/// \file
/// Moving objects within an array, and arrays as stacks and queues.
///
///     const auto rows = NSMutableArray::of("A", "B", "C", "D", "E");
///     moveObjectsAtIndexes_toIndex(rows, NSIndexSet::of({0, 1}), 4);      // C D A B E
///
/// Threads: one at a time for each array. What throws leaves the array as it was.

/// Moves the objects at the indexes, in their order and side by side, to before the object that is
/// at `index` now. An index past the end throws NSRangeException.
KESTOVA_FOUNDATION_EXPORT void moveObjectsAtIndexes_toIndex(const Ref<NSMutableArray>& self,
                                                            const Ref<NSIndexSet>& indexes,
                                                            NSUInteger index);

/// Inserts all objects of an array, side by side, from `index` on. An index past the end throws
/// NSRangeException, but for a null or empty array, which inserts nothing.
KESTOVA_FOUNDATION_EXPORT void insertObjects_atIndex(const Ref<NSMutableArray>& self,
                                                     const Ref<NSArray>& objects, NSUInteger index);

/// Removes the first or the last object and answers it; null when the array is empty.
KESTOVA_FOUNDATION_EXPORT id ov_popFirstObject(const Ref<NSMutableArray>& self);
KESTOVA_FOUNDATION_EXPORT id ov_popObject(const Ref<NSMutableArray>& self);

/// Appends an object.
KESTOVA_FOUNDATION_EXPORT void ov_pushObject(const Ref<NSMutableArray>& self, const id& object);

}  // namespace NSMutableArray_KestovaAdditions

}  // namespace kestova
