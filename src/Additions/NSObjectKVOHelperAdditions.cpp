// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSObjectKVOHelperAdditions.h>

namespace kestova {

inline namespace NSObject_KVOHelperAdditions {

Ref<NSSet> keyPathsOfInterestForObserving(const Class& self) {
  const ClassOperation* answer = self.classOperation("keyPathsOfInterestForObserving");
  return NSSet::setWithSet(answer == nullptr ? nullptr : cast<NSSet>(answer->perform()));
}

}  // namespace NSObject_KVOHelperAdditions

}  // namespace kestova
