// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "ObservedNodes.h"

#include <functional>

namespace kestova {
namespace {

using testing::ChangeRecorder;
using testing::expectException;
using testing::kNewAndOld;
using testing::Lines;

class KeyValueChangeTests : public testing::ObservedNodeFixture {};

TEST_F(KeyValueChangeTests, ChangesMayNest) {
  observe("value");
  recorder_->whenTold = [this] {
    if (node_->value() < 3) {
      node_->setValue(node_->value() + 1);
    }
  };
  node_->setValue(1);
  EXPECT_EQ(recorder_->told, (Lines{"value 0>1", "value 1>2", "value 2>3"}));
  recorder_->whenTold = nullptr;
  stop("value");
}

TEST_F(KeyValueChangeTests, WhoWasThereWhenTheChangeBeganIsToldAndNobodyElse) {
  const auto late = make<ChangeRecorder>();
  observe("value");
  node_->willChangeValueForKey("value");
  node_->addObserver_forKeyPath_options_context(late.get(), "value", 0, nullptr);
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  EXPECT_TRUE(late->told.empty());
  node_->willChangeValueForKey(Ref<NSString>("value"));
  stop("value");
  node_->didChangeValueForKey(Ref<NSString>("value"));
  EXPECT_TRUE(recorder_->told.empty());
  EXPECT_EQ(late->told, (Lines{"value ->-"}));
}

TEST_F(KeyValueChangeTests, ChangesOfSeveralPropertiesMayOverlap) {
  observe("value");
  observe("next");
  node_->willChangeValueForKey("value");
  node_->willChangeValueForKey("next");
  node_->didChangeValueForKey("value");
  node_->didChangeValueForKey("next");
  node_->didChangeValueForKey("next");
  EXPECT_EQ(recorder_->told, (Lines{"value 0>0", "next null>null"}));
}

TEST_F(KeyValueChangeTests, AChangeEndsItsOwnAndNoLaterOneOfTheSameKey) {
  observe("value", kNewAndOld);
  {
    const KeyValueChange change(*node_, Ref<NSString>("value"));
    node_->willChangeValueForKey("value");
  }
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), Lines());
}

TEST_F(KeyValueChangeTests, AChangeThatAnObserverRefusesBeforehandIsNotMade) {
  observe("value", kNewAndOld | NSKeyValueObservingOptionPrior);
  recorder_->whenTold = [] { throw NSException(NSGenericException, "not now"); };
  expectException(NSGenericException, [&] { node_->setValue(5); });
  EXPECT_EQ(node_->value(), 0);
  recorder_->whenTold = nullptr;
  recorder_->takeTold();
  node_->setValue(6);
  EXPECT_EQ(recorder_->told, (Lines{"prior value 0>-", "value 0>6"}));
}

TEST_F(KeyValueChangeTests, WhoWasToldOfAChangeThatAnotherOneRefusesIsToldOfItsEnd) {
  observe("value", kNewAndOld | NSKeyValueObservingOptionPrior);
  const auto silent = make<ChangeRecorder>();
  node_->addObserver_forKeyPath_options_context(silent.get(), "value", kNewAndOld, nullptr);
  const auto refusing = make<ChangeRecorder>();
  node_->addObserver_forKeyPath_options_context(refusing.get(), "value",
                                                NSKeyValueObservingOptionPrior, nullptr);
  refusing->whenTold = [] { throw NSException(NSGenericException, "not now"); };
  expectException(NSGenericException, [&] { node_->setValue(5); });
  EXPECT_EQ(recorder_->told, (Lines{"prior value 0>-", "value 0>0"}));
  EXPECT_EQ(silent->told, Lines());
  EXPECT_EQ(refusing->told, (Lines{"prior value ->-"}));
}

TEST_F(KeyValueChangeTests, WhatOneThrowsWhenItIsDoneKeepsNoOtherOneFromBeingTold) {
  observe("value");
  const auto other = make<ChangeRecorder>();
  node_->addObserver_forKeyPath_options_context(other.get(), "value", kNewAndOld, nullptr);
  recorder_->whenTold = [] { throw NSException(NSGenericException, "no"); };
  expectException(NSGenericException, [&] { node_->setValue(5); });
  EXPECT_EQ(node_->value(), 5);
  EXPECT_EQ(other->told, (Lines{"value 0>5"}));
}

TEST_F(KeyValueChangeTests, AChangeThatAnExceptionEndsIsToldAndItsExceptionComesOut) {
  observe("value");
  recorder_->whenTold = [] { throw NSException(NSGenericException, "no"); };
  const auto other = make<ChangeRecorder>();
  node_->addObserver_forKeyPath_options_context(other.get(), "value", kNewAndOld, nullptr);
  expectException(NSRangeException, [&] {
    const KeyValueChange change(*node_, "value");
    throw NSException(NSRangeException, "no value");
  });
  EXPECT_EQ(recorder_->told, (Lines{"value 0>0"}));
  EXPECT_EQ(other->told, (Lines{"value 0>0"}));
}

TEST_F(KeyValueChangeTests, AChangeOfNothingCannotBeAnnounced) {
  const Ref<NSString> noKey;
  const char* const noText = nullptr;
  const auto expectRefusals = [&] {
    const struct {
      const char* operation;
      std::function<void()> announce;
    } rows[] = {
        {"willChangeValueForKey:", [&] { node_->willChangeValueForKey(noKey); }},
        {"willChangeValueForKey:", [&] { node_->willChangeValueForKey(noText); }},
        {"didChangeValueForKey:", [&] { node_->didChangeValueForKey(noKey); }},
        {"didChangeValueForKey:", [&] { node_->didChangeValueForKey(noText); }},
    };
    for (const auto& row : rows) {
      const auto reason = expectException(NSInvalidArgumentException, row.announce).reason();
      EXPECT_TRUE(
          reason->hasSuffix(NSString::stringWithFormat(" %s]: nil argument", row.operation)))
          << reason;
    }
  };
  expectRefusals();
  observe("value");
  expectRefusals();
  node_->willChangeValueForKey("value");
  expectRefusals();
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  stop("value");
}

TEST_F(KeyValueChangeTests, KeysThatAreNotASCIIAreFound) {
  class Dictionary : public NSObject {
   public:
    id valueForKey(const Ref<NSString>&) const override { return 1; }
  };
  const auto object = make<Dictionary>();
  const char16_t surrogate[] = {0xD800};
  const auto noText = NSString::stringWithCharacters_length(surrogate, 1);
  object->addObserver_forKeyPath_options_context(recorder_.get(), "größe", 1, nullptr);
  object->addObserver_forKeyPath_options_context(recorder_.get(), noText, 0, nullptr);
  object->willChangeValueForKey("größe");
  object->didChangeValueForKey("größe");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"größe ->1"}));
  object->willChangeValueForKey(NSString::stringWithUTF16Storage(u"größe"));
  object->didChangeValueForKey(NSString::stringWithUTF16Storage(u"größe"));
  EXPECT_EQ(recorder_->takeTold().size(), 1U);
  object->willChangeValueForKey(noText);
  object->didChangeValueForKey(noText);
  EXPECT_EQ(recorder_->takeTold().size(), 1U);
  object->removeObserver_forKeyPath(recorder_.get(), "größe");
  object->removeObserver_forKeyPath(recorder_.get(), noText);
  EXPECT_FALSE(object->hasObservers());
}

TEST_F(KeyValueChangeTests, WhatIsToldIsADictionaryLikeOthers) {
  Ref<NSDictionary> told;
  class Keeper : public NSObject {
   public:
    explicit Keeper(Ref<NSDictionary>& told) : told_(told) {}
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                        const Ref<NSDictionary>& change,
                                                        void*) override {
      told_ = change;
    }

   private:
    Ref<NSDictionary>& told_;
  };
  const auto keeper = make<Keeper>(told);
  node_->addObserver_forKeyPath_options_context(keeper.get(), "value", 3, nullptr);
  node_->setValue(5);
  const auto expected = NSDictionary::of({{"kind", 1}, {"old", 0}, {"new", 5}});
  EXPECT_EQ(told->count(), 3U);
  EXPECT_TRUE(told->isEqual(expected));
  EXPECT_TRUE(expected->isEqual(told));
  EXPECT_TRUE(told->copy()->isEqual(expected));
  EXPECT_TRUE(told->mutableCopy()->isEqual(expected));
  EXPECT_TRUE(told->description()->isEqual(expected->description()));
  EXPECT_TRUE(told->objectForKey(NSMutableString::stringWithString("new"))->isEqual(5));
  EXPECT_EQ(told->objectForKey("other"), nullptr);
  EXPECT_EQ(told->objectForKey(nullptr), nullptr);
}

}  // namespace
}  // namespace kestova
