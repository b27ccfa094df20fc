// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Several arrays seen as one: their objects one after the other, without copying any.
///
///     auto rows = OVFlattenedArray::initWithArrays(NSArray::of(section0, section1));
///     id third = rows->objectAtIndex(2);
///     NSUInteger section = rows->arrayIndexForObjectAtFlattenedIndex(2);
///
/// It keeps a copy of the list of arrays and shares the arrays themselves. Its count is told once,
/// when it is made: the arrays must not change afterwards. Every other operation is NSArray's own.
///
/// A failure throws NSInvalidArgumentException, deliberately also for an index past the end, where
/// other arrays throw NSRangeException. The limit that its reason names is the count, one more than
/// the last index.
///
/// Threads: as safe to share as its arrays are. An index is found in time that grows with the
/// number of arrays, not of objects.
class KESTOVA_FOUNDATION_EXPORT OVFlattenedArray : public NSArray {
  KESTOVA_CLASS(OVFlattenedArray, NSArray)

 public:
  /// Null is no arrays. An object that is no array throws NSInvalidArgumentException.
  static Ref<OVFlattenedArray> initWithArrays(const Ref<NSArray>& arrays);

  /// How many objects there were in all arrays when the view was made.
  NSUInteger count() const override { return mCount; }

  /// The object at an index, array after array; throws NSRangeException past the end.
  id objectAtIndex(NSUInteger index) const override;

  /// How many arrays there are.
  NSUInteger arrayCount() const noexcept { return mArrayCount; }

  /// An array, or how many objects it holds. There being no such array throws NSRangeException.
  Ref<NSArray> arrayAtIndex(NSUInteger index) const;
  NSUInteger countInArrayAtIndex(NSUInteger index) const;

  /// \name From one kind of index to the other (Convenience)
  /// @{

  /// The index here of an object that is at `objectIndex` of an array.
  NSUInteger flattenedIndexForObjectAtIndex_inArrayAtIndex(NSUInteger objectIndex,
                                                           NSUInteger arrayIndex) const;

  /// Which array the object at an index here comes from.
  NSUInteger arrayIndexForObjectAtFlattenedIndex(NSUInteger index) const;

  /// The same, with the index in that array. Both places must be given: null ends the process.
  void getObjectIndex_arrayIndex_forObjectAtFlattenedIndex(NSUInteger* objectIndex,
                                                           NSUInteger* arrayIndex,
                                                           NSUInteger index) const;

  /// @}

 protected:
  explicit OVFlattenedArray(const Ref<NSArray>& arrays);

 private:
  /// Where an object lies.
  struct Place {
    const NSArray* array;
    NSUInteger objectIndex;
    NSUInteger arrayIndex;
  };

  Place placeOf(NSUInteger index) const;
  Place checkedPlaceOf(NSUInteger index) const;

  NSUInteger mCount = 0;
  const NSUInteger mArrayCount;
  const Ref<NSArray> mArrays;
};

}  // namespace kestova
