// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Selector.h>

namespace kestova {

/// Its address is the context of every registration of a helper.
extern KESTOVA_FOUNDATION_EXPORT char RTKVONotificationHelperMagicContext;

/// One observation of _RTKVONotificationCenter: performs an operation of the observer for each
/// change. Applications use the centre, through NSObjectRTKVONotification.h.
///
/// Threads: immutable; the operation is performed on the thread that makes the change, with no lock
/// held.
///
/// Ownership: it holds the user info and the key path, but neither observer nor observed object:
/// `deregister` comes before either of them goes.
class KESTOVA_FOUNDATION_EXPORT _RTKVONotificationHelper : public NSObject {
  KESTOVA_CLASS(_RTKVONotificationHelper, NSObject)

 public:
  /// Observes from now on. `selector` is an operation of the observer with four arguments: key
  /// path, observed object, change and user info. `options` is a sum of
  /// NSKeyValueObservingOptions, `userInfo` may be null.
  static Ref<_RTKVONotificationHelper> initWithObserver_object_keyPath_selector_userInfo_options(
      NSObject* observer, NSObject* object, const Ref<NSString>& keyPath, SEL selector,
      const id& userInfo, NSUInteger options);

  /// Performs the operation on the observer. What another context than the helpers' own comes with
  /// goes to the base class.
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath,
                                                      const id& object,
                                                      const Ref<NSDictionary>& change,
                                                      void* context) override;

  /// Ends the observation: once.
  void deregister();

 protected:
  _RTKVONotificationHelper(NSObject* observer, NSObject* object, const Ref<NSString>& keyPath,
                           SEL selector, const id& userInfo);

 private:
  NSObject* const _observer;  // unowned
  const SEL _selector;
  const id _userInfo;
  NSObject* const _target;  // unowned
  const Ref<NSString> _keyPath;
};

}  // namespace kestova
