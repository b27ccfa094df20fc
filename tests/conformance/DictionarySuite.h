// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "CountingObject.h"

#include <utility>
#include <vector>

/// What every dictionary does, whoever made it. A family is a type with
/// `static Ref<NSDictionary> make(std::vector<std::pair<id, id>>)`, which gets each key once. Keys
/// are strings, so that dictionaries which take nothing else can join.
namespace kestova::testing {

template <class Family>
class DictionarySuite : public ::testing::Test {
 protected:
  static Ref<NSDictionary> dictionary(std::vector<std::pair<id, id>> entries = {}) {
    return Family::make(std::move(entries));
  }
};

TYPED_TEST_SUITE_P(DictionarySuite);

TYPED_TEST_P(DictionarySuite, AnswersTheObjectUnderAnEqualKey) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}});
  EXPECT_EQ(dictionary->count(), 2U);
  EXPECT_TRUE(dictionary->objectForKey("a")->isEqual(1));
  EXPECT_TRUE(dictionary->objectForKey(NSMutableString::stringWithString("b"))->isEqual(2));
  EXPECT_EQ(dictionary->objectForKey("c"), nullptr);
  EXPECT_EQ(dictionary->objectForKey(nullptr), nullptr);
}

TYPED_TEST_P(DictionarySuite, EveryWalkHasTheSameOrder) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}, {"c", 3}});
  const auto keys = dictionary->allKeys();
  EXPECT_TRUE(NSSet::setWithArray(keys)->isEqualToSet(NSSet::of("a", "b", "c")));
  EXPECT_TRUE(dictionary->keyEnumerator()->allObjects()->isEqualToArray(keys));
  EXPECT_TRUE(
      dictionary->objectEnumerator()->allObjects()->isEqualToArray(dictionary->allValues()));
  NSUInteger index = 0;
  for (const id& key : dictionary) {
    EXPECT_TRUE(key->isEqual(keys->objectAtIndex(index)));
    EXPECT_TRUE(
        dictionary->objectForKey(key)->isEqual(dictionary->allValues()->objectAtIndex(index)));
    ++index;
  }
  EXPECT_EQ(index, 3U);
}

TYPED_TEST_P(DictionarySuite, ItsObjectsAreWalkedThroughInTheOrderOfItsKeys) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}, {"c", 2}});
  std::vector<id> objects;
  for (const id& object : dictionary->objects()) {
    objects.push_back(object);
  }
  EXPECT_TRUE(dictionary->allValues()->isEqualToArray(NSArray::arrayWithObjects(objects)));
  for (const id& object : this->dictionary()->objects()) {
    ADD_FAILURE() << object;
  }
}

TYPED_TEST_P(DictionarySuite, AWalkKeepsADictionaryThatNobodyElseKeeps) {
  for (const id& object : this->dictionary({{"a", counted(7)}})->objects()) {
    EXPECT_EQ(valueOf(object), 7);
  }
}

TYPED_TEST_P(DictionarySuite, ABlockIsLedThroughUntilItStops) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}, {"c", 3}});
  int calls = 0;
  dictionary->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool* stop) {
    EXPECT_TRUE(dictionary->objectForKey(key)->isEqual(object));
    *stop = ++calls == 2;
  });
  EXPECT_EQ(calls, 2);
}

TYPED_TEST_P(DictionarySuite, AnEmptyOneHasNothing) {
  const auto empty = this->dictionary();
  EXPECT_EQ(empty->count(), 0U);
  EXPECT_EQ(empty->allKeys()->count(), 0U);
  EXPECT_EQ(empty->keyEnumerator()->nextObject(), nullptr);
  EXPECT_EQ(empty->description(), "{\n}");
}

TYPED_TEST_P(DictionarySuite, FindsTheKeysOfAnObject) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}, {"c", 1.0}});
  EXPECT_TRUE(NSSet::setWithArray(dictionary->allKeysForObject(1))->isEqual(NSSet::of("a", "c")));
  EXPECT_EQ(dictionary->allKeysForObject(nullptr)->count(), 0U);
}

TYPED_TEST_P(DictionarySuite, ItsKeysAreItsProperties) {
  const auto dictionary = this->dictionary({{"a", 1}, {"count", 7}});
  EXPECT_TRUE(dictionary->valueForKey("a")->isEqual(1));
  EXPECT_TRUE(dictionary->valueForKey("count")->isEqual(7));
  EXPECT_TRUE(dictionary->valueForKey("@count")->isEqual(2));
  EXPECT_EQ(dictionary->valueForKey("b"), nullptr);
}

TYPED_TEST_P(DictionarySuite, EqualityIsThatOfKeysAndObjects) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", "x"}});
  const auto same = NSDictionary::of({{"b", "x"}, {"a", 1.0}});
  EXPECT_TRUE(dictionary->isEqual(same));
  EXPECT_TRUE(same->isEqual(dictionary));
  EXPECT_EQ(dictionary->hash(), same->hash());
  EXPECT_FALSE(dictionary->isEqual(NSDictionary::of({{"a", 1}})));
  EXPECT_FALSE(dictionary->isEqual(NSDictionary::of({{"a", 1}, {"b", "y"}})));
  EXPECT_FALSE(dictionary->isEqual(NSDictionary::of({{"a", 1}, {"c", "x"}})));
  EXPECT_FALSE(dictionary->isEqual("a"));
  EXPECT_FALSE(dictionary->isEqual(nullptr));
}

TYPED_TEST_P(DictionarySuite, CopiesShareTheObjects) {
  const id object = counted(1);
  const auto dictionary = this->dictionary({{"a", object}});
  const auto copy = cast<NSDictionary>(dictionary->copy());
  EXPECT_EQ(copy->objectForKey("a"), object);
  EXPECT_EQ(cast<NSMutableDictionary>(copy), nullptr);
  EXPECT_EQ(copy->copy(), copy);
  const auto changing = cast<NSMutableDictionary>(dictionary->mutableCopy());
  changing->removeObjectForKey("a");
  EXPECT_EQ(dictionary->count(), 1U);
}

TYPED_TEST_P(DictionarySuite, HoldsEachObjectOnceAndLetsGoOfIt) {
  const int before = CountingObject::alive();
  {
    const id object = counted(1);
    auto dictionary = this->dictionary({{"a", object}, {"b", counted(2)}});
    EXPECT_EQ(object->retainCount(), 2U);
    (void)dictionary->allValues();
    (void)dictionary->description();
    EXPECT_EQ(object->retainCount(), 2U);
    dictionary = nullptr;
    EXPECT_EQ(object->retainCount(), 1U);
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TYPED_TEST_P(DictionarySuite, IsDescribedInTheOrderOfItsKeys) {
  EXPECT_EQ(this->dictionary({{"b", 2}, {"a", "x y"}})->description(),
            "{\n    a = \"x y\";\n    b = 2;\n}");
}

REGISTER_TYPED_TEST_SUITE_P(DictionarySuite, AnswersTheObjectUnderAnEqualKey,
                            EveryWalkHasTheSameOrder, ItsObjectsAreWalkedThroughInTheOrderOfItsKeys,
                            AWalkKeepsADictionaryThatNobodyElseKeeps,
                            ABlockIsLedThroughUntilItStops, AnEmptyOneHasNothing,
                            FindsTheKeysOfAnObject, ItsKeysAreItsProperties,
                            EqualityIsThatOfKeysAndObjects, CopiesShareTheObjects,
                            HoldsEachObjectOnceAndLetsGoOfIt, IsDescribedInTheOrderOfItsKeys);

}  // namespace kestova::testing
