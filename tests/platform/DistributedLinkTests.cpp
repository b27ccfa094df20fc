// SPDX-License-Identifier: Apache-2.0
#include "notification/DistributedLink.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "PrivateBus.h"

namespace kestova::testing {
namespace {

using Names = std::vector<std::string>;

/// A link that keeps the names of what it receives, which is what the bus sends it.
class ReceivingLink {
 public:
  explicit ReceivingLink(const std::string& address)
      : link(BusAddress::at(address), [this](const DistributedPosting& posting) {
          const std::lock_guard lock(mutex_);
          names_.push_back(posting.notification->name()->displayUTF8());
          received_.notify_all();
        }) {}

  /// All that it has received when the last name is there.
  Names namesUntil(const std::string& last) {
    std::unique_lock lock(mutex_);
    EXPECT_TRUE(received_.wait_for(lock, std::chrono::seconds(30),
                                   [&] { return !names_.empty() && names_.back() == last; }));
    return names_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable received_;
  Names names_;

 public:
  DistributedLink link;
};

void post(DistributedLink& link, const Ref<NSString>& name, const Ref<NSString>& object) {
  link.post(DistributedPosting::of(name, object, nullptr, DistributedUrgency::asTheyAsked));
}

TEST(DistributedMatchRuleTests, NameAndObjectAreComparedByTheBus) {
  const std::string any =
      "type='signal',path='/org/kestova/DistributedNotifications',"
      "interface='org.kestova.DistributedNotifications1',member='Posted'";
  EXPECT_EQ(distributedMatchRule(nullptr, nullptr), any);
  EXPECT_EQ(distributedMatchRule("name", nullptr), any + ",arg0='name'");
  EXPECT_EQ(distributedMatchRule(nullptr, "object"), any + ",arg1='object'");
  EXPECT_EQ(distributedMatchRule("a,b", ""), any + ",arg0='a,b',arg1=''");
}

TEST(DistributedMatchRuleTests, TextThatRulesCannotHoldSafelyIsLeftOut) {
  const std::string any = distributedMatchRule(nullptr, nullptr);
  EXPECT_EQ(distributedMatchRule("it's", "o"), any + ",arg1='o'");
  EXPECT_EQ(distributedMatchRule("n", "a\\b"), any + ",arg0='n'");
  EXPECT_EQ(distributedMatchRule(std::string_view("a\0b", 3), u"\xD800"), any);
  EXPECT_EQ(distributedMatchRule(std::string(257, 'x'), std::string(256, 'x')),
            any + ",arg1='" + std::string(256, 'x') + "'");
}

TEST(DistributedLinkTests, TheBusSendsWhatIsWantedAndNothingElse) {
  const PrivateBus bus;
  ReceivingLink receiver(bus.address());
  ReceivingLink poster(bus.address());
  receiver.link.want(distributedMatchRule("a", "x"));
  receiver.link.want(distributedMatchRule("a", "x"));
  receiver.link.want(distributedMatchRule("end", nullptr));
  const auto postAll = [&] {
    post(poster.link, "a", "x");
    post(poster.link, "a", "y");
    post(poster.link, "b", "x");
    post(poster.link, "end", nullptr);
  };
  postAll();
  EXPECT_EQ(receiver.namesUntil("end"), (Names{"a", "end"}));
  receiver.link.forget(distributedMatchRule("a", "x"));
  post(poster.link, "a", "x");
  EXPECT_EQ(receiver.namesUntil("a"), (Names{"a", "end", "a"})) << "still wanted once";
  receiver.link.forget(distributedMatchRule("a", "x"));
  postAll();
  EXPECT_EQ(receiver.namesUntil("end"), (Names{"a", "end", "a", "end"}));
}

TEST(DistributedLinkTests, WhatItPostsItselfDoesNotComeBack) {
  const PrivateBus bus;
  ReceivingLink link(bus.address());
  ReceivingLink other(bus.address());
  link.link.want(distributedMatchRule(nullptr, nullptr));
  post(link.link, "own", nullptr);
  post(link.link, "own", nullptr);
  post(other.link, "other's", nullptr);
  EXPECT_EQ(link.namesUntil("other's"), Names{"other's"});
}

TEST(DistributedLinkTests, WhatWasWantedIsWantedOfTheNextBusToo) {
  PrivateBus bus;
  ReceivingLink receiver(bus.address());
  receiver.link.want(distributedMatchRule("a", nullptr));
  receiver.link.want(distributedMatchRule("b", nullptr));
  bus.kill();
  bus.start();
  receiver.link.want(distributedMatchRule("c", nullptr));
  post(receiver.link, "found", nullptr);  // a posting finds the new bus at once
  ReceivingLink poster(bus.address());
  for (const char* name : {"a", "b", "d", "c"}) post(poster.link, name, nullptr);
  EXPECT_EQ(receiver.namesUntil("c"), (Names{"a", "b", "c"}));
}

}  // namespace
}  // namespace kestova::testing
