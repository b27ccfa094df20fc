// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSObjectRTKVONotification.h>
#include <KestovaFoundation/_RTKVONotificationCenter.h>

namespace kestova {

inline namespace NSObject_RTKVONotification {

void addObserver_forKeyPath_selector_userInfo_options(const id& self, NSObject* observer,
                                                      const Ref<NSString>& keyPath, SEL selector,
                                                      const id& userInfo, NSUInteger options) {
  _RTKVONotificationCenter::defaultCenter()->addObserver_object_keyPath_selector_userInfo_options(
      observer, self.get(), keyPath, selector, userInfo, options);
}

void removeObserver_forKeyPath_selector(const id& self, NSObject* observer,
                                        const Ref<NSString>& keyPath, SEL selector) {
  _RTKVONotificationCenter::defaultCenter()->removeObserver_object_keyPath_selector(
      observer, self.get(), keyPath, selector);
}

void addObserver_forKeyPaths_options_selector_userInfo(const id& self, NSObject* observer,
                                                       const NSFastEnumeration& keyPaths,
                                                       NSUInteger options, SEL selector,
                                                       const id& userInfo) {
  for (const id& keyPath : keyPaths) {
    addObserver_forKeyPath_selector_userInfo_options(self, observer, cast<NSString>(keyPath),
                                                     selector, userInfo, options);
  }
}

void removeObserver_forKeyPaths_selector(const id& self, NSObject* observer,
                                         const NSFastEnumeration& keyPaths, SEL selector) {
  for (const id& keyPath : keyPaths) {
    removeObserver_forKeyPath_selector(self, observer, cast<NSString>(keyPath), selector);
  }
}

}  // namespace NSObject_RTKVONotification

}  // namespace kestova
