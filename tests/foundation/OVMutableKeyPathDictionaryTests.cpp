// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaFoundation/OVMutableKeyPathDictionary.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "KeyPathRun.h"
#include "RandomRun.h"

#include <vector>

namespace kestova {
namespace {

using testing::counted;
using testing::CountingObject;
using testing::expectException;
using testing::KeyPathRun;
using testing::RandomRun;

class OVMutableKeyPathDictionaryTests : public ::testing::Test {
 protected:
  /// The whole tree.
  id tree() const { return dictionary->objectForKeys(); }

  Ref<OVMutableKeyPathDictionary> dictionary = OVMutableKeyPathDictionary::init();
};

// Shows: init, allKeys
TEST_F(OVMutableKeyPathDictionaryTests, BeginsWithAnEmptyTopLevel) {
  EXPECT_EQ(dictionary->allKeys()->count(), 0U);
  EXPECT_TRUE(tree()->isEqual(NSDictionary::dictionary()));
}

// Shows: setObject_forKeyPath, objectForKeyPath, objectForKeys, allKeys
TEST_F(OVMutableKeyPathDictionaryTests, StoringMakesTheLevelsOnTheWay) {
  dictionary->setObject_forKeyPath(1, NSArray::of("a", "b", "c"));
  const auto inner = NSDictionary::of({{"c", 1}});
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"a", NSDictionary::of({{"b", inner}})}})));
  EXPECT_TRUE(dictionary->objectForKeyPath(NSArray::of("a", "b"))->isEqual(inner));
  EXPECT_NE(cast<NSMutableDictionary>(dictionary->objectForKeys("a", "b")), nullptr);
  EXPECT_TRUE(dictionary->objectForKeys("a", "b", "c")->isEqual(1));
  EXPECT_TRUE(dictionary->allKeys()->isEqualToArray(NSArray::of("a")));
}

// Shows: objectForKeyPath, objectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, WhatIsMissingOnTheWayIsNull) {
  dictionary->setObject_forKeys(1, "a", "b", "c");
  EXPECT_EQ(dictionary->objectForKeyPath(NSArray::of("a", "x", "c")), nullptr);
  EXPECT_EQ(dictionary->objectForKeys("x", "y", "z"), nullptr);
}

// Shows: objectForKeyPath, objectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, AnEmptyPathIsTheTopLevel) {
  dictionary->setObject_forKeys(1, "a");
  const id top = dictionary->objectForKeyPath(NSArray::array());
  EXPECT_TRUE(top->isEqual(NSDictionary::of({{"a", 1}})));
  EXPECT_EQ(dictionary->objectForKeyPath(nullptr), top);
  EXPECT_EQ(dictionary->objectForKeys(), top);
  EXPECT_EQ(dictionary->objectForKeys(nullptr), top);
}

// Shows: setObject_forKeyPath, removeObjectForKeyPath
TEST_F(OVMutableKeyPathDictionaryTests, AnEmptyPathStoresAndRemovesNothing) {
  dictionary->setObject_forKeys(1, "a");
  dictionary->setObject_forKeyPath(2, NSArray::array());
  dictionary->setObject_forKeyPath(nullptr, nullptr);
  dictionary->removeObjectForKeyPath(NSArray::array());
  dictionary->removeObjectForKeyPath(nullptr);
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"a", 1}})));
}

// Shows: setObject_forKeys
TEST_F(OVMutableKeyPathDictionaryTests, StoringReplacesAValueOrAWholeLevel) {
  dictionary->setObject_forKeys(1, "a", "b");
  dictionary->setObject_forKeys(2, "a", "b");
  EXPECT_TRUE(dictionary->objectForKeys("a", "b")->isEqual(2));
  dictionary->setObject_forKeys(3, "a");
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"a", 3}})));
}

// Shows: removeObjectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, RemovingMakesTheLevelsOnTheWayToo) {
  dictionary->removeObjectForKeys("p", "q");
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"p", NSDictionary::dictionary()}})));
}

// Shows: removeObjectForKeyPath
TEST_F(OVMutableKeyPathDictionaryTests, RemovingAtAPathMakesTheLevelsAboveItsLastKey) {
  dictionary->removeObjectForKeyPath(NSArray::of("p", "q", "r"));
  const auto inner = NSDictionary::of({{"q", NSDictionary::dictionary()}});
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"p", inner}})));
}

// Shows: removeObjectForKeyPath, removeObjectForKeys, allKeys
TEST_F(OVMutableKeyPathDictionaryTests, RemovingLeavesEmptyLevels) {
  dictionary->setObject_forKeys(1, "a", "b");
  dictionary->removeObjectForKeyPath(NSArray::of("a", "b"));
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"a", NSDictionary::dictionary()}})));
  dictionary->removeObjectForKeys("a");
  EXPECT_EQ(dictionary->allKeys()->count(), 0U);
}

// Shows: setObject_forKeys, objectForKeys, removeObjectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, ANullKeyEndsTheList) {
  dictionary->setObject_forKeys(1, "a", nullptr, "b");
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"a", 1}})));
  EXPECT_TRUE(dictionary->objectForKeys("a", nullptr, "b")->isEqual(1));
  dictionary->removeObjectForKeys("a", nullptr, "b");
  EXPECT_EQ(dictionary->allKeys()->count(), 0U);
}

// Shows: setObject_forKeys, removeObjectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, StoringAndRemovingNeedAKey) {
  EXPECT_DEATH(dictionary->setObject_forKeys(1), "at least one key");
  EXPECT_DEATH(dictionary->setObject_forKeys(1, nullptr, "a"), "at least one key");
  EXPECT_DEATH(dictionary->removeObjectForKeys(), "at least one key");
  EXPECT_DEATH(dictionary->removeObjectForKeys(nullptr), "at least one key");
}

// Shows: setObject_forKeys
TEST_F(OVMutableKeyPathDictionaryTests, NullIsRefusedAndWhatWasMadeOnTheWayStays) {
  dictionary->setObject_forKeys(1, "a", "b");
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKeys(nullptr, "a", "b"); });
  EXPECT_TRUE(dictionary->objectForKeys("a", "b")->isEqual(1));
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKeys(nullptr, "x", "y"); });
  EXPECT_TRUE(dictionary->objectForKeys("x")->isEqual(NSDictionary::dictionary()));
}

// Shows: objectForKeys, setObject_forKeys, removeObjectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, APathThroughWhatIsNoDictionaryIsRefused) {
  dictionary->setObject_forKeys("text", "a");
  expectException(NSInvalidArgumentException, [&] { (void)dictionary->objectForKeys("a", "b"); });
  expectException(NSInvalidArgumentException, [&] { dictionary->setObject_forKeys(1, "a", "b"); });
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKeys(1, "a", "b", "c"); });
  expectException(NSInvalidArgumentException, [&] { dictionary->removeObjectForKeys("a", "b"); });
  EXPECT_TRUE(tree()->isEqual(NSDictionary::of({{"a", "text"}})));
}

// Shows: setObject_forKeys, objectForKeys, removeObjectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, AStoredDictionaryIsALevel) {
  dictionary->setObject_forKeys(NSDictionary::of({{"b", 1}}), "a");
  EXPECT_TRUE(dictionary->objectForKeys("a", "b")->isEqual(1));
  expectException(NSInvalidArgumentException, [&] { dictionary->setObject_forKeys(2, "a", "b"); });
  expectException(NSInvalidArgumentException, [&] { dictionary->removeObjectForKeys("a", "b"); });
  const auto anyCase = OVMutableCaseInsensitiveStringDictionary::init();
  dictionary->setObject_forKeys(anyCase, "any");
  dictionary->setObject_forKeys(3, "any", "Case");
  EXPECT_TRUE(dictionary->objectForKeys("any", "CASE")->isEqual(3));
  dictionary->removeObjectForKeys("any", "case");
  EXPECT_EQ(anyCase->allKeys()->count(), 0U);
}

// Shows: setObject_forKeys, objectForKeys
TEST_F(OVMutableKeyPathDictionaryTests, KeysMayBeAnyObjects) {
  dictionary->setObject_forKeys("one", 1, NSMakeRange(2, 3));
  EXPECT_TRUE(dictionary->objectForKeys(1, NSMakeRange(2, 3))->isEqual("one"));
}

// Shows: setup
TEST_F(OVMutableKeyPathDictionaryTests, ASubclassChoosesItsTopLevel) {
  class Preset final : public OVMutableKeyPathDictionary {
   public:
    static Ref<Preset> init() { return initialised<Preset>(); }

   protected:
    void setup() override {
      OVMutableKeyPathDictionary::setup();
      cast<NSMutableDictionary>(_rootDict)->setObject_forKey(_dictClass->name(), "class");
    }
  };
  EXPECT_TRUE(Preset::init()->objectForKeys("class")->isEqual("NSMutableDictionary"));
}

// Shows: setObject_forKeyPath, objectForKeyPath
TEST_F(OVMutableKeyPathDictionaryTests, APathMayBeOfAnyLength) {
  const int before = CountingObject::alive();
  const std::vector<id> keys(100'000, "key");
  const auto path = NSArray::arrayWithObjects(keys);
  dictionary->setObject_forKeyPath(counted(1), path);
  EXPECT_EQ(testing::valueOf(dictionary->objectForKeyPath(path)), 1);
  dictionary = nullptr;
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: OVMutableKeyPathDictionary
TEST_F(OVMutableKeyPathDictionaryTests, IsMadeByItsName) {
  const auto made =
      cast<OVMutableKeyPathDictionary>(NSClassFromString("OVMutableKeyPathDictionary")->make());
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(made->objectForKeys()->isEqual(NSDictionary::dictionary()));
}

// Shows: OVMutableKeyPathDictionary
TEST(OVMutableKeyPathDictionaryRandomTests, HoldsWhatAPlainModelHoldsAfterEachStep) {
  RandomRun random;
  for (int round = 0; round < 50; ++round) {
    KeyPathRun run;
    for (int step = 0; step < 200; ++step) {
      ASSERT_TRUE(run.step(random)) << "round " << round << ", step " << step;
    }
  }
}

}  // namespace
}  // namespace kestova
