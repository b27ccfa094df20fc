// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVKVOReceptionist.h>
#include <KestovaPlatform/Class.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVKVOReceptionist, .property<&OVKVOReceptionist::isCancelled>("cancelled"))

namespace {

/// Tells registrations of receptionists from all others.
void* contextTag() { return const_cast<Class*>(&OVKVOReceptionist::staticClass()); }

}  // namespace

OVKVOReceptionist::OVKVOReceptionist(const Ref<NSString>& keyPath, const Handler& handler)
    : _observedKeyPath(copyOf(keyPath)), _handler(handler) {}

OVKVOReceptionist::~OVKVOReceptionist() { cancel(); }

Ref<OVKVOReceptionist> OVKVOReceptionist::receptionistForKeyPath_object_handler(
    const Ref<NSString>& keyPath, const id& object, const Handler& handler) {
  auto receptionist = make<OVKVOReceptionist>(keyPath, handler);
  if (object) {
    object->addObserver_forKeyPath_options_context(
        receptionist.get(), receptionist->_observedKeyPath,
        NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld, contextTag());
    receptionist->_observedObject = object;
  }
  return receptionist;
}

void OVKVOReceptionist::observeValueForKeyPath_ofObject_change_context(
    const Ref<NSString>& keyPath, const id& object, const Ref<NSDictionary>& change,
    void* context) {
  if (context != contextTag()) {
    super::observeValueForKeyPath_ofObject_change_context(keyPath, object, change, context);
    return;
  }
  if (object == _observedObject && keyPath && keyPath->isEqualToString(_observedKeyPath)) {
    const Handler handler = _handler;  // one that cancels lets go of it
    handler(keyPath, object, change);
  }
}

void OVKVOReceptionist::cancel() {
  if (!_observedObject) {
    return;
  }
  // They go last, for with them may go what holds the receptionist.
  const id object = std::exchange(_observedObject, nullptr);
  const auto keyPath = std::exchange(_observedKeyPath, nullptr);
  const Handler handler = std::exchange(_handler, nullptr);
  _cancelled = true;
  object->removeObserver_forKeyPath_context(this, keyPath, contextTag());
}

}  // namespace kestova
