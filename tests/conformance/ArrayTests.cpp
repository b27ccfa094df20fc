// SPDX-License-Identifier: Apache-2.0
#include "ArraySuite.h"
#include "MutableArraySuite.h"
#include "PrimitiveCollections.h"

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

using Arrays = ::testing::Types<Immutable, Mutable, UsersOwn, UsersOwnMutable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, ArraySuite, Arrays);

using MutableArrays = ::testing::Types<Mutable, UsersOwnMutable>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, MutableArraySuite, MutableArrays);

}  // namespace
}  // namespace kestova::testing
