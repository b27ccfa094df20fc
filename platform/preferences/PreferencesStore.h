// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include "preferences/PreferencesDomain.h"
#include "preferences/PreferencesFolder.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kestova {

/// All persistent domains of one user, as this process sees them: one for all who use preferences
/// in the process.
///
/// Threads: any.
class PreferencesStore : public std::enable_shared_from_this<PreferencesStore> {
 public:
  /// How long a change waits until it is written by itself, at first and at most after failures.
  static constexpr NSTimeInterval kFirstDelay = 1;
  static constexpr NSTimeInterval kLongestDelay = 64;

  explicit PreferencesStore(PreferencesFolder folder, NSTimeInterval delay = kFirstDelay)
      : folder_(std::move(folder)), firstDelay_(delay), delay_(delay) {}

  /// The one in the place that the environment named when it was first asked for. It also writes
  /// what is left to be written when the process ends.
  static std::shared_ptr<PreferencesStore> ofCurrentUser();

  /// Another user's; null when there is no such account.
  static std::shared_ptr<PreferencesStore> ofUser(const Ref<NSString>& name);

  /// The same one every time, for as long as the store.
  PreferencesDomain& domain(const Ref<NSString>& name);

  /// The names of all domains that hold something, in their order.
  Ref<NSArray> domainNames();

  /// Brings every domain that was used in step with the disk. Answers whether all are.
  bool synchronize();

  /// Writes what waits, and reads nothing else. Answers whether nothing waits any more.
  bool save();

  /// Sees to it that what waits is written soon, in the background.
  void saveLater();

  /// Another number whenever a domain has changed in this process.
  std::uint64_t changes() const noexcept { return changes_.load(std::memory_order_acquire); }

 private:
  std::vector<PreferencesDomain*> domains();
  void startTimer();
  void saveNow();

  const PreferencesFolder folder_;
  const NSTimeInterval firstDelay_;
  std::atomic<std::uint64_t> changes_{0};
  std::atomic<bool> isSaveDue_{false};

  /// Guards what follows.
  std::mutex mutex_;
  std::map<std::string, std::unique_ptr<PreferencesDomain>> domains_;
  NSTimeInterval delay_;
};

}  // namespace kestova
