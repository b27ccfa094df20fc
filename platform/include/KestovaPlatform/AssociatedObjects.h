// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// How an object holds what is attached to it.
enum AssociationPolicy : NSUInteger {
  AssociationAssign = 0,           ///< unowned: the value must stay for as long as it is attached
  AssociationRetainNonatomic = 1,  ///< held; here the same as AssociationRetain
  AssociationCopyNonatomic = 3,    ///< its copy is held; here the same as AssociationCopy
  AssociationRetain = 769,         ///< held
  AssociationCopy = 771,           ///< its copy is held
};

/// \name Objects attached to other objects
///
/// A value can be attached to any object under a key, without the object's class knowing of it:
/// what a category stores.
///
///     static const char colorKey = 0;                      // its address is the key
///     setAssociatedObject(shape, &colorKey, color, AssociationRetain);
///     Ref<NSString> color = cast<NSString>(associatedObject(shape, &colorKey));
///
/// Keys are told apart by their addresses alone. What is attached goes with the object, in its last
/// moments: a value that reaches for the object then finds only what NSObject knows of it.
///
/// Threads: any, also for one object. Nothing is copied or let go of with a lock held.
///
/// Cost: an allocation for the first value of an object and for each further one; objects without
/// any pay nothing.
/// @{

/// Attaches the value under the key, in place of what was there; null takes away what was there. A
/// null object is a broken contract, here and below.
KESTOVA_PLATFORM_EXPORT void setAssociatedObject(const id& object, const void* key, const id& value,
                                                 AssociationPolicy policy);

/// What is attached under the key; null when nothing is.
KESTOVA_PLATFORM_EXPORT id associatedObject(const id& object, const void* key);

/// Takes away all that anybody has attached. To take away one value, attach null in its place.
KESTOVA_PLATFORM_EXPORT void removeAssociatedObjects(const id& object);

/// @}

}  // namespace kestova
