// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSSet.h>

#include "collections/MemberRelease.h"
#include "collections/ObjectTable.h"
#include "values/RangeCheck.h"

#include <utility>

namespace kestova {

/// The reading half of the platform's own sets, immutable and mutable: a hash table without null.
template <class Base>
class TableSet : public Base {
 public:
  TableSet() = default;
  explicit TableSet(ObjectSet table) : table_(std::move(table)) {}

  ~TableSet() override { MemberRelease().letGo(membersOf(table_)); }

  NSUInteger count() const override { return table_.size(); }

  id member(const id& object) const override {
    const auto found = object ? table_.find(object) : table_.end();
    return found == table_.end() ? nullptr : *found;
  }

  bool containsObject(const id& object) const override { return object && table_.contains(object); }

  Ref<NSEnumerator> objectEnumerator() const override {
    constexpr auto kMember = [](const id& member) { return member; };
    return make<TableEnumerator<ObjectSet, decltype(kMember)>>(*this, table_, kMember);
  }

 protected:
  const id* contiguousObjects() const override { return table_.data(); }

  ObjectSet table_;
};

/// Puts an object into a table unless an equal one is there.
inline void addObject(ObjectSet& table, const NSObject& owner, const id& object) {
  checkArgument(owner, "addObject:", object != nullptr);
  table.insert(object);
}

}  // namespace kestova
