// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

inline namespace NSMutableDictionary_Additions {

/// \file
/// Plain values into a dictionary: what `boolForKey` and its like (NSDictionaryAdditions.h) read.
///
///     setBool_forKey(settings, true, "open");
///     setRect_forKey(settings, NSMakeRect(0, 0, 10, 20), "frame");
///
/// A null key throws NSInvalidArgumentException. Threads: one at a time for each dictionary.

/// Sets an object, or removes the key for null.
KESTOVA_FOUNDATION_EXPORT void safeSetObject_forKey(const Ref<NSMutableDictionary>& self,
                                                    const id& object, const id& key);

/// \name As a number
/// @{
KESTOVA_FOUNDATION_EXPORT void setBool_forKey(const Ref<NSMutableDictionary>& self, bool value,
                                              const id& key);
KESTOVA_FOUNDATION_EXPORT void setInteger_forKey(const Ref<NSMutableDictionary>& self,
                                                 NSInteger value, const id& key);
KESTOVA_FOUNDATION_EXPORT void setUnsignedInteger_forKey(const Ref<NSMutableDictionary>& self,
                                                         NSUInteger value, const id& key);
KESTOVA_FOUNDATION_EXPORT void setDouble_forKey(const Ref<NSMutableDictionary>& self, double value,
                                                const id& key);
KESTOVA_FOUNDATION_EXPORT void setFloat_forKey(const Ref<NSMutableDictionary>& self, float value,
                                               const id& key);
/// @}
/// \name As text, as NSStringFromRect and its like write it
/// @{
KESTOVA_FOUNDATION_EXPORT void setRect_forKey(const Ref<NSMutableDictionary>& self,
                                              const NSRect& rect, const id& key);
KESTOVA_FOUNDATION_EXPORT void setPoint_forKey(const Ref<NSMutableDictionary>& self, NSPoint point,
                                               const id& key);
KESTOVA_FOUNDATION_EXPORT void setSize_forKey(const Ref<NSMutableDictionary>& self, NSSize size,
                                              const id& key);
/// @}

}  // namespace NSMutableDictionary_Additions

}  // namespace kestova
