// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "PrimitiveCollections.h"

namespace kestova {
namespace {

using testing::counted;

/// Writes down what it is told: the key and the value before and after.
class Listener : public NSObject {
 public:
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                      const Ref<NSDictionary>& change,
                                                      void*) override {
    told_->addObject(NSArray::of(keyPath, change->objectForKey(NSKeyValueChangeOldKey),
                                 change->objectForKey(NSKeyValueChangeNewKey)));
  }

  const Ref<NSMutableArray>& told() const { return told_; }

 private:
  Ref<NSMutableArray> told_ = NSMutableArray::array();
};

class NSMutableDictionaryTests : public ::testing::Test {
 protected:
  void listenTo(const Ref<NSMutableDictionary>& dictionary) {
    dictionary->addObserver_forKeyPath_options_context(
        listener_.get(), "a", NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld, nullptr);
  }

  Ref<Listener> listener_ = make<Listener>();
  Ref<NSMutableDictionary> dictionary_ = NSMutableDictionary::dictionary();
};

TEST_F(NSMutableDictionaryTests, IsMadeByName) {
  EXPECT_NE(cast<NSMutableDictionary>(NSClassFromString("NSMutableDictionary")->make()), nullptr);
}

TEST_F(NSMutableDictionaryTests, SettingByPropertyNameTellsObservers) {
  listenTo(dictionary_);
  dictionary_->setValue_forKey(1, "a");
  dictionary_->setValue_forKey(2, "a");
  dictionary_->setValue_forKey(7, "other");
  dictionary_->setValue_forKey(nullptr, "a");
  ASSERT_EQ(listener_->told()->count(), 3U);
  EXPECT_TRUE(listener_->told()->objectAtIndex(1)->isEqual(NSArray::of("a", 1, 2)));
  dictionary_->removeObserver_forKeyPath(listener_.get(), "a");
}

TEST_F(NSMutableDictionaryTests, ASubclassAnnouncesForItself) {
  const Ref<NSMutableDictionary> own = make<testing::PrimitiveMutableDictionary>();
  listenTo(own);
  own->setValue_forKey(1, "a");
  EXPECT_EQ(listener_->told()->count(), 0U);
  own->removeObserver_forKeyPath(listener_.get(), "a");
}

TEST_F(NSMutableDictionaryTests, ANullKeyIsRefusedEverywhere) {
  const auto refuses = [](auto&& change) {
    testing::expectException(NSInvalidArgumentException, change);
  };
  refuses([&] { dictionary_->removeObjectForKey(nullptr); });
  refuses([&] { dictionary_->setValue_forKey(1, nullptr); });
}

TEST_F(NSMutableDictionaryTests, AKeptKeyStaysWhenItsObjectIsReplaced) {
  const id key = counted(1);
  dictionary_->setObject_forKey("first", key);
  dictionary_->setObject_forKey("second", counted(1));
  EXPECT_EQ(dictionary_->allKeys()->firstObject(), key);
}

TEST_F(NSMutableDictionaryTests, ThousandsOfKeysAreFoundAgain) {
  for (int value = 0; value < 20000; ++value) {
    dictionary_->setObject_forKey(value, value * 16);
  }
  for (int value = 0; value < 20000; value += 2) {
    dictionary_->removeObjectForKey(value * 16);
  }
  EXPECT_EQ(dictionary_->count(), 10000U);
  for (int value = 1; value < 20000; value += 2) {
    ASSERT_TRUE(dictionary_->objectForKey(value * 16)->isEqual(value));
  }
}

}  // namespace
}  // namespace kestova
