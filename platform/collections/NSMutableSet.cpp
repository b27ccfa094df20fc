// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSSet.h>

#include "collections/Members.h"
#include "collections/TableSet.h"
#include "values/RangeCheck.h"

#include <cstddef>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSMutableSet)

namespace {

/// Every operation lets go of what it removes last, when the set is as it will be: what goes then
/// may use the set.
class MutableSet final : public TableSet<NSMutableSet> {
 public:
  void reserve(NSUInteger capacity) { table_.reserve(capacity); }

  void addObject(const id& object) override { kestova::addObject(table_, *this, object); }

  void removeObject(const id& object) override {
    checkArgument(*this, "removeObject:", object != nullptr);
    const auto found = table_.find(object);
    if (found != table_.end()) {
      const id removed = *found;
      table_.unordered_erase(found);
    }
  }

  void removeAllObjects() override { const ObjectSet removed = std::exchange(table_, {}); }

  void addObjectsFromArray(const Ref<NSArray>& other) override {
    const std::size_t before = table_.size();
    try {
      NSMutableSet::addObjectsFromArray(other);
    } catch (...) {
      while (table_.size() > before) {
        table_.pop_back();
      }
      throw;
    }
  }

  void setSet(const Ref<NSSet>& other) override {
    const auto members = NSMutableSet::setWithSet(other);
    std::swap(table_, static_cast<MutableSet&>(*members).table_);
  }
};

Ref<NSArray> membersOf(const Ref<NSSet>& set) { return set ? set->allObjects() : nullptr; }

}  // namespace

Ref<NSMutableSet> NSMutableSet::set() { return make<MutableSet>(); }

Ref<NSMutableSet> NSMutableSet::setWithCapacity(NSUInteger capacity) {
  const auto set = make<MutableSet>();
  set->reserve(capacity);
  return set;
}

Ref<NSMutableSet> NSMutableSet::setWithObject(const id& object) {
  const auto result = set();
  result->addObject(object);
  return result;
}

Ref<NSMutableSet> NSMutableSet::setWithArray(const Ref<NSArray>& array) {
  const auto result = setWithCapacity(array ? array->count() : 0);
  result->addObjectsFromArray(array);
  return result;
}

Ref<NSMutableSet> NSMutableSet::setWithSet(const Ref<NSSet>& set) {
  return setWithArray(membersOf(set));
}

void NSMutableSet::removeAllObjects() {
  for (const id& member : allObjects()) {
    removeObject(member);
  }
}

void NSMutableSet::addObjectsFromArray(const Ref<NSArray>& other) {
  for (const id& object : objectsOf(other)) {
    addObject(object);
  }
}

void NSMutableSet::unionSet(const Ref<NSSet>& other) { addObjectsFromArray(membersOf(other)); }

void NSMutableSet::minusSet(const Ref<NSSet>& other) {
  for (const id& object : objectsOf(membersOf(other))) {
    removeObject(object);
  }
}

void NSMutableSet::intersectSet(const Ref<NSSet>& other) {
  for (const id& member : allObjects()) {
    if (!other || !other->containsObject(member)) {
      removeObject(member);
    }
  }
}

void NSMutableSet::setSet(const Ref<NSSet>& other) {
  const Ref<NSArray> members = membersOf(other);
  removeAllObjects();
  addObjectsFromArray(members);
}

}  // namespace kestova
