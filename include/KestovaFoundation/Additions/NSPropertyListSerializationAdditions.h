// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

inline namespace NSPropertyListSerialization_KestovaAdditions {

/// \file
/// Property lists in files.
///
///     Ref<NSString> fault;
///     const id settings = mutablePropertyListFromFile_error(path, &fault);
///
/// Both block. Threads: any number at a time; nobody may change a list while it is written.

/// The property list in a file, in any format, with containers that can be changed at every level.
/// Null when there is none; `errorDescription` (may be null) then says why: it is a text and no
/// error.
KESTOVA_FOUNDATION_EXPORT id mutablePropertyListFromFile_error(
    const Ref<NSString>& path, Ref<NSString>* errorDescription = nullptr);

/// Writes a property list to a file in the binary format, whole or not at all, and answers whether
/// it is written. What is no property list fails without a reason: `error` (may be null) is set to
/// null. What the file system refuses fills it, as NSData does.
KESTOVA_FOUNDATION_EXPORT bool writePropertyList_toFile_error(const id& propertyList,
                                                              const Ref<NSString>& path,
                                                              Ref<NSError>* error = nullptr);

}  // namespace NSPropertyListSerialization_KestovaAdditions

}  // namespace kestova
