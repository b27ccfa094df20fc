// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSUserDefaults.h>

namespace kestova::tool {

/// Prints what changes in suites, one line for each key, when it is announced on this thread's run
/// loop.
class DefaultsWatcher : public NSObject {
 public:
  explicit DefaultsWatcher(const Ref<NSUserDefaults>& defaults);
  ~DefaultsWatcher() override;

  void watch(const Ref<NSString>& domain);

  /// Called for each announcement.
  void suiteChanged(const Ref<NSNotification>& announcement);

 private:
  Ref<NSDictionary> contentsOf(const Ref<NSString>& domain) const;

  const Ref<NSUserDefaults> defaults_;
  /// What was last seen of each domain.
  const Ref<NSMutableDictionary> seen_;
};

}  // namespace kestova::tool
