// SPDX-License-Identifier: Apache-2.0
#include "object/ObserverTable.h"

#include "object/KeyText.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace kestova {
namespace {

std::uint64_t numberOf(const std::shared_ptr<KeyPathStep>& step) {
  return step->registration().number();
}

}  // namespace

ObserverTable::~ObserverTable() {
  decltype(steps_) left;
  {
    const std::scoped_lock lock(mutex_);
    left.swap(steps_);
  }
  for (const auto& [key, steps] : left) {
    for (const auto& step : steps) {
      step->registration().end();
    }
  }
}

void ObserverTable::link(std::shared_ptr<KeyPathStep> step) {
  const std::scoped_lock lock(mutex_);
  auto& steps = steps_[step->keyText()];
  const auto place = std::ranges::upper_bound(steps, step->registration().number(), {}, numberOf);
  steps.insert(place, std::move(step));
  count_.fetch_add(1, std::memory_order_release);
}

void ObserverTable::unlink(const KeyPathStep& step) noexcept {
  std::shared_ptr<KeyPathStep> removed;  // goes after the lock is released
  const std::scoped_lock lock(mutex_);
  const auto entry = steps_.find(step.keyText());
  if (entry == steps_.end()) {
    return;
  }
  auto& steps = entry->second;
  const auto first = std::ranges::lower_bound(steps, step.registration().number(), {}, numberOf);
  const auto found =
      std::ranges::find(first, steps.end(), &step, &std::shared_ptr<KeyPathStep>::get);
  if (found != steps.end()) {
    removed = std::move(*found);
    steps.erase(found);
    count_.fetch_sub(1, std::memory_order_release);
  }
  if (steps.empty()) {
    steps_.erase(entry);
  }
}

std::shared_ptr<KeyPathRegistration> ObserverTable::find(const NSObject* observer,
                                                         const Ref<NSString>& keyPath,
                                                         void* const* context) {
  const KeyText path(keyPath);
  const std::string_view text = path;
  const auto isMeant = [&](const std::shared_ptr<KeyPathStep>& step) {
    const KeyPathRegistration& registration = step->registration();
    return step->isFirstOfRegistration() && registration.matches(observer, keyPath) &&
           (context == nullptr || registration.context() == *context);
  };
  const std::scoped_lock lock(mutex_);
  const auto entry = steps_.find(text.substr(0, text.find('.')));
  if (entry == steps_.end()) {
    return nullptr;
  }
  const auto latest = std::find_if(entry->second.rbegin(), entry->second.rend(), isMeant);
  return latest == entry->second.rend() ? nullptr : (*latest)->registration().shared_from_this();
}

ObservingTable::~ObservingTable() {
  decltype(registrations_) left;
  {
    const std::scoped_lock lock(mutex_);
    left.swap(registrations_);
  }
  for (const auto& registration : left) {
    registration->end();
  }
}

void ObservingTable::add(std::shared_ptr<KeyPathRegistration> registration) {
  const std::scoped_lock lock(mutex_);
  registrations_.insert(std::move(registration));
}

void ObservingTable::remove(const std::shared_ptr<KeyPathRegistration>& registration) {
  const std::scoped_lock lock(mutex_);
  registrations_.erase(registration);
}

}  // namespace kestova
