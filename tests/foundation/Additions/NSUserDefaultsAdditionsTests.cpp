// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DistributedListener.h"
#include "ExceptionExpectation.h"
#include "PreferencesPlace.h"

#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using ::testing::IsEmpty;
using testing::PreferencesPlace;

constexpr const char* kOwn = PreferencesPlace::kApplication;

MATCHER_P(Is, expected, "") { return isEqualOrBothNull(arg, expected); }

class NSUserDefaultsAdditionsTests : public ::testing::Test {
 protected:
  NSUserDefaultsAdditionsTests() {
    plain_ = NSUserDefaults::init();
    suites_ = OVUserDefaults::init();
    plain_->removePersistentDomainForName(kOwn);
    plain_->removePersistentDomainForName("suite");
    heard_ = make<testing::DistributedListener>(NSUserDefaultsSuiteDidChangeNotification);
  }

  PreferencesPlace& place_ = PreferencesPlace::current();
  Ref<NSUserDefaults> plain_;
  Ref<NSUserDefaults> suites_;
  Ref<testing::DistributedListener> heard_;
};

// Shows: setObject_forKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, AValueIsWrittenInTheSuiteAndTold) {
  setObject_forKey_inSuite(suites_, "dark", "theme", "suite");
  EXPECT_THAT(place_.onDisk("suite"), Is(NSDictionary::of({{"theme", "dark"}})));
  EXPECT_EQ(place_.onDisk(kOwn), nullptr);
  const auto& heard = heard_->heard();
  ASSERT_EQ(heard.size(), 1U);
  EXPECT_EQ(heard[0]->name(), "NSUserDefaultsSuiteDidChangeNotification");
  EXPECT_THAT(heard[0]->object(), Is(id("suite")));
  EXPECT_THAT(heard[0]->userInfo(), Is(NSDictionary::of({{"bundleIdentifierOfSender", kOwn}})));
}

// Shows: setObject_forKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, OtherKeysOfTheSuiteStay) {
  setObject_forKey_inSuite(suites_, 1, "a", "suite");
  setObject_forKey_inSuite(suites_, 2, "b", "suite");
  setObject_forKey_inSuite(suites_, 3, "a", "suite");
  EXPECT_THAT(place_.onDisk("suite"), Is(NSDictionary::of({{"a", 3}, {"b", 2}})));
}

// Shows: removeObjectForKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, RemovingFromASuiteIsDeliberatelyNotTold) {
  plain_->setPersistentDomain_forName(NSDictionary::of({{"a", 1}, {"b", 2}}), "suite");
  removeObjectForKey_inSuite(suites_, "a", "suite");
  EXPECT_THAT(place_.onDisk("suite"), Is(NSDictionary::of({{"b", 2}})));
  removeObjectForKey_inSuite(suites_, "missing", "suite");
  removeObjectForKey_inSuite(suites_, nullptr, "suite");
  removeObjectForKey_inSuite(suites_, "b", "suite");
  EXPECT_EQ(place_.onDisk("suite"), nullptr);
  EXPECT_THAT(heard_->heard(), IsEmpty());
}

// Shows: setObject_forKey_inSuite, objectForKey_inSuite, removeObjectForKey_inSuite, setInteger_forKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, TheOwnIdentifierAndNoSuiteAreTheApplicationsDomain) {
  for (const Ref<NSString>& suite : {Ref<NSString>(kOwn), Ref<NSString>()}) {
    setObject_forKey_inSuite(suites_, 1, "a", suite);
    EXPECT_THAT(suites_->objectForKey("a"), Is(id(1)));
    EXPECT_THAT(objectForKey_inSuite(suites_, "a", suite), Is(id(1)));
    EXPECT_EQ(place_.onDisk(kOwn), nullptr);  // waits, as what is set there does
    removeObjectForKey_inSuite(suites_, "a", suite);
    EXPECT_EQ(suites_->objectForKey("a"), nullptr);
    setInteger_forKey_inSuite(plain_, 2, "a", suite);
    EXPECT_EQ(plain_->integerForKey("a"), 2);
    removeObjectForKey_inSuite(plain_, "a", suite);
  }
  EXPECT_THAT(heard_->heard(), IsEmpty());
}

// Shows: removeObjectForKey_inSuite, setObject_forKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, TheApplicationsDomainAsASuiteTellsOfRemovalsToo) {
  suites_->addSuiteNamed(kOwn);
  setObject_forKey_inSuite(suites_, 1, "a", kOwn);
  removeObjectForKey_inSuite(suites_, "a", nullptr);
  EXPECT_EQ(heard_->heard().size(), 2U);
  suites_->removeSuiteNamed(kOwn);
}

// Shows: objectForKey_inSuite, registerDefaults_inSuite, setObject_forKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, SuitesAreReadWithTheirRegisteredDefaults) {
  registerDefaults_inSuite(suites_, NSDictionary::of({{"a", 1}}), "suite");
  registerDefaults_inSuite(suites_, NSDictionary::of({{"a", 5}}), kOwn);
  EXPECT_THAT(objectForKey_inSuite(suites_, "a", "suite"), Is(id(1)));
  EXPECT_THAT(objectForKey_inSuite(suites_, "a", nullptr), Is(id(5)));
  setObject_forKey_inSuite(suites_, 2, "a", "suite");
  EXPECT_THAT(objectForKey_inSuite(suites_, "a", "suite"), Is(id(2)));
  EXPECT_THAT(suites_->objectForKey("a"), Is(id(5)));
}

// Shows: registerDefaults_inSuite, objectForKey_inSuite, integerForKey_inSuite, floatForKey_inSuite, doubleForKey_inSuite, boolForKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, PlainUserDefaultsHaveNoSuitesToRead) {
  const auto refuse = [](const auto& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  refuse([&] { registerDefaults_inSuite(plain_, NSDictionary::dictionary(), "suite"); });
  refuse([&] { static_cast<void>(objectForKey_inSuite(plain_, "a", "suite")); });
  refuse([&] { integerForKey_inSuite(plain_, "a", "suite"); });
  refuse([&] { floatForKey_inSuite(plain_, "a", "suite"); });
  refuse([&] { doubleForKey_inSuite(plain_, "a", "suite"); });
  refuse([&] { boolForKey_inSuite(plain_, "a", "suite"); });
}

// Shows: setInteger_forKey_inSuite, setFloat_forKey_inSuite, setDouble_forKey_inSuite, setBool_forKey_inSuite, integerForKey_inSuite, floatForKey_inSuite, doubleForKey_inSuite, boolForKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, TypedValuesOfSuitesComeBack) {
  setInteger_forKey_inSuite(suites_, -7, "integer", "suite");
  setFloat_forKey_inSuite(suites_, 0.1F, "float", "suite");
  setDouble_forKey_inSuite(suites_, 0.1, "double", "suite");
  setBool_forKey_inSuite(suites_, true, "bool", "suite");
  EXPECT_EQ(integerForKey_inSuite(suites_, "integer", "suite"), -7);
  EXPECT_EQ(floatForKey_inSuite(suites_, "float", "suite"), 0.1F);
  EXPECT_EQ(doubleForKey_inSuite(suites_, "double", "suite"), 0.1);
  EXPECT_TRUE(boolForKey_inSuite(suites_, "bool", "suite"));
  EXPECT_EQ(heard_->heard().size(), 4U);
  EXPECT_EQ(integerForKey_inSuite(suites_, "missing", "suite"), 0);
  EXPECT_EQ(floatForKey_inSuite(suites_, "missing", "suite"), 0.0F);
  EXPECT_EQ(doubleForKey_inSuite(suites_, "missing", "suite"), 0.0);
  EXPECT_FALSE(boolForKey_inSuite(suites_, "missing", "suite"));
}

// Shows: objectForKey_inPersistentDomain
TEST_F(NSUserDefaultsAdditionsTests, DomainsAreReadWithoutRegisteredDefaults) {
  plain_->registerDefaults(NSDictionary::of({{"a", 1}}));
  registerDefaults_inSuite(suites_, NSDictionary::of({{"a", 1}}), "suite");
  EXPECT_EQ(objectForKey_inPersistentDomain(plain_, "a", "suite"), nullptr);
  EXPECT_EQ(objectForKey_inPersistentDomain(suites_, "a", "suite"), nullptr);
  EXPECT_EQ(objectForKey_inPersistentDomain(plain_, "a", kOwn), nullptr);
  EXPECT_THAT(objectForKey_inPersistentDomain(plain_, "a", nullptr), Is(id(1)));
}

// Shows: setObject_forKey_inPersistentDomain, removeObjectForKey_inPersistentDomain, objectForKey_inPersistentDomain
TEST_F(NSUserDefaultsAdditionsTests, DomainsAreWrittenAndNobodyIsTold) {
  setObject_forKey_inPersistentDomain(plain_, 1, "a", "suite");
  setObject_forKey_inPersistentDomain(plain_, 2, "b", "suite");
  EXPECT_THAT(place_.onDisk("suite"), Is(NSDictionary::of({{"a", 1}, {"b", 2}})));
  EXPECT_THAT(objectForKey_inPersistentDomain(plain_, "a", "suite"), Is(id(1)));
  removeObjectForKey_inPersistentDomain(plain_, "a", "suite");
  EXPECT_THAT(place_.onDisk("suite"), Is(NSDictionary::of({{"b", 2}})));
  EXPECT_THAT(heard_->heard(), IsEmpty());
}

// Shows: setObject_forKey_inPersistentDomain
TEST_F(NSUserDefaultsAdditionsTests, TheApplicationsDomainByNameIsADomainLikeOthers) {
  suites_->addSuiteNamed(kOwn);
  setObject_forKey_inPersistentDomain(suites_, 1, "a", kOwn);
  EXPECT_THAT(place_.onDisk(kOwn), Is(NSDictionary::of({{"a", 1}})));
  EXPECT_THAT(suites_->objectForKey("a"), Is(id(1)));
  EXPECT_THAT(heard_->heard(), IsEmpty());
  suites_->removeSuiteNamed(kOwn);
}

// Shows: setObject_forKey_inPersistentDomain, integerForKey_inPersistentDomain, removeObjectForKey_inPersistentDomain
TEST_F(NSUserDefaultsAdditionsTests, ANullDomainMeansTheOrdinaryOperation) {
  setObject_forKey_inPersistentDomain(plain_, 1, "a", nullptr);
  EXPECT_EQ(plain_->integerForKey("a"), 1);
  EXPECT_EQ(integerForKey_inPersistentDomain(plain_, "a", nullptr), 1);
  removeObjectForKey_inPersistentDomain(plain_, "a", nullptr);
  EXPECT_EQ(plain_->objectForKey("a"), nullptr);
}

// Shows: setInteger_forKey_inPersistentDomain, setFloat_forKey_inPersistentDomain, setDouble_forKey_inPersistentDomain, setBool_forKey_inPersistentDomain, integerForKey_inPersistentDomain, floatForKey_inPersistentDomain, doubleForKey_inPersistentDomain, boolForKey_inPersistentDomain
TEST_F(NSUserDefaultsAdditionsTests, TypedValuesOfDomainsComeBack) {
  for (const Ref<NSString>& domain : {Ref<NSString>("suite"), Ref<NSString>()}) {
    setInteger_forKey_inPersistentDomain(plain_, -7, "integer", domain);
    setFloat_forKey_inPersistentDomain(plain_, 0.1F, "float", domain);
    setDouble_forKey_inPersistentDomain(plain_, 0.1, "double", domain);
    setBool_forKey_inPersistentDomain(plain_, true, "bool", domain);
    setObject_forKey_inPersistentDomain(plain_, "12 apples", "text", domain);
    EXPECT_EQ(integerForKey_inPersistentDomain(plain_, "integer", domain), -7);
    EXPECT_EQ(floatForKey_inPersistentDomain(plain_, "float", domain), 0.1F);
    EXPECT_EQ(doubleForKey_inPersistentDomain(plain_, "double", domain), 0.1);
    EXPECT_TRUE(boolForKey_inPersistentDomain(plain_, "bool", domain));
    EXPECT_EQ(integerForKey_inPersistentDomain(plain_, "text", domain), 12);
    EXPECT_EQ(integerForKey_inPersistentDomain(plain_, "missing", domain), 0);
    EXPECT_EQ(floatForKey_inPersistentDomain(plain_, "missing", domain), 0.0F);
    EXPECT_EQ(doubleForKey_inPersistentDomain(plain_, "missing", domain), 0.0);
    EXPECT_FALSE(boolForKey_inPersistentDomain(plain_, "missing", domain));
  }
}

// Shows: setObject_forKey_inSuite, setObject_forKey_inPersistentDomain
TEST_F(NSUserDefaultsAdditionsTests, WhatIsNoPropertyListIsRefusedAndNobodyIsTold) {
  const auto refuse = [](const auto& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  for (const Ref<NSString>& suite : {Ref<NSString>("suite"), Ref<NSString>()}) {
    refuse([&] { setObject_forKey_inSuite(suites_, NSNull::null(), "a", suite); });
    refuse([&] { setObject_forKey_inSuite(suites_, nullptr, "a", suite); });
    refuse([&] { setObject_forKey_inSuite(suites_, 1, nullptr, suite); });
    refuse([&] { setObject_forKey_inPersistentDomain(plain_, nullptr, "a", suite); });
    refuse([&] { setObject_forKey_inPersistentDomain(plain_, 1, nullptr, suite); });
  }
  EXPECT_EQ(place_.onDisk("suite"), nullptr);
  EXPECT_THAT(heard_->heard(), IsEmpty());
}

// Shows: setInteger_forKey_inSuite, setObject_forKey_inSuite
TEST_F(NSUserDefaultsAdditionsTests, ThreadsThatWriteOneSuiteLoseNothing) {
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      for (int i = 0; i < 25; ++i) {
        setInteger_forKey_inSuite(suites_, i, std::to_string(thread * 100 + i), "suite");
      }
    });
  }
  threads.clear();
  EXPECT_EQ(place_.onDisk("suite")->count(), 100U);
  EXPECT_EQ(heard_->heard().size(), 100U);
}

}  // namespace
}  // namespace kestova
