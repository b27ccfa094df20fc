// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/NSURL.h>

namespace kestova {

inline namespace NSDictionary_Additions {

/// \file
/// Plain values out of a dictionary, changed copies, and dictionaries in files.
///
///     const bool isOpen = boolForKey(settings, "open");
///     const NSRect frame = rectForKey(settings, "frame");
///
/// Threads: as safe as reading the dictionary is.

/// \name Numbers and truth values
/// What the number or the text under the key is worth (see NSNumber and NSString); false or 0 when
/// there is none. An object that is neither throws NSInvalidArgumentException.
/// @{
KESTOVA_FOUNDATION_EXPORT bool boolForKey(const Ref<NSDictionary>& self, const id& key);
KESTOVA_FOUNDATION_EXPORT NSInteger integerForKey(const Ref<NSDictionary>& self, const id& key);

/// Numbers only: a text throws as well.
KESTOVA_FOUNDATION_EXPORT NSUInteger unsignedIntegerForKey(const Ref<NSDictionary>& self,
                                                           const id& key);
KESTOVA_FOUNDATION_EXPORT double doubleForKey(const Ref<NSDictionary>& self, const id& key);
KESTOVA_FOUNDATION_EXPORT float floatForKey(const Ref<NSDictionary>& self, const id& key);
/// @}
/// \name Geometry
/// Read from the text under the key, as NSRectFromString and its like do; zeros when there is none.
/// An object that is no string throws NSInvalidArgumentException.
/// @{
KESTOVA_FOUNDATION_EXPORT NSRect rectForKey(const Ref<NSDictionary>& self, const id& key);
KESTOVA_FOUNDATION_EXPORT NSPoint pointForKey(const Ref<NSDictionary>& self, const id& key);
KESTOVA_FOUNDATION_EXPORT NSSize sizeForKey(const Ref<NSDictionary>& self, const id& key);
/// @}
/// \name Changed copies, immutable
/// Null for an object or a key throws NSInvalidArgumentException.
/// @{
KESTOVA_FOUNDATION_EXPORT Ref<NSDictionary> ov_dictionaryBySettingObject_forKey(
    const Ref<NSDictionary>& self, const id& object, const id& key);
KESTOVA_FOUNDATION_EXPORT Ref<NSDictionary> ov_dictionaryByRemovingObjectForKey(
    const Ref<NSDictionary>& self, const id& key);
/// @}

/// Writes the dictionary to a file, as a property list in the binary format; `options` is a sum of
/// NSDataWritingOptions. Blocks.
///
/// Answers whether it is written. What is no property list fills `error` (may be null) with an
/// error in NSCocoaErrorDomain, code 0, whose failure reason says what is wrong; what the file
/// system refuses with that failure, as NSData does.
KESTOVA_FOUNDATION_EXPORT bool writeToURL_options_error(const Ref<NSDictionary>& self,
                                                        const Ref<NSURL>& url, NSUInteger options,
                                                        Ref<NSError>* error = nullptr);

}  // namespace NSDictionary_Additions

}  // namespace kestova
