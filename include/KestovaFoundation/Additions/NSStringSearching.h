// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \file
/// Asking a text for what it holds: counting and listing matches, beginnings and ends, the first
/// word, groups of a pattern.
///
///     numberOfOccurrencesOfString_options("aaaa", "aa", 0);                       // 3
///     ov_matchedStringForRegex_groupAtIndex_options("key=value", "=(.*)", 1, 0);  // "value"
///
/// Ranges count UTF-16 units, and `options` are a sum of NSStringCompareOptions unless told
/// otherwise. Null for a text that is looked for or compared with throws
/// NSInvalidArgumentException.
///
/// Threads: as the strings; nothing is kept. Cost: one pass over the text.

inline namespace NSString_Searching {

/// How often a text occurs, overlapping occurrences included: the search goes on one unit behind
/// where each one begins. So with NSBackwardsSearch only what stands behind the last one can be
/// found after it. 0 for an empty receiver.
KESTOVA_FOUNDATION_EXPORT NSUInteger numberOfOccurrencesOfString_options(
    const Ref<NSString>& self, const Ref<NSString>& wanted, NSUInteger options);

/// The ranges (NSValue) where a text occurs, without overlapping: from the first one on or, with
/// NSBackwardsSearch, from the last one.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> occurrencesOfString_options(const Ref<NSString>& self,
                                                                   const Ref<NSString>& wanted,
                                                                   NSUInteger options);

}  // namespace NSString_Searching

inline namespace NSString_SearchComparision {

/// The text before the last occurrence of another one, which deliberately may stand anywhere:
/// "abcabc" without "b" is "abca". The receiver when there is none.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByDeletingSuffix(const Ref<NSString>& self,
                                                               const Ref<NSString>& suffix);

/// Whether the first or the last units, as many as the other text has, are the same to a comparison
/// with the options.
KESTOVA_FOUNDATION_EXPORT bool hasPrefix_options(const Ref<NSString>& self,
                                                 const Ref<NSString>& prefix, NSUInteger options);
KESTOVA_FOUNDATION_EXPORT bool hasSuffix_options(const Ref<NSString>& self,
                                                 const Ref<NSString>& suffix, NSUInteger options);

/// Whether a text is found.
KESTOVA_FOUNDATION_EXPORT bool containsString_options(const Ref<NSString>& self,
                                                      const Ref<NSString>& wanted,
                                                      NSUInteger options);

/// The first run of characters that are no white space and no line ends; null when there is none.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> firstWord(const Ref<NSString>& self);

}  // namespace NSString_SearchComparision

inline namespace NSString_Regex {

/// What a group of the first match holds, or all of it for index 0; null when nothing matches, when
/// the group took no part in it, and when it is empty. `options` are NSRegularExpressionOptions.
/// What is no pattern throws NSInvalidArgumentException with the reason "Invalid regex pattern", an
/// index past the last group NSRangeException.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_matchedStringForRegex_groupAtIndex_options(
    const Ref<NSString>& self, const Ref<NSString>& pattern, NSUInteger index, NSUInteger options);

}  // namespace NSString_Regex

inline namespace NSString_Comparision {

/// Whether both texts are the same without regard to case.
KESTOVA_FOUNDATION_EXPORT bool isCaseInsensitiveEqual(const Ref<NSString>& self,
                                                      const Ref<NSString>& other);

}  // namespace NSString_Comparision

}  // namespace kestova
