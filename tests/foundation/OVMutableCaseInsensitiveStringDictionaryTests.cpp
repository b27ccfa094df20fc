// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "StringDictionaryRun.h"

#include <latch>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::counted;
using testing::CountingObject;
using testing::expectException;
using testing::RandomRun;
using testing::StringDictionaryRun;

class OVMutableCaseInsensitiveStringDictionaryTests : public ::testing::Test {
 protected:
  /// "(null)" for nothing.
  std::string at(const Ref<NSString>& key) {
    const id object = dictionary->objectForKey(key);
    return object ? object->description()->displayUTF8() : "(null)";
  }

  std::string keys() { return textOf(dictionary->allKeys()); }
  std::string values() { return textOf(dictionary->allValues()); }

  static std::string textOf(const Ref<NSArray>& array) {
    return array->componentsJoinedByString(" ")->displayUTF8();
  }

  Ref<OVMutableCaseInsensitiveStringDictionary> dictionary =
      OVMutableCaseInsensitiveStringDictionary::init();
};

// Shows: init, objectForKey, allKeys, allValues, removeObjectForKey, removeAllObjects
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, AnEmptyOneHasNothing) {
  EXPECT_EQ(at("foo"), "(null)");
  EXPECT_EQ(keys(), "");
  EXPECT_EQ(values(), "");
  dictionary->removeObjectForKey("foo");
  dictionary->removeAllObjects();
}

// Shows: objectForKey, allKeys, allValues
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, FindsAKeyInAnyCase) {
  dictionary->setObject_forKey("A", "Foo");
  EXPECT_EQ(at("Foo"), "A");
  EXPECT_EQ(at("foo"), "A");
  EXPECT_EQ(at("FOO"), "A");
  EXPECT_EQ(keys(), "foo");
  EXPECT_EQ(values(), "A");
}

// Shows: objectForKey, removeObjectForKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, AskingRemembersTheSpelling) {
  dictionary->setObject_forKey("A", "foo");
  EXPECT_EQ(at("FOO"), "A");
  dictionary->removeObjectForKey("foo");
  EXPECT_EQ(at("FOO"), "A");  // what was remembered stays
  EXPECT_EQ(at("Foo"), "(null)");
}

// Shows: setObject_forKey, objectForKey, allValues
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, TheLowercaseFormKeepsTheFirstObject) {
  dictionary->setObject_forKey("A", "Foo");
  dictionary->setObject_forKey("B", "Foo");
  EXPECT_EQ(at("Foo"), "B");
  EXPECT_EQ(at("foo"), "A");
  EXPECT_EQ(values(), "A");
  dictionary->setObject_forKey("C", "foo");
  EXPECT_EQ(at("Foo"), "C");
  EXPECT_EQ(at("foo"), "A");
  EXPECT_EQ(values(), "A");
  EXPECT_EQ(at("fOO"), "A");  // never seen before
}

// Shows: setObject_forKey, objectForKey, allValues
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, ReplacingReachesAllAfterTheLowercaseWasSet) {
  dictionary->setObject_forKey("A", "foo");
  EXPECT_EQ(at("FOO"), "A");
  EXPECT_EQ(at("Foo"), "A");
  dictionary->setObject_forKey("B", "FOO");
  for (const char* key : {"foo", "FOO", "Foo", "fOO"}) {
    EXPECT_EQ(at(key), "B");
  }
  EXPECT_EQ(values(), "B");
}

// Shows: setObject_forKey, objectForKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, ReplacingReachesSpellingsThatWereAskedFor) {
  dictionary->setObject_forKey("A", "Foo");
  EXPECT_EQ(at("FOO"), "A");
  dictionary->setObject_forKey("B", "Foo");
  EXPECT_EQ(at("FOO"), "B");
  EXPECT_EQ(at("foo"), "A");
  EXPECT_EQ(at("fOO"), "A");
}

// Shows: setObject_forKey, objectForKey, allKeys
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, ANewSpellingReplacesTheLowercaseForm) {
  dictionary->setObject_forKey("A", "Foo");
  dictionary->setObject_forKey("B", "FOO");
  EXPECT_EQ(at("FOO"), "B");
  EXPECT_EQ(at("foo"), "B");
  EXPECT_EQ(at("Foo"), "A");
  EXPECT_EQ(keys(), "foo");
}

// Shows: removeObjectForKey, objectForKey, setObject_forKey, allKeys, allValues
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, RemovingLeavesTheRememberedSpellings) {
  dictionary->setObject_forKey("A", "Foo");
  dictionary->removeObjectForKey("Foo");
  EXPECT_EQ(keys(), "");
  EXPECT_EQ(values(), "");
  EXPECT_EQ(at("foo"), "(null)");
  EXPECT_EQ(at("Foo"), "A");
  dictionary->setObject_forKey("B", "Foo");
  EXPECT_EQ(at("Foo"), "A");
  EXPECT_EQ(keys(), "");
  dictionary->setObject_forKey("B", "foo");
  EXPECT_EQ(keys(), "foo");
  EXPECT_EQ(values(), "B");
  EXPECT_EQ(at("foo"), "B");
  EXPECT_EQ(at("Foo"), "A");
}

// Shows: removeObjectForKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, AnySpellingRemovesTheEntry) {
  dictionary->setObject_forKey("A", "foo");
  dictionary->removeObjectForKey("FOO");
  EXPECT_EQ(keys(), "");
  EXPECT_EQ(at("foo"), "(null)");
  dictionary->setObject_forKey("A", "Foo");
  dictionary->removeObjectForKey("bar");
  EXPECT_EQ(keys(), "foo");
}

// Shows: setObject_forKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, TheVerySameObjectAgainChangesNothing) {
  const id first = counted(1);
  dictionary->setObject_forKey(first, "Foo");
  dictionary->setObject_forKey(first, "foo");
  // Had it registered "foo", that would now be replaced along with "Foo".
  dictionary->setObject_forKey(counted(2), "Foo");
  EXPECT_EQ(dictionary->objectForKey("foo"), first);
}

// Shows: setObject_forKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, AnEqualObjectReplacesTheOneThatWasThere) {
  const id first = counted(1);
  const id second = counted(1);
  dictionary->setObject_forKey(first, "foo");
  dictionary->setObject_forKey(second, "foo");
  EXPECT_EQ(dictionary->objectForKey("foo"), second);
}

// Shows: removeAllObjects
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, RemovingAllForgetsTheSpellingsToo) {
  dictionary->setObject_forKey("A", "Foo");
  dictionary->setObject_forKey("B", "Bar");
  dictionary->removeAllObjects();
  EXPECT_EQ(at("Foo"), "(null)");
  EXPECT_EQ(at("bar"), "(null)");
  EXPECT_EQ(keys(), "");
  dictionary->setObject_forKey("C", "Foo");
  EXPECT_EQ(at("foo"), "C");
}

// Shows: setObject_forKey, objectForKey, removeObjectForKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, NullIsRefusedAndChangesNothing) {
  dictionary->setObject_forKey("A", "Foo");
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKey(nullptr, "Foo"); });
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKey(nullptr, "bar"); });
  expectException(NSInvalidArgumentException, [&] { dictionary->setObject_forKey("B", nullptr); });
  EXPECT_EQ(at("Foo"), "A");
  EXPECT_EQ(at(nullptr), "(null)");
  dictionary->removeObjectForKey(nullptr);
  EXPECT_EQ(keys(), "foo");
  dictionary->removeObjectForKey("Foo");
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKey(nullptr, "Foo"); });
}

// Shows: setObject_forKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, NoExceptionKeepsTheLock) {
  expectException(NSInvalidArgumentException,
                  [&] { dictionary->setObject_forKey(nullptr, "Foo"); });
  std::thread([&] { dictionary->setObject_forKey("A", "Foo"); }).join();
  EXPECT_EQ(at("foo"), "A");
}

// Shows: objectForKey, allKeys
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, CaseIsThatOfUnicodeInNoLanguage) {
  dictionary->setObject_forKey("A", "ÄÖÜ");
  EXPECT_EQ(at("äöü"), "A");
  EXPECT_EQ(keys(), "äöü");
  dictionary->setObject_forKey("B", "TITLE");
  EXPECT_EQ(at("title"), "B");
  dictionary->setObject_forKey("C", "straße");
  EXPECT_EQ(at("STRASSE"), "(null)");
}

// Shows: setObject_forKey
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, KeysAreCopied) {
  const auto key = NSMutableString::stringWithString("Foo");
  dictionary->setObject_forKey("A", key);
  key->setString("Bar");
  EXPECT_EQ(at("Foo"), "A");
  EXPECT_EQ(at("Bar"), "(null)");
  dictionary->setObject_forKey("B", "Foo");
  EXPECT_EQ(at("Foo"), "B");
}

// Shows: allValues, allKeys
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, ValuesComeInTheOrderOfTheKeys) {
  for (const char* key : {"One", "two", "THREE"}) {
    dictionary->setObject_forKey(key, key);
  }
  const auto keys = dictionary->allKeys();
  const auto values = dictionary->allValues();
  ASSERT_EQ(keys->count(), 3U);
  for (NSUInteger index = 0; index < 3; ++index) {
    const auto value = cast<NSString>(values->objectAtIndex(index));
    EXPECT_TRUE(value->lowercaseString()->isEqual(keys->objectAtIndex(index)));
  }
}

/// Empties a dictionary when it goes.
class Emptying final : public NSObject {
 public:
  explicit Emptying(OVMutableCaseInsensitiveStringDictionary& dictionary)
      : dictionary_(dictionary) {}
  ~Emptying() override { dictionary_.removeAllObjects(); }

 private:
  OVMutableCaseInsensitiveStringDictionary& dictionary_;
};

// Shows: setObject_forKey, removeObjectForKey, removeAllObjects
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, AnObjectThatGoesMayUseTheDictionary) {
  const auto expectEmptied = [&](auto&& change) {
    dictionary->setObject_forKey(make<Emptying>(*dictionary), "foo");
    change();
    EXPECT_EQ(keys(), "");
    EXPECT_EQ(values(), "");
    EXPECT_EQ(at("foo"), "(null)");
  };
  expectEmptied([&] { dictionary->setObject_forKey("A", "foo"); });
  expectEmptied([&] { dictionary->setObject_forKey("A", "Foo"); });
  expectEmptied([&] {
    EXPECT_NE(dictionary->objectForKey("FOO"), nullptr);
    dictionary->setObject_forKey("A", "FOO");
  });
  expectEmptied([&] { dictionary->removeObjectForKey("foo"); });
  expectEmptied([&] { dictionary->removeAllObjects(); });
}

// Shows: setObject_forKey, removeObjectForKey, removeAllObjects
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, AnObjectThatGoesMayWaitForAnotherThread) {
  class Waiting final : public NSObject {
   public:
    explicit Waiting(OVMutableCaseInsensitiveStringDictionary& dictionary)
        : dictionary_(dictionary) {}
    ~Waiting() override {
      std::thread([this] { (void)dictionary_.allKeys(); }).join();
    }

   private:
    OVMutableCaseInsensitiveStringDictionary& dictionary_;
  };
  const auto waiting = [&] { return make<Waiting>(*dictionary); };
  dictionary->setObject_forKey(waiting(), "foo");
  dictionary->setObject_forKey(waiting(), "foo");
  dictionary->removeObjectForKey("foo");
  dictionary->setObject_forKey(waiting(), "Foo");
  dictionary->setObject_forKey("A", "Foo");
  dictionary->setObject_forKey("A", "FOO");
  dictionary->setObject_forKey(waiting(), "bar");
  dictionary->removeAllObjects();
  EXPECT_EQ(keys(), "");
}

// Shows: OVMutableCaseInsensitiveStringDictionary
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, IsSharedByThreads) {
  std::latch begin(4);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      begin.arrive_and_wait();
      for (int step = 0; step < 500; ++step) {
        const std::string number = std::to_string(step % 10);
        dictionary->setObject_forKey(step, (thread % 2 == 0 ? "key" : "KEY") + number);
        (void)dictionary->objectForKey("Key" + number);
        (void)dictionary->allValues();
        if (step % 7 == 0) {
          dictionary->removeObjectForKey("key" + number);
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_LE(dictionary->allKeys()->count(), 10U);
}

// Shows: OVMutableCaseInsensitiveStringDictionary
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, LetsGoOfEverything) {
  const int before = CountingObject::alive();
  dictionary->setObject_forKey(counted(1), "Foo");
  dictionary->setObject_forKey(counted(2), "FOO");
  dictionary->removeObjectForKey("foo");
  dictionary = nullptr;
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: OVMutableCaseInsensitiveStringDictionary
TEST_F(OVMutableCaseInsensitiveStringDictionaryTests, IsMadeByItsName) {
  const auto* described = NSClassFromString("OVMutableCaseInsensitiveStringDictionary");
  EXPECT_NE(cast<OVMutableCaseInsensitiveStringDictionary>(described->make()), nullptr);
}

// Shows: OVMutableCaseInsensitiveStringDictionary
TEST(OVMutableCaseInsensitiveStringDictionaryRandomTests, HoldsWhatAPlainModelHoldsAfterEachStep) {
  RandomRun random;
  for (int round = 0; round < 50; ++round) {
    StringDictionaryRun run;
    for (int step = 0; step < 400; ++step) {
      ASSERT_TRUE(run.step(random)) << "round " << round << ", step " << step;
    }
  }
}

}  // namespace
}  // namespace kestova
