// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSFastEnumeration.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Selector.h>

namespace kestova {

inline namespace NSObject_RTKVONotification {

/// \file
/// Observing properties of an object by an operation of the observer.
///
///     addObserver_forKeyPath_selector_userInfo_options(account, this, "owner.name",
///                                                      sel<&Window::nameChanged>(), nullptr,
///                                                      NSKeyValueObservingOptionNew);
///
/// The operation takes four arguments: key path, observed object, change (see `addObserver…` of
/// NSObject) and user info. It is performed on the thread that makes the change, with no lock held,
/// and may remove registrations.
///
/// Nothing but the user info and the key path is held: every registration is removed before the
/// observer or the object goes, and none is made twice. Threads: any.

/// `options` is a sum of NSKeyValueObservingOptions, `userInfo` may be null.
KESTOVA_FOUNDATION_EXPORT void addObserver_forKeyPath_selector_userInfo_options(
    const id& self, NSObject* observer, const Ref<NSString>& keyPath, SEL selector,
    const id& userInfo, NSUInteger options);

/// Ends the registration of those four; does nothing when there is none.
KESTOVA_FOUNDATION_EXPORT void removeObserver_forKeyPath_selector(const id& self,
                                                                  NSObject* observer,
                                                                  const Ref<NSString>& keyPath,
                                                                  SEL selector);

/// The same for each key path of a collection, in its order.
KESTOVA_FOUNDATION_EXPORT void addObserver_forKeyPaths_options_selector_userInfo(
    const id& self, NSObject* observer, const NSFastEnumeration& keyPaths, NSUInteger options,
    SEL selector, const id& userInfo);
KESTOVA_FOUNDATION_EXPORT void removeObserver_forKeyPaths_selector(
    const id& self, NSObject* observer, const NSFastEnumeration& keyPaths, SEL selector);

}  // namespace NSObject_RTKVONotification

}  // namespace kestova
