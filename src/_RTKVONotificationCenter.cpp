// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/_RTKVONotificationCenter.h>
#include <KestovaFoundation/_RTKVONotificationHelper.h>
#include <KestovaPlatform/Class.h>

#include <atomic>

namespace kestova {

KESTOVA_DEFINE_CLASS(_RTKVONotificationCenter)

namespace {

constinit std::atomic<_RTKVONotificationCenter*> sharedCenter{nullptr};
constinit std::mutex sharedCenterMutex;

}  // namespace

Ref<_RTKVONotificationCenter> _RTKVONotificationCenter::defaultCenter() {
  if (_RTKVONotificationCenter* center = sharedCenter.load(std::memory_order_acquire)) {
    return Ref<_RTKVONotificationCenter>(center);
  }
  const std::scoped_lock lock(sharedCenterMutex);
  auto center = init();
  sharedCenter.store(Ref<_RTKVONotificationCenter>(center).leak(), std::memory_order_release);
  return center;
}

Ref<_RTKVONotificationCenter> _RTKVONotificationCenter::init() {
  return make<_RTKVONotificationCenter>();
}

void _RTKVONotificationCenter::addObserver_object_keyPath_selector_userInfo_options(
    NSObject* observer, NSObject* object, const Ref<NSString>& keyPath, SEL selector,
    const id& userInfo, NSUInteger options) {
  const auto helper =
      _RTKVONotificationHelper::initWithObserver_object_keyPath_selector_userInfo_options(
          observer, object, keyPath, selector, userInfo, options);
  const auto key =
      _dictionaryKeyForObserver_object_keyPath_selector(observer, object, keyPath, selector);
  id replaced;  // goes after the lock is released
  const std::scoped_lock lock(mutex_);
  replaced = _observerHelpers->objectForKey(key);
  _observerHelpers->setObject_forKey(helper, key);
}

void _RTKVONotificationCenter::removeObserver_object_keyPath_selector(NSObject* observer,
                                                                      NSObject* object,
                                                                      const Ref<NSString>& keyPath,
                                                                      SEL selector) {
  const auto key =
      _dictionaryKeyForObserver_object_keyPath_selector(observer, object, keyPath, selector);
  Ref<_RTKVONotificationHelper> helper;
  {
    const std::scoped_lock lock(mutex_);
    helper = cast<_RTKVONotificationHelper>(_observerHelpers->objectForKey(key));
    _observerHelpers->removeObjectForKey(key);
  }
  if (helper) {
    helper->deregister();
  }
}

Ref<NSString> _RTKVONotificationCenter::_dictionaryKeyForObserver_object_keyPath_selector(
    const NSObject* observer, const NSObject* object, const Ref<NSString>& keyPath, SEL selector) {
  return NSString::stringWithFormat("%p:%p:%@:%p", static_cast<const void*>(observer),
                                    static_cast<const void*>(object), keyPath,
                                    static_cast<const void*>(selector));
}

}  // namespace kestova
