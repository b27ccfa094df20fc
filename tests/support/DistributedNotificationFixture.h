// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "PrivateBus.h"

namespace kestova::testing {

/// Writes down what it hears, as "name object value".
class NotificationListener final : public NSObject {
 public:
  using Lines = std::vector<std::string>;

  static std::string textOf(const id& object) {
    return object ? object->description()->displayUTF8() : "-";
  }

  void heard(const Ref<NSNotification>& notification) {
    lines.push_back(lineOf(*notification));
    last = notification;
    if (reaction) reaction();
  }
  void heardSomething() { lines.emplace_back("!"); }

  Lines lines;
  Ref<NSNotification> last;
  std::function<void()> reaction;

 private:
  static std::string lineOf(const NSNotification& notification) {
    const auto& userInfo = notification.userInfo();
    return textOf(notification.name()) + " " + textOf(notification.object()) + " " +
           textOf(userInfo ? userInfo->objectForKey("value") : nullptr);
  }
};

/// A listener at a centre, with a bus of their own.
class DistributedNotificationFixture : public ::testing::Test {
 protected:
  using Lines = NotificationListener::Lines;
  using Listener = NotificationListener;

  ~DistributedNotificationFixture() override { centre->removeObserver(listener.get()); }

  void listen(
      const Ref<NSString>& name, const Ref<NSString>& object = nullptr,
      NSNotificationSuspensionBehavior behavior = NSNotificationSuspensionBehaviorCoalesce) {
    centre->addObserver_selector_name_object_suspensionBehavior(
        listener.get(), sel<&NotificationListener::heard>(), name, object, behavior);
  }

  void post(const Ref<NSString>& name, const Ref<NSString>& object = nullptr,
            const Ref<NSString>& value = nullptr, NSUInteger options = 0) {
    centre->postNotificationName_object_userInfo_options(
        name, object, value ? NSDictionary::of({{"value", value}}) : nullptr, options);
  }

  /// Runs the calling thread's run loop until something is so.
  static bool runUntil(const std::function<bool()>& reached) {
    const auto end = NSDate::dateWithTimeIntervalSinceNow(30);
    while (!reached() && end->timeIntervalSinceNow() > 0) {
      NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode,
                                                                              1, true);
    }
    return reached();
  }

  /// What has been heard when that line comes.
  Lines heardUntil(const std::string& last) {
    EXPECT_TRUE(runUntil([&] {
      return !listener->lines.empty() && listener->lines.back() == last;
    })) << last;
    return listener->lines;
  }

  PrivateBus bus;
  const Ref<NSDistributedNotificationCenter> centre =
      NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  const Ref<NotificationListener> listener = make<NotificationListener>();
};

}  // namespace kestova::testing
