// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSIndexSet.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Selector.h>

#include <functional>
#include <vector>

namespace kestova {

class NSURL;

/// Orders two objects, for sorting.
using NSComparator = Block<NSComparisonResult(const id&, const id&)>;

/// Objects in a row, immutable here.
///
///     Ref<NSArray> row = NSArray::of("name", 42, true);   // plain values box themselves
///     for (const id& object : row) …
///
/// An array shares its objects and never holds nothing (null): NSNull stands for it where it is
/// needed. A null array counts as an empty one wherever its objects are to be taken.
///
/// A subclass overrides the primitives `count` and `objectAtIndex`, and has every other operation
/// then; a subclass whose objects lie in one piece of memory overrides `contiguousObjects` as well.
///
/// Threads: any number of them may read an immutable array at a time. Changing an array while it is
/// walked through, by range-`for` or a block, is the caller's error.
class KESTOVA_PLATFORM_EXPORT NSArray : public NSObject {
  KESTOVA_CLASS(NSArray, NSObject)

 public:
  /// \name Making
  /// Null among the objects throws NSInvalidArgumentException.
  /// @{

  /// The empty array.
  static Ref<NSArray> array();

  static Ref<NSArray> arrayWithObject(const id& object);

  /// Takes the objects over, without touching their counts.
  static Ref<NSArray> arrayWithObjects(std::vector<id> objects);

  /// `objects` may be null when `count` is 0.
  static Ref<NSArray> arrayWithObjects_count(const id* objects, NSUInteger count);

  /// The same objects; an immutable array of the platform answers itself.
  static Ref<NSArray> arrayWithArray(const Ref<NSArray>& array);

  /// The given objects and boxed values.
  template <class... Values>
  static Ref<NSArray> of(const Values&... values) {
    return arrayWithObjects({id(values)...});
  }

  /// @}
  /// \name Reading
  /// @{

  /// How many objects there are. A primitive.
  virtual NSUInteger count() const = 0;

  /// The object at an index; throws NSRangeException past the end. A primitive.
  virtual id objectAtIndex(NSUInteger index) const = 0;

  /// The object at the front, or at the back; nothing when the array is empty.
  id firstObject() const;
  id lastObject() const;

  /// Whether an equal object is in the array. Walks through it.
  bool containsObject(const id& object) const;

  /// The first index of an equal object, or of the very same one; NSNotFound when there is none.
  NSUInteger indexOfObject(const id& object) const;
  NSUInteger indexOfObjectIdenticalTo(const id& object) const;

  /// The first index for which the block answers true; NSNotFound when there is none. The block may
  /// set its last argument, which makes this object the last one that it is asked about.
  NSUInteger indexOfObjectPassingTest(
      const Block<bool(const id& object, NSUInteger index, bool* stop)>& test) const;

  /// All indexes for which the block answers true, up to the one for which it sets its last
  /// argument.
  Ref<NSIndexSet> indexesOfObjectsPassingTest(
      const Block<bool(const id& object, NSUInteger index, bool* stop)>& test) const;

  /// The objects of a range; throws NSRangeException past the end.
  Ref<NSArray> subarrayWithRange(NSRange range) const;

  /// The objects at the indexes, in their order; throws NSRangeException past the end. Null throws
  /// NSInvalidArgumentException.
  Ref<NSArray> objectsAtIndexes(const Ref<NSIndexSet>& indexes) const;

  /// The descriptions of the objects with the separator between them; null separates by nothing.
  Ref<NSString> componentsJoinedByString(const Ref<NSString>& separator) const;

  /// @}
  /// \name Walking
  /// @{

  /// What range-`for` over a reference walks with.
  MemberIterator members() const {
    const id* first = contiguousObjects();
    return first != nullptr ? MemberIterator(first, count()) : MemberIterator(objectEnumerator());
  }

  Ref<NSEnumerator> objectEnumerator() const;
  Ref<NSEnumerator> reverseObjectEnumerator() const;

  /// Calls the block for each object, on this thread, until it sets its last argument. `options` is
  /// a sum of NSEnumerationOptions.
  void enumerateObjectsUsingBlock(
      const Block<void(const id& object, NSUInteger index, bool* stop)>& block) const;
  void enumerateObjectsWithOptions_usingBlock(
      NSUInteger options,
      const Block<void(const id& object, NSUInteger index, bool* stop)>& block) const;

  /// Performs the operation on each object. An object that does not have it: std::bad_cast.
  void makeObjectsPerformSelector(SEL selector) const;
  void makeObjectsPerformSelector_withObject(SEL selector, const id& argument) const;

  /// @}
  /// \name Other arrays made from this one
  /// Sorting keeps the order of objects that are the same to the comparison.
  /// @{

  Ref<NSArray> arrayByAddingObject(const id& object) const;
  Ref<NSArray> arrayByAddingObjectsFromArray(const Ref<NSArray>& other) const;

  Ref<NSArray> sortedArrayUsingComparator(const NSComparator& comparator) const;

  /// `context` is handed to the function with each pair.
  Ref<NSArray> sortedArrayUsingFunction_context(NSComparisonResult (*function)(const id&, const id&,
                                                                               void* context),
                                                void* context) const;

  /// `selector` is an operation with one argument that answers an NSComparisonResult, such as
  /// `sel<&NSString::compare>()`.
  Ref<NSArray> sortedArrayUsingSelector(SEL selector) const;

  /// Sorts by the first of the NSSortDescriptors, what is the same to it by the next one, and so
  /// on. Without any the objects stay in their order.
  Ref<NSArray> sortedArrayUsingDescriptors(const Ref<NSArray>& descriptors) const;

  /// @}
  /// \name Properties of the objects by name
  /// @{

  /// The property's values of all objects, NSNull where one holds nothing. A key that begins with
  /// "@" names a property of the array itself: "@count".
  id valueForKey(const Ref<NSString>& key) const override;

  /// Sets the property of each object.
  void setValue_forKey(const id& value, const Ref<NSString>& key) override;

  /// @}

  /// \name Files
  /// As property lists (see NSPropertyListSerialization.h): all that is in the array must be one.
  /// All of these block; what fails answers null or false, and so does a URL of no file.
  /// @{

  /// The immutable array at the top of a file in any format.
  static Ref<NSArray> arrayWithContentsOfFile(const Ref<NSString>& path);
  static Ref<NSArray> arrayWithContentsOfURL(const Ref<NSURL>& url);

  /// Writes the XML format, whole or not at all when `atomically` is true.
  bool writeToFile_atomically(const Ref<NSString>& path, bool atomically) const;
  bool writeToURL_atomically(const Ref<NSURL>& url, bool atomically) const;

  /// @}

  /// Whether both have equal objects in the same order. Null is equal to nothing.
  bool isEqualToArray(const Ref<NSArray>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "(", the objects on a line each, ")". Texts that hold more than letters, digits and a few
  /// signs are quoted, collections indented; one more than 100 levels deep is written as "(...)".
  Ref<NSString> description() const override;

  /// An immutable array of the same objects; the platform's own immutable ones answer themselves.
  id copy() const override;
  id mutableCopy() const override;

 protected:
  NSArray() = default;

  /// The objects, where they lie side by side in memory; else null, as here. Valid until the array
  /// changes.
  virtual const id* contiguousObjects() const { return nullptr; }
};

/// An array that grows, shrinks and changes.
///
/// A subclass overrides `insertObject_atIndex`, `removeObjectAtIndex` and
/// `replaceObjectAtIndex_withObject` besides the primitives of NSArray, and `addObject` and
/// `removeLastObject` where it can do better than by these.
///
/// Null for an object throws NSInvalidArgumentException, an index or a range past the end
/// NSRangeException; the array is then as it was.
///
/// Threads: one at a time. The platform's own arrays add and remove at the back in constant time,
/// on average, and elsewhere in time that grows with the objects behind.
class KESTOVA_PLATFORM_EXPORT NSMutableArray : public NSArray {
  KESTOVA_CLASS(NSMutableArray, NSArray)

 public:
  /// \name Making
  /// @{
  static Ref<NSMutableArray> array();
  static Ref<NSMutableArray> init() { return array(); }

  /// An empty one with room for that many.
  static Ref<NSMutableArray> arrayWithCapacity(NSUInteger capacity);

  static Ref<NSMutableArray> arrayWithObject(const id& object);
  static Ref<NSMutableArray> arrayWithObjects(std::vector<id> objects);
  static Ref<NSMutableArray> arrayWithObjects_count(const id* objects, NSUInteger count);
  static Ref<NSMutableArray> arrayWithArray(const Ref<NSArray>& array);

  template <class... Values>
  static Ref<NSMutableArray> of(const Values&... values) {
    return arrayWithObjects({id(values)...});
  }
  /// @}
  /// \name Primitives
  /// @{

  /// Puts an object before the one at the index; an index equal to the count appends.
  virtual void insertObject_atIndex(const id& object, NSUInteger index) = 0;
  virtual void removeObjectAtIndex(NSUInteger index) = 0;
  virtual void replaceObjectAtIndex_withObject(NSUInteger index, const id& object) = 0;
  virtual void addObject(const id& object);

  /// Throws NSRangeException when the array is empty.
  virtual void removeLastObject();

  /// @}
  /// \name Adding
  /// @{
  void addObjectsFromArray(const Ref<NSArray>& other);

  /// Puts other objects in place of those of a range; an empty range inserts, an empty array
  /// removes.
  void replaceObjectsInRange_withObjectsFromArray(NSRange range, const Ref<NSArray>& other);

  /// Puts objects in so that each one ends up at the index of its turn. An index that none of them
  /// can end up at throws NSRangeException, as many indexes as there are no objects
  /// NSInvalidArgumentException.
  void insertObjects_atIndexes(const Ref<NSArray>& objects, const Ref<NSIndexSet>& indexes);

  /// Puts objects in place of those at the indexes, in their order. As many indexes as there are no
  /// objects throw NSInvalidArgumentException.
  void replaceObjectsAtIndexes_withObjects(const Ref<NSIndexSet>& indexes,
                                           const Ref<NSArray>& objects);

  void exchangeObjectAtIndex_withObjectAtIndex(NSUInteger first, NSUInteger second);
  void setArray(const Ref<NSArray>& other);

  /// @}
  /// \name Removing
  /// What is not there is not removed; that is no failure.
  /// @{

  /// Removes every equal object, or every occurrence of the very same one.
  void removeObject(const id& object);
  void removeObjectIdenticalTo(const id& object);

  /// Removes every object that is equal to one of the other array.
  void removeObjectsInArray(const Ref<NSArray>& other);
  void removeObjectsInRange(NSRange range);

  /// Removes the objects at the indexes; throws NSRangeException past the end.
  void removeObjectsAtIndexes(const Ref<NSIndexSet>& indexes);
  virtual void removeAllObjects();

  /// @}
  /// \name Sorting, as NSArray does
  /// @{
  void sortUsingComparator(const NSComparator& comparator);
  void sortUsingFunction_context(NSComparisonResult (*function)(const id&, const id&,
                                                                void* context),
                                 void* context);
  void sortUsingSelector(SEL selector);
  void sortUsingDescriptors(const Ref<NSArray>& descriptors);
  /// @}

 protected:
  NSMutableArray() = default;

  /// \name What many operations are told in
  /// Here by the primitives, one object at a time; the platform's own arrays do better.
  /// @{

  /// Puts objects, none of them null, in place of a range that lies within the array.
  virtual void splice(NSRange range, std::vector<id> objects);

  /// Removes the objects that the test answers true for.
  virtual void removeObjectsPassingTest(const std::function<bool(const id&)>& test);

  /// @}
};

}  // namespace kestova
