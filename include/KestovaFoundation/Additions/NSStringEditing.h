// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \file
/// Editing text: leaving characters out, line endings, escapes, prefixes and suffixes, runs,
/// replacing by a handler, splitting.
///
///     // "ab", "a b" and "> one\n> two\n":
///     stringByDeletingCharactersInSet("a1b2", NSCharacterSet::decimalDigitCharacterSet());
///     stringBySqueezingOccurrencesOfString_options("a   b", " ", 0);
///     stringByPrefixingLinesWith("one\ntwo", "> ");
///
/// Lengths, indexes and ranges count UTF-16 units, and `options` are a sum of
/// NSStringCompareOptions, with which the text is searched as `rangeOfString_options` does.
///
/// Threads: as the strings; nothing is kept. Cost: one pass over the text, unless told otherwise.
/// Null for a text that is looked for or put in, or for a set, throws NSInvalidArgumentException.

inline namespace NSMutableString_CharacterStuff {

/// Takes all characters of a set out.
KESTOVA_FOUNDATION_EXPORT void deleteCharactersInSet(const Ref<NSMutableString>& self,
                                                     const Ref<NSCharacterSet>& set);

}  // namespace NSMutableString_CharacterStuff

inline namespace NSString_CharacterStuff {

/// \name The text without the characters of a set: three names of one operation
/// @{
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByDeletingCharactersInSet(
    const Ref<NSString>& self, const Ref<NSCharacterSet>& set);
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_stringByDeletingCharactersInSet(
    const Ref<NSString>& self, const Ref<NSCharacterSet>& set);
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_stringByRemovingCharactersInSet(
    const Ref<NSString>& self, const Ref<NSCharacterSet>& set);
/// @}

/// The text without the units of another: each of these in turn, by itself, is searched for and
/// taken out, so that a base with a mark stays ("é" spelled "e" and accent loses nothing to "e").
/// Null is the empty text. One pass for each unit; one in all where both texts are ASCII.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableString> stringByRemovingCharactersInString(
    const Ref<NSString>& self, const Ref<NSString>& characters);

/// The text with every CR LF, LF and CR turned into one line ending; a kind that is none stands for
/// LF.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByNormalizingLineEndings(const Ref<NSString>& self,
                                                                       OVLineEnding lineEnding);

/// The pieces between the units of another text, without the empty ones; an empty text has none.
///
/// A separator at the beginning of what is left to be split deliberately hides the unit behind it:
/// that one is never taken for a separator, unless it is the last unit. So ",,a" split at commas
/// gives ",a". Null is the empty text.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> componentsSeparatedByCharactersInString(
    const Ref<NSString>& self, const Ref<NSString>& separators);

}  // namespace NSString_CharacterStuff

inline namespace NSString_EscapingAdditions {

/// The text with its escapes resolved: a backslash and n, t, r or another unit become LF, TAB, CR
/// or that unit, two backslashes become one.
///
/// Only two backslashes end an escape. After any other one every following unit deliberately counts
/// as escaped and takes the place of the one before it, up to the next backslash or the end of the
/// text: "\n", "a", "b" behind each other become "b".
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableString> stringByUnescapingString(const Ref<NSString>& self);

}  // namespace NSString_EscapingAdditions

inline namespace NSString_Modifying {

/// Each line, as LFs separate them, with a prefix before it and an LF behind it. A text that ends
/// with an LF gets a last line of the prefix alone, and so does the empty one.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByPrefixingLinesWith(const Ref<NSString>& self,
                                                                   const Ref<NSString>& prefix);

/// \name Without what the text begins or ends with, as `hasPrefix_options` and `hasSuffix_options`
/// tell: as many units are taken away as the other text has. Otherwise the receiver.
/// @{
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_stringByRemovingPrefix_options(
    const Ref<NSString>& self, const Ref<NSString>& prefix, NSUInteger options);
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_stringByRemovingSuffix_options(
    const Ref<NSString>& self, const Ref<NSString>& suffix, NSUInteger options);
/// @}

}  // namespace NSString_Modifying

inline namespace NSString_Replacement {

/// What replaces a match; it is given a text and the range where the match stands in the receiver.
using OVMatchReplacement =
    Block<Ref<NSString>(const Ref<NSString>& matchedText, NSRange matchRange)>;

/// The text with each run of `repeated`, however long, made one; the receiver when there is none.
/// As long as the doubled text is found, its first match becomes the single one. A regular
/// expression whose match does not become shorter ends that.
///
/// The time grows with the text, however many diacritical marks its characters have; with the units
/// of a single character times the replacements beside it where these are thousands of others, such
/// as joined emoji.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringBySqueezingOccurrencesOfString_options(
    const Ref<NSString>& self, const Ref<NSString>& repeated, NSUInteger options);

/// The text with every match in a range replaced by what a handler answers.
///
/// The search goes on behind each match. The handler is called for one after the other, on this
/// thread. Its first argument is deliberately not always the matched text: it is what then stands
/// in the result at the match's range in the receiver, which is the same until replacements have
/// changed the length. Where the result has become too short for that, NSRangeException is thrown,
/// and so it is for a range past the end; a null answer throws NSInvalidArgumentException.
KESTOVA_FOUNDATION_EXPORT Ref<NSString>
stringByReplacingOccurrencesOfString_options_range_withHandler(const Ref<NSString>& self,
                                                               const Ref<NSString>& target,
                                                               NSUInteger options, NSRange range,
                                                               const OVMatchReplacement& handler);

}  // namespace NSString_Replacement

inline namespace NSString_CompTrimming {

/// The pieces between the separators, each without the characters of a set at its ends.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> componentsSeparatedByString_trimmingCharactersInSet(
    const Ref<NSString>& self, const Ref<NSString>& separator, const Ref<NSCharacterSet>& set);

}  // namespace NSString_CompTrimming

}  // namespace kestova
