// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSNull)

Ref<NSNull> NSNull::null() {
  static const auto& only = *new Ref<NSNull>(make<NSNull>());
  return only;
}

id NSNull::valueForKey(const Ref<NSString>&) const { return self(); }

Ref<NSString> NSNull::description() const { return "<null>"; }

id NSNull::copy() const { return self(); }

}  // namespace kestova
