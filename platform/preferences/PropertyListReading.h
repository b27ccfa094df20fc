// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// What reading a property list gave: the value at its top, or nothing and the reason for people.
struct PropertyListReading {
  id propertyList;
  Ref<NSString> problem;
};

}  // namespace kestova
