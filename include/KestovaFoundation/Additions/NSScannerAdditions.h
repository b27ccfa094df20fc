// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSScanner.h>

namespace kestova {

/// Looking ahead: each peek answers and stores what the scan operation of the same name would, and
/// leaves the location where it was, also before characters to be skipped.
///
///     int count = 0;
///     if (peekInt(scanner, &count) && count > limit) return tooMany(scanner->scanLocation());
///
/// Threads: one at a time, as the scanner. The out argument may be null, but for the text of a
/// given length. Failing leaves it untouched; null for a text or a set throws
/// NSInvalidArgumentException.
inline namespace NSScanner_KestovaPeekAdditions {

/// \name Numbers
/// @{
KESTOVA_FOUNDATION_EXPORT bool peekInt(const Ref<NSScanner>& self, int* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekInteger(const Ref<NSScanner>& self, NSInteger* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekLongLong(const Ref<NSScanner>& self, long long* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekHexInt(const Ref<NSScanner>& self, unsigned* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekHexLongLong(const Ref<NSScanner>& self,
                                               unsigned long long* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekFloat(const Ref<NSScanner>& self, float* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekDouble(const Ref<NSScanner>& self, double* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekHexFloat(const Ref<NSScanner>& self, float* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekHexDouble(const Ref<NSScanner>& self, double* value = nullptr);
/// @}

/// \name Text
/// @{
KESTOVA_FOUNDATION_EXPORT bool peekString_intoString(const Ref<NSScanner>& self,
                                                     const Ref<NSString>& string,
                                                     Ref<NSString>* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekCharactersFromSet_intoString(const Ref<NSScanner>& self,
                                                                const Ref<NSCharacterSet>& set,
                                                                Ref<NSString>* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekUpToString_intoString(const Ref<NSScanner>& self,
                                                         const Ref<NSString>& string,
                                                         Ref<NSString>* value = nullptr);
KESTOVA_FOUNDATION_EXPORT bool peekUpToCharactersFromSet_intoString(const Ref<NSScanner>& self,
                                                                    const Ref<NSCharacterSet>& set,
                                                                    Ref<NSString>* value = nullptr);
/// @}

/// \name Text of a given length
/// @{

/// Stores the `length` units from the location on and answers true, but deliberately only where
/// they end exactly with the text: when there are more units left it answers false and stores
/// nothing, when there are fewer it throws NSRangeException. Nothing is skipped, and the location
/// stays where it is. `value` must not be null.
KESTOVA_FOUNDATION_EXPORT bool scanStringOfLength_intoString(const Ref<NSScanner>& self,
                                                             NSUInteger length,
                                                             Ref<NSString>* value);

/// The same.
KESTOVA_FOUNDATION_EXPORT bool peekStringOfLength_intoString(const Ref<NSScanner>& self,
                                                             NSUInteger length,
                                                             Ref<NSString>* value);
/// @}

}  // namespace NSScanner_KestovaPeekAdditions

}  // namespace kestova
