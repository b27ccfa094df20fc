// SPDX-License-Identifier: Apache-2.0
#include "object/KeyPathRegistration.h"

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>

#include "object/KeyPathStep.h"
#include "object/KeyText.h"
#include "object/ObjectExtras.h"

#include <atomic>
#include <mutex>
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
      isOneKey_(endOfFirstKey(keyPath_) == NSNotFound),
      options_(options),
      context_(context),
      number_(nextNumber()) {}

KeyPathRegistration::~KeyPathRegistration() = default;

void KeyPathRegistration::begin() {
  const auto first =
      make<KeyPathStep>(Ref(this), root_, KeyPathStep::Key::firstOf(keyPath_), nullptr);
  first_ = first;
  // Ending it shares both, also where there was no memory for what it needs of them.
  ObjectExtras::letShare(root_);
  ObjectExtras::letShare(observer_);
  try {
    ObjectExtras::of(observer_).observing.add(Ref(this));
    first->enter();
    first->follow();
    tellInitialValue();
  } catch (...) {
    end();
    throw;
  }
}

void KeyPathRegistration::end() {
  id root;
  id observer;
  Ref<KeyPathStep> first;
  {
    const std::scoped_lock lock(mutex_);
    if (std::exchange(ended_, true)) {
      return;
    }
    root = ObjectExtras::share(root_);
    observer = ObjectExtras::share(observer_);
    first = std::move(first_);
  }
  first->leave(root);
  if (ObjectExtras* extras = observer ? ObjectExtras::existing(*observer) : nullptr) {
    extras->observing.remove(*this);
  }
}

bool KeyPathRegistration::matches(const NSObject* observer, const Ref<NSString>& keyPath) const {
  return &observer_ == observer && keyPath_->isEqualToString(keyPath);
}

/// One of the two, shared; null once it goes or the registration has ended.
id KeyPathRegistration::live(NSObject& party) const {
  const std::scoped_lock lock(mutex_);
  return ended_ ? id() : ObjectExtras::share(party);
}

/// Hands the root to the function, unless it goes. Mostly it is what changed.
template <class Tell>
void KeyPathRegistration::withRoot(const id& changed, const Tell& tell) const {
  if (isRoot(*changed)) {
    tell(changed);
  } else if (const id root = liveRoot()) {
    tell(root);
  }
}

id KeyPathRegistration::oldValue(const id& changed) const {
  id value;
  if (asksFor(NSKeyValueObservingOptionOld)) {
    withRoot(changed, [&](const id& root) { value = orNull(valueIn(*root)); });
  }
  return value;
}

Ref<ObservedChange> KeyPathRegistration::changeToTell(ChangeMoment moment,
                                                      const id& oldValue) const {
  const bool hasNewValue = moment == ChangeMoment::After && asksFor(NSKeyValueObservingOptionNew);
  if (oldValue || hasNewValue) {
    return make<ObservedChange>(moment, oldValue);
  }
  changeWithoutValues(moment);  // made here the first time, where memory may be missing
  return nullptr;
}

void KeyPathRegistration::tell(ChangeMoment moment, Ref<ObservedChange> change,
                               const id& changed) const {
  withRoot(changed, [&](const id& root) {
    const id observer = live(observer_);
    if (!observer) {
      return;
    }
    if (moment == ChangeMoment::After && asksFor(NSKeyValueObservingOptionNew)) {
      change->setNewValue(orNull(valueIn(*root)));
    }
    if (change) {
      call(*observer, root, std::move(change));
    } else {
      call(*observer, root, changeWithoutValues(moment));
    }
  });
}

void KeyPathRegistration::call(NSObject& observer, const id& root,
                               const Ref<NSDictionary>& change) const {
  observer.observeValueForKeyPath_ofObject_change_context(keyPath_, root, change, context_);
}

void KeyPathRegistration::tellInitialValue() const {
  const id root = asksFor(NSKeyValueObservingOptionInitial) ? liveRoot() : id();
  if (root) {
    tell(ChangeMoment::After, changeToTell(ChangeMoment::After, nullptr), root);
  }
}

id KeyPathRegistration::valueIn(const NSObject& root) const {
  return isOneKey_ ? root.valueForKey(keyPath_) : root.valueForKeyPath(keyPath_);
}

}  // namespace kestova
