// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSObjectRTKVONotification.h>
#include <KestovaFoundation/_RTKVONotificationCenter.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "ObservedAccount.h"

#include <string>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::lineOf;
using testing::ObservedAccount;

using Lines = std::vector<std::string>;

class Observer : public NSObject {
 public:
  void changed(const Ref<NSString>& keyPath, const id&, const Ref<NSDictionary>& change,
               const id& userInfo) {
    told_.push_back(lineOf(keyPath, change) + " " + userInfo->description()->displayUTF8());
  }
  Lines takeTold() { return std::exchange(told_, {}); }

 private:
  Lines told_;
};

constexpr SEL kChanged = sel<&Observer::changed>();

class NSObjectRTKVONotificationTests : public ::testing::Test {
 protected:
  void changeAll() {
    account_->setName("Ada");
    account_->setBalance(account_->balance() + 1);
    account_->setOwner(nullptr);
  }

  const Ref<ObservedAccount> account_ = make<ObservedAccount>();
  const Ref<Observer> observer_ = make<Observer>();
};

// Shows: addObserver_forKeyPath_selector_userInfo_options, removeObserver_forKeyPath_selector
TEST_F(NSObjectRTKVONotificationTests, AnObjectIsObservedByAnOperationUntilItIsRemoved) {
  addObserver_forKeyPath_selector_userInfo_options(account_, observer_.get(), "balance", kChanged,
                                                   "info", 3);
  account_->setBalance(5);
  EXPECT_EQ(observer_->takeTold(), (Lines{"balance 0>5 info"}));
  removeObserver_forKeyPath_selector(account_, observer_.get(), "balance", kChanged);
  account_->setBalance(6);
  EXPECT_EQ(observer_->takeTold(), Lines());
}

// Shows: addObserver_forKeyPaths_options_selector_userInfo, removeObserver_forKeyPaths_selector
TEST_F(NSObjectRTKVONotificationTests, SeveralKeyPathsAreObservedAndRemovedAtOnce) {
  const auto paths = NSArray::of("name", "balance", "owner");
  addObserver_forKeyPaths_options_selector_userInfo(account_, observer_.get(), paths, 0, kChanged,
                                                    1);
  changeAll();
  EXPECT_EQ(observer_->takeTold(), (Lines{"name ->- 1", "balance ->- 1", "owner ->- 1"}));
  removeObserver_forKeyPaths_selector(account_, observer_.get(), paths, kChanged);
  changeAll();
  EXPECT_EQ(observer_->takeTold(), Lines());
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: addObserver_forKeyPaths_options_selector_userInfo
TEST_F(NSObjectRTKVONotificationTests, TheOptionsHoldForEachOfSeveral) {
  const auto paths = NSArray::of("name", "balance");
  addObserver_forKeyPaths_options_selector_userInfo(account_, observer_.get(), paths, 3, kChanged,
                                                    "info");
  changeAll();
  EXPECT_EQ(observer_->takeTold(), (Lines{"name <null>>Ada info", "balance 0>1 info"}));
  removeObserver_forKeyPaths_selector(account_, observer_.get(), paths, kChanged);
}

// Shows: addObserver_forKeyPath_selector_userInfo_options, removeObserver_forKeyPath_selector
TEST_F(NSObjectRTKVONotificationTests, RegistrationsAreThoseOfTheDefaultCentre) {
  const auto centre = _RTKVONotificationCenter::defaultCenter();
  addObserver_forKeyPath_selector_userInfo_options(account_, observer_.get(), "balance", kChanged,
                                                   "info", 0);
  centre->removeObserver_object_keyPath_selector(observer_.get(), account_.get(), "balance",
                                                 kChanged);
  EXPECT_FALSE(account_->hasObservers());
  centre->addObserver_object_keyPath_selector_userInfo_options(observer_.get(), account_.get(),
                                                               "name", kChanged, "info", 0);
  removeObserver_forKeyPath_selector(account_, observer_.get(), "name", kChanged);
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: removeObserver_forKeyPath_selector, addObserver_forKeyPaths_options_selector_userInfo
TEST_F(NSObjectRTKVONotificationTests, OneOfSeveralMayBeRemovedByItself) {
  const auto paths = NSSet::of("name", "balance");
  addObserver_forKeyPaths_options_selector_userInfo(account_, observer_.get(), paths, 0, kChanged,
                                                    1);
  removeObserver_forKeyPath_selector(account_, observer_.get(), "name", kChanged);
  changeAll();
  EXPECT_EQ(observer_->takeTold(), (Lines{"balance ->- 1"}));
  removeObserver_forKeyPaths_selector(account_, observer_.get(), paths, kChanged);
  EXPECT_FALSE(account_->hasObservers());
}

// Shows: addObserver_forKeyPaths_options_selector_userInfo, removeObserver_forKeyPaths_selector
TEST_F(NSObjectRTKVONotificationTests, NoKeyPathsAreNoRegistrations) {
  addObserver_forKeyPaths_options_selector_userInfo(account_, observer_.get(), nullptr, 0, kChanged,
                                                    1);
  EXPECT_FALSE(account_->hasObservers());
  removeObserver_forKeyPaths_selector(account_, observer_.get(), NSArray::array(), kChanged);
}

}  // namespace
}  // namespace kestova
