// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "AllocationFaults.h"
#include "CountingObject.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// A centre with two observers of one name, each of which writes a letter.
class NSNotificationCenterFaults : public ::testing::Test {
 protected:
  NSNotificationCenterFaults() {
    first_ = add("saved", 'a');
    second_ = add("saved", 'b');
  }

  /// The block holds what is counted.
  id add(const Ref<NSString>& name, char letter) {
    return centre_->addObserverForName_object_queue_usingBlock(
        name, nullptr, nullptr,
        [this, letter, held = counted(letter)](const auto&) { heard_ += letter; });
  }

  std::string heardOf(const Ref<NSString>& name) {
    heard_.clear();
    centre_->postNotificationName_object(name, nullptr);
    return heard_;
  }

  const Ref<NSNotificationCenter> centre_ = NSNotificationCenter::init();
  std::string heard_;
  id first_;
  id second_;
};

}  // namespace

TEST_F(NSNotificationCenterFaults, AnObserverThatFindsNoMemoryIsNotThere) {
  for (const bool isKnown : {true, false}) {
    const Ref<NSString> name = isKnown ? "saved" : "closed";
    id token;
    const int refused = walkAllocations([&] { token = add(name, 'c'); },
                                        [&](bool threw) {
                                          EXPECT_EQ(token == nullptr, threw);
                                          EXPECT_EQ(CountingObject::alive(), threw ? 2 : 3);
                                          const std::string others = isKnown ? "ab" : "";
                                          EXPECT_EQ(heardOf(name), others + (threw ? "" : "c"));
                                          centre_->removeObserver(token.get());
                                          token = nullptr;
                                          EXPECT_EQ(heardOf(name), others);
                                          EXPECT_EQ(CountingObject::alive(), 2);
                                        });
    EXPECT_GT(refused, 4);
  }
}

TEST_F(NSNotificationCenterFaults, ARemovalThatFindsNoMemoryLeavesTheObserver) {
  id last;
  const int refused = walkAllocations(
      [&] {
        if (last == nullptr) {
          last = add("saved", 'c');
        }
        centre_->removeObserver(last.get());
      },
      [&](bool threw) {
        EXPECT_EQ(heardOf("saved"), threw && last ? "abc" : "ab");
        centre_->removeObserver(last.get());
        last = nullptr;
        EXPECT_EQ(heardOf("saved"), "ab");
        EXPECT_EQ(CountingObject::alive(), 2);
      });
  EXPECT_GT(refused, 4);
}

TEST_F(NSNotificationCenterFaults, ARemovalWithinAPostingLeavesTheObserverWhenItFindsNoMemory) {
  const id removing = centre_->addObserverForName_object_queue_usingBlock(
      "saved", nullptr, nullptr, [&](const auto&) {
        const ArmedFault none(FaultyCall::allocation, 1, Fault::failing(ENOMEM));
        EXPECT_THROW(centre_->removeObserver(first_.get()), std::bad_alloc);
      });
  EXPECT_EQ(heardOf("saved"), "ab");
  centre_->removeObserver(removing.get());
  EXPECT_EQ(heardOf("saved"), "ab");
  centre_->removeObserver(first_.get());
  EXPECT_EQ(heardOf("saved"), "b");
}

TEST_F(NSNotificationCenterFaults, APostingWithoutMemoryForItsNotificationCallsNobody) {
  const int refused = walkAllocations(
      [&] {
        heard_.clear();
        centre_->postNotificationName_object("saved", nullptr);
      },
      [&](bool threw) { EXPECT_EQ(heard_, threw ? "" : "ab"); });
  EXPECT_GT(refused, 0);
}

TEST_F(NSNotificationCenterFaults, ARemovalFromSeveralNamesIsWholeOrNone) {
  class Hearer final : public NSObject {
   public:
    void hear() { ++heard; }
    int heard = 0;
  };
  const std::vector<Ref<NSString>> names{"opened", "saved", "closed"};
  for (int nth = 1, refused = 1; refused != 0; ++nth) {
    const auto hearer = make<Hearer>();
    for (const auto& name : names) {
      centre_->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), name, nullptr);
    }
    refused = 0;
    {
      const ArmedFault fault(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
      try {
        centre_->removeObserver(hearer.get());
      } catch (const std::bad_alloc&) {
        refused = 1;
      }
    }
    for (const auto& name : names) {
      centre_->postNotificationName_object(name, nullptr);
    }
    EXPECT_EQ(hearer->heard, refused * 3);
    centre_->removeObserver(hearer.get());
    EXPECT_TRUE(refused == 1 || nth > 2);
  }
}
