// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringIdentifiers.h>
#include <KestovaPlatform/CFUUID.h>

namespace kestova {

Ref<NSString> OVStringForOSType(OSType code) {
  const char bytes[] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                        static_cast<char>(code >> 8), static_cast<char>(code), '\0'};
  return NSString::stringWithFormat("%.4s", bytes);
}

Ref<NSString> NSStringUUID() { return CFUUIDCreateString(CFUUIDCreate()); }

}  // namespace kestova
