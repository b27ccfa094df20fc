// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSDictionaryAdditions.h>
#include <KestovaFoundation/Additions/NSMutableDictionaryAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <limits>
#include <string>

namespace kestova {
namespace {

using testing::expectException;

class NSMutableDictionaryAdditionsTests : public ::testing::Test {
 protected:
  /// The type letter of the number that is kept under the key.
  std::string typeUnder(const char* key) const {
    return cast<NSNumber>(values_->objectForKey(key))->objCType();
  }

  const Ref<NSMutableDictionary> values_ = NSMutableDictionary::dictionary();
};

// Shows: safeSetObject_forKey
TEST_F(NSMutableDictionaryAdditionsTests, SettingNullSafelyRemovesTheKey) {
  safeSetObject_forKey(values_, 1, "a");
  EXPECT_TRUE(values_->isEqual(NSDictionary::of({{"a", 1}})));
  safeSetObject_forKey(values_, nullptr, "a");
  safeSetObject_forKey(values_, nullptr, "absent");
  EXPECT_EQ(values_->count(), 0U);
}

// Shows: setBool_forKey, setInteger_forKey, setUnsignedInteger_forKey
TEST_F(NSMutableDictionaryAdditionsTests, IntegersKeepTheirTypeAndComeBack) {
  setBool_forKey(values_, true, "bool");
  setInteger_forKey(values_, std::numeric_limits<NSInteger>::min(), "integer");
  setUnsignedInteger_forKey(values_, std::numeric_limits<NSUInteger>::max(), "unsigned");
  EXPECT_EQ(typeUnder("bool"), "B");
  EXPECT_EQ(typeUnder("integer"), "q");
  EXPECT_EQ(typeUnder("unsigned"), "Q");
  EXPECT_TRUE(boolForKey(values_, "bool"));
  EXPECT_EQ(integerForKey(values_, "integer"), std::numeric_limits<NSInteger>::min());
  EXPECT_EQ(unsignedIntegerForKey(values_, "unsigned"), std::numeric_limits<NSUInteger>::max());
}

// Shows: setDouble_forKey, setFloat_forKey
TEST_F(NSMutableDictionaryAdditionsTests, FloatingNumbersKeepTheirTypeAndComeBack) {
  setDouble_forKey(values_, 0.1, "double");
  setFloat_forKey(values_, 0.1F, "float");
  EXPECT_EQ(typeUnder("double"), "d");
  EXPECT_EQ(typeUnder("float"), "f");
  EXPECT_EQ(doubleForKey(values_, "double"), 0.1);
  EXPECT_EQ(floatForKey(values_, "float"), 0.1F);
}

// Shows: setRect_forKey, setPoint_forKey, setSize_forKey
TEST_F(NSMutableDictionaryAdditionsTests, GeometryIsKeptAsText) {
  setRect_forKey(values_, NSMakeRect(1, 2.5, 3, 4), "rect");
  setPoint_forKey(values_, NSMakePoint(-5, 6), "point");
  setSize_forKey(values_, NSMakeSize(7, 8), "size");
  EXPECT_TRUE(values_->objectForKey("rect")->isEqual("{{1, 2.5}, {3, 4}}"));
  EXPECT_TRUE(values_->objectForKey("point")->isEqual("{-5, 6}"));
  EXPECT_TRUE(values_->objectForKey("size")->isEqual("{7, 8}"));
  EXPECT_EQ(rectForKey(values_, "rect"), NSMakeRect(1, 2.5, 3, 4));
  EXPECT_EQ(pointForKey(values_, "point"), NSMakePoint(-5, 6));
  EXPECT_EQ(sizeForKey(values_, "size"), NSMakeSize(7, 8));
}

// Shows: safeSetObject_forKey, setBool_forKey
TEST_F(NSMutableDictionaryAdditionsTests, ANullKeyIsRefused) {
  expectException(NSInvalidArgumentException, [&] { safeSetObject_forKey(values_, 1, nullptr); });
  expectException(NSInvalidArgumentException,
                  [&] { safeSetObject_forKey(values_, nullptr, nullptr); });
  expectException(NSInvalidArgumentException, [&] { setBool_forKey(values_, true, nullptr); });
}

}  // namespace
}  // namespace kestova
