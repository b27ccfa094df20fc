// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSortDescriptor.h>
#include <KestovaPlatform/NSString.h>

#include <utility>
#include <vector>

namespace kestova {
namespace {

Ref<NSString> enclosed(const id& object, const Ref<NSString>& before, const Ref<NSString>& behind) {
  const auto string = cast<NSString>(object);
  if (!string) {
    throwUnrecognizedSelector(*object, "length");
  }
  return NSString::string()
      ->stringByAppendingString(before)
      ->stringByAppendingString(string)
      ->stringByAppendingString(behind);
}

/// An immutable copy of an array after a change.
template <class Change>
Ref<NSArray> changed(const Ref<NSArray>& array, const Change& change) {
  const auto copy = NSMutableArray::arrayWithArray(array);
  change(*copy);
  return cast<NSArray>(copy->copy());
}

id objectAtIndexOrNothing(const Ref<NSArray>& array, NSUInteger index) {
  return index == NSNotFound ? nullptr : array->objectAtIndex(index);
}

}  // namespace

inline namespace NSArray_KestovaAdditions {

id firstObject(const Ref<NSArray>& self) { return self->firstObject(); }

NSUInteger indexOfObjectWithValue_forKey(const Ref<NSArray>& self, const id& value,
                                         const Ref<NSString>& key) {
  // The count is read at each step, for reading a value may change the array.
  for (NSUInteger index = 0; index < self->count(); ++index) {
    if (isEqualOrBothNull(self->objectAtIndex(index)->valueForKey(key), value)) {
      return index;
    }
  }
  return NSNotFound;
}

id objectWithValue_forKey(const Ref<NSArray>& self, const id& value, const Ref<NSString>& key) {
  return objectAtIndexOrNothing(self, indexOfObjectWithValue_forKey(self, value, key));
}

Ref<NSIndexSet> indexesOfObjectsInSet(const Ref<NSArray>& self, const Ref<NSSet>& set) {
  const auto indexes = NSMutableIndexSet::indexSet();
  for (const id& object : NSSet::setWithSet(set)) {
    const NSUInteger index = self->indexOfObject(object);
    if (index != NSNotFound) {
      indexes->addIndex(index);
    }
  }
  return cast<NSIndexSet>(indexes->copy());
}

Ref<NSIndexSet> indexesOfObjectsInArray(const Ref<NSArray>& self, const Ref<NSArray>& other) {
  return indexesOfObjectsInSet(self, NSSet::setWithArray(other));
}

Ref<NSArray> objectsWithOptions_passingTest(const Ref<NSArray>& self, NSUInteger options,
                                            const Block<bool(const id& object, bool* stop)>& test) {
  std::vector<id> passed;
  self->enumerateObjectsWithOptions_usingBlock(options & NSEnumerationReverse,
                                               [&](const id& object, NSUInteger, bool* stop) {
                                                 if (test(object, stop)) {
                                                   passed.push_back(object);
                                                 }
                                               });
  return NSArray::arrayWithObjects(std::move(passed));
}

id ov_objectPassingTest(const Ref<NSArray>& self,
                        const Block<bool(const id& object, NSUInteger index, bool* stop)>& test) {
  return objectAtIndexOrNothing(self, self->indexOfObjectPassingTest(test));
}

Ref<NSArray> componentsEnclosedWith(const Ref<NSArray>& self, const Ref<NSString>& string) {
  return componentsEnclosedBy_and(self, string, string);
}

Ref<NSArray> componentsEnclosedBy_and(const Ref<NSArray>& self, const Ref<NSString>& before,
                                      const Ref<NSString>& behind) {
  return ov_map(self, [&](const id& object) { return enclosed(object, before, behind); });
}

Ref<NSArray> arrayByRemovingObject(const Ref<NSArray>& self, const id& object) {
  return changed(self, [&](NSMutableArray& copy) { copy.removeObject(object); });
}

Ref<NSArray> arrayByRemovingObjectsInArray(const Ref<NSArray>& self, const Ref<NSArray>& other) {
  return ov_map(self, [&](const id& object) {
    return other && other->containsObject(object) ? id() : object;
  });
}

Ref<NSArray> arrayByRemovingObjectAtIndex(const Ref<NSArray>& self, NSUInteger index) {
  return changed(self, [&](NSMutableArray& copy) { copy.removeObjectAtIndex(index); });
}

Ref<NSArray> arrayByRemovingObjectsAtIndexes(const Ref<NSArray>& self,
                                             const Ref<NSIndexSet>& indexes) {
  return changed(self, [&](NSMutableArray& copy) { copy.removeObjectsAtIndexes(indexes); });
}

Ref<NSArray> arrayByInsertingObject_atIndex(const Ref<NSArray>& self, const id& object,
                                            NSUInteger index) {
  return changed(self, [&](NSMutableArray& copy) { copy.insertObject_atIndex(object, index); });
}

Ref<NSArray> arrayByInsertingObjects_atIndexes(const Ref<NSArray>& self,
                                               const Ref<NSArray>& objects,
                                               const Ref<NSIndexSet>& indexes) {
  return changed(self,
                 [&](NSMutableArray& copy) { copy.insertObjects_atIndexes(objects, indexes); });
}

NSUInteger ajustedInsertionIndex_forMovingObjectsAtIndexes(NSUInteger index,
                                                           const Ref<NSIndexSet>& indexes) {
  return indexes ? index - indexes->countOfIndexesInRange({0, index}) : index;
}

Ref<NSArray> ov_map(const Ref<NSArray>& self, const Block<id(const id& object)>& block) {
  std::vector<id> results;
  for (const id& object : self) {
    if (id result = block(object)) {
      results.push_back(std::move(result));
    }
  }
  return NSArray::arrayWithObjects(std::move(results));
}

}  // namespace NSArray_KestovaAdditions

inline namespace NSArray_KestovaFoundationSortingAddition {

Ref<NSArray> sortedArrayUsingKey_ascending_selector(const Ref<NSArray>& self,
                                                    const Ref<NSString>& key, bool ascending,
                                                    SEL selector) {
  return self->sortedArrayUsingDescriptors(NSArray::of(
      NSSortDescriptor::sortDescriptorWithKey_ascending_selector(key, ascending, selector)));
}

}  // namespace NSArray_KestovaFoundationSortingAddition

inline namespace NSArray_DataAdditions {

/// What is no data reaches `appendData` as null, which refuses it.
Ref<NSMutableData> componentsJoinedByData(const Ref<NSArray>& self, const Ref<NSData>& separator) {
  const auto joined = NSMutableData::data();
  bool isFirst = true;
  for (const id& element : self) {
    if (!isFirst) {
      joined->appendData(separator);
    }
    joined->appendData(cast<NSData>(element));
    isFirst = false;
  }
  return joined;
}

}  // namespace NSArray_DataAdditions

inline namespace NSArray_TrimmingStrings {

Ref<NSArray> stringsByTrimmingCharactersInSet(const Ref<NSArray>& self,
                                              const Ref<NSCharacterSet>& set) {
  std::vector<id> trimmed;
  trimmed.reserve(self->count());
  for (const id& element : self) {
    const auto string = cast<NSString>(element);
    if (!string) {
      throwUnrecognizedSelector(*element, "stringByTrimmingCharactersInSet:");
    }
    trimmed.emplace_back(string->stringByTrimmingCharactersInSet(set));
  }
  return NSArray::arrayWithObjects(std::move(trimmed));
}

}  // namespace NSArray_TrimmingStrings

}  // namespace kestova
