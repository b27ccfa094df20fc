// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVKVOReceptionist.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "ObservedAccount.h"
#include "Stress.h"

#include <memory>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::lineOf;
using testing::ObservedAccount;
using testing::StressTime;
using testing::Threads;

using Lines = std::vector<std::string>;

class OVKVOReceptionistTests : public ::testing::Test {
 protected:
  Ref<OVKVOReceptionist> receptionist(const Ref<NSString>& keyPath) {
    return OVKVOReceptionist::receptionistForKeyPath_object_handler(
        keyPath, account_,
        [this](const Ref<NSString>& path, const id& object, const Ref<NSDictionary>& change) {
          EXPECT_EQ(object, account_);
          told_.push_back(lineOf(path, change));
        });
  }

  const Ref<ObservedAccount> account_ = make<ObservedAccount>();
  Lines told_;
};

// Shows: receptionistForKeyPath_object_handler
TEST_F(OVKVOReceptionistTests, TheHandlerIsToldOldAndNewValue) {
  const auto observing = receptionist("balance");
  account_->setBalance(5);
  account_->setBalance(7);
  EXPECT_EQ(told_, (Lines{"balance 0>5", "balance 5>7"}));
}

// Shows: receptionistForKeyPath_object_handler, observeValueForKeyPath_ofObject_change_context
TEST_F(OVKVOReceptionistTests, OtherKeysAndObjectsAreNotTold) {
  const auto observing = receptionist("balance");
  account_->setName("Ada");
  make<ObservedAccount>()->setBalance(3);
  EXPECT_TRUE(told_.empty());
}

// Shows: receptionistForKeyPath_object_handler
TEST_F(OVKVOReceptionistTests, KeyPathsThroughOtherObjectsAreFollowed) {
  const auto observing = receptionist("owner.name");
  const auto owner = make<ObservedAccount>();
  account_->setOwner(owner);
  owner->setName("Ada");
  EXPECT_EQ(told_, (Lines{"owner.name <null>><null>", "owner.name <null>>Ada"}));
}

// Shows: OVKVOReceptionist
TEST_F(OVKVOReceptionistTests, ItObservesOnlyAsLongAsItLives) {
  auto observing = receptionist("balance");
  EXPECT_TRUE(account_->hasObservers());
  observing = nullptr;
  EXPECT_FALSE(account_->hasObservers());
  account_->setBalance(5);
  EXPECT_TRUE(told_.empty());
}

// Shows: cancel, isCancelled
TEST_F(OVKVOReceptionistTests, CancellingIsFinalAndMayBeRepeated) {
  const auto observing = receptionist("balance");
  EXPECT_FALSE(observing->isCancelled());
  EXPECT_TRUE(observing->valueForKey("cancelled")->isEqual(false));
  observing->cancel();
  EXPECT_TRUE(observing->isCancelled());
  EXPECT_TRUE(observing->valueForKey("cancelled")->isEqual(true));
  observing->cancel();
  EXPECT_TRUE(observing->isCancelled());
  account_->setBalance(5);
  EXPECT_TRUE(told_.empty());
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: OVKVOReceptionist, cancel
TEST_F(OVKVOReceptionistTests, ItHoldsTheObjectUntilItIsCancelled) {
  const auto observing = receptionist("balance");
  EXPECT_EQ(account_->retainCount(), 2U);
  observing->cancel();
  EXPECT_EQ(account_->retainCount(), 1U);
}

// Shows: cancel
TEST_F(OVKVOReceptionistTests, TheHandlerMayCancelAndLetGoOfIt) {
  Ref<OVKVOReceptionist> observing;
  int calls = 0;
  const auto held = std::make_shared<std::string>("held by the handler");
  observing = OVKVOReceptionist::receptionistForKeyPath_object_handler(
      "balance", account_, [&, held](const auto& keyPath, const id&, const auto&) {
        observing->cancel();
        observing = nullptr;
        EXPECT_EQ(*held, "held by the handler");
        EXPECT_EQ(keyPath, "balance");
        ++calls;
      });
  account_->setBalance(1);
  account_->setBalance(2);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(held.use_count(), 1);
}

// Shows: cancel
TEST_F(OVKVOReceptionistTests, CancellingMayLetGoOfWhatHoldsIt) {
  auto held = std::make_shared<Ref<OVKVOReceptionist>>();
  *held = OVKVOReceptionist::receptionistForKeyPath_object_handler(
      "balance", account_, [held](const auto&, const id&, const auto&) {});
  OVKVOReceptionist* const observing = held->get();
  const std::weak_ptr<Ref<OVKVOReceptionist>> handlers = held;
  held = nullptr;
  observing->cancel();
  EXPECT_TRUE(handlers.expired());
  EXPECT_FALSE(account_->hasObservers());
  EXPECT_EQ(account_->retainCount(), 1U);
}

// Shows: observeValueForKeyPath_ofObject_change_context
TEST_F(OVKVOReceptionistTests, AnotherContextGoesToTheBaseClass) {
  const auto observing = receptionist("balance");
  int other = 0;
  account_->addObserver_forKeyPath_options_context(observing.get(), "name", 0, &other);
  expectException(NSInternalInconsistencyException, [&] { account_->setName("Ada"); });
  account_->removeObserver_forKeyPath_context(observing.get(), "name", &other);
  EXPECT_TRUE(told_.empty());
}

// Shows: observeValueForKeyPath_ofObject_change_context
TEST_F(OVKVOReceptionistTests, WhatItDoesNotObserveIsIgnoredUnderItsOwnContext) {
  const auto observing = receptionist("balance");
  void* own = const_cast<Class*>(&OVKVOReceptionist::staticClass());
  observing->observeValueForKeyPath_ofObject_change_context("name", account_, nullptr, own);
  observing->observeValueForKeyPath_ofObject_change_context("balance", make<ObservedAccount>(),
                                                            nullptr, own);
  observing->observeValueForKeyPath_ofObject_change_context(nullptr, account_, nullptr, own);
  observing->cancel();
  observing->observeValueForKeyPath_ofObject_change_context("balance", account_, nullptr, own);
  observing->observeValueForKeyPath_ofObject_change_context("balance", nullptr, nullptr, own);
  EXPECT_TRUE(told_.empty());
}

// Shows: receptionistForKeyPath_object_handler
TEST_F(OVKVOReceptionistTests, TheKeyPathIsACopyOfItsOwn) {
  const auto keyPath = NSMutableString::stringWithString("balance");
  const auto observing = receptionist(keyPath);
  keyPath->appendString(".more");
  account_->setBalance(5);
  EXPECT_EQ(told_, (Lines{"balance 0>5"}));
}

// Shows: receptionistForKeyPath_object_handler, cancel
TEST_F(OVKVOReceptionistTests, AMissingObjectIsNotObservedAndAMissingKeyPathIsRefused) {
  const auto observing = OVKVOReceptionist::receptionistForKeyPath_object_handler(
      "balance", nullptr, [](const auto&, const id&, const auto&) {});
  observing->cancel();
  EXPECT_FALSE(observing->isCancelled()) << "there was nothing to cancel";
  expectException(NSInvalidArgumentException, [&] { (void)receptionist(nullptr); });
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: OVKVOReceptionist, cancel
TEST_F(OVKVOReceptionistTests, TheyComeAndGoOnManyThreadsAtTheSameTime) {
  const StressTime time;
  Threads threads;
  threads.start(8, [&](int) {
    while (!time.isOver()) {
      const auto account = make<ObservedAccount>();
      long told = 0;
      const auto count = [&told](const auto&, const id&, const auto&) { ++told; };
      const auto cancelled =
          OVKVOReceptionist::receptionistForKeyPath_object_handler("balance", account, count);
      auto dropped =
          OVKVOReceptionist::receptionistForKeyPath_object_handler("owner.balance", account, count);
      account->setOwner(make<ObservedAccount>());
      account->setBalance(1);
      dropped = nullptr;
      account->setOwner(nullptr);
      cancelled->cancel();
      account->setBalance(2);
      ASSERT_EQ(told, 2);
    }
  });
  threads.join();
}

}  // namespace
}  // namespace kestova
