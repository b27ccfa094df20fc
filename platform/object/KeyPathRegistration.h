// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "object/ObservedChange.h"
#include "object/Shared.h"

#include <cstddef>
#include <cstdint>

namespace kestova {

class KeyPathStep;

/// One registration of an observer for a key or dotted path of one object, the root.
///
/// Root and observer are unowned. Each ends the registration when it goes, and ending takes the
/// mutex: under it, and as long as the registration has not ended, both can be looked at and
/// shared, unless they have begun to go.
class KeyPathRegistration : public Shared<KeyPathRegistration> {
 public:
  KeyPathRegistration(NSObject& root, NSObject& observer, const Ref<NSString>& keyPath,
                      NSUInteger options, void* context);
  ~KeyPathRegistration();

  /// Enters it along its path, and tells the observer at once when it asked for that. What throws
  /// ends it.
  void begin();

  /// Takes it out of every table. No delivery begins afterwards.
  void end();

  bool matches(const NSObject* observer, const Ref<NSString>& keyPath) const;
  void* context() const noexcept { return context_; }

  /// Later registrations have higher numbers.
  std::uint64_t number() const noexcept { return number_; }

  bool isRoot(const NSObject& object) const noexcept { return &object == &root_; }

  /// The root, shared; null once it goes or the registration has ended.
  id liveRoot() const { return live(root_); }

  /// The value at the end of the path, when the observer wants it as the one before the change.
  /// `changed` is the object whose property changes, which the caller holds.
  id oldValue(const id& changed) const;

  /// Whether the observer wants to be told before changes, too.
  bool asksForBefore() const noexcept { return asksFor(NSKeyValueObservingOptionPrior); }

  /// Whether the observer has to do with a change before it is made.
  bool takesPartBefore() const noexcept {
    return asksFor(NSKeyValueObservingOptionPrior | NSKeyValueObservingOptionOld);
  }

  /// What the observer is to be told at that moment; null for a change without values.
  Ref<ObservedChange> changeToTell(ChangeMoment moment, const id& oldValue) const;

  /// Tells the observer, with the value that is there by now when the change has been made.
  void tell(ChangeMoment moment, Ref<ObservedChange> change, const id& changed) const;

  /// Guards what can change here and in the steps; never held while other code runs.
  BriefMutex& mutex() const noexcept { return mutex_; }

 private:
  bool asksFor(NSUInteger option) const noexcept { return (options_ & option) != 0; }
  id live(NSObject& party) const;
  id valueIn(const NSObject& root) const;
  void tellInitialValue() const;
  template <class Tell>
  void withRoot(const id& changed, const Tell& tell) const;
  void call(NSObject& observer, const id& root, const Ref<NSDictionary>& change) const;

  NSObject& root_;
  NSObject& observer_;
  const Ref<NSString> keyPath_;
  const bool isOneKey_;
  const NSUInteger options_;
  void* const context_;
  const std::uint64_t number_;

  mutable BriefMutex mutex_;
  bool ended_ = false;
  Ref<KeyPathStep> first_;

  friend class ObservingTable;
  std::size_t place_ = 0;  // in the observer's table, which guards it
};

}  // namespace kestova
