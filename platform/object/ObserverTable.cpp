// SPDX-License-Identifier: Apache-2.0
#include "object/ObserverTable.h"

#include "object/KeyText.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace kestova {
namespace {

std::uint64_t numberOf(const Ref<KeyPathStep>& step) { return step->registration().number(); }

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

void ObserverTable::link(Ref<KeyPathStep> step) {
  const std::scoped_lock lock(mutex_);
  auto& steps = steps_[std::string(step->keyText())];
  const auto place = std::ranges::upper_bound(steps, step->registration().number(), {}, numberOf);
  steps.insert(place, std::move(step));
  setCount(count_ + 1);
}

void ObserverTable::unlink(const KeyPathStep& step) noexcept {
  Ref<KeyPathStep> removed;  // goes after the lock is released
  const std::scoped_lock lock(mutex_);
  const auto entry = steps_.find(step.keyText());
  if (entry == steps_.end()) {
    return;
  }
  auto& steps = entry->second;
  const auto first = std::ranges::lower_bound(steps, step.registration().number(), {}, numberOf);
  const auto found = std::ranges::find(first, steps.end(), &step, &Ref<KeyPathStep>::get);
  if (found != steps.end()) {
    removed = std::move(*found);
    steps.erase(found);
    setCount(count_ - 1);
  }
  if (steps.empty()) {
    steps_.erase(entry);
  }
}

Ref<KeyPathRegistration> ObserverTable::find(const NSObject* observer, const Ref<NSString>& keyPath,
                                             void* const* context) {
  const KeyText path(keyPath);
  const std::string_view text = path;
  const auto isMeant = [&](const Ref<KeyPathStep>& step) {
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
  return latest == entry->second.rend() ? nullptr : Ref(&(*latest)->registration());
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

void ObservingTable::add(Ref<KeyPathRegistration> registration) {
  const std::scoped_lock lock(mutex_);
  registration->place_ = registrations_.size();
  registrations_.push_back(std::move(registration));
}

/// The last one takes its place. One that there was no memory for isn't there.
void ObservingTable::remove(const KeyPathRegistration& registration) noexcept {
  Ref<KeyPathRegistration> removed;  // goes after the lock is released
  const std::scoped_lock lock(mutex_);
  const std::size_t place = registration.place_;
  if (place < registrations_.size() && registrations_[place].get() == &registration) {
    std::swap(registrations_[place], registrations_.back());
    registrations_[place]->place_ = place;
    removed = std::move(registrations_.back());
    registrations_.pop_back();
  }
}

}  // namespace kestova
