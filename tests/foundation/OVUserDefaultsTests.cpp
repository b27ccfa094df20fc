// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSNull.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DistributedListener.h"
#include "ExceptionExpectation.h"
#include "PreferencesPlace.h"

#include <string>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using testing::expectException;
using ::testing::IsEmpty;
using testing::PreferencesPlace;

constexpr const char* kOwn = PreferencesPlace::kApplication;

MATCHER_P(Is, expected, "") { return isEqualOrBothNull(arg, expected); }

/// Counts how often it was to bring domains in step with the disk.
class CountingDefaults : public OVUserDefaults {
  KESTOVA_CLASS(CountingDefaults, OVUserDefaults)

 public:
  bool synchronize() override {
    ++synchronizations;
    return OVUserDefaults::synchronize();
  }

  int synchronizations = 0;
};

KESTOVA_DEFINE_CLASS(CountingDefaults)

/// Keeps what the default centre tells of preferences, as "NAME" and the suite if there is one.
class LocalListener : public NSObject {
 public:
  explicit LocalListener(NSObject* sender) : sender_(sender) {
    for (const auto* name :
         {&NSUserDefaultsDidChangeNotification, &NSUserDefaultsSuiteDidChangeNotification}) {
      NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
          this, sel<&LocalListener::hear>(), *name, nullptr);
    }
  }
  ~LocalListener() override { NSNotificationCenter::defaultCenter()->removeObserver(this); }

  void hear(const Ref<NSNotification>& notification) {
    EXPECT_EQ(notification->object().get(), sender_);
    const auto& info = notification->userInfo();
    const id suite = info ? info->objectForKey("suiteName") : nullptr;
    if (info) {
      EXPECT_EQ(info->count(), suite ? 1U : 0U);
    }
    heard.emplace_back(notification->name()->displayUTF8(),
                       suite ? suite->description()->displayUTF8() : "");
  }

  std::vector<std::pair<std::string, std::string>> heard;

 private:
  NSObject* sender_;
};

const std::pair<std::string, std::string> kDidChange = {"NSUserDefaultsDidChangeNotification", ""};

std::pair<std::string, std::string> suiteChange(const char* suite) {
  return {"NSUserDefaultsSuiteDidChangeNotification", suite};
}

class OVUserDefaultsTests : public ::testing::Test {
 protected:
  OVUserDefaultsTests() {
    defaults_ = make<CountingDefaults>();
    defaults_->removePersistentDomainForName(kOwn);
    defaults_->removePersistentDomainForName("suite");
  }

  static Ref<NSNotification> changeBy(const id& sender) {
    return NSNotification::notificationWithName_object_userInfo(
        NSUserDefaultsSuiteDidChangeNotification, "suite",
        NSDictionary::of({{"bundleIdentifierOfSender", sender}}));
  }

  PreferencesPlace& place_ = PreferencesPlace::current();
  Ref<CountingDefaults> defaults_;
};

// Shows: NSUserDefaultsSuiteDidChangeNotification
TEST_F(OVUserDefaultsTests, TheNotificationIsNamedAsItsConstant) {
  EXPECT_EQ(NSUserDefaultsSuiteDidChangeNotification.string(),
            "NSUserDefaultsSuiteDidChangeNotification");
}

// Shows: install, standardUserDefaults
TEST_F(OVUserDefaultsTests, InstallingMakesTheSharedInstanceTheStandardOne) {
  OVUserDefaults::install();
  const auto standard = NSUserDefaults::standardUserDefaults();
  EXPECT_EQ(standard, OVUserDefaults::standardUserDefaults());
  EXPECT_EQ(NSUserDefaults::standardUserDefaults(), standard);
  EXPECT_NE(cast<OVUserDefaults>(standard), nullptr);
  NSUserDefaults::replaceStandardUserDefaults(nullptr);
  EXPECT_EQ(cast<OVUserDefaults>(NSUserDefaults::standardUserDefaults()), nullptr);
}

// Shows: initWithUser
TEST_F(OVUserDefaultsTests, OnlyUsersWithAnAccountHaveDefaults) {
  EXPECT_NE(OVUserDefaults::initWithUser(nullptr), nullptr);
  EXPECT_EQ(OVUserDefaults::initWithUser("no such account"), nullptr);
}

// Shows: _registerDefaults_inSuite, _objectForKey_inSuite, _updateRegisteredDefaults
TEST_F(OVUserDefaultsTests, DefaultsOfASuiteAreAddedUpAndNewOnesWin) {
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", 1}}), "suite");
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", 2}, {"b", 3}}), "suite");
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", "suite"), Is(id(2)));
  EXPECT_THAT(defaults_->_objectForKey_inSuite("b", "suite"), Is(id(3)));
  EXPECT_THAT(defaults_->volatileDomainForName(NSRegistrationDomain),
              Is(NSDictionary::of({{"a", 2}, {"b", 3}})));
  defaults_->_registerDefaults_inSuite(nullptr, "suite");
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", "suite"), Is(id(2)));
}

// Shows: registerDefaults, _registerDefaults_inSuite, _updateRegisteredDefaults, _objectForKey_inSuite
TEST_F(OVUserDefaultsTests, RegistrationsOfTheApplicationWinWhereverTheyComeFrom) {
  defaults_->registerDefaults(NSDictionary::of({{"a", 5}}));
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", 1}}), "suite");
  EXPECT_THAT(defaults_->objectForKey("a"), Is(id(5)));
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", "suite"), Is(id(1)));
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", kOwn), Is(id(5)));
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", nullptr), Is(id(5)));
  EXPECT_EQ(defaults_->_objectForKey_inSuite("a", "other"), nullptr);
}

// Shows: _registerDefaults_inSuite
TEST_F(OVUserDefaultsTests, ANullSuiteIsRegisteredForTheApplication) {
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", 1}}), nullptr);
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", kOwn), Is(id(1)));
}

// Shows: _registerDefaults_inSuite, _updateRegisteredDefaults
TEST_F(OVUserDefaultsTests, KeysOfSeveralSuitesAreAllFound) {
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", 1}, {"both", 1}}), "suite.1");
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"b", 2}, {"both", 2}}), "suite.2");
  EXPECT_THAT(defaults_->objectForKey("a"), Is(id(1)));
  EXPECT_THAT(defaults_->objectForKey("b"), Is(id(2)));
  EXPECT_NE(defaults_->objectForKey("both"), nullptr);
}

// Shows: _registerDefaults_inSuite, registerDefaults
TEST_F(OVUserDefaultsTests, DefaultsThatAreNoPropertyListAreRefusedAndForgotten) {
  expectException(NSInvalidArgumentException, [&] {
    defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", NSNull::null()}}), "suite");
  });
  EXPECT_EQ(defaults_->_objectForKey_inSuite("a", "suite"), nullptr);
  defaults_->registerDefaults(NSDictionary::of({{"b", 1}}));
  EXPECT_THAT(defaults_->objectForKey("b"), Is(id(1)));
}

// Shows: _objectForKey_inSuite, addSuiteNamed, removeSuiteNamed
TEST_F(OVUserDefaultsTests, WhatASuiteHoldsComesBeforeWhatIsRegisteredForIt) {
  defaults_->_registerDefaults_inSuite(NSDictionary::of({{"a", "registered"}}), "suite");
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"a", "stored"}}), "suite");
  EXPECT_THAT(defaults_->_objectForKey_inSuite("a", "suite"), Is(id("stored")));
  EXPECT_THAT(defaults_->objectForKey("a"), Is(id("registered")));
  defaults_->addSuiteNamed("suite");
  EXPECT_THAT(defaults_->objectForKey("a"), Is(id("stored")));
  defaults_->setObject_forKey("own", "a");
  EXPECT_THAT(defaults_->objectForKey("a"), Is(id("own")));
  defaults_->removeObjectForKey("a");
  defaults_->removeSuiteNamed("suite");
  EXPECT_THAT(defaults_->objectForKey("a"), Is(id("registered")));
}

// Shows: suiteDidChangeDistributedNotification, NSUserDefaultsSuiteDidChangeNotification
TEST_F(OVUserDefaultsTests, AChangeByAnotherProgramIsReadAndToldTwice) {
  const auto listener = make<LocalListener>(defaults_.get());
  defaults_->suiteDidChangeDistributedNotification(changeBy("org.example.Other"));
  EXPECT_EQ(defaults_->synchronizations, 1);
  EXPECT_THAT(listener->heard, ElementsAre(kDidChange, suiteChange("suite")));
}

// Shows: suiteDidChangeDistributedNotification, NSUserDefaultsSuiteDidChangeNotification
TEST_F(OVUserDefaultsTests, AChangeByThisProgramIsNotReadAndToldOnce) {
  const auto listener = make<LocalListener>(defaults_.get());
  defaults_->suiteDidChangeDistributedNotification(changeBy(kOwn));
  EXPECT_EQ(defaults_->synchronizations, 0);
  EXPECT_THAT(listener->heard, ElementsAre(suiteChange("suite")));
}

// Shows: suiteDidChangeDistributedNotification
TEST_F(OVUserDefaultsTests, AChangeByNobodyKnownCountsAsAnothers) {
  const auto listener = make<LocalListener>(defaults_.get());
  defaults_->suiteDidChangeDistributedNotification(changeBy(42));
  defaults_->suiteDidChangeDistributedNotification(
      NSNotification::notificationWithName_object("name", nullptr));
  EXPECT_EQ(defaults_->synchronizations, 2);
  EXPECT_THAT(listener->heard,
              ElementsAre(kDidChange, suiteChange("suite"), kDidChange, suiteChange("")));
}

// Shows: setObject_forKey, removeObjectForKey
TEST_F(OVUserDefaultsTests, WritingTheOwnDomainIsNotToldWhereItIsNoSuite) {
  const auto listener =
      make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  defaults_->setObject_forKey(1, "a");
  defaults_->removeObjectForKey("a");
  EXPECT_THAT(listener->heard(), IsEmpty());
  EXPECT_EQ(defaults_->synchronizations, 0);
}

// Shows: setObject_forKey, removeObjectForKey, NSUserDefaultsSuiteDidChangeNotification
TEST_F(OVUserDefaultsTests, WritingTheOwnDomainAsASuiteIsWrittenFirstAndTold) {
  const auto listener =
      make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  defaults_->addSuiteNamed(kOwn);
  defaults_->setObject_forKey(1, "a");
  EXPECT_EQ(defaults_->synchronizations, 1);
  EXPECT_THAT(place_.onDisk(kOwn), Is(NSDictionary::of({{"a", 1}})));
  defaults_->removeObjectForKey("a");
  EXPECT_EQ(defaults_->synchronizations, 2);
  EXPECT_EQ(place_.onDisk(kOwn), nullptr);
  const auto& heard = listener->heard();
  ASSERT_EQ(heard.size(), 2U);
  for (const auto& notification : heard) {
    EXPECT_THAT(notification->object(), Is(id(kOwn)));
    EXPECT_THAT(notification->userInfo(),
                Is(NSDictionary::of({{"bundleIdentifierOfSender", kOwn}})));
  }
  defaults_->removeSuiteNamed(kOwn);
  defaults_->setObject_forKey(1, "a");
  EXPECT_EQ(listener->heard().size(), 2U);
}

// Shows: addSuiteNamed, removeSuiteNamed, suiteDidChangeDistributedNotification
TEST_F(OVUserDefaultsTests, ChangesOfSuitesAreHeardFromTheirAddingToTheirRemoval) {
  const auto distributed =
      make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  const auto post = [](const char* suite) {
    NSDistributedNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
        NSUserDefaultsSuiteDidChangeNotification, suite,
        NSDictionary::of({{"bundleIdentifierOfSender", "org.example.Other"}}));
  };
  const auto listener = make<LocalListener>(defaults_.get());
  defaults_->addSuiteNamed("suite");
  post("suite");
  post("another suite");
  EXPECT_EQ(distributed->heard().size(), 2U);
  EXPECT_THAT(listener->heard, ElementsAre(kDidChange, suiteChange("suite")));
  defaults_->removeSuiteNamed("suite");
  post("suite");
  EXPECT_EQ(distributed->heard().size(), 3U);
  EXPECT_EQ(listener->heard.size(), 2U);
}

// Shows: addSuiteNamed, removeSuiteNamed
TEST_F(OVUserDefaultsTests, ASuiteAddedTwiceIsHeardTwiceAndRemovedAtOnce) {
  const auto distributed =
      make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  const auto listener = make<LocalListener>(defaults_.get());
  defaults_->addSuiteNamed("suite");
  defaults_->addSuiteNamed("suite");
  setObject_forKey_inSuite(defaults_, 1, "a", "suite");
  EXPECT_EQ(distributed->heard().size(), 1U);
  EXPECT_THAT(listener->heard, ElementsAre(kDidChange, suiteChange("suite"), suiteChange("suite")));
  defaults_->removeSuiteNamed("suite");
  setObject_forKey_inSuite(defaults_, 2, "a", "suite");
  EXPECT_EQ(distributed->heard().size(), 2U);
  EXPECT_EQ(listener->heard.size(), 4U);
  EXPECT_EQ(defaults_->objectForKey("a"), nullptr);
}

// Shows: addObservationsForSuite, removeObservationsForSuite
TEST_F(OVUserDefaultsTests, ASuiteThatIsOnlyObservedIsHeardAndNotSearched) {
  const auto distributed =
      make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  const auto listener = make<LocalListener>(defaults_.get());
  defaults_->addObservationsForSuite("suite");
  setObject_forKey_inSuite(defaults_, 1, "a", "suite");
  EXPECT_EQ(distributed->heard().size(), 1U);
  EXPECT_THAT(listener->heard, ElementsAre(kDidChange, suiteChange("suite")));
  EXPECT_EQ(defaults_->objectForKey("a"), nullptr);
  defaults_->removeObservationsForSuite("suite");
  setObject_forKey_inSuite(defaults_, 2, "a", "suite");
  EXPECT_EQ(distributed->heard().size(), 2U);
  EXPECT_EQ(listener->heard.size(), 3U);
}

// Shows: addSuiteNamed, removeSuiteNamed
TEST_F(OVUserDefaultsTests, AddingOrRemovingANullOrUnknownSuiteDoesNothing) {
  defaults_->addSuiteNamed(nullptr);
  defaults_->removeSuiteNamed(nullptr);
  defaults_->removeSuiteNamed("never added");
  EXPECT_EQ(defaults_->objectForKey("a"), nullptr);
}

// Shows: OVUserDefaults, init
TEST_F(OVUserDefaultsTests, AnInstanceThatGoesHearsNothingAnyMore) {
  const auto distributed =
      make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  Ref<OVUserDefaults> other = OVUserDefaults::init();
  other->addSuiteNamed("suite");
  other = nullptr;
  setObject_forKey_inSuite(defaults_, 1, "a", "suite");
  EXPECT_EQ(distributed->heard().size(), 1U);
}

}  // namespace
}  // namespace kestova
