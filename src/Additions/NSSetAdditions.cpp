// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSSetAdditions.h>

namespace kestova {
namespace {

/// An immutable copy of a set after a change.
template <class Change>
Ref<NSSet> changed(const Ref<NSSet>& set, const Change& change) {
  const auto copy = NSMutableSet::setWithSet(set);
  change(*copy);
  return cast<NSSet>(copy->copy());
}

}  // namespace

inline namespace NSSet_KestovaAdditions {

Ref<NSSet> setIntersectingSet(const Ref<NSSet>& self, const Ref<NSSet>& other) {
  return changed(self, [&](NSMutableSet& copy) { copy.intersectSet(other); });
}

Ref<NSSet> setByRemovingObject(const Ref<NSSet>& self, const id& object) {
  return changed(self, [&](NSMutableSet& copy) {
    if (object) {
      copy.removeObject(object);
    }
  });
}

Ref<NSSet> setByRemovingObjectsFromSet(const Ref<NSSet>& self, const Ref<NSSet>& other) {
  return changed(self, [&](NSMutableSet& copy) { copy.minusSet(other); });
}

Ref<NSSet> setByRemovingObjectsFromArray(const Ref<NSSet>& self, const Ref<NSArray>& other) {
  return setByRemovingObjectsFromSet(self, NSSet::setWithArray(other));
}

}  // namespace NSSet_KestovaAdditions

}  // namespace kestova
