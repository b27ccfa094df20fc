// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// An immutable copy of a property list, down to its leaves, that can be kept under the key. Throws
/// NSInvalidArgumentException, with the reason and the place, for what is none, and for null.
id propertyListCopy(const id& value, const Ref<NSString>& key);

}  // namespace kestova
