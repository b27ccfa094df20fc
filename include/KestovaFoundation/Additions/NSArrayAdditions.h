// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSData.h>

namespace kestova {

inline namespace NSArray_DataAdditions {

/// The bytes of all elements in order, with those of the separator between each two. Each element
/// is an NSData; another object throws NSInvalidArgumentException, and so does a null separator
/// where there is something to separate. An empty array gives no bytes. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableData> componentsJoinedByData(const Ref<NSArray>& self,
                                                                    const Ref<NSData>& separator);

}  // namespace NSArray_DataAdditions

inline namespace NSArray_TrimmingStrings {

/// The strings in their order, each without the characters of a set at its ends. An object that is
/// no string throws NSInvalidArgumentException, and so does a null set where there are strings.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> stringsByTrimmingCharactersInSet(
    const Ref<NSArray>& self, const Ref<NSCharacterSet>& set);

}  // namespace NSArray_TrimmingStrings

}  // namespace kestova
