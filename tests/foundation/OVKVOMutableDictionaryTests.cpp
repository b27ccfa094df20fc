// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVKVOMutableDictionary.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "ObservedAccount.h"

#include <string>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::lineOf;

using Lines = std::vector<std::string>;

class Recorder : public NSObject {
 public:
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                      const Ref<NSDictionary>& change,
                                                      void*) override {
    const bool isPrior = change->objectForKey(NSKeyValueChangeNotificationIsPriorKey) != nullptr;
    told_.push_back((isPrior ? "will " : "did ") + lineOf(keyPath, change));
  }
  Lines takeTold() { return std::exchange(told_, {}); }

 private:
  Lines told_;
};

class OVKVOMutableDictionaryTests : public ::testing::Test {
 protected:
  OVKVOMutableDictionaryTests() {
    dictionary_->addObserver_forKeyPath_options_context(recorder_.get(), "k", 11, nullptr);
  }
  ~OVKVOMutableDictionaryTests() override {
    dictionary_->removeObserver_forKeyPath(recorder_.get(), "k");
  }

  const Ref<OVKVOMutableDictionary> dictionary_ =
      OVKVOMutableDictionary::initWithObjects_forKeys(NSArray::array(), NSArray::array());
  const Ref<Recorder> recorder_ = make<Recorder>();
};

// Shows: setObject_forKey
TEST_F(OVKVOMutableDictionaryTests, StoringIsOneChangeOfThatKey) {
  dictionary_->setObject_forKey(1, "k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k <null>>-", "did k <null>>1"}));
  dictionary_->setObject_forKey(2, "k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k 1>-", "did k 1>2"}));
  dictionary_->setObject_forKey(3, "other");
  EXPECT_EQ(recorder_->takeTold(), Lines());
}

// Shows: removeObjectForKey
TEST_F(OVKVOMutableDictionaryTests, RemovingIsOneChangeOfThatKey) {
  dictionary_->setObject_forKey(1, "k");
  recorder_->takeTold();
  dictionary_->removeObjectForKey("k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k 1>-", "did k 1><null>"}));
}

// Shows: setObject_forKey, removeObjectForKey
TEST_F(OVKVOMutableDictionaryTests, WhatChangesNothingIsAnnouncedToo) {
  dictionary_->removeObjectForKey("k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k <null>>-", "did k <null>><null>"}));
  dictionary_->setObject_forKey(1, "k");
  recorder_->takeTold();
  dictionary_->setObject_forKey(1, "k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k 1>-", "did k 1>1"}));
}

// Shows: OVKVOMutableDictionary, setObject_forKey, removeObjectForKey
TEST_F(OVKVOMutableDictionaryTests, OperationsOnManyKeysAnnounceEach) {
  dictionary_->addEntriesFromDictionary(NSDictionary::of({{"k", 1}, {"l", 2}}));
  EXPECT_EQ(recorder_->takeTold().size(), 2U);
  dictionary_->setValue_forKey(2, "k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k 1>-", "did k 1>2"}));
  dictionary_->setValue_forKey(nullptr, "k");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k 2>-", "did k 2><null>"}));
  dictionary_->setObject_forKey(3, "k");
  recorder_->takeTold();
  dictionary_->removeAllObjects();
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k 3>-", "did k 3><null>"}));
}

// Shows: setObject_forKey
TEST_F(OVKVOMutableDictionaryTests, AKeyMayBeAMutableString) {
  dictionary_->setObject_forKey(1, NSMutableString::stringWithString("k"));
  EXPECT_EQ(recorder_->takeTold(), (Lines{"will k <null>>-", "did k <null>>1"}));
}

// Shows: setObject_forKey
TEST_F(OVKVOMutableDictionaryTests, AMissingObjectIsRefusedAndNotAnnounced) {
  expectException(NSInvalidArgumentException, [&] { dictionary_->setObject_forKey(nullptr, "k"); });
  EXPECT_EQ(recorder_->takeTold(), Lines());
}

// Shows: initWithObjects_forKeys
TEST(OVKVOMutableDictionaryMakingTests, EachObjectStandsUnderTheKeyAtItsPlace) {
  const auto dictionary =
      OVKVOMutableDictionary::initWithObjects_forKeys(NSArray::of(1, 2), NSArray::of("a", "b"));
  EXPECT_TRUE(dictionary->isEqual(NSDictionary::of({{"a", 1}, {"b", 2}})));
  EXPECT_EQ(OVKVOMutableDictionary::initWithObjects_forKeys(nullptr, nullptr)->count(), 0U);
  expectException(NSInvalidArgumentException, [] {
    (void)OVKVOMutableDictionary::initWithObjects_forKeys(NSArray::of(1), NSArray::array());
  });
}

// Shows: count, objectForKey, keyEnumerator
TEST(OVKVOMutableDictionaryMakingTests, WhatIsStoredIsCountedFoundAndEnumerated) {
  const auto dictionary =
      OVKVOMutableDictionary::initWithObjects_forKeys(NSArray::of(1), NSArray::of("a"));
  EXPECT_EQ(dictionary->count(), 1U);
  EXPECT_TRUE(dictionary->objectForKey("a")->isEqual(1));
  EXPECT_EQ(dictionary->objectForKey("b"), nullptr);
  dictionary->setObject_forKey(2, "b");
  EXPECT_EQ(dictionary->count(), 2U);
  EXPECT_TRUE(dictionary->objectForKey("b")->isEqual(2));
  dictionary->removeObjectForKey("a");
  EXPECT_EQ(dictionary->count(), 1U);
  EXPECT_EQ(dictionary->objectForKey("a"), nullptr);
  EXPECT_TRUE(dictionary->keyEnumerator()->allObjects()->isEqual(NSArray::of("b")));
}

// Shows: setObject_forKey, removeObjectForKey
TEST(OVKVOMutableDictionaryDeathTests, AKeyThatIsNoStringEndsTheProcess) {
  const auto dictionary = OVKVOMutableDictionary::initWithObjects_forKeys(nullptr, nullptr);
  const char* set =
      "Assertion failure in -\\[OVKVOMutableDictionary setObject:forKey:\\], "
      "OVKVOMutableDictionary:57: \\[\\(NSObject \\*\\)key isKindOfClass:\\[NSString class\\]\\]";
  const char* removed =
      "Assertion failure in -\\[OVKVOMutableDictionary removeObjectForKey:\\], "
      "OVKVOMutableDictionary:67: \\[key isKindOfClass:\\[NSString class\\]\\]";
  EXPECT_DEATH(dictionary->setObject_forKey(1, 2), set);
  EXPECT_DEATH(dictionary->setObject_forKey(1, nullptr), set);
  EXPECT_DEATH(dictionary->removeObjectForKey(2), removed);
  EXPECT_DEATH(dictionary->removeObjectForKey(nullptr), removed);
}

}  // namespace
}  // namespace kestova
