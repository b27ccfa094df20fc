// SPDX-License-Identifier: Apache-2.0
#include "object/ObserverTable.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>

#include "object/ObjectExtras.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestova {
namespace {

std::vector<Ref<NSString>> keysOf(const Ref<NSString>& keyPath) {
  std::vector<Ref<NSString>> keys;
  for (const id& key : keyPath->componentsSeparatedByString(".")) {
    keys.push_back(cast<NSString>(key));
  }
  return keys;
}

id orNull(const id& value) { return value ? value : id(NSNull::null()); }

}  // namespace

KeyPathRegistration::KeyPathRegistration(NSObject& root, NSObject* observer,
                                         const Ref<NSString>& keyPath, NSUInteger options,
                                         void* context)
    : root_(root),
      observer_(observer),
      keyPath_(copyOf(keyPath)),
      options_(options),
      context_(context),
      keys_(keysOf(keyPath_)) {}

void KeyPathRegistration::begin() {
  ObjectExtras::of(root_).observers.link(shared_from_this(), 0);
  linkBelow(0);
  if (asksFor(NSKeyValueObservingOptionInitial)) {
    const id initial = asksFor(NSKeyValueObservingOptionNew) ? orNull(currentValue()) : id();
    const Ref<NSMutableDictionary> change = NSMutableDictionary::dictionary();
    change->setObject_forKey(NSKeyValueChangeSetting, NSKeyValueChangeKindKey);
    if (initial) {
      change->setObject_forKey(initial, NSKeyValueChangeNewKey);
    }
    observer_->observeValueForKeyPath_ofObject_change_context(keyPath_, id(&root_), change,
                                                              context_);
  }
}

void KeyPathRegistration::end() {
  if (ended_.exchange(true)) {
    return;
  }
  unlinkBelow(0);
  ObjectExtras::of(root_).observers.unlink(this, 0);
}

bool KeyPathRegistration::matches(const NSObject* observer, const Ref<NSString>& keyPath) const {
  return observer_ == observer && keyPath_->isEqualToString(keyPath);
}

void KeyPathRegistration::willChange(std::size_t level) {
  const bool needsOld = asksFor(NSKeyValueObservingOptionOld);
  const id oldValue = needsOld ? orNull(currentValue()) : id();
  {
    const std::scoped_lock lock(mutex_);
    pending_.push_back({std::this_thread::get_id(), oldValue});
  }
  if (asksFor(NSKeyValueObservingOptionPrior)) {
    tell(oldValue, true);
  }
  unlinkBelow(level);
}

void KeyPathRegistration::didChange(std::size_t level) {
  linkBelow(level);
  tell(takeOldValue(), false);
}

/// Follows the path from the object at `level` as it stands now.
void KeyPathRegistration::linkBelow(std::size_t level) {
  for (std::size_t next = level + 1; next < keys_.size(); ++next) {
    if (ended_.load()) {
      return;
    }
    const id object = objectAt(next - 1).valueForKey(keys_[next - 1]);
    if (!object) {
      return;
    }
    {
      const std::scoped_lock lock(mutex_);
      below_.resize(next - 1);
      below_.push_back(object);
    }
    ObjectExtras::of(*object).observers.link(shared_from_this(), next);
  }
}

void KeyPathRegistration::unlinkBelow(std::size_t level) {
  std::vector<Ref<NSObject>> unlinked;
  {
    const std::scoped_lock lock(mutex_);
    if (below_.size() <= level) {
      return;
    }
    const auto first = below_.begin() + static_cast<std::ptrdiff_t>(level);
    unlinked.assign(std::make_move_iterator(first), std::make_move_iterator(below_.end()));
    below_.resize(level);
  }
  for (std::size_t i = 0; i < unlinked.size(); ++i) {
    ObjectExtras::of(*unlinked[i]).observers.unlink(this, level + 1 + i);
  }
}

id KeyPathRegistration::currentValue() const { return root_.valueForKeyPath(keyPath_); }

/// The value before the change that this thread announced last; nothing when it announced none
/// since the registration.
id KeyPathRegistration::takeOldValue() {
  const std::scoped_lock lock(mutex_);
  const auto latest = std::find_if(pending_.rbegin(), pending_.rend(), [](const Pending& pending) {
    return pending.thread == std::this_thread::get_id();
  });
  if (latest == pending_.rend()) {
    return nullptr;
  }
  id oldValue = std::move(latest->oldValue);
  pending_.erase(std::next(latest).base());
  return oldValue;
}

void KeyPathRegistration::tell(const id& oldValue, bool isPrior) {
  if (ended_.load()) {
    return;
  }
  const Ref<NSMutableDictionary> change = NSMutableDictionary::dictionary();
  change->setObject_forKey(NSKeyValueChangeSetting, NSKeyValueChangeKindKey);
  if (oldValue) {
    change->setObject_forKey(oldValue, NSKeyValueChangeOldKey);
  }
  if (isPrior) {
    change->setObject_forKey(true, NSKeyValueChangeNotificationIsPriorKey);
  } else if (asksFor(NSKeyValueObservingOptionNew)) {
    change->setObject_forKey(orNull(currentValue()), NSKeyValueChangeNewKey);
  }
  observer_->observeValueForKeyPath_ofObject_change_context(keyPath_, id(&root_), change, context_);
}

/// The object goes: what is rooted in it ends. Deeper links hold their objects, so that none of
/// those can be left here.
ObserverTable::~ObserverTable() {
  std::vector<Link> links;
  {
    const std::scoped_lock lock(mutex_);
    links.swap(links_);
  }
  for (const Link& link : links) {
    link.registration->end();
  }
}

void ObserverTable::link(std::shared_ptr<KeyPathRegistration> registration, std::size_t level) {
  const std::scoped_lock lock(mutex_);
  links_.push_back({std::move(registration), level});
  count_.store(links_.size(), std::memory_order_release);
}

void ObserverTable::unlink(const KeyPathRegistration* registration, std::size_t level) {
  Link removed{};  // destroyed after the lock is released
  const std::scoped_lock lock(mutex_);
  const auto found = std::find_if(links_.begin(), links_.end(), [&](const Link& link) {
    return link.registration.get() == registration && link.level == level;
  });
  if (found != links_.end()) {
    removed = std::move(*found);
    links_.erase(found);
    count_.store(links_.size(), std::memory_order_release);
  }
}

std::shared_ptr<KeyPathRegistration> ObserverTable::find(const NSObject* observer,
                                                         const Ref<NSString>& keyPath,
                                                         void* const* context) {
  const std::scoped_lock lock(mutex_);
  const auto found = std::find_if(links_.rbegin(), links_.rend(), [&](const Link& link) {
    return link.level == 0 && link.registration->matches(observer, keyPath) &&
           (context == nullptr || link.registration->context() == *context);
  });
  return found == links_.rend() ? nullptr : found->registration;
}

std::vector<ObserverTable::Link> ObserverTable::linksFor(const Ref<NSString>& key) {
  const std::scoped_lock lock(mutex_);
  std::vector<Link> result;
  std::copy_if(links_.begin(), links_.end(), std::back_inserter(result), [&](const Link& link) {
    return link.registration->keyAt(link.level)->isEqualToString(key);
  });
  return result;
}

void ObserverTable::willChange(const Ref<NSString>& key) {
  for (const Link& link : linksFor(key)) {
    link.registration->willChange(link.level);
  }
}

void ObserverTable::didChange(const Ref<NSString>& key) {
  for (const Link& link : linksFor(key)) {
    link.registration->didChange(link.level);
  }
}

}  // namespace kestova
