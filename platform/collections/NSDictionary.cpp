// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>

#include "collections/CollectionDescription.h"
#include "collections/DictionaryFromTable.h"
#include "collections/Members.h"
#include "collections/TableDictionary.h"
#include "object/Reference.h"

#include <utility>
#include <vector>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSDictionary, .property<&NSDictionary::count>("count"))

namespace {

class ImmutableDictionary final : public TableDictionary<NSDictionary> {
 public:
  using TableDictionary::TableDictionary;
};

/// Hands out the objects of any dictionary in the order of its keys.
class ObjectEnumerator final : public NSEnumerator {
 public:
  explicit ObjectEnumerator(const NSDictionary& dictionary)
      : dictionary_(&dictionary), keys_(dictionary.keyEnumerator()) {}

  id nextObject() override {
    const id key = keys_->nextObject();
    return key ? dictionary_->objectForKey(key) : nullptr;
  }

 private:
  Ref<const NSDictionary> dictionary_;
  Ref<NSEnumerator> keys_;
};

}  // namespace

Ref<NSDictionary> dictionaryFromTable(ObjectMap table) {
  return make<ImmutableDictionary>(std::move(table));
}

Ref<NSDictionary> NSDictionary::dictionary() {
  static const auto& empty = *new Ref<NSDictionary>(make<ImmutableDictionary>());
  return empty;
}

Ref<NSDictionary> NSDictionary::dictionaryWithObject_forKey(const id& object, const id& key) {
  return of({{key, object}});
}

Ref<NSDictionary> NSDictionary::dictionaryWithObjects_forKeys(const Ref<NSArray>& objects,
                                                              const Ref<NSArray>& keys) {
  return dictionaryWithDictionary(
      NSMutableDictionary::dictionaryWithObjects_forKeys(objects, keys));
}

Ref<NSDictionary> NSDictionary::dictionaryWithDictionary(const Ref<NSDictionary>& dictionary) {
  if (!dictionary || dictionary->count() == 0) {
    return NSDictionary::dictionary();
  }
  if (cast<ImmutableDictionary>(dictionary)) {
    return dictionary;
  }
  return make<ImmutableDictionary>(tableOf(*dictionary));
}

Ref<NSDictionary> NSDictionary::of(std::initializer_list<Entry> entries) {
  ObjectMap table;
  table.reserve(entries.size());
  for (const auto& [key, object] : entries) {
    setObject(table, *dictionary(), object, key);
  }
  return make<ImmutableDictionary>(std::move(table));
}

Ref<NSArray> NSDictionary::allKeys() const { return keyEnumerator()->allObjects(); }

Ref<NSArray> NSDictionary::allValues() const { return objectEnumerator()->allObjects(); }

Ref<NSArray> NSDictionary::allKeysForObject(const id& object) const {
  std::vector<id> keys;
  enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& candidate, bool*) {
    if (isEqualOrBothNull(candidate, object)) {
      keys.push_back(key);
    }
  });
  return NSArray::arrayWithObjects(std::move(keys));
}

Ref<NSEnumerator> NSDictionary::objectEnumerator() const { return make<ObjectEnumerator>(*this); }

void NSDictionary::enumerateKeysAndObjectsUsingBlock(
    const Block<void(const id&, const id&, bool*)>& block) const {
  bool stop = false;
  for (const id& key : reference(*this)) {
    block(key, objectForKey(key), &stop);
    if (stop) {
      return;
    }
  }
}

id NSDictionary::valueForKey(const Ref<NSString>& key) const {
  const auto own = ownPropertyNamedBy(key);
  return own ? NSObject::valueForKey(own) : objectForKey(key);
}

bool NSDictionary::isEqualToDictionary(const Ref<NSDictionary>& other) const {
  if (!other || count() != other->count()) {
    return false;
  }
  bool isEqual = true;
  enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool* stop) {
    isEqual = object->isEqual(other->objectForKey(key));
    *stop = !isEqual;
  });
  return isEqual;
}

bool NSDictionary::isEqual(const id& other) const {
  return other == self() || isEqualToDictionary(cast<NSDictionary>(other));
}

/// Of the keys only, in whatever order they come.
NSUInteger NSDictionary::hash() const {
  NSUInteger sum = count();
  for (const id& key : reference(*this)) {
    sum += ObjectHash()(key);
  }
  return sum;
}

Ref<NSString> NSDictionary::description() const { return descriptionOfCollection(*this); }

id NSDictionary::copy() const { return dictionaryWithDictionary(reference(*this)); }

id NSDictionary::mutableCopy() const {
  return NSMutableDictionary::dictionaryWithDictionary(reference(*this));
}

}  // namespace kestova
