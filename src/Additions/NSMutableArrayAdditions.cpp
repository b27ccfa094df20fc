// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaFoundation/Additions/NSMutableArrayAdditions.h>

namespace kestova {

inline namespace NSMutableArray_KestovaAdditions {

void moveObjectsAtIndexes_toIndex(const Ref<NSMutableArray>& self, const Ref<NSIndexSet>& indexes,
                                  NSUInteger index) {
  // The caller's set may change, and each use of it must see the same indexes.
  const auto moved = NSIndexSet::initWithIndexSet(indexes);
  const auto objects = self->objectsAtIndexes(moved);
  self->removeObjectsAtIndexes(moved);
  try {
    insertObjects_atIndex(self, objects,
                          ajustedInsertionIndex_forMovingObjectsAtIndexes(index, moved));
  } catch (...) {
    self->insertObjects_atIndexes(objects, moved);
    throw;
  }
}

void insertObjects_atIndex(const Ref<NSMutableArray>& self, const Ref<NSArray>& objects,
                           NSUInteger index) {
  const NSUInteger count = objects ? objects->count() : 0;
  self->insertObjects_atIndexes(objects, NSIndexSet::indexSetWithIndexesInRange({index, count}));
}

id ov_popFirstObject(const Ref<NSMutableArray>& self) {
  id first = self->firstObject();
  if (first) {
    self->removeObjectAtIndex(0);
  }
  return first;
}

id ov_popObject(const Ref<NSMutableArray>& self) {
  id last = self->lastObject();
  if (last) {
    self->removeLastObject();
  }
  return last;
}

void ov_pushObject(const Ref<NSMutableArray>& self, const id& object) { self->addObject(object); }

}  // namespace NSMutableArray_KestovaAdditions

}  // namespace kestova
