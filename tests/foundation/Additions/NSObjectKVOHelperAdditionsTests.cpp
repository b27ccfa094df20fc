// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSObjectKVOHelperAdditions.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

class Account : public NSObject {
  KESTOVA_CLASS(Account, NSObject)

 public:
  static Ref<NSSet> keyPathsOfInterestForObserving() { return NSSet::of("name", "owner.name"); }
};
KESTOVA_DEFINE_CLASS(Account, .classOperation<&Account::keyPathsOfInterestForObserving>(
                                  "keyPathsOfInterestForObserving"))

class Savings : public Account {
  KESTOVA_CLASS(Savings, Account)
};
KESTOVA_DEFINE_CLASS(Savings)

class Shared : public Account {
  KESTOVA_CLASS(Shared, Account)

 public:
  static Ref<NSSet> keyPathsOfInterestForObserving() {
    return Account::keyPathsOfInterestForObserving()->setByAddingObject("owners");
  }
};
KESTOVA_DEFINE_CLASS(Shared, .classOperation<&Shared::keyPathsOfInterestForObserving>(
                                 "keyPathsOfInterestForObserving"))

class Silent : public Account {
  KESTOVA_CLASS(Silent, Account)

 public:
  static Ref<NSSet> nothing() { return nullptr; }
};
KESTOVA_DEFINE_CLASS(Silent, .classOperation<&Silent::nothing>("keyPathsOfInterestForObserving"))

// Shows: keyPathsOfInterestForObserving
TEST(NSObjectKVOHelperAdditionsTests, AClassWantsNothingUnlessItSaysSo) {
  EXPECT_TRUE(keyPathsOfInterestForObserving(NSObject::staticClass())->isEqual(NSSet::set()));
  EXPECT_TRUE(keyPathsOfInterestForObserving(NSString::staticClass())->isEqual(NSSet::set()));
}

// Shows: keyPathsOfInterestForObserving
TEST(NSObjectKVOHelperAdditionsTests, TheNearestClassThatNamesKeyPathsAnswers) {
  EXPECT_TRUE(keyPathsOfInterestForObserving(Account::staticClass())
                  ->isEqual(NSSet::of("name", "owner.name")));
  const id savings = make<Savings>();
  EXPECT_TRUE(keyPathsOfInterestForObserving(savings->classDescriptor())
                  ->isEqual(NSSet::of("name", "owner.name")));
  EXPECT_TRUE(keyPathsOfInterestForObserving(make<Shared>()->classDescriptor())
                  ->isEqual(NSSet::of("name", "owner.name", "owners")));
}

// Shows: keyPathsOfInterestForObserving
TEST(NSObjectKVOHelperAdditionsTests, AClassThatAnswersNothingGivesTheEmptySet) {
  EXPECT_TRUE(keyPathsOfInterestForObserving(Silent::staticClass())->isEqual(NSSet::set()));
}

}  // namespace
}  // namespace kestova
