// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>

#include "collections/DictionaryFromTable.h"
#include "collections/TableDictionary.h"
#include "values/RangeCheck.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSMutableDictionary)

namespace {

/// Every operation lets go of what it removes last, when the dictionary is as it will be: what goes
/// then may use the dictionary. One that throws leaves the dictionary as it was.
class MutableDictionary final : public TableDictionary<NSMutableDictionary> {
 public:
  using TableDictionary::TableDictionary;

  void reserve(NSUInteger capacity) { table_.reserve(capacity); }

  void setObject_forKey(const id& object, const id& key) override {
    setObject(table_, *this, object, key);
  }

  void removeObjectForKey(const id& key) override {
    checkArgument(*this, "removeObjectForKey:", key != nullptr);
    const auto found = table_.find(key);
    if (found != table_.end()) {
      const auto removed = *found;
      table_.unordered_erase(found);
    }
  }

  void removeAllObjects() override { const ObjectMap removed = std::exchange(table_, {}); }

  void addEntriesFromDictionary(const Ref<NSDictionary>& other) override {
    Entries entries = entriesOf(other);
    const std::size_t before = table_.size();
    auto next = entries.begin();
    try {
      for (; next != entries.end(); ++next) {
        put(*next);
      }
    } catch (...) {
      while (table_.size() > before) {
        table_.pop_back();
      }
      while (next != entries.begin()) {
        takeBack(*--next);
      }
      throw;
    }
  }

  void setDictionary(const Ref<NSDictionary>& other) override {
    ObjectMap table = other ? tableOf(*other) : ObjectMap();
    std::swap(table_, table);
  }

  void setValue_forKey(const id& value, const Ref<NSString>& key) override {
    checkArgument(*this, "setValue:forKey:", key != nullptr);
    const KeyValueChange change(*this, key);
    NSMutableDictionary::setValue_forKey(value, key);
  }

 private:
  using Entries = std::vector<ObjectMap::value_type>;

  /// Under copies of their keys.
  Entries entriesOf(const Ref<NSDictionary>& dictionary) const {
    Entries entries;
    if (dictionary) {
      entries.reserve(dictionary->count());
      dictionary->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool*) {
        checkArgument(*this, "setObject:forKey:", object && key);
        entries.emplace_back(key->copy(), object);
      });
    }
    return entries;
  }

  /// Leaves in the entry what was under its key before.
  void put(ObjectMap::value_type& entry) {
    auto [place, isNew] = table_.insert(entry);
    if (!isNew) {
      std::swap(place.value(), entry.second);
    }
  }

  /// When the keys that were new are gone.
  void takeBack(ObjectMap::value_type& entry) {
    auto found = table_.find(entry.first);
    if (found != table_.end()) {
      std::swap(found.value(), entry.second);
    }
  }
};

void checkPairs(NSUInteger objects, NSUInteger keys) {
  if (objects != keys) {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("-[NSDictionary dictionaryWithObjects:forKeys:]: "
                                   "count of objects %lu differs from count of keys %lu",
                                   objects, keys));
  }
}

}  // namespace

Ref<NSMutableDictionary> mutableDictionaryFromTable(ObjectMap table) {
  return make<MutableDictionary>(std::move(table));
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionary() { return make<MutableDictionary>(); }

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithCapacity(NSUInteger capacity) {
  const auto dictionary = make<MutableDictionary>();
  dictionary->reserve(capacity);
  return dictionary;
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithObject_forKey(const id& object,
                                                                          const id& key) {
  return of({{key, object}});
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithObjects_forKeys(
    const Ref<NSArray>& objects, const Ref<NSArray>& keys) {
  const NSUInteger count = keys ? keys->count() : 0;
  checkPairs(objects ? objects->count() : 0, count);
  const auto result = dictionaryWithCapacity(count);
  for (NSUInteger index = 0; index < count; ++index) {
    result->setObject_forKey(objects->objectAtIndex(index), keys->objectAtIndex(index));
  }
  return result;
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithDictionary(
    const Ref<NSDictionary>& dictionary) {
  return dictionary ? mutableDictionaryFromTable(tableOf(*dictionary))
                    : NSMutableDictionary::dictionary();
}

Ref<NSMutableDictionary> NSMutableDictionary::of(std::initializer_list<Entry> entries) {
  const auto result = dictionaryWithCapacity(entries.size());
  for (const auto& [key, object] : entries) {
    result->setObject_forKey(object, key);
  }
  return result;
}

void NSMutableDictionary::removeObjectsForKeys(const Ref<NSArray>& keys) {
  if (keys) {
    for (const id& key : keys) {
      removeObjectForKey(key);
    }
  }
}

void NSMutableDictionary::removeAllObjects() { removeObjectsForKeys(allKeys()); }

void NSMutableDictionary::addEntriesFromDictionary(const Ref<NSDictionary>& other) {
  if (other) {
    other->enumerateKeysAndObjectsUsingBlock(
        [this](const id& key, const id& object, bool*) { setObject_forKey(object, key); });
  }
}

void NSMutableDictionary::setDictionary(const Ref<NSDictionary>& other) {
  const auto entries = NSDictionary::dictionaryWithDictionary(other);
  removeAllObjects();
  addEntriesFromDictionary(entries);
}

void NSMutableDictionary::setValue_forKey(const id& value, const Ref<NSString>& key) {
  if (value) {
    setObject_forKey(value, key);
  } else {
    removeObjectForKey(key);
  }
}

}  // namespace kestova
