// SPDX-License-Identifier: Apache-2.0
#include "collections/Members.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>

#include "values/RangeCheck.h"

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

void checkIndexesBelow(const NSArray& array, const char* operation, const Ref<NSIndexSet>& indexes,
                       NSUInteger count) {
  checkArgument(array, operation, indexes != nullptr);
  if (indexes->lastIndex() != NSNotFound) {
    checkIndex(array, operation, indexes->lastIndex(), count);
  }
}

/// No key but one that names such a property takes memory, for observers are told of others by it.
Ref<NSString> ownPropertyNamedBy(const Ref<NSString>& key) {
  const bool isLikely = key && key->length() > 0 && key->characterAtIndex(0) == '@';
  return isLikely && key->hasPrefix("@") ? key->substringFromIndex(1) : nullptr;
}

}  // namespace kestova
