// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <vector>

namespace kestova::testing {

/// Hears all distributed notifications of one name on this thread's run loop.
class DistributedListener : public NSObject {
 public:
  explicit DistributedListener(const StringConstant& name) : name_(name) {
    center()->addObserver_selector_name_object(this, sel<&DistributedListener::hear>(), name,
                                               nullptr);
  }
  ~DistributedListener() override { center()->removeObserver(this); }

  /// What has come until now, after all that was posted before has come.
  const std::vector<Ref<NSNotification>>& heard() {
    center()->postNotificationName_object(name_, kEnd);
    const auto deadline = NSDate::dateWithTimeIntervalSinceNow(30);
    while (!hasEnded_ && deadline->timeIntervalSinceNow() > 0) {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
    }
    hasEnded_ = false;
    return heard_;
  }

  void hear(const Ref<NSNotification>& notification) {
    if (isEqualOrBothNull(notification->object(), id(kEnd))) {
      hasEnded_ = true;
    } else {
      heard_.push_back(notification);
    }
  }

 private:
  static constexpr const char* kEnd = "the end of the test";

  static Ref<NSDistributedNotificationCenter> center() {
    return NSDistributedNotificationCenter::defaultCenter();
  }

  const StringConstant& name_;
  std::vector<Ref<NSNotification>> heard_;
  bool hasEnded_ = false;
};

}  // namespace kestova::testing
