// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSSortDescriptor.h>

#include "collections/CollectionDescription.h"
#include "collections/Members.h"
#include "collections/StableSort.h"
#include "collections/VectorArray.h"
#include "object/Reference.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSArray, .property<&NSArray::count>("count"))

namespace {

class ImmutableArray final : public VectorArray<NSArray> {
 public:
  using VectorArray::VectorArray;
};

/// Walks by index, so that an array that shrinks meanwhile ends the walk and does no harm.
class ArrayEnumerator final : public NSEnumerator {
 public:
  explicit ArrayEnumerator(const NSArray& array) : array_(&array) {}

  id nextObject() override {
    return next_ < array_->count() ? array_->objectAtIndex(next_++) : nullptr;
  }

 private:
  Ref<const NSArray> array_;
  NSUInteger next_ = 0;
};

class ReverseArrayEnumerator final : public NSEnumerator {
 public:
  explicit ReverseArrayEnumerator(const NSArray& array) : array_(&array), left_(array.count()) {}

  id nextObject() override {
    left_ = std::min(left_, array_->count());
    return left_ > 0 ? array_->objectAtIndex(--left_) : nullptr;
  }

 private:
  Ref<const NSArray> array_;
  NSUInteger left_;
};

/// The index of the first member that `test` answers true for.
template <class Test>
NSUInteger indexOfFirst(const NSArray& array, const Test& test) {
  NSUInteger index = 0;
  for (const id& member : reference(array)) {
    if (test(member)) {
      return index;
    }
    ++index;
  }
  return NSNotFound;
}

template <class Order>
Ref<NSArray> sorted(std::vector<id> objects, const Order& order) {
  stableSort(objects, [&](const id& a, const id& b) { return order(a, b) == NSOrderedAscending; });
  return NSArray::arrayWithObjects(std::move(objects));
}

std::vector<Ref<NSSortDescriptor>> descriptorsIn(const Ref<NSArray>& array) {
  std::vector<Ref<NSSortDescriptor>> descriptors;
  for (const id& object : objectsOf(array)) {
    descriptors.push_back(cast<NSSortDescriptor>(object));
    if (!descriptors.back()) {
      throwUnrecognizedSelector(*object, "compareObject:toObject:");
    }
  }
  return descriptors;
}

}  // namespace

Ref<NSArray> NSArray::array() {
  static const auto& empty = *new Ref<NSArray>(make<ImmutableArray>(std::vector<id>()));
  return empty;
}

Ref<NSArray> NSArray::arrayWithObject(const id& object) { return arrayWithObjects({object}); }

Ref<NSArray> NSArray::arrayWithObjects(std::vector<id> objects) {
  return objects.empty() ? array() : make<ImmutableArray>(std::move(objects));
}

Ref<NSArray> NSArray::arrayWithObjects_count(const id* objects, NSUInteger count) {
  return arrayWithObjects(std::vector<id>(objects, objects + count));
}

Ref<NSArray> NSArray::arrayWithArray(const Ref<NSArray>& array) {
  return cast<ImmutableArray>(array) ? array : arrayWithObjects(objectsOf(array));
}

id NSArray::firstObject() const { return count() == 0 ? nullptr : objectAtIndex(0); }

id NSArray::lastObject() const {
  const NSUInteger size = count();
  return size == 0 ? nullptr : objectAtIndex(size - 1);
}

bool NSArray::containsObject(const id& object) const { return indexOfObject(object) != NSNotFound; }

NSUInteger NSArray::indexOfObject(const id& object) const {
  return indexOfFirst(*this, [&](const id& member) {
    return member == object || (object && member->isEqual(object));
  });
}

NSUInteger NSArray::indexOfObjectIdenticalTo(const id& object) const {
  return indexOfFirst(*this, [&](const id& member) { return member == object; });
}

NSUInteger NSArray::indexOfObjectPassingTest(
    const Block<bool(const id&, NSUInteger, bool*)>& test) const {
  NSUInteger found = NSNotFound;
  enumerateObjectsUsingBlock([&](const id& object, NSUInteger index, bool* stop) {
    if (test(object, index, stop)) {
      found = index;
      *stop = true;
    }
  });
  return found;
}

Ref<NSIndexSet> NSArray::indexesOfObjectsPassingTest(
    const Block<bool(const id&, NSUInteger, bool*)>& test) const {
  const auto passing = NSMutableIndexSet::indexSet();
  enumerateObjectsUsingBlock([&](const id& object, NSUInteger index, bool* stop) {
    if (test(object, index, stop)) {
      passing->addIndex(index);
    }
  });
  return NSIndexSet::initWithIndexSet(passing);
}

Ref<NSArray> NSArray::subarrayWithRange(NSRange range) const {
  checkRange(*this, "subarrayWithRange:", range, count());
  std::vector<id> objects;
  objects.reserve(range.length);
  for (NSUInteger index = range.location; index < NSMaxRange(range); ++index) {
    objects.push_back(objectAtIndex(index));
  }
  return arrayWithObjects(std::move(objects));
}

Ref<NSArray> NSArray::objectsAtIndexes(const Ref<NSIndexSet>& indexes) const {
  checkIndexesBelow(*this, "objectsAtIndexes:", indexes, count());
  std::vector<id> objects;
  objects.reserve(indexes->count());
  for (const NSUInteger index : indexes) {
    objects.push_back(objectAtIndex(index));
  }
  return arrayWithObjects(std::move(objects));
}

Ref<NSString> NSArray::componentsJoinedByString(const Ref<NSString>& separator) const {
  const Ref<NSMutableString> joined = NSMutableString::string();
  bool isFirst = true;
  for (const id& member : reference(*this)) {
    if (!isFirst && separator) {
      joined->appendString(separator);
    }
    isFirst = false;
    joined->appendString(member->description());
  }
  return NSString::stringWithString(joined);
}

Ref<NSEnumerator> NSArray::objectEnumerator() const { return make<ArrayEnumerator>(*this); }

Ref<NSEnumerator> NSArray::reverseObjectEnumerator() const {
  return make<ReverseArrayEnumerator>(*this);
}

void NSArray::enumerateObjectsUsingBlock(
    const Block<void(const id&, NSUInteger, bool*)>& block) const {
  NSUInteger index = 0;
  bool stop = false;
  for (const id& member : reference(*this)) {
    block(member, index++, &stop);
    if (stop) {
      return;
    }
  }
}

void NSArray::enumerateObjectsWithOptions_usingBlock(
    NSUInteger options, const Block<void(const id&, NSUInteger, bool*)>& block) const {
  if ((options & NSEnumerationReverse) == 0) {
    enumerateObjectsUsingBlock(block);
    return;
  }
  bool stop = false;
  for (NSUInteger index = count(); index > 0 && !stop;) {
    --index;
    block(objectAtIndex(index), index, &stop);
  }
}

void NSArray::makeObjectsPerformSelector(SEL selector) const {
  performOnMembers(*this, selector, {});
}

void NSArray::makeObjectsPerformSelector_withObject(SEL selector, const id& argument) const {
  performOnMembers(*this, selector, {&argument, 1});
}

Ref<NSArray> NSArray::arrayByAddingObject(const id& object) const {
  std::vector<id> objects = objectsOf(reference(*this));
  objects.push_back(object);
  return arrayWithObjects(std::move(objects));
}

Ref<NSArray> NSArray::arrayByAddingObjectsFromArray(const Ref<NSArray>& other) const {
  std::vector<id> objects = objectsOf(reference(*this));
  std::ranges::move(objectsOf(other), std::back_inserter(objects));
  return arrayWithObjects(std::move(objects));
}

Ref<NSArray> NSArray::sortedArrayUsingComparator(const NSComparator& comparator) const {
  return sorted(objectsOf(reference(*this)), comparator);
}

Ref<NSArray> NSArray::sortedArrayUsingFunction_context(
    NSComparisonResult (*function)(const id&, const id&, void*), void* context) const {
  return sorted(objectsOf(reference(*this)),
                [=](const id& a, const id& b) { return function(a, b, context); });
}

Ref<NSArray> NSArray::sortedArrayUsingSelector(SEL selector) const {
  return sorted(objectsOf(reference(*this)), [=](const id& a, const id& b) {
    return Unboxing<NSComparisonResult>::unbox(selector->perform(*a, {&b, 1}));
  });
}

Ref<NSArray> NSArray::sortedArrayUsingDescriptors(const Ref<NSArray>& descriptors) const {
  const auto criteria = descriptorsIn(descriptors);
  return sorted(objectsOf(reference(*this)), [&](const id& a, const id& b) {
    NSComparisonResult result = NSOrderedSame;
    for (auto next = criteria.begin(); next != criteria.end() && result == NSOrderedSame; ++next) {
      result = (*next)->compareObject_toObject(a, b);
    }
    return result;
  });
}

id NSArray::valueForKey(const Ref<NSString>& key) const {
  if (const auto own = ownPropertyNamedBy(key)) {
    return NSObject::valueForKey(own);
  }
  std::vector<id> values;
  values.reserve(count());
  for (const id& member : reference(*this)) {
    const id value = member->valueForKey(key);
    values.push_back(value ? value : NSNull::null());
  }
  return arrayWithObjects(std::move(values));
}

void NSArray::setValue_forKey(const id& value, const Ref<NSString>& key) {
  for (const id& member : reference(*this)) {
    member->setValue_forKey(value, key);
  }
}

bool NSArray::isEqualToArray(const Ref<NSArray>& other) const {
  if (!other || count() != other->count()) {
    return false;
  }
  auto theirs = other->members();
  return indexOfFirst(*this, [&](const id& member) {
           const bool isSame = isEqualOrBothNull(member, *theirs);
           ++theirs;
           return !isSame;
         }) == NSNotFound;
}

bool NSArray::isEqual(const id& other) const {
  return other == self() || isEqualToArray(cast<NSArray>(other));
}

/// Of its ends and its length only: the time that a key costs must not grow with what it holds.
NSUInteger NSArray::hash() const {
  const NSUInteger size = count();
  return size == 0 ? 0 : size + 31 * firstObject()->hash() + 17 * lastObject()->hash();
}

Ref<NSString> NSArray::description() const { return descriptionOfCollection(*this); }

id NSArray::copy() const { return arrayWithArray(reference(*this)); }

id NSArray::mutableCopy() const { return NSMutableArray::arrayWithArray(reference(*this)); }

}  // namespace kestova
