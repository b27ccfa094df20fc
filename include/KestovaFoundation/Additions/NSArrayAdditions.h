// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>

namespace kestova {

inline namespace NSArray_DataAdditions {

/// The bytes of all elements in order, with those of the separator between each two. Each element
/// is an NSData; another object throws NSInvalidArgumentException, and so does a null separator
/// where there is something to separate. An empty array gives no bytes. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableData> componentsJoinedByData(const Ref<NSArray>& self,
                                                                    const Ref<NSData>& separator);

}  // namespace NSArray_DataAdditions

}  // namespace kestova
