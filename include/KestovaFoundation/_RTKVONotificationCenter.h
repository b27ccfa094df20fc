// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Selector.h>

#include <mutex>

namespace kestova {

/// Observation of properties by an operation of the observer. Applications use it through
/// NSObjectRTKVONotification.h.
///
/// Threads: any. Registering and removing happen without a lock held.
///
/// Ownership: neither observer nor observed object is held: every registration is removed before
/// either of them goes. Registering the same four (observer, object, key path, selector) twice
/// without removing them in between is the caller's error: the second registration takes the place
/// of the first, whose observation isn't removed but ends with the helper that is let go of.
class KESTOVA_FOUNDATION_EXPORT _RTKVONotificationCenter : public NSObject {
  KESTOVA_CLASS(_RTKVONotificationCenter, NSObject)

 public:
  /// The centre of the process, made on first use and never destroyed. Threads that race for the
  /// very first use may deliberately each make one, of which the last one stays: one thread asks
  /// for it before others do.
  static Ref<_RTKVONotificationCenter> defaultCenter();

  /// A centre of one's own.
  static Ref<_RTKVONotificationCenter> init();

  /// Performs `selector` on the observer for each change: an operation with four arguments, key
  /// path, observed object, change and user info. `options` is a sum of NSKeyValueObservingOptions,
  /// `userInfo` may be null.
  void addObserver_object_keyPath_selector_userInfo_options(NSObject* observer, NSObject* object,
                                                            const Ref<NSString>& keyPath,
                                                            SEL selector, const id& userInfo,
                                                            NSUInteger options);

  /// Ends that registration; does nothing when there is none.
  void removeObserver_object_keyPath_selector(NSObject* observer, NSObject* object,
                                              const Ref<NSString>& keyPath, SEL selector);

  /// What a registration is kept under: "0x10:0x20:name:0x30", made of the four addresses and the
  /// key path. Nothing is looked at behind the addresses.
  static Ref<NSString> _dictionaryKeyForObserver_object_keyPath_selector(
      const NSObject* observer, const NSObject* object, const Ref<NSString>& keyPath, SEL selector);

 protected:
  _RTKVONotificationCenter() = default;

 private:
  std::recursive_mutex mutex_;  // guards the helpers
  const Ref<NSMutableDictionary> _observerHelpers = NSMutableDictionary::dictionary();
};

}  // namespace kestova
