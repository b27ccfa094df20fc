// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/_RTKVONotificationCenter.h>
#include <gtest/gtest.h>

#include "ObservedAccount.h"
#include "Stress.h"

#include <cstdint>

namespace kestova {
namespace {

using testing::ObservedAccount;
using testing::Threads;

class Observer : public NSObject {
 public:
  void changed(const Ref<NSString>&, const id&, const Ref<NSDictionary>&, const id& userInfo) {
    ++calls;
    lastUserInfo = userInfo;
  }
  void changedToo(const Ref<NSString>&, const id&, const Ref<NSDictionary>&, const id&) {
    ++otherCalls;
  }

  int calls = 0;
  int otherCalls = 0;
  id lastUserInfo;
};

template <class T>
T addressOf(std::uintptr_t number) {
  return reinterpret_cast<T>(number);
}

class _RTKVONotificationCenterTests : public ::testing::Test {
 protected:
  void add(SEL selector, const Ref<NSString>& keyPath = "balance", const id& userInfo = nullptr) {
    center_->addObserver_object_keyPath_selector_userInfo_options(observer_.get(), account_.get(),
                                                                  keyPath, selector, userInfo, 0);
  }
  void remove(SEL selector, const Ref<NSString>& keyPath = "balance") {
    center_->removeObserver_object_keyPath_selector(observer_.get(), account_.get(), keyPath,
                                                    selector);
  }

  const Ref<_RTKVONotificationCenter> center_ = _RTKVONotificationCenter::init();
  const Ref<ObservedAccount> account_ = make<ObservedAccount>();
  const Ref<Observer> observer_ = make<Observer>();
};

// Shows: _dictionaryKeyForObserver_object_keyPath_selector
TEST_F(_RTKVONotificationCenterTests, TheKeyOfARegistrationIsItsFourPartsJoinedByColons) {
  EXPECT_EQ(
      _RTKVONotificationCenter::_dictionaryKeyForObserver_object_keyPath_selector(
          addressOf<NSObject*>(0x10), addressOf<NSObject*>(0x20), "name", addressOf<SEL>(0x30)),
      "0x10:0x20:name:0x30");
  EXPECT_EQ(_RTKVONotificationCenter::_dictionaryKeyForObserver_object_keyPath_selector(
                nullptr, nullptr, nullptr, nullptr),
            "0x0:0x0:(null):0x0");
}

// Shows: defaultCenter, init
TEST_F(_RTKVONotificationCenterTests, TheDefaultCentreIsAlwaysTheSame) {
  const auto center = _RTKVONotificationCenter::defaultCenter();
  EXPECT_EQ(_RTKVONotificationCenter::defaultCenter(), center);
  EXPECT_NE(center_, center);
}

// Shows: addObserver_object_keyPath_selector_userInfo_options, removeObserver_object_keyPath_selector
TEST_F(_RTKVONotificationCenterTests, AnOperationIsPerformedUntilItIsRemoved) {
  add(sel<&Observer::changed>(), "balance", 7);
  account_->setBalance(1);
  EXPECT_EQ(observer_->calls, 1);
  EXPECT_TRUE(observer_->lastUserInfo->isEqual(7));
  remove(sel<&Observer::changed>());
  account_->setBalance(2);
  EXPECT_EQ(observer_->calls, 1);
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: removeObserver_object_keyPath_selector
TEST_F(_RTKVONotificationCenterTests, RegistrationsOfOneObserverDifferByKeyPathAndSelector) {
  add(sel<&Observer::changed>());
  add(sel<&Observer::changedToo>());
  add(sel<&Observer::changed>(), "name");
  remove(sel<&Observer::changed>());
  account_->setBalance(1);
  EXPECT_EQ(observer_->calls, 0);
  EXPECT_EQ(observer_->otherCalls, 1);
  account_->setName("Ada");
  EXPECT_EQ(observer_->calls, 1);
  remove(sel<&Observer::changedToo>());
  remove(sel<&Observer::changed>(), "name");
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: removeObserver_object_keyPath_selector
TEST_F(_RTKVONotificationCenterTests, RegistrationsDifferByObserverAndObject) {
  const auto otherObserver = make<Observer>();
  const auto otherAccount = make<ObservedAccount>();
  const auto balanceChanged = sel<&Observer::changed>();
  center_->addObserver_object_keyPath_selector_userInfo_options(
      otherObserver.get(), account_.get(), "balance", balanceChanged, nullptr, 0);
  center_->addObserver_object_keyPath_selector_userInfo_options(
      observer_.get(), otherAccount.get(), "balance", balanceChanged, nullptr, 0);
  remove(balanceChanged);
  account_->setBalance(1);
  otherAccount->setBalance(1);
  EXPECT_EQ(otherObserver->calls, 1);
  EXPECT_EQ(observer_->calls, 1);
  center_->removeObserver_object_keyPath_selector(otherObserver.get(), account_.get(), "balance",
                                                  balanceChanged);
  center_->removeObserver_object_keyPath_selector(observer_.get(), otherAccount.get(), "balance",
                                                  balanceChanged);
  EXPECT_FALSE(account_->hasObservers());
  EXPECT_FALSE(otherAccount->hasObservers());
}

// Shows: init, removeObserver_object_keyPath_selector
TEST_F(_RTKVONotificationCenterTests, ACentreKnowsOnlyItsOwnRegistrations) {
  add(sel<&Observer::changed>());
  _RTKVONotificationCenter::init()->removeObserver_object_keyPath_selector(
      observer_.get(), account_.get(), "balance", sel<&Observer::changed>());
  account_->setBalance(1);
  EXPECT_EQ(observer_->calls, 1);
  remove(sel<&Observer::changed>());
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: removeObserver_object_keyPath_selector
TEST_F(_RTKVONotificationCenterTests, RemovingWhatIsNotThereDoesNothing) {
  remove(sel<&Observer::changed>());
  add(sel<&Observer::changed>());
  remove(sel<&Observer::changed>(), "name");
  remove(sel<&Observer::changed>());
  remove(sel<&Observer::changed>());
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: addObserver_object_keyPath_selector_userInfo_options
TEST_F(_RTKVONotificationCenterTests, ASecondRegistrationTakesThePlaceOfTheFirst) {
  add(sel<&Observer::changed>(), "balance", "first");
  add(sel<&Observer::changed>(), "balance", "second");
  account_->setBalance(1);
  EXPECT_TRUE(observer_->lastUserInfo->isEqual("second"));
  remove(sel<&Observer::changed>());
  observer_->calls = 0;
  account_->setBalance(2);
  EXPECT_EQ(observer_->calls, 0);
}

// Shows: _RTKVONotificationCenter
TEST_F(_RTKVONotificationCenterTests, ThreadsMayRegisterAtTheSameTime) {
  Threads threads;
  threads.start(8, [this](int) {
    const auto observer = make<Observer>();
    const auto account = make<ObservedAccount>();
    for (int i = 0; i < 500; ++i) {
      center_->addObserver_object_keyPath_selector_userInfo_options(
          observer.get(), account.get(), "balance", sel<&Observer::changed>(), nullptr, 0);
      account->setBalance(i);
      center_->removeObserver_object_keyPath_selector(observer.get(), account.get(), "balance",
                                                      sel<&Observer::changed>());
      account->setBalance(i);
    }
    EXPECT_EQ(observer->calls, 500);
  });
  threads.join();
}

}  // namespace
}  // namespace kestova
