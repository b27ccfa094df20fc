// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSSet.h>

namespace kestova {

inline namespace NSSet_KestovaAdditions {

/// \file
/// Sets made from sets by leaving members out.
///
///     const auto left = setByRemovingObjectsFromSet(all, done);
///
/// Nothing changes the set that it is asked of; what is answered is immutable. A null set or array
/// of others counts as an empty one. Threads: as safe as reading the sets is.

/// The members that the other set has as well.
KESTOVA_FOUNDATION_EXPORT Ref<NSSet> setIntersectingSet(const Ref<NSSet>& self,
                                                        const Ref<NSSet>& other);

/// Without the member that is equal to an object; with all of them for null.
KESTOVA_FOUNDATION_EXPORT Ref<NSSet> setByRemovingObject(const Ref<NSSet>& self, const id& object);

/// Without the members that are equal to one of the others.
KESTOVA_FOUNDATION_EXPORT Ref<NSSet> setByRemovingObjectsFromSet(const Ref<NSSet>& self,
                                                                 const Ref<NSSet>& other);
KESTOVA_FOUNDATION_EXPORT Ref<NSSet> setByRemovingObjectsFromArray(const Ref<NSSet>& self,
                                                                   const Ref<NSArray>& other);

}  // namespace NSSet_KestovaAdditions

}  // namespace kestova
