// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFlattenedArray.h>

#include "ArraySuite.h"
#include "MutableArraySuite.h"
#include "PrimitiveCollections.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

struct Immutable {
  static Ref<NSArray> make(std::vector<id> objects) {
    return NSArray::arrayWithObjects(std::move(objects));
  }
};

struct Mutable {
  static Ref<NSMutableArray> make(std::vector<id> objects) {
    return NSMutableArray::arrayWithObjects(std::move(objects));
  }
};

struct UsersOwn {
  static Ref<NSArray> make(std::vector<id> objects) {
    return kestova::make<PrimitiveArray>(std::move(objects));
  }
};

struct UsersOwnMutable {
  static Ref<NSMutableArray> make(std::vector<id> objects) {
    return kestova::make<PrimitiveMutableArray>(std::move(objects));
  }
};

/// Two objects to an array, and an empty one before each.
struct Flattened {
  static Ref<NSArray> make(const std::vector<id>& objects) {
    const auto all = NSArray::arrayWithObjects(objects);
    const auto arrays = NSMutableArray::array();
    for (NSUInteger index = 0; index < all->count(); index += 2) {
      arrays->addObject(NSArray::array());
      arrays->addObject(
          all->subarrayWithRange({index, std::min<NSUInteger>(2, all->count() - index)}));
    }
    return OVFlattenedArray::initWithArrays(arrays);
  }
};

using Arrays = ::testing::Types<Immutable, Mutable, UsersOwn, UsersOwnMutable, Flattened>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, ArraySuite, Arrays);

using MutableArrays = ::testing::Types<Mutable, UsersOwnMutable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, MutableArraySuite, MutableArrays);

}  // namespace
}  // namespace kestova::testing
