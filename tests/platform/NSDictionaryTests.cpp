// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

namespace kestova {
namespace {

using testing::counted;
using testing::CountingObject;
using testing::expectException;

TEST(NSDictionaryTests, EveryMakerMakesTheSame) {
  const auto expected = NSDictionary::of({{"a", 1}, {"b", 2}});
  EXPECT_TRUE(NSDictionary::dictionaryWithObjects_forKeys(NSArray::of(1, 2), NSArray::of("a", "b"))
                  ->isEqual(expected));
  EXPECT_TRUE(NSDictionary::dictionaryWithDictionary(expected)->isEqual(expected));
  EXPECT_TRUE(
      NSDictionary::dictionaryWithObject_forKey(1, "a")->isEqual(NSDictionary::of({{"a", 1}})));
  EXPECT_EQ(NSDictionary::dictionaryWithDictionary(nullptr)->count(), 0U);
  EXPECT_EQ(NSDictionary::dictionaryWithObjects_forKeys(nullptr, nullptr)->count(), 0U);
  EXPECT_EQ(NSDictionary::dictionary()->count(), 0U);
}

TEST(NSDictionaryTests, TheLastOfEqualKeysWins) {
  const auto dictionary = NSDictionary::of({{"a", 1}, {"a", 2}});
  EXPECT_EQ(dictionary->count(), 1U);
  EXPECT_TRUE(dictionary->objectForKey("a")->isEqual(2));
}

TEST(NSDictionaryTests, NoMakerTakesNullOrUnevenArrays) {
  const auto refuses = [](auto&& maker) { expectException(NSInvalidArgumentException, maker); };
  refuses([] { (void)NSDictionary::of({{"a", nullptr}}); });
  refuses([] { (void)NSDictionary::of({{nullptr, 1}}); });
  refuses([] { (void)NSDictionary::dictionaryWithObject_forKey(nullptr, "a"); });
  refuses([] { (void)NSMutableDictionary::dictionaryWithObject_forKey(1, nullptr); });
  refuses([] {
    (void)NSDictionary::dictionaryWithObjects_forKeys(NSArray::of(1, 2), NSArray::of("a"));
  });
}

TEST(NSDictionaryTests, AnImmutableDictionaryIsItsOwnCopy) {
  const auto dictionary = NSDictionary::of({{"a", 1}});
  EXPECT_EQ(dictionary->copy(), dictionary);
  EXPECT_EQ(NSDictionary::dictionaryWithDictionary(dictionary), dictionary);
}

TEST(NSDictionaryTests, KeysAreOfAnyKindThatCanBeCopied) {
  const auto dictionary = NSDictionary::of({{1, "number"},
                                            {NSMakeRange(1, 2), "range"},
                                            {NSArray::of(1), "array"},
                                            {counted(3), "own"}});
  EXPECT_TRUE(dictionary->objectForKey(true)->isEqual("number"));
  EXPECT_TRUE(dictionary->objectForKey(1.0)->isEqual("number"));
  EXPECT_TRUE(dictionary->objectForKey(NSMakeRange(1, 2))->isEqual("range"));
  EXPECT_TRUE(dictionary->objectForKey(NSArray::of(1))->isEqual("array"));
  EXPECT_TRUE(dictionary->objectForKey(counted(3))->isEqual("own"));
  EXPECT_EQ(dictionary->objectForKey(counted(13)), nullptr) << "same hash, other value";
}

TEST(NSDictionaryTests, AKeyThatCannotBeCopiedIsRefused) {
  const Block<void()> block = [] {};
  expectException(NSInvalidArgumentException, [&] {
    (void)NSDictionary::of({{block.object(), 1}});
  });
}

TEST(NSDictionaryTests, WalksInTheOrderOfArrivalUntilAKeyIsRemoved) {
  const auto dictionary = NSDictionary::of({{"c", 1}, {"a", 2}, {"b", 3}});
  EXPECT_TRUE(dictionary->allKeys()->isEqual(NSArray::of("c", "a", "b")));
  EXPECT_TRUE(dictionary->allValues()->isEqual(NSArray::of(1, 2, 3)));
}

TEST(NSDictionaryTests, ThePlatformsOwnClassesGoByThePublicNames) {
  EXPECT_EQ(NSStringFromClass(NSDictionary::dictionary()->classDescriptor()), "NSDictionary");
  EXPECT_EQ(NSStringFromClass(NSMutableDictionary::init()->classDescriptor()),
            "NSMutableDictionary");
}

TEST(NSDictionaryTests, AnImmutableOneTakesNoValueByName) {
  expectException(NSUndefinedKeyException, [] {
    NSDictionary::of({{"a", 1}})->setValue_forKey(2, "a");
  });
}

TEST(NSDictionaryTests, LetsGoOfAnyDepthOfNesting) {
  const int before = CountingObject::alive();
  Ref<NSDictionary> outer = NSDictionary::of({{"object", counted(0)}});
  for (int depth = 1; depth < 200'000; ++depth) {
    outer = NSMutableDictionary::of({{"inner", NSArray::of(outer)}});
  }
  outer = nullptr;
  EXPECT_EQ(CountingObject::alive(), before);
}

}  // namespace
}  // namespace kestova
