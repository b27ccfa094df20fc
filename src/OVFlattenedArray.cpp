// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFlattenedArray.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVFlattenedArray, .property<&OVFlattenedArray::arrayCount>("arrayCount"))

namespace {

template <class... Numbers>
[[noreturn]] void throwOutOfBounds(const char* format, Numbers... numbers) {
  throw NSException(NSInvalidArgumentException, NSString::stringWithFormat(format, numbers...));
}

[[noreturn]] void throwNoIndex(NSUInteger index, NSUInteger count) {
  throwOutOfBounds("Index %lu is out of bounds (0-%lu)", index, count);
}

/// A member of the list, all of which were seen to be arrays.
const NSArray& asArray(const id& member) { return static_cast<const NSArray&>(*member); }

}  // namespace

OVFlattenedArray::OVFlattenedArray(const Ref<NSArray>& arrays)
    : mArrayCount(arrays ? arrays->count() : 0), mArrays(NSArray::arrayWithArray(arrays)) {
  for (const id& member : mArrays) {
    if (!cast<NSArray>(member)) {
      throwUnrecognizedSelector(*member, "objectAtIndex:");
    }
    mCount += asArray(member).count();
  }
}

Ref<OVFlattenedArray> OVFlattenedArray::initWithArrays(const Ref<NSArray>& arrays) {
  return make<OVFlattenedArray>(arrays);
}

OVFlattenedArray::Place OVFlattenedArray::placeOf(NSUInteger index) const {
  NSUInteger left = index;
  NSUInteger arrayIndex = 0;
  for (const id& member : mArrays) {
    const NSUInteger size = asArray(member).count();
    if (left < size) {
      return {&asArray(member), left, arrayIndex};
    }
    left -= size;
    ++arrayIndex;
  }
  throwNoIndex(index, mCount);
}

OVFlattenedArray::Place OVFlattenedArray::checkedPlaceOf(NSUInteger index) const {
  if (index >= mCount) {
    throwNoIndex(index, mCount);
  }
  return placeOf(index);
}

id OVFlattenedArray::objectAtIndex(NSUInteger index) const {
  const Place place = placeOf(index);
  return place.array->objectAtIndex(place.objectIndex);
}

Ref<NSArray> OVFlattenedArray::arrayAtIndex(NSUInteger index) const {
  return cast<NSArray>(mArrays->objectAtIndex(index));
}

NSUInteger OVFlattenedArray::countInArrayAtIndex(NSUInteger index) const {
  return arrayAtIndex(index)->count();
}

NSUInteger OVFlattenedArray::flattenedIndexForObjectAtIndex_inArrayAtIndex(
    NSUInteger objectIndex, NSUInteger arrayIndex) const {
  if (arrayIndex >= mArrayCount) {
    throwOutOfBounds("Array index %lu is out of bounds (0-%lu)", arrayIndex, mArrayCount);
  }
  const NSUInteger size = countInArrayAtIndex(arrayIndex);
  if (objectIndex >= size) {
    throwOutOfBounds("Object index %lu in subarray %lu is out of bounds (0-%lu)", objectIndex,
                     arrayIndex, size);
  }
  NSUInteger index = objectIndex;
  for (NSUInteger before = 0; before < arrayIndex; ++before) {
    index += countInArrayAtIndex(before);
  }
  return index;
}

NSUInteger OVFlattenedArray::arrayIndexForObjectAtFlattenedIndex(NSUInteger index) const {
  return checkedPlaceOf(index).arrayIndex;
}

void OVFlattenedArray::getObjectIndex_arrayIndex_forObjectAtFlattenedIndex(NSUInteger* objectIndex,
                                                                           NSUInteger* arrayIndex,
                                                                           NSUInteger index) const {
  require(objectIndex != nullptr && arrayIndex != nullptr,
          "objectIndex != NULL, arrayIndex != NULL");
  const Place place = checkedPlaceOf(index);
  *objectIndex = place.objectIndex;
  *arrayIndex = place.arrayIndex;
}

}  // namespace kestova
