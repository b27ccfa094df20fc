// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/_RTKVONotificationHelper.h>
#include <KestovaPlatform/Class.h>

#include <array>

namespace kestova {

KESTOVA_DEFINE_CLASS(_RTKVONotificationHelper)

char RTKVONotificationHelperMagicContext;

_RTKVONotificationHelper::_RTKVONotificationHelper(NSObject* observer, NSObject* object,
                                                   const Ref<NSString>& keyPath, SEL selector,
                                                   const id& userInfo)
    : _observer(observer),
      _selector(selector),
      _userInfo(userInfo),
      _target(object),
      _keyPath(keyPath) {}

Ref<_RTKVONotificationHelper>
_RTKVONotificationHelper::initWithObserver_object_keyPath_selector_userInfo_options(
    NSObject* observer, NSObject* object, const Ref<NSString>& keyPath, SEL selector,
    const id& userInfo, NSUInteger options) {
  auto helper = make<_RTKVONotificationHelper>(observer, object, keyPath, selector, userInfo);
  object->addObserver_forKeyPath_options_context(helper.get(), keyPath, options,
                                                 &RTKVONotificationHelperMagicContext);
  return helper;
}

void _RTKVONotificationHelper::observeValueForKeyPath_ofObject_change_context(
    const Ref<NSString>& keyPath, const id& object, const Ref<NSDictionary>& change,
    void* context) {
  if (context != &RTKVONotificationHelperMagicContext) {
    super::observeValueForKeyPath_ofObject_change_context(keyPath, object, change, context);
    return;
  }
  const std::array<id, 4> arguments{keyPath, object, change, _userInfo};
  (void)_selector->perform(*_observer, arguments);
}

void _RTKVONotificationHelper::deregister() { _target->removeObserver_forKeyPath(this, _keyPath); }

}  // namespace kestova
