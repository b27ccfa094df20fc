// SPDX-License-Identifier: Apache-2.0
#include "collections/Members.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

std::vector<id> objectsOf(const Ref<NSArray>& array) {
  std::vector<id> objects;
  if (array) {
    objects.reserve(array->count());
    for (const id& object : array) {
      objects.push_back(object);
    }
  }
  return objects;
}

Ref<NSString> ownPropertyNamedBy(const Ref<NSString>& key) {
  return key && key->hasPrefix("@") ? key->substringFromIndex(1) : nullptr;
}

}  // namespace kestova
