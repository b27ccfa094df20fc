// SPDX-License-Identifier: Apache-2.0
#include "notification/DistributedObservers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Faults.h"

namespace kestova {
namespace {

using testing::ArmedFault;
using testing::Fault;
using testing::FaultyCall;

/// Writes down the objects of what it hears.
class Hearer final : public NSObject {
 public:
  void hear(const Ref<NSNotification>& notification) {
    heard.push_back(cast<NSString>(notification->object())->displayUTF8());
  }
  std::vector<std::string> heard;
};

/// One observer on this thread, who is suspended at first.
class DistributedObserversFaults : public ::testing::Test {
 protected:
  void observe(NSNotificationSuspensionBehavior behavior) {
    observers_.add(hearer_.get(), sel<&Hearer::hear>(), {"told", nullptr}, behavior,
                   NSRunLoop::currentRunLoop());
    observers_.setSuspended(true);
  }

  static DistributedPosting posting(int number) {
    return DistributedPosting::of("told", Ref<NSString>(std::to_string(number)), nullptr,
                                  DistributedUrgency::asTheyAsked);
  }

  /// What has been heard since the last answer.
  std::vector<std::string> heard() {
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource) {
    }
    return std::exchange(hearer_->heard, {});
  }

  const Ref<Hearer> hearer_ = make<Hearer>();
  DistributedObservers observers_;
};

}  // namespace

TEST_F(DistributedObserversFaults, WhatIsHeldIsKeptUntilThereIsMemoryToHandItOver) {
  observe(NSNotificationSuspensionBehaviorHold);
  std::vector<std::string> posted;
  for (int number = 0; number < 100; ++number) {  // more than one piece of a queue's memory takes
    posted.push_back(std::to_string(number));
  }
  int refusals = 0;
  for (int nth = 1; nth < 20; ++nth) {
    observers_.setSuspended(true);
    for (int number = 0; number < 100; ++number) {
      observers_.deliver(posting(number));
    }
    try {
      const ArmedFault fault(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
      observers_.setSuspended(false);
    } catch (const std::bad_alloc&) {
      ++refusals;
    }
    EXPECT_EQ(observers_.isSuspended(), refusals == nth);
    observers_.setSuspended(false);
    EXPECT_EQ(heard(), posted);
  }
  EXPECT_GT(refusals, 0);
}

TEST_F(DistributedObserversFaults, WhatIsReplacedStaysWhereThereIsNoMemoryForTheNewOne) {
  observe(NSNotificationSuspensionBehaviorCoalesce);
  const auto replaced = posting(0);
  std::vector<std::string> posted;
  bool isRefused = false;
  for (int number = 0; number < 100 && !isRefused; ++number) {
    observers_.deliver(posting(number));
    posted.push_back(std::to_string(number));
    try {
      const ArmedFault fault(FaultyCall::allocation, 1, Fault::failing(ENOMEM));
      observers_.deliver(replaced);
    } catch (const std::bad_alloc&) {
      isRefused = true;
    }
  }
  EXPECT_TRUE(isRefused);
  observers_.setSuspended(false);
  EXPECT_THAT(heard(), ::testing::UnorderedElementsAreArray(posted));
}

}  // namespace kestova
