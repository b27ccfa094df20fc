// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

#include "preferences/PreferencesStore.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kestova {

/// The domains that one NSUserDefaults looks through, the volatile ones among them.
///
/// What they come to together is kept as one dictionary, so that a look-up is one whatever the
/// number of domains. A change of the application's domain is made in it as well; any other one
/// makes it anew when it is asked for.
///
/// Threads: any.
class SearchList {
 public:
  SearchList(std::shared_ptr<PreferencesStore> store, const Ref<NSString>& application);

  PreferencesStore& store() noexcept { return *store_; }
  PreferencesDomain& application() noexcept { return application_; }

  id objectForKey(const Ref<NSString>& key);
  Ref<NSDictionary> everything();

  /// In the application's domain. Null removes the key.
  void setValue_forKey(const id& value, const Ref<NSString>& key);

  void addSuite(const Ref<NSString>& name);
  void removeSuite(const Ref<NSString>& name);

  Ref<NSArray> volatileNames();
  Ref<NSDictionary> volatileDomain(const Ref<NSString>& name);

  /// Answers false, and does nothing, when there is one.
  bool addVolatileDomain(const Ref<NSDictionary>& domain, const Ref<NSString>& name);
  void removeVolatileDomain(const Ref<NSString>& name);
  void addToRegistrationDomain(const Ref<NSDictionary>& entries);

 private:
  void merge();
  void refresh(const id& value, const id& key);
  id find(const id& key);
  const Ref<NSMutableDictionary>& merged();
  Ref<NSDictionary> volatileNamed(const StringConstant& name) const;

  const std::shared_ptr<PreferencesStore> store_;
  PreferencesDomain& application_;
  PreferencesDomain& global_;

  /// Guards what follows.
  std::mutex mutex_;
  std::vector<PreferencesDomain*> suites_;
  /// Dictionaries by name.
  const Ref<NSMutableDictionary> volatiles_;
  /// All entries that a look-up finds, when the store's domains had changed so often; null when
  /// something else has changed since.
  Ref<NSMutableDictionary> merged_;
  /// The program's arguments as they went into it.
  Ref<NSDictionary> mergedArguments_;
  std::uint64_t mergedAt_ = 0;
};

}  // namespace kestova
