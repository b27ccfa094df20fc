// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSSet.h>

#include "collections/CollectionDescription.h"
#include "collections/Members.h"
#include "collections/TableSet.h"
#include "object/Reference.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSSet, .property<&NSSet::count>("count"))

namespace {

class ImmutableSet final : public TableSet<NSSet> {
 public:
  using TableSet::TableSet;
};

/// An immutable set of the members of any collection, which may be null.
template <class Collection>
Ref<NSSet> setOf(const Ref<Collection>& members) {
  ObjectSet table;
  if (members) {
    table.reserve(members->count());
    for (const id& member : members) {
      addObject(table, *members, member);
    }
  }
  return make<ImmutableSet>(std::move(table));
}

}  // namespace

Ref<NSSet> NSSet::set() {
  static const auto& empty = *new Ref<NSSet>(make<ImmutableSet>());
  return empty;
}

Ref<NSSet> NSSet::setWithObject(const id& object) {
  return setOf(NSArray::arrayWithObject(object));
}

Ref<NSSet> NSSet::setWithArray(const Ref<NSArray>& array) { return setOf(array); }

Ref<NSSet> NSSet::setWithSet(const Ref<NSSet>& set) {
  return cast<ImmutableSet>(set) ? set : setOf(set);
}

bool NSSet::containsObject(const id& object) const { return member(object) != nullptr; }

Ref<NSArray> NSSet::allObjects() const { return objectEnumerator()->allObjects(); }

Ref<NSArray> NSSet::sortedArrayUsingDescriptors(const Ref<NSArray>& descriptors) const {
  return allObjects()->sortedArrayUsingDescriptors(descriptors);
}

id NSSet::anyObject() const { return objectEnumerator()->nextObject(); }

bool NSSet::isSubsetOfSet(const Ref<NSSet>& other) const {
  if (count() > (other ? other->count() : 0)) {
    return false;
  }
  for (const id& member : reference(*this)) {
    if (!other->containsObject(member)) {
      return false;
    }
  }
  return true;
}

bool NSSet::intersectsSet(const Ref<NSSet>& other) const {
  if (!other) {
    return false;
  }
  for (const id& member : reference(*this)) {
    if (other->containsObject(member)) {
      return true;
    }
  }
  return false;
}

void NSSet::enumerateObjectsUsingBlock(const Block<void(const id&, bool*)>& block) const {
  bool stop = false;
  for (const id& member : reference(*this)) {
    block(member, &stop);
    if (stop) {
      return;
    }
  }
}

void NSSet::makeObjectsPerformSelector(SEL selector) const {
  performOnMembers(*this, selector, {});
}

void NSSet::makeObjectsPerformSelector_withObject(SEL selector, const id& argument) const {
  performOnMembers(*this, selector, {&argument, 1});
}

Ref<NSSet> NSSet::setByAddingObject(const id& object) const {
  return setByAddingObjectsFromArray(NSArray::arrayWithObject(object));
}

Ref<NSSet> NSSet::setByAddingObjectsFromSet(const Ref<NSSet>& other) const {
  return setByAddingObjectsFromArray(other ? other->allObjects() : nullptr);
}

Ref<NSSet> NSSet::setByAddingObjectsFromArray(const Ref<NSArray>& other) const {
  const auto result = NSMutableSet::setWithSet(reference(*this));
  result->addObjectsFromArray(other);
  return setWithSet(result);
}

id NSSet::valueForKey(const Ref<NSString>& key) const {
  if (const auto own = ownPropertyNamedBy(key)) {
    return NSObject::valueForKey(own);
  }
  const auto values = NSMutableSet::set();
  for (const id& member : reference(*this)) {
    if (const id value = member->valueForKey(key)) {
      values->addObject(value);
    }
  }
  return setWithSet(values);
}

void NSSet::setValue_forKey(const id& value, const Ref<NSString>& key) {
  for (const id& member : reference(*this)) {
    member->setValue_forKey(value, key);
  }
}

bool NSSet::isEqualToSet(const Ref<NSSet>& other) const {
  return other && count() == other->count() && isSubsetOfSet(other);
}

bool NSSet::isEqual(const id& other) const {
  return other == self() || isEqualToSet(cast<NSSet>(other));
}

/// Of all members, in whatever order they come.
NSUInteger NSSet::hash() const {
  NSUInteger sum = count();
  for (const id& member : reference(*this)) {
    sum += ObjectHash()(member);
  }
  return sum;
}

Ref<NSString> NSSet::description() const { return descriptionOfCollection(*this); }

id NSSet::copy() const { return setWithSet(reference(*this)); }

id NSSet::mutableCopy() const { return NSMutableSet::setWithSet(reference(*this)); }

}  // namespace kestova
