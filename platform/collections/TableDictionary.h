// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>

#include "collections/MemberRelease.h"
#include "collections/ObjectTable.h"
#include "values/RangeCheck.h"

#include <utility>

namespace kestova {

/// The reading half of the platform's own dictionaries, immutable and mutable: a hash table without
/// null.
template <class Base>
class TableDictionary : public Base {
 public:
  TableDictionary() = default;
  explicit TableDictionary(ObjectMap table) : table_(std::move(table)) {}

  ~TableDictionary() override { MemberRelease().letGo(membersOf(table_)); }

  const ObjectMap& table() const noexcept { return table_; }

  NSUInteger count() const override { return table_.size(); }

  id objectForKey(const id& key) const override {
    const auto found = key ? table_.find(key) : table_.end();
    return found == table_.end() ? nullptr : found.value();
  }

  Ref<NSEnumerator> keyEnumerator() const override {
    return enumerator([](const auto& entry) { return entry.first; });
  }

  Ref<NSEnumerator> objectEnumerator() const override {
    return enumerator([](const auto& entry) { return entry.second; });
  }

  void enumerateKeysAndObjectsUsingBlock(
      const Block<void(const id&, const id&, bool*)>& block) const override {
    bool stop = false;
    for (std::size_t place = 0; place < table_.size() && !stop; ++place) {
      const auto [key, object] = table_.values_container()[place];
      block(key, object, &stop);
    }
  }

 protected:
  const id* contiguousEntries() const override {
    static_assert(sizeof(Place) == 2 * sizeof(id));
    return table_.empty() ? nullptr : &table_.values_container().front().first;
  }

  ObjectMap table_;

 private:
  using Place = ObjectMap::value_type;

  template <class Part>
  Ref<NSEnumerator> enumerator(Part part) const {
    return make<TableEnumerator<ObjectMap, Part>>(*this, table_, part);
  }
};

/// Puts an object into a table under the key's copy; the one there before goes last.
inline void setObject(ObjectMap& table, const NSObject& owner, id object, const id& key) {
  checkArgument(owner, "setObject:forKey:", object && key);
  auto found = table.find(key);
  if (found == table.end()) {
    table.emplace(key->copy(), std::move(object));
  } else {
    std::swap(found.value(), object);
  }
}

/// The table of one of the platform's own dictionaries; null for any other.
inline const ObjectMap* ownTableOf(const NSDictionary& dictionary) {
  if (const auto* own = dynamic_cast<const TableDictionary<NSMutableDictionary>*>(&dictionary)) {
    return &own->table();
  }
  const auto* own = dynamic_cast<const TableDictionary<NSDictionary>*>(&dictionary);
  return own == nullptr ? nullptr : &own->table();
}

/// The entries of any dictionary in a table, under copies of its keys. A table's keys are copies.
inline ObjectMap tableOf(const NSDictionary& dictionary) {
  if (const ObjectMap* const own = ownTableOf(dictionary)) {
    return *own;
  }
  ObjectMap table;
  table.reserve(dictionary.count());
  dictionary.enumerateKeysAndObjectsUsingBlock(
      [&](const id& key, const id& object, bool*) { setObject(table, dictionary, object, key); });
  return table;
}

}  // namespace kestova
