// SPDX-License-Identifier: Apache-2.0
#include "object/KeyPathRegistration.h"

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>

#include "object/KeyPathStep.h"
#include "object/ObjectExtras.h"

#include <atomic>
#include <utility>

namespace kestova {
namespace {

std::uint64_t nextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return last.fetch_add(1, std::memory_order_relaxed);
}

id orNull(id value) { return value ? std::move(value) : id(NSNull::null()); }

}  // namespace

KeyPathRegistration::KeyPathRegistration(NSObject& root, NSObject& observer,
                                         const Ref<NSString>& keyPath, NSUInteger options,
                                         void* context)
    : root_(root),
      observer_(observer),
      keyPath_(copyOf(keyPath)),
      options_(options),
      context_(context),
      number_(nextNumber()) {}

void KeyPathRegistration::begin() {
  const auto first = KeyPathStep::first(shared_from_this(), root_, keyPath_);
  first_ = first;
  ObjectExtras::of(observer_).observing.add(shared_from_this());
  try {
    first->enter();
    first->follow();
    tellInitialValue();
  } catch (...) {
    end();
    throw;
  }
}

void KeyPathRegistration::end() {
  Parties parties;
  std::shared_ptr<KeyPathStep> first;
  {
    const std::scoped_lock lock(mutex_);
    if (std::exchange(ended_, true)) {
      return;
    }
    parties = shareBoth();
    first = std::move(first_);
  }
  first->leave(parties.root);
  if (parties.observer) {
    ObjectExtras::of(*parties.observer).observing.remove(shared_from_this());
  }
}

bool KeyPathRegistration::matches(const NSObject* observer, const Ref<NSString>& keyPath) const {
  return &observer_ == observer && keyPath_->isEqualToString(keyPath);
}

id KeyPathRegistration::oldValue() const {
  if (!asksFor(NSKeyValueObservingOptionOld)) {
    return nullptr;
  }
  const id root = liveRoot();
  return root ? orNull(root->valueForKeyPath(keyPath_)) : nullptr;
}

void KeyPathRegistration::tell(ChangeMoment moment, const id& oldValue) const {
  if (moment == ChangeMoment::Before && !asksFor(NSKeyValueObservingOptionPrior)) {
    return;
  }
  if (const Parties parties = this->parties()) {
    const bool hasNew = moment == ChangeMoment::After;
    deliver(parties, observedChange(moment, oldValue, hasNew ? newValue(*parties.root) : id()));
  }
}

void KeyPathRegistration::tellInitialValue() const {
  if (!asksFor(NSKeyValueObservingOptionInitial)) {
    return;
  }
  if (const Parties parties = this->parties()) {
    deliver(parties, observedChange(ChangeMoment::After, nullptr, newValue(*parties.root)));
  }
}

void KeyPathRegistration::deliver(const Parties& parties, const Ref<NSDictionary>& change) const {
  parties.observer->observeValueForKeyPath_ofObject_change_context(keyPath_, parties.root, change,
                                                                   context_);
}

id KeyPathRegistration::newValue(const NSObject& root) const {
  return asksFor(NSKeyValueObservingOptionNew) ? orNull(root.valueForKeyPath(keyPath_)) : id();
}

KeyPathRegistration::Parties KeyPathRegistration::shareBoth() const noexcept {
  return {ObjectExtras::share(root_), ObjectExtras::share(observer_)};
}

KeyPathRegistration::Parties KeyPathRegistration::parties() const {
  const std::scoped_lock lock(mutex_);
  return ended_ ? Parties() : shareBoth();
}

}  // namespace kestova
