// SPDX-License-Identifier: Apache-2.0
#include "preferences/PropertyListObjects.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSString.h>

#include <utility>

namespace kestova {

PropertyListObjects::PropertyListObjects(NSUInteger options) noexcept
    : mutableContainers_(options != NSPropertyListImmutable),
      mutableLeaves_((options & NSPropertyListMutableContainersAndLeaves) != 0) {}

id PropertyListObjects::array(std::vector<id> objects) const {
  if (mutableContainers_) {
    return NSMutableArray::arrayWithObjects(std::move(objects));
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

id PropertyListObjects::dictionary(std::vector<id> keys, std::vector<id> objects) const {
  const auto allKeys = NSArray::arrayWithObjects(std::move(keys));
  const auto allObjects = NSArray::arrayWithObjects(std::move(objects));
  if (mutableContainers_) {
    return NSMutableDictionary::dictionaryWithObjects_forKeys(allObjects, allKeys);
  }
  return NSDictionary::dictionaryWithObjects_forKeys(allObjects, allKeys);
}

id PropertyListObjects::leaf(const id& object) const {
  const bool isMutable = mutableLeaves_ && (cast<NSString>(object) || cast<NSData>(object));
  return isMutable ? object->mutableCopy() : object;
}

}  // namespace kestova
