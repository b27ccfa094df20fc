// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

namespace kestova {

/// The text of an array, a dictionary or a set with all that is inside, as their `description`
/// documents it. A collection that is inside itself is written as "(itself)" there, one that is
/// nested more than 100 levels deep as "(...)".
Ref<NSString> descriptionOfCollection(const NSObject& collection);

}  // namespace kestova
