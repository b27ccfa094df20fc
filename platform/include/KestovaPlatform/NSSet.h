// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Objects of which no two are equal, in no order, immutable here.
///
///     Ref<NSSet> endings = NSSet::of("txt", "md");
///     if (endings->containsObject(path->pathExtension())) …
///
/// Members are compared with `isEqual`, are shared, and must not change their `hash` while they are
/// members. A set never holds null; a null set or array counts as an empty one wherever its members
/// are to be taken. Every walk through one set has the same order until it changes.
///
/// A subclass overrides the primitives `count`, `member` and `objectEnumerator`, and has every
/// other operation then; a subclass whose members lie in one piece of memory overrides
/// `contiguousObjects` as well.
///
/// Threads: any number of them may read an immutable set at a time. Changing a set while it is
/// walked through is the caller's error. Looking for a member takes constant time on average.
class KESTOVA_PLATFORM_EXPORT NSSet : public NSObject {
  KESTOVA_CLASS(NSSet, NSObject)

 public:
  /// \name Making
  /// A null object throws NSInvalidArgumentException. Of equal objects the first one stays.
  /// @{

  /// The empty set.
  static Ref<NSSet> set();

  /// One member, or those of an array.
  static Ref<NSSet> setWithObject(const id& object);
  static Ref<NSSet> setWithArray(const Ref<NSArray>& array);

  /// The same members; an immutable set of the platform answers itself.
  static Ref<NSSet> setWithSet(const Ref<NSSet>& set);

  /// The given objects and boxed values.
  template <class... Values>
  static Ref<NSSet> of(const Values&... values) {
    return setWithArray(NSArray::of(values...));
  }

  /// @}
  /// \name Reading
  /// @{

  /// How many members there are. A primitive.
  virtual NSUInteger count() const = 0;

  /// The member that is equal to the object; nothing when there is none, and for null. A primitive.
  virtual id member(const id& object) const = 0;

  /// Whether an equal object is a member; false for null.
  virtual bool containsObject(const id& object) const;

  /// The members in an array.
  virtual Ref<NSArray> allObjects() const;

  /// The members in an array, sorted as NSArray sorts by descriptors.
  Ref<NSArray> sortedArrayUsingDescriptors(const Ref<NSArray>& descriptors) const;

  /// One of the members, the same one until the set changes; nothing when there is none.
  id anyObject() const;

  /// Whether the other set has all members of this one.
  bool isSubsetOfSet(const Ref<NSSet>& other) const;

  /// Whether the sets share a member.
  bool intersectsSet(const Ref<NSSet>& other) const;

  /// @}
  /// \name Walking
  /// @{

  /// The members. A primitive.
  virtual Ref<NSEnumerator> objectEnumerator() const = 0;

  /// What range-`for` over a reference walks with.
  MemberIterator members() const {
    const id* first = contiguousObjects();
    return first != nullptr ? MemberIterator(first, count()) : MemberIterator(objectEnumerator());
  }

  /// Calls the block for each member, on this thread, until it sets its last argument.
  void enumerateObjectsUsingBlock(const Block<void(const id& object, bool* stop)>& block) const;

  /// Performs the operation on each member. A member that does not have it: std::bad_cast.
  void makeObjectsPerformSelector(SEL selector) const;
  void makeObjectsPerformSelector_withObject(SEL selector, const id& argument) const;

  /// @}
  /// \name Other sets made from this one
  /// A null object throws NSInvalidArgumentException.
  /// @{
  Ref<NSSet> setByAddingObject(const id& object) const;
  Ref<NSSet> setByAddingObjectsFromSet(const Ref<NSSet>& other) const;
  Ref<NSSet> setByAddingObjectsFromArray(const Ref<NSArray>& other) const;
  /// @}
  /// \name Properties of the members by name
  /// @{

  /// The set of the property's values of all members, without those that hold nothing. A key that
  /// begins with "@" names a property of the set itself: "@count".
  id valueForKey(const Ref<NSString>& key) const override;

  /// Sets the property of each member.
  void setValue_forKey(const id& value, const Ref<NSString>& key) override;

  /// @}

  /// Whether both have equal members. Null is equal to nothing.
  bool isEqualToSet(const Ref<NSSet>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "{(", the members on a line each, ")}", written as in an array.
  Ref<NSString> description() const override;

  /// An immutable set of the same members; the platform's own immutable ones answer themselves.
  id copy() const override;
  id mutableCopy() const override;

 protected:
  NSSet() = default;

  /// The members, where they lie side by side in memory; else null, as here. Valid until the set
  /// changes.
  virtual const id* contiguousObjects() const { return nullptr; }
};

/// A set that changes.
///
/// A subclass overrides `addObject` and `removeObject` besides the primitives of NSSet.
///
/// A null object throws NSInvalidArgumentException; the set is then as it was. So are the
/// platform's own sets where memory is missing. In a subclass an operation on many members is one
/// call of a primitive after the other: what was done before one throws stays done.
///
/// Threads: one at a time. Adding and removing take constant time on average.
class KESTOVA_PLATFORM_EXPORT NSMutableSet : public NSSet {
  KESTOVA_CLASS(NSMutableSet, NSSet)

 public:
  /// \name Making
  /// @{
  static Ref<NSMutableSet> set();
  static Ref<NSMutableSet> init() { return set(); }

  /// An empty one with room for that many members.
  static Ref<NSMutableSet> setWithCapacity(NSUInteger capacity);

  /// The same as of the immutable class, each a new set.
  static Ref<NSMutableSet> setWithObject(const id& object);
  static Ref<NSMutableSet> setWithArray(const Ref<NSArray>& array);
  static Ref<NSMutableSet> setWithSet(const Ref<NSSet>& set);

  template <class... Values>
  static Ref<NSMutableSet> of(const Values&... values) {
    return setWithArray(NSArray::of(values...));
  }
  /// @}

  /// Adds an object, unless an equal one is a member: that one then stays. A primitive.
  virtual void addObject(const id& object) = 0;

  /// Removes the equal member; when there is none, that is no failure. A primitive.
  virtual void removeObject(const id& object) = 0;

  virtual void removeAllObjects();

  /// Adds each of them; when one can't be added, none is. Null adds nothing.
  virtual void addObjectsFromArray(const Ref<NSArray>& other);

  /// \name Putting sets together
  /// @{

  /// Adds the other set's members.
  void unionSet(const Ref<NSSet>& other);

  /// Removes the other set's members.
  void minusSet(const Ref<NSSet>& other);

  /// Keeps only the members that the other set has too.
  void intersectSet(const Ref<NSSet>& other);

  /// Has the members of the other set and no others.
  virtual void setSet(const Ref<NSSet>& other);

  /// @}

 protected:
  NSMutableSet() = default;
};

}  // namespace kestova
