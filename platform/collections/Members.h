// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/Selector.h>

#include "object/Reference.h"

#include <span>
#include <vector>

namespace kestova {

class NSIndexSet;

/// The objects of an array in their order; none for null.
std::vector<id> objectsOf(const Ref<NSArray>& array);

/// Throws NSRangeException, naming class and operation, unless all indexes are below `count`, and
/// NSInvalidArgumentException for null.
void checkIndexesBelow(const NSArray& array, const char* operation, const Ref<NSIndexSet>& indexes,
                       NSUInteger count);

/// For a key "@name" the property that a collection itself has under that name: what `valueForKey`
/// of a collection answers before it turns to the members. Null for every other key.
Ref<NSString> ownPropertyNamedBy(const Ref<NSString>& key);

/// Performs the operation on every member of a collection.
template <class Collection>
void performOnMembers(const Collection& collection, SEL selector, std::span<const id> arguments) {
  for (const id& member : reference(collection)) {
    (void)selector->perform(*member, arguments);
  }
}

}  // namespace kestova
