// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "object/ObjectExtras.h"

#include <functional>
#include <memory>

namespace kestova {

const Class& NSObject::staticClass() {
  static const Class& description = *new Class("NSObject", nullptr, {}, {}, nullptr);
  return description;
}
static const ClassRegistration registrationOfNSObject{"NSObject", &NSObject::staticClass};

KESTOVA_DEFINE_CLASS(NSBlock)

NSObject::~NSObject() {
  const std::uint32_t extras = extras_.load(std::memory_order_acquire);
  if (ExtrasTable::isNumber(extras)) {
    ExtrasTable::shared().remove(extras);
  }
}

const Class& NSObject::classDescriptor() const { return staticClass(); }

bool NSObject::isKindOfClass(const Class& other) const {
  return classDescriptor().isSubclassOfClass(other);
}

bool NSObject::isEqual(const id& other) const { return this == other.get(); }

NSUInteger NSObject::hash() const { return std::hash<const NSObject*>()(this); }

Ref<NSString> NSObject::description() const {
  return NSString::stringWithFormat("<%@: %p>", NSStringFromClass(classDescriptor()),
                                    static_cast<const void*>(this));
}

id NSObject::copy() const { throwUnrecognizedSelector(*this, "copy"); }

id NSObject::mutableCopy() const { throwUnrecognizedSelector(*this, "mutableCopy"); }

ObjectExtras& ObjectExtras::of(NSObject& object) {
  if (ObjectExtras* extras = existing(object)) {
    return *extras;
  }
  ExtrasTable& table = ExtrasTable::shared();
  const std::uint32_t fresh = table.add(std::make_unique<ObjectExtras>());
  std::uint32_t present = object.extras_.load(std::memory_order_acquire);
  while (!ExtrasTable::isNumber(present)) {
    if (object.extras_.compare_exchange_weak(present, fresh, std::memory_order_acq_rel)) {
      return *table.at(fresh);
    }
  }
  table.remove(fresh);
  return *table.at(present);
}

}  // namespace kestova
