// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSSet.h>

namespace kestova {

inline namespace NSObject_KVOHelperAdditions {

/// The key paths that a class wants its observers to watch: what it or the nearest class above
/// answers for it, else the empty set. A class answers in its description:
///
///     KESTOVA_DEFINE_CLASS(Account, .classOperation<&Account::keyPathsOfInterestForObserving>(
///                                       "keyPathsOfInterestForObserving"))
///
/// where `static Ref<NSSet> keyPathsOfInterestForObserving()` is a function of Account. Asked about
/// an object: `keyPathsOfInterestForObserving(object->classDescriptor())`. Threads: any.
KESTOVA_FOUNDATION_EXPORT Ref<NSSet> keyPathsOfInterestForObserving(const Class& self);

}  // namespace NSObject_KVOHelperAdditions

}  // namespace kestova
