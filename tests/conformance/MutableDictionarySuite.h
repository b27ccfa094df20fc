// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

/// What every mutable dictionary does, whoever made it. A family is a type with
/// `static Ref<NSMutableDictionary> make(std::vector<std::pair<id, id>>)`. Keys are strings. A null
/// key is refused by an exception, or ends the process where the family has `kRequiresKeys`.
namespace kestova::testing {

template <class Family>
class MutableDictionarySuite : public ::testing::Test {
 protected:
  using Model = std::map<std::string, int>;

  static Ref<NSMutableDictionary> dictionary(std::vector<std::pair<id, id>> entries = {}) {
    return Family::make(std::move(entries));
  }

  static Model contentsOf(const Ref<NSDictionary>& dictionary) {
    Model contents;
    dictionary->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool*) {
      contents[key->description()->displayUTF8()] = valueOf(object);
    });
    return contents;
  }

  /// Changes the dictionary and a map in the same random way.
  static void changeBoth(RandomRun& random, NSMutableDictionary& dictionary, Model& model) {
    const std::string key = "key" + std::to_string(random.below(40));
    const std::string other = "key" + std::to_string(random.below(40));
    const int value = static_cast<int>(random.below(100));
    switch (random.below(20)) {
      case 0:
        dictionary.removeObjectsForKeys(NSArray::of(key, other));
        model.erase(key);
        model.erase(other);
        break;
      case 1:
        dictionary.addEntriesFromDictionary(
            NSDictionary::of({{key, counted(1)}, {other, counted(1)}}));
        model[key] = 1;
        model[other] = 1;
        break;
      case 2:
        dictionary.setValue_forKey(nullptr, key);
        model.erase(key);
        break;
      case 3:
        if (value == 0) {
          dictionary.removeAllObjects();
          model.clear();
        }
        break;
      case 4:
      case 5:
      case 6:
      case 7:
      case 8:
        dictionary.removeObjectForKey(key);
        model.erase(key);
        break;
      default:
        dictionary.setObject_forKey(counted(value), key);
        model[key] = value;
        break;
    }
  }
};

TYPED_TEST_SUITE_P(MutableDictionarySuite);

TYPED_TEST_P(MutableDictionarySuite, SetsReplacesAndRemoves) {
  const auto dictionary = this->dictionary({{"a", 1}});
  dictionary->setObject_forKey(2, "b");
  dictionary->setObject_forKey(3, "a");
  EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"a", 3}, {"b", 2}})));
  dictionary->removeObjectForKey("a");
  dictionary->removeObjectForKey("absent");
  EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"b", 2}})));
  dictionary->removeAllObjects();
  EXPECT_EQ(dictionary->count(), 0U);
}

TYPED_TEST_P(MutableDictionarySuite, KeepsACopyOfAKey) {
  const auto dictionary = this->dictionary();
  const auto key = NSMutableString::stringWithString("a");
  dictionary->setObject_forKey(1, key);
  key->appendString("b");
  EXPECT_TRUE(dictionary->objectForKey("a")->isEqual(1));
  EXPECT_EQ(dictionary->objectForKey("ab"), nullptr);
}

TYPED_TEST_P(MutableDictionarySuite, RefusesNullKeysAndObjects) {
  const auto dictionary = this->dictionary({{"a", 1}});
  const auto refuses = [&](auto&& change) {
    expectException(NSInvalidArgumentException, change);
    EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"a", 1}})));
  };
  refuses([&] { dictionary->setObject_forKey(nullptr, "a"); });
  if constexpr (requires { TypeParam::kRequiresKeys; }) {
    EXPECT_DEATH(dictionary->setObject_forKey(1, nullptr), "Assertion failure");
  } else {
    refuses([&] { dictionary->setObject_forKey(1, nullptr); });
  }
}

TYPED_TEST_P(MutableDictionarySuite, SettingNothingByPropertyNameRemovesTheKey) {
  const auto dictionary = this->dictionary();
  dictionary->setValue_forKey(1, "a");
  EXPECT_TRUE(dictionary->objectForKey("a")->isEqual(1));
  dictionary->setValue_forKey(nullptr, "a");
  EXPECT_EQ(dictionary->count(), 0U);
}

TYPED_TEST_P(MutableDictionarySuite, TakesTheEntriesOfAnotherOneAndOfItself) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}});
  dictionary->addEntriesFromDictionary(NSDictionary::of({{"b", 3}, {"c", 4}}));
  EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"a", 1}, {"b", 3}, {"c", 4}})));
  dictionary->addEntriesFromDictionary(nullptr);
  dictionary->setDictionary(dictionary);
  EXPECT_EQ(dictionary->count(), 3U);
  dictionary->setDictionary(NSDictionary::of({{"z", 1}}));
  EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"z", 1}})));
  dictionary->setDictionary(nullptr);
  EXPECT_EQ(dictionary->count(), 0U);
}

TYPED_TEST_P(MutableDictionarySuite, RemovesAllKeysOfAnArray) {
  const auto dictionary = this->dictionary({{"a", 1}, {"b", 2}, {"c", 3}});
  dictionary->removeObjectsForKeys(NSArray::of("a", "c", "x"));
  dictionary->removeObjectsForKeys(nullptr);
  EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"b", 2}})));
}

TYPED_TEST_P(MutableDictionarySuite, ACopyDoesNotChangeWithIt) {
  const auto dictionary = this->dictionary({{"a", 1}});
  const auto copy = cast<NSDictionary>(dictionary->copy());
  const auto same = NSDictionary::dictionaryWithDictionary(dictionary);
  dictionary->setObject_forKey(2, "b");
  EXPECT_TRUE(copy->isEqual(NSDictionary::of({{"a", 1}})));
  EXPECT_TRUE(same->isEqual(copy));
}

TYPED_TEST_P(MutableDictionarySuite, BehavesAsAMapDoesAndLeaksNothing) {
  const int before = CountingObject::alive();
  RandomRun random;
  {
    const auto dictionary = this->dictionary();
    typename TestFixture::Model model;
    for (int step = 0; step < 2000; ++step) {
      this->changeBoth(random, *dictionary, model);
      ASSERT_EQ(this->contentsOf(dictionary), model) << "after step " << step;
    }
    EXPECT_EQ(CountingObject::alive() - before, static_cast<int>(dictionary->count()));
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

REGISTER_TYPED_TEST_SUITE_P(MutableDictionarySuite, SetsReplacesAndRemoves, KeepsACopyOfAKey,
                            RefusesNullKeysAndObjects, SettingNothingByPropertyNameRemovesTheKey,
                            TakesTheEntriesOfAnotherOneAndOfItself, RemovesAllKeysOfAnArray,
                            ACopyDoesNotChangeWithIt, BehavesAsAMapDoesAndLeaksNothing);

}  // namespace kestova::testing
