// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThreadSafeMutableSet.h>

#include "MutableSetSuite.h"
#include "PrimitiveCollections.h"
#include "SetSuite.h"

#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

struct Immutable {
  static Ref<NSSet> make(std::vector<id> members) {
    return NSSet::setWithArray(NSArray::arrayWithObjects(std::move(members)));
  }
};

struct Mutable {
  static Ref<NSMutableSet> make(std::vector<id> members) {
    return NSMutableSet::setWithArray(NSArray::arrayWithObjects(std::move(members)));
  }
};

struct UsersOwn {
  static Ref<NSSet> make(std::vector<id> members) {
    return kestova::make<PrimitiveSet>(std::move(members));
  }
};

struct UsersOwnMutable {
  static Ref<NSMutableSet> make(std::vector<id> members) {
    return kestova::make<PrimitiveMutableSet>(std::move(members));
  }
};

struct ThreadSafe {
  static Ref<NSMutableSet> make(std::vector<id> members) {
    const auto set = OVThreadSafeMutableSet::init();
    set->addObjectsFromArray(NSArray::arrayWithObjects(std::move(members)));
    return set;
  }
};

using Sets = ::testing::Types<Immutable, Mutable, UsersOwn, UsersOwnMutable, ThreadSafe>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, SetSuite, Sets);

using MutableSets = ::testing::Types<Mutable, UsersOwnMutable, ThreadSafe>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, MutableSetSuite, MutableSets);

}  // namespace
}  // namespace kestova::testing
