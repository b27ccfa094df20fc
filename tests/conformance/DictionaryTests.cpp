// SPDX-License-Identifier: Apache-2.0
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

using Dictionaries = ::testing::Types<Immutable, Mutable, UsersOwn, UsersOwnMutable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, DictionarySuite, Dictionaries);

using MutableDictionaries = ::testing::Types<Mutable, UsersOwnMutable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, MutableDictionarySuite, MutableDictionaries);

}  // namespace
}  // namespace kestova::testing
