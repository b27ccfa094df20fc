// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSIndexSet.h>
#include <KestovaPlatform/NSSet.h>

namespace kestova {

/// \file
/// Arrays made from arrays, and finding in them.
///
///     const auto nameOf = [](const id& person) { return person->valueForKey("name"); };
///     const auto others = arrayByRemovingObject(ov_map(people, nameOf), "Ada");
///
/// Nothing changes the array that it is asked of; what is answered is immutable. A null array or
/// set of others counts as an empty one. Threads: as safe as reading the arrays is.

inline namespace NSArray_KestovaAdditions {

/// \name Finding
/// @{

/// The object at the front; null when the array is empty.
KESTOVA_FOUNDATION_EXPORT id firstObject(const Ref<NSArray>& self);

/// The index of the first object whose value for the key is the given one or equal to it, null
/// being equal to null; NSNotFound when there is none.
KESTOVA_FOUNDATION_EXPORT NSUInteger indexOfObjectWithValue_forKey(const Ref<NSArray>& self,
                                                                   const id& value,
                                                                   const Ref<NSString>& key);

/// That object; null when there is none.
KESTOVA_FOUNDATION_EXPORT id objectWithValue_forKey(const Ref<NSArray>& self, const id& value,
                                                    const Ref<NSString>& key);

/// For each member of a set the first index of an equal object. What is equal to it further behind
/// is not told.
KESTOVA_FOUNDATION_EXPORT Ref<NSIndexSet> indexesOfObjectsInSet(const Ref<NSArray>& self,
                                                                const Ref<NSSet>& set);
KESTOVA_FOUNDATION_EXPORT Ref<NSIndexSet> indexesOfObjectsInArray(const Ref<NSArray>& self,
                                                                  const Ref<NSArray>& other);

/// The objects for which the block answers true, in the order of the walk: from the back when
/// `options` holds NSEnumerationReverse, all other bits making no difference. The block may set its
/// last argument, which makes this object the last one that it is asked about.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> objectsWithOptions_passingTest(
    const Ref<NSArray>& self, NSUInteger options,
    const Block<bool(const id& object, bool* stop)>& test);

/// The first object for which the block answers true; null when there is none.
KESTOVA_FOUNDATION_EXPORT id
ov_objectPassingTest(const Ref<NSArray>& self,
                     const Block<bool(const id& object, NSUInteger index, bool* stop)>& test);

/// @}
/// \name Strings
/// An object that is no string, or null to enclose it with, throws NSInvalidArgumentException.
/// @{

/// Each string with the given one before and behind it, or with `before` and `behind`.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> componentsEnclosedWith(const Ref<NSArray>& self,
                                                              const Ref<NSString>& string);
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> componentsEnclosedBy_and(const Ref<NSArray>& self,
                                                                const Ref<NSString>& before,
                                                                const Ref<NSString>& behind);

/// @}
/// \name Arrays with more or fewer objects
/// Null for an object to insert or for indexes, and indexes past the end fail as in an
/// NSMutableArray.
/// @{

/// Without every object that is equal to the given one.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> arrayByRemovingObject(const Ref<NSArray>& self,
                                                             const id& object);

/// Without every object that is equal to one of the others. Each object is looked for among them
/// one by one.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> arrayByRemovingObjectsInArray(const Ref<NSArray>& self,
                                                                     const Ref<NSArray>& other);

KESTOVA_FOUNDATION_EXPORT Ref<NSArray> arrayByRemovingObjectAtIndex(const Ref<NSArray>& self,
                                                                    NSUInteger index);
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> arrayByRemovingObjectsAtIndexes(
    const Ref<NSArray>& self, const Ref<NSIndexSet>& indexes);
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> arrayByInsertingObject_atIndex(const Ref<NSArray>& self,
                                                                      const id& object,
                                                                      NSUInteger index);
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> arrayByInsertingObjects_atIndexes(
    const Ref<NSArray>& self, const Ref<NSArray>& objects, const Ref<NSIndexSet>& indexes);

/// @}

/// Where objects that are taken out at some indexes go in again so that they come to stand before
/// the object that was at `index`: that index less the number of indexes below it.
KESTOVA_FOUNDATION_EXPORT NSUInteger
ajustedInsertionIndex_forMovingObjectsAtIndexes(NSUInteger index, const Ref<NSIndexSet>& indexes);

/// What the block answers for each object, in their order, without what it answers null for.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> ov_map(const Ref<NSArray>& self,
                                              const Block<id(const id& object)>& block);

}  // namespace NSArray_KestovaAdditions

inline namespace NSArray_KestovaFoundationSortingAddition {

/// The objects in the order of a property's values; `selector` compares them as in
/// NSSortDescriptor.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> sortedArrayUsingKey_ascending_selector(
    const Ref<NSArray>& self, const Ref<NSString>& key, bool ascending, SEL selector);

}  // namespace NSArray_KestovaFoundationSortingAddition

inline namespace NSArray_DataAdditions {

/// The bytes of all elements in order, with those of the separator between each two. Each element
/// is an NSData; another object throws NSInvalidArgumentException, and so does a null separator
/// where there is something to separate. An empty array gives no bytes. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableData> componentsJoinedByData(const Ref<NSArray>& self,
                                                                    const Ref<NSData>& separator);

}  // namespace NSArray_DataAdditions

inline namespace NSArray_TrimmingStrings {

/// The strings in their order, each without the characters of a set at its ends. An object that is
/// no string throws NSInvalidArgumentException, and so does a null set where there are strings.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> stringsByTrimmingCharactersInSet(
    const Ref<NSArray>& self, const Ref<NSCharacterSet>& set);

}  // namespace NSArray_TrimmingStrings

}  // namespace kestova
