// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/_RTKVONotificationHelper.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "ObservedAccount.h"

#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::counted;
using testing::CountingObject;
using testing::expectException;
using testing::lineOf;
using testing::ObservedAccount;

class Observer : public NSObject {
 public:
  void changed(const Ref<NSString>& keyPath, const id& object, const Ref<NSDictionary>& change,
               const id& userInfo) {
    told.push_back(lineOf(keyPath, change));
    lastObject = object;
    lastUserInfo = userInfo;
  }

  std::vector<std::string> told;
  id lastObject;
  id lastUserInfo;
};

class _RTKVONotificationHelperTests : public ::testing::Test {
 protected:
  Ref<_RTKVONotificationHelper> helper(const id& userInfo, NSUInteger options = 3) {
    return _RTKVONotificationHelper::initWithObserver_object_keyPath_selector_userInfo_options(
        observer_.get(), account_.get(), "balance", sel<&Observer::changed>(), userInfo, options);
  }

  const Ref<ObservedAccount> account_ = make<ObservedAccount>();
  const Ref<Observer> observer_ = make<Observer>();
};

// Shows: observeValueForKeyPath_ofObject_change_context, initWithObserver_object_keyPath_selector_userInfo_options
TEST_F(_RTKVONotificationHelperTests, TheOperationGetsFourArguments) {
  const auto observing = helper("info");
  account_->setBalance(5);
  EXPECT_EQ(observer_->told, (std::vector<std::string>{"balance 0>5"}));
  EXPECT_EQ(observer_->lastObject, account_);
  EXPECT_TRUE(observer_->lastUserInfo->isEqual("info"));
  observing->deregister();
}

// Shows: observeValueForKeyPath_ofObject_change_context
TEST_F(_RTKVONotificationHelperTests, TheUserInfoIsHandedThroughUnchanged) {
  const id info = NSMutableString::stringWithString("info");
  const auto observing = helper(info);
  account_->setBalance(1);
  EXPECT_EQ(observer_->lastUserInfo, info);
  observing->deregister();
  const auto without = helper(nullptr);
  account_->setBalance(2);
  EXPECT_EQ(observer_->lastUserInfo, nullptr);
  without->deregister();
}

// Shows: initWithObserver_object_keyPath_selector_userInfo_options
TEST_F(_RTKVONotificationHelperTests, OptionsAreThePlatforms) {
  const auto observing = helper(nullptr, NSKeyValueObservingOptionNew);
  account_->setBalance(5);
  EXPECT_EQ(observer_->told, (std::vector<std::string>{"balance ->5"}));
  observing->deregister();
}

// Shows: deregister
TEST_F(_RTKVONotificationHelperTests, AfterDeregisteringNothingIsTold) {
  const auto observing = helper(nullptr);
  observing->deregister();
  account_->setBalance(5);
  EXPECT_TRUE(observer_->told.empty());
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: initWithObserver_object_keyPath_selector_userInfo_options
TEST_F(_RTKVONotificationHelperTests, NeitherObserverNorObjectIsHeld) {
  const auto observing = helper(nullptr);
  EXPECT_EQ(account_->retainCount(), 1U);
  EXPECT_EQ(observer_->retainCount(), 1U);
  observing->deregister();
}

// Shows: initWithObserver_object_keyPath_selector_userInfo_options
TEST_F(_RTKVONotificationHelperTests, TheUserInfoIsHeldAsLongAsTheHelperLives) {
  const int before = CountingObject::alive();
  auto observing = helper(counted(1));
  EXPECT_EQ(CountingObject::alive(), before + 1);
  observing->deregister();
  EXPECT_EQ(CountingObject::alive(), before + 1);
  observing = nullptr;
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: observeValueForKeyPath_ofObject_change_context, RTKVONotificationHelperMagicContext
TEST_F(_RTKVONotificationHelperTests, AnotherContextGoesToTheBaseClass) {
  const auto observing = helper(nullptr);
  account_->addObserver_forKeyPath_options_context(observing.get(), "name", 0, nullptr);
  expectException(NSInternalInconsistencyException, [&] { account_->setName("Ada"); });
  account_->removeObserver_forKeyPath(observing.get(), "name");
  account_->addObserver_forKeyPath_options_context(observing.get(), "name", 3,
                                                   &RTKVONotificationHelperMagicContext);
  account_->setName("Grace");
  EXPECT_EQ(observer_->told, (std::vector<std::string>{"name Ada>Grace"}));
  account_->removeObserver_forKeyPath(observing.get(), "name");
  observing->deregister();
}

}  // namespace
}  // namespace kestova
