// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FirstException.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>

#include "object/KeyText.h"
#include "object/ObjectExtras.h"
#include "object/PendingChanges.h"
#include "values/RangeCheck.h"

#include <exception>

namespace kestova {

constinit const StringConstant NSKeyValueChangeKindKey{"kind"};
constinit const StringConstant NSKeyValueChangeNewKey{"new"};
constinit const StringConstant NSKeyValueChangeOldKey{"old"};
constinit const StringConstant NSKeyValueChangeNotificationIsPriorKey{"notificationIsPrior"};

namespace {

void endRegistration(NSObject& object, const NSObject* observer, const Ref<NSString>& keyPath,
                     void* const* context) {
  ObjectExtras* extras = ObjectExtras::existing(object);
  const auto registration =
      extras == nullptr || !keyPath ? nullptr : extras->observers.find(observer, keyPath, context);
  if (!registration) {
    throw NSException(NSRangeException,
                      NSString::stringWithFormat("%p does not observe the key path \"%@\" of %p.",
                                                 static_cast<const void*>(observer), keyPath,
                                                 static_cast<const void*>(&object)));
  }
  registration->end();
}

/// Where a change of the object may have been announced on this thread; null when none was. Whoever
/// observed it then may be gone by now: what was announced ends all the same.
PendingChanges* pendingChangesOf(const NSObject& object) noexcept {
  return ObjectExtras::existing(object) == nullptr ? nullptr : PendingChanges::existing();
}

}  // namespace

void NSObject::addObserver_forKeyPath_options_context(NSObject* observer,
                                                      const Ref<NSString>& keyPath,
                                                      NSUInteger options, void* context) {
  if (observer == nullptr || !keyPath) {
    throw NSException(NSInvalidArgumentException,
                      "an observer needs to be there and a key path to observe");
  }
  make<KeyPathRegistration>(*this, *observer, keyPath, options, context)->begin();
}

void NSObject::removeObserver_forKeyPath(NSObject* observer, const Ref<NSString>& keyPath) {
  endRegistration(*this, observer, keyPath, nullptr);
}

void NSObject::removeObserver_forKeyPath_context(NSObject* observer, const Ref<NSString>& keyPath,
                                                 void* context) {
  endRegistration(*this, observer, keyPath, &context);
}

void NSObject::observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath,
                                                              const id&, const Ref<NSDictionary>&,
                                                              void*) {
  throw NSException(
      NSInternalInconsistencyException,
      NSString::stringWithFormat("%@ observes the key path \"%@\" but does not handle its changes.",
                                 self(), keyPath));
}

Ref<NSSet> NSObject::keyPathsForValuesAffectingValueForKey(const Ref<NSString>&) const {
  return nullptr;
}

bool NSObject::isObserved() const noexcept {
  const ObjectExtras* extras = ObjectExtras::existing(*this);
  return extras != nullptr && !extras->observers.isEmpty();
}

void NSObject::willChangeValueForKey(const Ref<NSString>& key) {
  checkArgument(*this, "willChangeValueForKey:", key != nullptr);
  if (hasObservers()) {
    PendingChanges::ofThread().willChange(*this, KeyText(key));
  }
}

void NSObject::willChangeValueForKey(const char* key) {
  checkArgument(*this, "willChangeValueForKey:", key != nullptr);
  if (hasObservers()) {
    PendingChanges::ofThread().willChange(*this, key);
  }
}

void NSObject::didChangeValueForKey(const Ref<NSString>& key) {
  checkArgument(*this, "didChangeValueForKey:", key != nullptr);
  if (PendingChanges* pending = pendingChangesOf(*this)) {
    pending->didChange(*this, KeyText(key));
  }
}

void NSObject::didChangeValueForKey(const char* key) {
  checkArgument(*this, "didChangeValueForKey:", key != nullptr);
  if (PendingChanges* pending = pendingChangesOf(*this)) {
    pending->didChange(*this, key);
  }
}

void KeyValueChange::begin(const char* key) {
  checkArgument(object_, "willChangeValueForKey:", key != nullptr);
  number_ = PendingChanges::ofThread().willChange(object_, key);
  exceptions_ = std::uncaught_exceptions();
}

void KeyValueChange::beginNamed(const Ref<NSString>& key) {
  checkArgument(object_, "willChangeValueForKey:", key != nullptr);
  number_ = PendingChanges::ofThread().willChange(object_, KeyText(key));
  exceptions_ = std::uncaught_exceptions();
}

void KeyValueChange::end() {
  FirstException failure;
  if (PendingChanges* pending = PendingChanges::existing()) {
    failure.attempt([&] { pending->didChange(object_, number_); });
  }
  if (std::uncaught_exceptions() == exceptions_) {
    failure.rethrow();
  }
}

}  // namespace kestova
