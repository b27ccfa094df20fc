// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <span>
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

  class Hearer final : public NSObject {
   public:
    void hear() { ++heard; }
    int heard = 0;
  };
  using Names = std::vector<Ref<NSString>>;

  Ref<Hearer> hearerOf(const Names& names) {
    const auto hearer = make<Hearer>();
    for (const auto& name : names) {
      centre_->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), name, nullptr);
    }
    return hearer;
  }

  int timesHeard(const Names& names, Hearer& hearer) {
    hearer.heard = 0;
    for (const auto& name : names) {
      centre_->postNotificationName_object(name, nullptr);
    }
    return hearer.heard;
  }

  /// Calls the function while all of the names are being posted.
  void withinPostingsOf(std::span<const Ref<NSString>> names, const std::function<void()>& call) {
    if (names.empty()) {
      call();
      return;
    }
    const id token = centre_->addObserverForName_object_queue_usingBlock(
        names[0], nullptr, nullptr, [&](const auto&) { withinPostingsOf(names.subspan(1), call); });
    centre_->postNotificationName_object(names[0], nullptr);
    centre_->removeObserver(token.get());
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

// A posting holds the list of its observers, which is copied then when one is removed.
TEST_F(NSNotificationCenterFaults, ARemovalFromSeveralNamesIsWholeOrNone) {
  const Names names{"opened", "saved", "closed"};
  for (int nth = 1, refused = 1; refused != 0; ++nth) {
    const auto hearer = hearerOf(names);
    refused = 0;
    withinPostingsOf(names, [&] {
      const ArmedFault fault(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
      try {
        centre_->removeObserver(hearer.get());
      } catch (const std::bad_alloc&) {
        refused = 1;
      }
    });
    EXPECT_EQ(timesHeard(names, *hearer), refused * 3);
    centre_->removeObserver(hearer.get());
    EXPECT_TRUE(refused == 1 || nth > 6);
  }
}

TEST_F(NSNotificationCenterFaults, ARemovalOutsideOfPostingsNeedsNoMemory) {
  const Names names{"opened", "saved", "closed"};
  const auto hearer = hearerOf(names);
  {
    const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
    centre_->removeObserver(hearer.get());
    EXPECT_FALSE(none.wasMet());
  }
  EXPECT_EQ(timesHeard(names, *hearer), 0);
}
