// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "text/TextStorage.h"

#include <tsl/ordered_map.h>
#include <tsl/ordered_set.h>

#include <cstddef>
#include <cstdint>
#include <typeinfo>
#include <utility>
#include <vector>

namespace kestova {

/// The hash tables behind dictionaries and sets are those of the ordered-map library: their members
/// lie side by side in a vector, in the order of their arrival (a removed one's place is taken by
/// the last one). Walking is as fast as through an array, an enumerator needs no more than an index
/// and stays within bounds whatever happens to the table, and results don't depend on addresses.
/// The standard's tables have a node per member and give none of it.

struct ObjectHash {
  /// Spreads what `hash` answers over all bits: addresses and small numbers differ in few.
  std::size_t operator()(const id& object) const {
    const std::uint64_t spread = object->hash() * 0x9E3779B97F4A7C15U;
    return spread ^ (spread >> 32);
  }
};

/// Keys and members are mostly strings of the platform's own class: these are compared here, where
/// neither has to be counted or asked for its class first.
struct ObjectEqual {
  bool operator()(const id& a, const id& b) const {
    return a == b ||
           (isPlainString(*a) && isPlainString(*b)
                ? haveSameUnits(static_cast<const NSString&>(*a), static_cast<const NSString&>(*b))
                : a->isEqual(b));
  }

 private:
  /// Where a library has a description of the class of its own, this says no and no harm is done.
  static bool isPlainString(const NSObject& object) { return &typeid(object) == &typeid(NSString); }

  /// A call of it would take as long as what it does.
  [[gnu::always_inline]] static bool haveSameUnits(const NSString& a, const NSString& b) {
    return a.isEightBit() && b.isEightBit()
               ? a.length() == b.length() &&
                     equalBytes(a.eightBitCharacters(), b.eightBitCharacters(), a.length())
               : withBoth(a, b, [](auto x, auto y) { return equalUnits(x, y); });
  }
};

/// A table that is less than half full when it is filled member by member: most members lie in the
/// very bucket where they are looked for first, so that the processor guesses right.
template <class Table>
class RoomyTable : public Table {
 public:
  RoomyTable() { this->max_load_factor(kFullest); }
  /// Takes a table over as full as it is.
  RoomyTable(Table&& table) : Table(std::move(table)) {}
  template <class Iterator>
  RoomyTable(Iterator first, Iterator last) : RoomyTable() {
    this->insert(first, last);
  }

 private:
  static constexpr float kFullest = 0.45F;
};

using ObjectMap =
    RoomyTable<tsl::ordered_map<id, id, ObjectHash, ObjectEqual, std::allocator<std::pair<id, id>>,
                                std::vector<std::pair<id, id>>>>;
using ObjectSet =
    RoomyTable<tsl::ordered_set<id, ObjectHash, ObjectEqual, std::allocator<id>, std::vector<id>>>;

/// The members of a table that is about to go, to take them out of it: it can do nothing more then.
template <class Table>
typename Table::values_container_type& membersOf(Table& table) {
  return const_cast<typename Table::values_container_type&>(table.values_container());
}

/// Hands out what `Part` answers for each place of a table that belongs to an object.
template <class Table, class Part>
class TableEnumerator final : public NSEnumerator {
 public:
  TableEnumerator(const NSObject& owner, const Table& table, Part part)
      : owner_(&owner), table_(table), part_(part) {}

  id nextObject() override {
    const auto& places = table_.values_container();
    return next_ < places.size() ? part_(places[next_++]) : nullptr;
  }

 private:
  Ref<const NSObject> owner_;
  const Table& table_;
  Part part_;
  std::size_t next_ = 0;
};

}  // namespace kestova
