// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVKVOMutableDictionary.h>

#include "DictionarySuite.h"
#include "MutableDictionarySuite.h"
#include "PrimitiveCollections.h"

#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

using Entries = std::vector<std::pair<id, id>>;

struct Mutable {
  static Ref<NSMutableDictionary> make(const Entries& entries) {
    const auto dictionary = NSMutableDictionary::dictionary();
    for (const auto& [key, object] : entries) {
      dictionary->setObject_forKey(object, key);
    }
    return dictionary;
  }
};

struct Immutable {
  static Ref<NSDictionary> make(const Entries& entries) {
    return NSDictionary::dictionaryWithDictionary(Mutable::make(entries));
  }
};

struct UsersOwn {
  static Ref<NSDictionary> make(Entries entries) {
    return kestova::make<PrimitiveDictionary>(std::move(entries));
  }
};

struct UsersOwnMutable {
  static Ref<NSMutableDictionary> make(Entries entries) {
    return kestova::make<PrimitiveMutableDictionary>(std::move(entries));
  }
};

struct Observable {
  static constexpr bool kRequiresKeys = true;

  static Ref<NSMutableDictionary> make(const Entries& entries) {
    std::vector<id> keys;
    std::vector<id> objects;
    for (const auto& [key, object] : entries) {
      keys.push_back(key);
      objects.push_back(object);
    }
    return OVKVOMutableDictionary::initWithObjects_forKeys(
        NSArray::arrayWithObjects(std::move(objects)), NSArray::arrayWithObjects(std::move(keys)));
  }
};

using Dictionaries = ::testing::Types<Immutable, Mutable, UsersOwn, UsersOwnMutable, Observable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, DictionarySuite, Dictionaries);

using MutableDictionaries = ::testing::Types<Mutable, UsersOwnMutable, Observable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, MutableDictionarySuite, MutableDictionaries);

}  // namespace
}  // namespace kestova::testing
