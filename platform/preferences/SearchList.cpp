// SPDX-License-Identifier: Apache-2.0
#include "preferences/SearchList.h"

#include <KestovaPlatform/NSUserDefaults.h>

#include "preferences/ArgumentDomain.h"

#include <algorithm>
#include <utility>

namespace kestova {

SearchList::SearchList(std::shared_ptr<PreferencesStore> store, const Ref<NSString>& application)
    : store_(std::move(store)),
      application_(store_->domain(application)),
      global_(store_->domain(NSGlobalDomain)),
      volatiles_(NSMutableDictionary::of({{NSArgumentDomain, argumentDomain(programArguments())},
                                          {NSRegistrationDomain, NSDictionary::dictionary()}})) {}

id SearchList::objectForKey(const Ref<NSString>& key) {
  const std::lock_guard lock(mutex_);
  return merged()->objectForKey(key);
}

Ref<NSDictionary> SearchList::everything() {
  const std::lock_guard lock(mutex_);
  return cast<NSDictionary>(merged()->copy());
}

void SearchList::setValue_forKey(const id& value, const Ref<NSString>& key) {
  id kept = key->copy();
  const std::lock_guard lock(mutex_);
  const bool isMerged = merged_ && mergedAt_ == store_->changes();
  application_.setValue_forKey(value, std::move(kept));
  if (isMerged && store_->changes() == mergedAt_ + 1) {
    refresh(value, key);
    ++mergedAt_;
  }
}

void SearchList::addSuite(const Ref<NSString>& name) {
  PreferencesDomain* const suite = &store_->domain(name);
  const std::lock_guard lock(mutex_);
  if (suite != &application_ && suite != &global_ &&
      std::ranges::find(suites_, suite) == suites_.end()) {
    suites_.push_back(suite);
    merged_ = nullptr;
  }
}

void SearchList::removeSuite(const Ref<NSString>& name) {
  const std::lock_guard lock(mutex_);
  std::erase(suites_, &store_->domain(name));
  merged_ = nullptr;
}

Ref<NSArray> SearchList::volatileNames() {
  const std::lock_guard lock(mutex_);
  return volatiles_->allKeys();
}

Ref<NSDictionary> SearchList::volatileDomain(const Ref<NSString>& name) {
  const std::lock_guard lock(mutex_);
  return cast<NSDictionary>(volatiles_->objectForKey(name));
}

bool SearchList::addVolatileDomain(const Ref<NSDictionary>& domain, const Ref<NSString>& name) {
  const std::lock_guard lock(mutex_);
  if (volatiles_->objectForKey(name)) {
    return false;
  }
  volatiles_->setObject_forKey(domain, name);
  merged_ = nullptr;
  return true;
}

void SearchList::removeVolatileDomain(const Ref<NSString>& name) {
  const std::lock_guard lock(mutex_);
  volatiles_->removeObjectForKey(name);
  merged_ = nullptr;
}

void SearchList::addToRegistrationDomain(const Ref<NSDictionary>& entries) {
  const std::lock_guard lock(mutex_);
  const auto domain =
      NSMutableDictionary::dictionaryWithDictionary(volatileNamed(NSRegistrationDomain));
  domain->addEntriesFromDictionary(entries);
  volatiles_->setObject_forKey(domain->copy(), NSRegistrationDomain);
  merged_ = nullptr;
}

/// Under the mutex.
const Ref<NSMutableDictionary>& SearchList::merged() {
  if (!merged_ || mergedAt_ != store_->changes()) {
    merge();
  }
  return merged_;
}

/// Under the mutex. The number of changes is taken first: what changes meanwhile is seen next time.
void SearchList::merge() {
  mergedAt_ = store_->changes();
  merged_ = NSMutableDictionary::dictionaryWithDictionary(volatileNamed(NSRegistrationDomain));
  global_.addEntriesTo(*merged_);
  std::for_each(suites_.rbegin(), suites_.rend(),
                [this](PreferencesDomain* suite) { suite->addEntriesTo(*merged_); });
  application_.addEntriesTo(*merged_);
  mergedArguments_ = volatileNamed(NSArgumentDomain);
  merged_->addEntriesFromDictionary(mergedArguments_);
}

/// Under the mutex. Only the program's arguments come before a value of the application's domain.
void SearchList::refresh(const id& value, const id& key) {
  if (value && mergedArguments_->count() == 0) {
    merged_->setObject_forKey(value, key);
  } else if (const id found = find(key)) {
    merged_->setObject_forKey(found, key);
  } else {
    merged_->removeObjectForKey(key);
  }
}

/// Under the mutex: what `merge` would put under the key.
id SearchList::find(const id& key) {
  id value = volatileNamed(NSArgumentDomain)->objectForKey(key);
  value = value ? value : application_.objectForKey(key);
  for (PreferencesDomain* suite : suites_) {
    value = value ? value : suite->objectForKey(key);
  }
  value = value ? value : global_.objectForKey(key);
  return value ? value : volatileNamed(NSRegistrationDomain)->objectForKey(key);
}

/// Under the mutex. Empty where there is none.
Ref<NSDictionary> SearchList::volatileNamed(const StringConstant& name) const {
  const auto domain = cast<NSDictionary>(volatiles_->objectForKey(name));
  return domain ? domain : NSDictionary::dictionary();
}

}  // namespace kestova
