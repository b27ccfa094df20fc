// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "ObservedAccount.h"
#include "RandomRun.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Remembers whose changes it is told.
class Watcher final : public NSObject {
 public:
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id& object,
                                                      const Ref<NSDictionary>&, void*) override {
    told.insert(object.get());
  }
  std::multiset<NSObject*> told;
};

void observe(NSObject& object, Watcher& watcher, const Ref<NSString>& path) {
  object.addObserver_forKeyPath_options_context(&watcher, path, 0, nullptr);
}

/// An account whose balance follows from what a string names at the time.
class Dependent final : public ObservedAccount {
 public:
  Ref<NSSet> keyPathsForValuesAffectingValueForKey(const Ref<NSString>& key) const override {
    return key->isEqualToString("balance")
               ? NSSet::of(source)
               : ObservedAccount::keyPathsForValuesAffectingValueForKey(key);
  }
  const Ref<NSMutableString> source = NSMutableString::stringWithString("name");
};

}  // namespace

// Compared with a set of all that it should observe.
TEST(ObserverTableTests, AnObserverOfManyIsRemovedInAnyOrder) {
  RandomRun random;
  auto watcher = make<Watcher>();
  std::vector<Ref<ObservedAccount>> all;
  std::multiset<NSObject*> observed;
  for (int turn = 0; turn < 500; ++turn) {
    if (all.size() < 5 || random.below(5) < 2) {
      all.push_back(make<ObservedAccount>());
    }
    const auto& account = all[random.below(all.size())];
    if (random.below(2) == 0) {
      observe(*account, *watcher, "name");
      observed.insert(account.get());
    } else if (const auto found = observed.find(account.get()); found != observed.end()) {
      account->removeObserver_forKeyPath(watcher.get(), "name");
      observed.erase(found);
    } else {
      EXPECT_THROW(account->removeObserver_forKeyPath(watcher.get(), "name"), NSException);
    }
    if (turn % 50 == 49) {
      watcher->told.clear();
      for (const auto& one : all) {
        one->setName("changed");
      }
      EXPECT_EQ(watcher->told, observed);
    }
  }
  EXPECT_FALSE(observed.empty());
  watcher = nullptr;
  for (const auto& one : all) {
    EXPECT_FALSE(one->hasObservers());
  }
}

TEST(ObserverTableTests, ARegistrationKeepsTheKeyThatItsDependencyHadWhenItBegan) {
  const auto account = make<Dependent>();
  const auto watcher = make<Watcher>();
  observe(*account, *watcher, "balance");
  account->source->setString("a name that is longer than any place in place");
  account->setName("changed");
  EXPECT_EQ(watcher->told.size(), 1U);
  account->removeObserver_forKeyPath(watcher.get(), "balance");
  EXPECT_FALSE(account->hasObservers());
}

TEST(ObserverTableTests, ARegistrationKeepsThePathThatItWasMadeFor) {
  const auto account = make<ObservedAccount>();
  const auto watcher = make<Watcher>();
  const auto path = NSMutableString::stringWithString("name");
  observe(*account, *watcher, path);
  path->setString("a name that is longer than any place in place");
  account->setName("changed");
  EXPECT_EQ(watcher->told.size(), 1U);
  account->removeObserver_forKeyPath(watcher.get(), "name");
  EXPECT_FALSE(account->hasObservers());
}
