// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include <string>

#include "AllocationFaults.h"
#include "ChangeCounter.h"
#include "ObservedAccount.h"
#include "Watcher.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

int livingAccounts = 0;

/// An account that is counted, whose balance follows from its name and from its owner's name.
class CountedAccount final : public ObservedAccount {
 public:
  CountedAccount() { ++livingAccounts; }
  ~CountedAccount() override { --livingAccounts; }

  Ref<NSSet> keyPathsForValuesAffectingValueForKey(const Ref<NSString>& key) const override {
    return key->isEqualToString("balance")
               ? NSSet::of("name", "owner.name")
               : ObservedAccount::keyPathsForValuesAffectingValueForKey(key);
  }
};

const Ref<NSString> kLongName = "a name that is too long for any place in place";

Ref<CountedAccount> accountWithOwners() {
  const auto account = make<CountedAccount>();
  account->setOwner(make<CountedAccount>());
  account->owner()->setOwner(make<CountedAccount>());
  return account;
}

}  // namespace

TEST(NSKeyValueObservingFaults, ARegistrationThatFindsNoMemoryIsNotThere) {
  for (const char* path : {"name", "owner.owner.name", "balance", "owner.balance"}) {
    SCOPED_TRACE(path);
    auto account = accountWithOwners();
    const auto watcher = make<Watcher>();
    const auto isObserved = [&] {
      const auto owner = account->owner();
      const auto ownersOwner = owner->owner();
      return account->hasObservers() || owner->hasObservers() || ownersOwner->hasObservers();
    };
    const auto removeIt = [&] { account->removeObserver_forKeyPath(watcher.get(), path); };
    const auto changeAll = [&] {
      watcher->told = 0;
      account->setName("anybody");
      account->owner()->setName("anybody");
      account->owner()->owner()->setName("anybody");
      return watcher->told;
    };
    const int refused = walkAllocations(
        [&] {
          account->addObserver_forKeyPath_options_context(
              watcher.get(), path, NSKeyValueObservingOptionInitial, nullptr);
        },
        [&](bool threw) {
          const bool isTwice = std::string(path).ends_with("balance");
          EXPECT_EQ(changeAll(), threw ? 0 : isTwice ? 2 : 1);
          EXPECT_EQ(account->hasObservers(), !threw);
          if (!threw) {
            removeIt();
          }
          EXPECT_THROW(removeIt(), NSException);
          EXPECT_FALSE(isObserved());
        });
    EXPECT_GT(refused, 4);
    account = nullptr;
    EXPECT_EQ(livingAccounts, 0);
  }
}

TEST(NSKeyValueObservingFaults, APathThatFindsNoMemoryToFollowAChangeLeavesNothingBehind) {
  auto account = accountWithOwners();
  auto watcher = make<Watcher>();
  account->addObserver_forKeyPath_options_context(watcher.get(), "owner.balance", 0, nullptr);
  Ref<ObservedAccount> other;
  walkAllocations(
      [&] {
        other = accountWithOwners();
        account->setOwner(other);
      },
      [&](bool threw) {
        EXPECT_TRUE(threw || (other && other->hasObservers()));
        // What comes next is followed, whatever the change before did.
        account->setOwner(make<CountedAccount>());
        EXPECT_TRUE(other == nullptr || !other->hasObservers());
        watcher->told = 0;
        account->owner()->setName("anybody");
        EXPECT_EQ(watcher->told, 1);
        other = nullptr;
        EXPECT_EQ(livingAccounts, 2);
      });
  account->removeObserver_forKeyPath(watcher.get(), "owner.balance");
  account = nullptr;
  EXPECT_EQ(livingAccounts, 0);
}

TEST(NSKeyValueObservingFaults, ASetterThatFindsNoMemoryToAnnounceItsChangeLeavesTheValue) {
  const auto account = make<CountedAccount>();
  const auto watcher = make<Watcher>();
  account->addObserver_forKeyPath_options_context(
      watcher.get(), "name",
      NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld | NSKeyValueObservingOptionPrior,
      nullptr);
  const int refused = walkAllocations(
      [&] {
        watcher->told = 0;
        account->setName(nullptr);
        watcher->told = 0;
        account->setName(kLongName);
      },
      [&](bool threw) {
        // One who was told of the end was told of a value that is there.
        EXPECT_TRUE(watcher->told < 2 || account->name() == kLongName);
        EXPECT_TRUE(threw || watcher->told == 2);
      });
  EXPECT_GT(refused, 0);
  watcher->told = 0;
  account->setName("anybody");
  EXPECT_EQ(watcher->told, 2);
  account->removeObserver_forKeyPath(watcher.get(), "name");
}

TEST(NSKeyValueObservingFaults, WhoIsToldOfAChangeOfADictionaryIsToldOfItsEnd) {
  for (const char* key : {"k", "Schlüssel, länger als jeder Platz darin"}) {
    const Ref<NSString> name = key;
    const auto dictionary = NSMutableDictionary::dictionary();
    const auto first = make<ChangeCounter>();
    const auto second = make<ChangeCounter>();
    first->observe(*dictionary, name);
    second->observe(*dictionary, name);
    const int refused = walkAllocations(
        [&] {
          dictionary->setValue_forKey(kLongName, name);
          dictionary->setValue_forKey(nullptr, name);
        },
        [&](bool) {
          EXPECT_EQ(first->open(), 0);
          EXPECT_EQ(second->open(), 0);
        });
    EXPECT_GT(refused, 4);
    EXPECT_GT(second->ended(), 0);
  }
}

TEST(NSKeyValueObservingFaults, AnObserverOfAnyKeyIsRemovedWithoutMemory) {
  for (const char* key : {"name", "Schlüssel, länger als jeder Platz darin"}) {
    auto account = make<CountedAccount>();
    auto watcher = make<Watcher>();
    account->addObserver_forKeyPath_options_context(watcher.get(), key, 0, nullptr);
    const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
    watcher = nullptr;
    EXPECT_FALSE(account->hasObservers());
    account = nullptr;
    EXPECT_FALSE(none.wasMet());
  }
  EXPECT_EQ(livingAccounts, 0);
}

TEST(NSKeyValueObservingFaults, AFirstRegistrationThatFindsNoMemoryIsNotThere) {
  const int refused = walkAllocations(
      [] {
        const auto account = make<CountedAccount>();
        const auto watcher = make<Watcher>();
        account->addObserver_forKeyPath_options_context(watcher.get(), "balance", 0, nullptr);
      },
      [](bool) { EXPECT_EQ(livingAccounts, 0); });
  EXPECT_GT(refused, 6);
}
