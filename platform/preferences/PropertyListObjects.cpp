// SPDX-License-Identifier: Apache-2.0
#include "preferences/PropertyListObjects.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSString.h>

#include "collections/DictionaryFromTable.h"

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

id PropertyListObjects::dictionary(HashedKeys& keys, std::vector<id>& objects) const {
  ObjectMap table = tableFromColumns(keys, objects);
  return mutableContainers_ ? id(mutableDictionaryFromTable(std::move(table)))
                            : dictionaryFromTable(std::move(table));
}

id PropertyListObjects::mutableLeaf(const id& object) {
  return cast<NSString>(object) || cast<NSData>(object) ? object->mutableCopy() : object;
}

}  // namespace kestova
