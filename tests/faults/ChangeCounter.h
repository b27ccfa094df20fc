// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova::testing {

/// Counts the changes whose beginning it is told and those whose end it is told.
class ChangeCounter final : public NSObject {
 public:
  void observe(NSObject& object, const Ref<NSString>& key) {
    object.addObserver_forKeyPath_options_context(this, key,
                                                  NSKeyValueObservingOptionNew |
                                                      NSKeyValueObservingOptionOld |
                                                      NSKeyValueObservingOptionPrior,
                                                  nullptr);
  }

  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                      const Ref<NSDictionary>& change,
                                                      void*) override {
    ++(change->objectForKey(NSKeyValueChangeNotificationIsPriorKey) ? begun_ : ended_);
  }

  /// How many have begun and not ended; below 0 where some ended that never began.
  int open() const { return begun_ - ended_; }
  int ended() const { return ended_; }

 private:
  int begun_ = 0;
  int ended_ = 0;
};

}  // namespace kestova::testing
