// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVMutableCaseInsensitiveKeyPathDictionary.h>
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

namespace kestova {
namespace {

using testing::expectException;

class OVMutableCaseInsensitiveKeyPathDictionaryTests : public ::testing::Test {
 protected:
  Ref<OVMutableCaseInsensitiveKeyPathDictionary> dictionary =
      OVMutableCaseInsensitiveKeyPathDictionary::init();
};

// Shows: objectForKeys, setObject_forKeys, allKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, OnlyTheFirstKeyMatchesInAnyCase) {
  dictionary->setObject_forKeys(1, "Editor", "Font", "Size");
  EXPECT_TRUE(dictionary->objectForKeys("EDITOR", "Font", "Size")->isEqual(1));
  EXPECT_EQ(dictionary->objectForKeys("Editor", "font", "Size"), nullptr);
  EXPECT_EQ(dictionary->objectForKeys("Editor", "Font", "size"), nullptr);
  EXPECT_TRUE(dictionary->allKeys()->isEqualToArray(NSArray::of("editor")));
}

// Shows: objectForKeyPath, setObject_forKeyPath, removeObjectForKeyPath
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, AnArrayOfKeysMatchesAsAListDoes) {
  dictionary->setObject_forKeyPath(1, NSArray::of("Editor", "Font"));
  EXPECT_TRUE(dictionary->objectForKeyPath(NSArray::of("EDITOR", "Font"))->isEqual(1));
  EXPECT_EQ(dictionary->objectForKeyPath(NSArray::of("EDITOR", "font")), nullptr);
  dictionary->removeObjectForKeyPath(NSArray::of("eDITOR", "Font"));
  EXPECT_TRUE(dictionary->objectForKeys("editor")->isEqual(NSDictionary::dictionary()));
}

// Shows: setup, init, objectForKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, OnlyTheTopLevelIsACaseInsensitiveOne) {
  dictionary->setObject_forKeys(1, "a", "b");
  EXPECT_NE(cast<OVMutableCaseInsensitiveStringDictionary>(dictionary->objectForKeys()), nullptr);
  EXPECT_NE(cast<NSMutableDictionary>(dictionary->objectForKeys("A")), nullptr);
}

// Shows: setObject_forKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, StoringInAnotherCaseUsesTheSameLevel) {
  dictionary->setObject_forKeys(1, "Editor", "a");
  dictionary->setObject_forKeys(2, "EDITOR", "b");
  EXPECT_TRUE(dictionary->objectForKeys("editor")->isEqual(NSDictionary::of({{"a", 1}, {"b", 2}})));
}

// Shows: setObject_forKeys, objectForKeys, removeObjectForKeys, allKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, TheTopLevelKeepsStaleSpellings) {
  dictionary->setObject_forKeys(1, "Foo");
  dictionary->setObject_forKeys(2, "Foo");
  EXPECT_TRUE(dictionary->objectForKeys("Foo")->isEqual(2));
  EXPECT_TRUE(dictionary->objectForKeys("foo")->isEqual(1));
  dictionary->removeObjectForKeys("Foo");
  EXPECT_EQ(dictionary->allKeys()->count(), 0U);
  EXPECT_TRUE(dictionary->objectForKeys("Foo")->isEqual(2));
}

// Shows: removeObjectForKeys, allKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, RemovingMakesTheLevelsOnTheWay) {
  dictionary->removeObjectForKeys("P", "q");
  EXPECT_TRUE(dictionary->allKeys()->isEqualToArray(NSArray::of("p")));
  EXPECT_TRUE(dictionary->objectForKeys("p")->isEqual(NSDictionary::dictionary()));
}

// Shows: setObject_forKeys, objectForKeys, removeObjectForKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, TheFirstKeyMustBeAString) {
  expectException(NSInvalidArgumentException, [&] { dictionary->setObject_forKeys(1, 2); });
  expectException(NSInvalidArgumentException, [&] { (void)dictionary->objectForKeys(2); });
  expectException(NSInvalidArgumentException, [&] { dictionary->removeObjectForKeys(2); });
  dictionary->setObject_forKeys(1, "a", 2);
  EXPECT_TRUE(dictionary->objectForKeys("A", 2)->isEqual(1));
}

// Shows: setObject_forKeys
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, NullIsRefused) {
  expectException(NSInvalidArgumentException, [&] { dictionary->setObject_forKeys(nullptr, "a"); });
  EXPECT_EQ(dictionary->objectForKeys("a"), nullptr);
}

// Shows: OVMutableCaseInsensitiveKeyPathDictionary
TEST_F(OVMutableCaseInsensitiveKeyPathDictionaryTests, IsMadeByItsName) {
  const auto made = cast<OVMutableKeyPathDictionary>(
      NSClassFromString("OVMutableCaseInsensitiveKeyPathDictionary")->make());
  made->setObject_forKeys(1, "Foo");
  EXPECT_TRUE(made->objectForKeys("fOO")->isEqual(1));
}

}  // namespace
}  // namespace kestova
