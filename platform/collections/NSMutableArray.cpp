// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>

#include "collections/Members.h"
#include "collections/VectorArray.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSMutableArray)

namespace {

/// Every operation lets go of what it removes last, when the array is as it will be: what goes then
/// may use the array.
class MutableArray final : public VectorArray<NSMutableArray> {
 public:
  using VectorArray::VectorArray;

  void reserve(NSUInteger capacity) { objects_.reserve(capacity); }

  void insertObject_atIndex(const id& object, NSUInteger index) override {
    checkArgument(*this, "insertObject:atIndex:", object != nullptr);
    checkRange(*this, "insertObject:atIndex:", {index, 0}, objects_.size());
    objects_.insert(at(index), object);
  }

  void removeObjectAtIndex(NSUInteger index) override {
    checkIndex(*this, "removeObjectAtIndex:", index, objects_.size());
    const id removed = std::move(objects_[index]);
    objects_.erase(at(index));
  }

  void replaceObjectAtIndex_withObject(NSUInteger index, const id& object) override {
    checkArgument(*this, "replaceObjectAtIndex:withObject:", object != nullptr);
    checkIndex(*this, "replaceObjectAtIndex:withObject:", index, objects_.size());
    id other = object;
    std::swap(objects_[index], other);
  }

  void addObject(const id& object) override {
    checkArgument(*this, "addObject:", object != nullptr);
    objects_.push_back(object);
  }

  void removeAllObjects() override { const std::vector<id> removed = std::exchange(objects_, {}); }

 protected:
  void splice(NSRange range, std::vector<id> objects) override {
    makeRoom(objects_.size() - range.length + objects.size());
    const auto first = at(range.location);
    const auto last = at(NSMaxRange(range));
    const std::vector<id> removed(std::make_move_iterator(first), std::make_move_iterator(last));
    objects_.insert(objects_.erase(first, last), std::make_move_iterator(objects.begin()),
                    std::make_move_iterator(objects.end()));
  }

  void removeObjectsPassingTest(const std::function<bool(const id&)>& test) override {
    std::vector<id> kept;
    std::ranges::remove_copy_if(objects_, std::back_inserter(kept), std::ref(test));
    objects_.swap(kept);
  }

 private:
  /// Memory that isn't there is missed before anything has changed. Grows as appending does.
  void makeRoom(std::size_t count) {
    if (count > objects_.capacity()) {
      objects_.reserve(std::max(count, 2 * objects_.capacity()));
    }
  }

  std::vector<id>::iterator at(NSUInteger index) {
    return objects_.begin() + static_cast<std::ptrdiff_t>(index);
  }
};

void checkSameCount(const NSArray& array, const char* operation, NSUInteger objects,
                    NSUInteger indexes) {
  if (objects != indexes) {
    throw NSException(NSInvalidArgumentException,
                      NSString::stringWithFormat(
                          "-[%@ %s]: count of objects %lu differs from count of indexes %lu",
                          NSStringFromClass(array.classDescriptor()), operation, objects, indexes));
  }
}

}  // namespace

Ref<NSMutableArray> NSMutableArray::array() { return arrayWithObjects({}); }

Ref<NSMutableArray> NSMutableArray::arrayWithCapacity(NSUInteger capacity) {
  const auto array = make<MutableArray>(std::vector<id>());
  array->reserve(capacity);
  return array;
}

Ref<NSMutableArray> NSMutableArray::arrayWithObject(const id& object) {
  return arrayWithObjects({object});
}

Ref<NSMutableArray> NSMutableArray::arrayWithObjects(std::vector<id> objects) {
  return make<MutableArray>(std::move(objects));
}

Ref<NSMutableArray> NSMutableArray::arrayWithObjects_count(const id* objects, NSUInteger count) {
  return arrayWithObjects(std::vector<id>(objects, objects + count));
}

Ref<NSMutableArray> NSMutableArray::arrayWithArray(const Ref<NSArray>& array) {
  return arrayWithObjects(objectsOf(array));
}

void NSMutableArray::addObject(const id& object) { insertObject_atIndex(object, count()); }

void NSMutableArray::removeLastObject() {
  const NSUInteger size = count();
  checkIndex(*this, "removeLastObject", 0, size);
  removeObjectAtIndex(size - 1);
}

void NSMutableArray::addObjectsFromArray(const Ref<NSArray>& other) {
  splice({count(), 0}, objectsOf(other));
}

void NSMutableArray::replaceObjectsInRange_withObjectsFromArray(NSRange range,
                                                                const Ref<NSArray>& other) {
  checkRange(*this, "replaceObjectsInRange:withObjectsFromArray:", range, count());
  splice(range, objectsOf(other));
}

void NSMutableArray::insertObjects_atIndexes(const Ref<NSArray>& objects,
                                             const Ref<NSIndexSet>& indexes) {
  constexpr auto kOperation = "insertObjects:atIndexes:";
  const auto inserted = objectsOf(objects);
  checkIndexesBelow(*this, kOperation, indexes, count() + inserted.size());
  checkSameCount(*this, kOperation, inserted.size(), indexes->count());
  if (inserted.empty()) {
    return;
  }
  // All from the first index on is put together anew, so that nothing moves more than once.
  const NSRange behind{indexes->firstIndex(), count() - indexes->firstIndex()};
  std::vector<id> tail;
  tail.reserve(behind.length + inserted.size());
  auto object = inserted.begin();
  NSUInteger next = behind.location;
  while (tail.size() < behind.length + inserted.size()) {
    const bool isTurn = indexes->containsIndex(behind.location + tail.size());
    tail.push_back(isTurn ? *object++ : objectAtIndex(next++));
  }
  splice(behind, std::move(tail));
}

void NSMutableArray::replaceObjectsAtIndexes_withObjects(const Ref<NSIndexSet>& indexes,
                                                         const Ref<NSArray>& objects) {
  constexpr auto kOperation = "replaceObjectsAtIndexes:withObjects:";
  const auto replacements = objectsOf(objects);
  checkIndexesBelow(*this, kOperation, indexes, count());
  checkSameCount(*this, kOperation, replacements.size(), indexes->count());
  auto object = replacements.begin();
  for (const NSUInteger index : indexes) {
    replaceObjectAtIndex_withObject(index, *object++);
  }
}

void NSMutableArray::exchangeObjectAtIndex_withObjectAtIndex(NSUInteger first, NSUInteger second) {
  const id object = objectAtIndex(first);
  const id other = objectAtIndex(second);
  replaceObjectAtIndex_withObject(first, other);
  replaceObjectAtIndex_withObject(second, object);
}

void NSMutableArray::setArray(const Ref<NSArray>& other) { splice({0, count()}, objectsOf(other)); }

void NSMutableArray::removeObject(const id& object) {
  // By value: the argument may lie in this array itself.
  removeObjectsPassingTest([object](const id& member) {
    return member == object || (object && member->isEqual(object));
  });
}

void NSMutableArray::removeObjectIdenticalTo(const id& object) {
  removeObjectsPassingTest([object](const id& member) { return member == object; });
}

void NSMutableArray::removeObjectsInArray(const Ref<NSArray>& other) {
  const Ref<NSSet> removed = NSSet::setWithArray(other);
  removeObjectsPassingTest([&](const id& member) { return removed->containsObject(member); });
}

void NSMutableArray::removeObjectsInRange(NSRange range) {
  checkRange(*this, "removeObjectsInRange:", range, count());
  splice(range, {});
}

void NSMutableArray::removeObjectsAtIndexes(const Ref<NSIndexSet>& indexes) {
  checkIndexesBelow(*this, "removeObjectsAtIndexes:", indexes, count());
  if (indexes->count() == 0) {
    return;
  }
  const NSRange behind{indexes->firstIndex(), count() - indexes->firstIndex()};
  std::vector<id> kept;
  kept.reserve(behind.length - indexes->count());
  for (NSUInteger index = behind.location; index < NSMaxRange(behind); ++index) {
    if (!indexes->containsIndex(index)) {
      kept.push_back(objectAtIndex(index));
    }
  }
  splice(behind, std::move(kept));
}

void NSMutableArray::removeAllObjects() { splice({0, count()}, {}); }

void NSMutableArray::sortUsingComparator(const NSComparator& comparator) {
  setArray(sortedArrayUsingComparator(comparator));
}

void NSMutableArray::sortUsingFunction_context(NSComparisonResult (*function)(const id&, const id&,
                                                                              void*),
                                               void* context) {
  setArray(sortedArrayUsingFunction_context(function, context));
}

void NSMutableArray::sortUsingSelector(SEL selector) {
  setArray(sortedArrayUsingSelector(selector));
}

void NSMutableArray::sortUsingDescriptors(const Ref<NSArray>& descriptors) {
  setArray(sortedArrayUsingDescriptors(descriptors));
}

void NSMutableArray::splice(NSRange range, std::vector<id> objects) {
  const NSUInteger replaced = std::min<NSUInteger>(range.length, objects.size());
  for (NSUInteger index = 0; index < replaced; ++index) {
    replaceObjectAtIndex_withObject(range.location + index, objects[index]);
  }
  for (NSUInteger index = range.length; index > replaced; --index) {
    removeObjectAtIndex(range.location + index - 1);
  }
  for (NSUInteger index = replaced; index < objects.size(); ++index) {
    insertObject_atIndex(objects[index], range.location + index);
  }
}

void NSMutableArray::removeObjectsPassingTest(const std::function<bool(const id&)>& test) {
  for (NSUInteger index = count(); index > 0; --index) {
    if (test(objectAtIndex(index - 1))) {
      removeObjectAtIndex(index - 1);
    }
  }
}

}  // namespace kestova
