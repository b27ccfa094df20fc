// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesStore.h"

#include <KestovaPlatform/Dispatch.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>

namespace kestova {
namespace {

constexpr std::string_view kEnding = ".plist";

/// The domain that a file in the folder is of; null for none.
Ref<NSString> domainForFileName(std::string_view name) {
  return name.ends_with(kEnding) ? domainForFileStem(name.substr(0, name.size() - kEnding.size()))
                                 : nullptr;
}

}  // namespace

std::shared_ptr<PreferencesStore> PreferencesStore::ofCurrentUser() {
  static const auto& store = *new auto([] {
    std::atexit([] { ofCurrentUser()->save(); });
    return std::make_shared<PreferencesStore>(PreferencesFolder::ofCurrentUser());
  }());
  return store;
}

std::shared_ptr<PreferencesStore> PreferencesStore::ofUser(const Ref<NSString>& name) {
  static auto& stores = *new std::map<std::string, std::shared_ptr<PreferencesStore>>();
  static std::mutex mutex;
  auto folder = PreferencesFolder::ofUser(name->displayUTF8());
  if (!folder) {
    return nullptr;
  }
  if (folder->path() == PreferencesFolder::ofCurrentUser().path()) {
    return ofCurrentUser();
  }
  const std::lock_guard lock(mutex);
  auto& store = stores[folder->path()];
  if (!store) {
    store = std::make_shared<PreferencesStore>(*std::move(folder));
  }
  return store;
}

PreferencesDomain& PreferencesStore::domain(const Ref<NSString>& name) {
  const std::lock_guard lock(mutex_);
  auto& domain = domains_[fileStemForDomain(name)];
  if (!domain) {
    domain = std::make_unique<PreferencesDomain>(name, folder_, changes_);
  }
  return *domain;
}

Ref<NSArray> PreferencesStore::domainNames() {
  std::set<std::string> stems;
  for (const std::string& name : folder_.list()) {
    if (const auto domain = domainForFileName(name)) {
      stems.insert(fileStemForDomain(domain));
    }
  }
  for (PreferencesDomain* domain : domains()) {
    if (!domain->isEmpty()) {
      stems.insert(fileStemForDomain(domain->name()));
    }
  }
  const auto names = NSMutableArray::array();
  for (const std::string& stem : stems) {
    names->addObject(domainForFileStem(stem));
  }
  return names;
}

bool PreferencesStore::synchronize() {
  bool isInStep = true;
  for (PreferencesDomain* domain : domains()) {
    isInStep = domain->synchronize() && isInStep;
  }
  return isInStep;
}

bool PreferencesStore::save() {
  bool isSaved = true;
  for (PreferencesDomain* domain : domains()) {
    isSaved = (!domain->hasPendingChanges() || domain->synchronize()) && isSaved;
  }
  return isSaved;
}

void PreferencesStore::saveLater() {
  if (isSaveDue_ || isSaveDue_.exchange(true)) {
    return;
  }
  try {
    startTimer();
  } catch (...) {
    isSaveDue_ = false;
    throw;
  }
}

void PreferencesStore::startTimer() {
  const std::lock_guard lock(mutex_);
  const std::weak_ptr<PreferencesStore> self = weak_from_this();
  dispatch_after(dispatchTimeAfter(delay_),
                 dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), [self] {
                   if (const auto store = self.lock()) {
                     store->saveNow();
                   }
                 });
}

/// After a failure it is tried again, later each time.
void PreferencesStore::saveNow() {
  isSaveDue_ = false;
  const bool isSaved = save();
  {
    const std::lock_guard lock(mutex_);
    delay_ = isSaved ? firstDelay_ : std::min(2 * delay_, kLongestDelay);
  }
  if (!isSaved) {
    saveLater();
  }
}

std::vector<PreferencesDomain*> PreferencesStore::domains() {
  const std::lock_guard lock(mutex_);
  std::vector<PreferencesDomain*> all;
  for (const auto& [stem, domain] : domains_) {
    all.push_back(domain.get());
  }
  return all;
}

}  // namespace kestova
