// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

namespace kestova::testing {

/// Counts what it is told, without memory.
class Watcher final : public NSObject {
 public:
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                      const Ref<NSDictionary>&, void*) override {
    ++told;
  }
  int told = 0;
};

}  // namespace kestova::testing
