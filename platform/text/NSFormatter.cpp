// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSFormatter.h>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSFormatter)

Ref<NSString> NSFormatter::editingStringForObjectValue(const id& object) const {
  return stringForObjectValue(object);
}

id NSFormatter::attributedStringForObjectValue_withDefaultAttributes(
    const id& /*object*/, const Ref<NSDictionary>& /*attributes*/) const {
  return nullptr;
}

bool NSFormatter::getObjectValue_forString_errorDescription(
    id* /*object*/, const Ref<NSString>& /*string*/, Ref<NSString>* /*errorDescription*/) const {
  throw NSException(
      NSInvalidArgumentException,
      NSString::stringWithFormat("%@ does not read text.", NSStringFromClass(classDescriptor())));
}

}  // namespace kestova
