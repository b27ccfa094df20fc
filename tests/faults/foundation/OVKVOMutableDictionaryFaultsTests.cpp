// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVKVOMutableDictionary.h>
#include <KestovaPlatform/NSArray.h>
#include <gtest/gtest.h>

#include "AllocationFaults.h"
#include "ChangeCounter.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Two who count the changes of a key, of which no memory may break the pairs.
class OVKVOMutableDictionaryFaults : public ::testing::TestWithParam<const char*> {
 protected:
  OVKVOMutableDictionaryFaults() {
    for (const auto& counter : {first_, second_}) {
      counter->observe(*dictionary_, key_);
    }
  }

  /// Lets each allocation of a change fail. Behind each the two have met both ends of it or none.
  template <typename Change>
  void expectPairs(Change change) {
    const int refused = walkAllocations(change, [&](bool) {
      EXPECT_EQ(first_->open(), 0);
      EXPECT_EQ(second_->open(), 0);
    });
    EXPECT_GT(refused, 4);
    EXPECT_GT(second_->ended(), 0);
  }

  const Ref<NSString> key_ = GetParam();
  const Ref<OVKVOMutableDictionary> dictionary_ =
      OVKVOMutableDictionary::initWithObjects_forKeys(nullptr, nullptr);
  const Ref<ChangeCounter> first_ = make<ChangeCounter>();
  const Ref<ChangeCounter> second_ = make<ChangeCounter>();
};

}  // namespace

TEST_P(OVKVOMutableDictionaryFaults, WhoIsToldThatAKeyIsToBeStoredIsToldOfTheEnd) {
  const Ref<NSString> value = "a value that is too long for any place in place";
  expectPairs([&] {
    dictionary_->removeAllObjects();
    dictionary_->setObject_forKey(value, key_);
  });
}

TEST_P(OVKVOMutableDictionaryFaults, WhoIsToldThatAKeyIsToBeRemovedIsToldOfTheEnd) {
  expectPairs([&] {
    dictionary_->setObject_forKey("a value", key_);
    dictionary_->removeObjectForKey(key_);
  });
}

INSTANTIATE_TEST_SUITE_P(Keys, OVKVOMutableDictionaryFaults,
                         ::testing::Values("k", "Schlüssel, länger als jeder Platz darin"));
