// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSRange.h>

namespace kestova {

/// \file
/// Inserting and replacing bytes in mutable data.
///
///     insertData_atIndex(contents, header, 0);
///     replaceOccurrencesOfData_withData_range(contents, oldName, longerName,
///                                             {0, contents->length()});
///
/// Threads: one at a time for each data. Plain bytes that are handed over must not lie in the data
/// that changes; data may be that data itself, and null data counts as no bytes. Addresses in the
/// data are invalid afterwards.

inline namespace NSMutableData_ReplaceAdditions {

/// Puts bytes before the one at `index`, or at the end; throws NSRangeException behind it.
KESTOVA_FOUNDATION_EXPORT void insertBytes_length_atIndex(const Ref<NSMutableData>& self,
                                                          const void* bytes, NSUInteger length,
                                                          NSUInteger index);
KESTOVA_FOUNDATION_EXPORT void insertData_atIndex(const Ref<NSMutableData>& self,
                                                  const Ref<NSData>& data, NSUInteger index);

/// Replaces a pattern in a range and answers how often. There are two ways, and only the first one
/// is what it seems to be:
///
/// - A replacement that is longer than the pattern takes the place of every match in the range,
///   one after the other; what was put in is not searched.
/// - One that is not longer is written into the same memory. That replaces every match where the
///   range is the whole data and holds an odd number of them, or its last one ends the data. For
///   others the outcome follows from these steps, which are kept:
///   - An empty range empties the data, and answers 0.
///   - What is kept is written from index 0 on, so that the bytes before the range are lost.
///   - Matches are taken two at a time. After a single last one the data ends where the writing
///     ended: bytes behind the range are lost. It also ends there where a pair ends at the index
///     `range.length`.
///   - The search for the first one of the next pair ends at the index `range.length`, not where
///     the range ends. When it finds nothing, the data keeps its length, with what is written in
///     front, and old bytes behind it.
///   - Without replacement bytes (null) nothing is written for a match.
///
/// To replace every match with something shorter, see BytePattern.
///
/// A range past the end that is not empty throws NSRangeException. A longer replacement that is
/// null throws NSInvalidArgumentException at the first match. The time grows with the data and the
/// matches.
KESTOVA_FOUNDATION_EXPORT NSUInteger replaceOccurrencesOfBytes_length_withBytes_length_range(
    const Ref<NSMutableData>& self, const void* pattern, NSUInteger patternLength,
    const void* replacement, NSUInteger replacementLength, NSRange range);

/// The same with the bytes of two data.
KESTOVA_FOUNDATION_EXPORT NSUInteger
replaceOccurrencesOfData_withData_range(const Ref<NSMutableData>& self, const Ref<NSData>& pattern,
                                        const Ref<NSData>& replacement, NSRange range);

/// Puts the same bytes in place of each of so many ranges, from the last one in the array to the
/// first one: ranges in ascending order stay where they are meant. A range past the end of what the
/// data is by then throws NSRangeException, with those after it replaced already. `ranges` may be
/// null when there are none. For ascending ranges that don't overlap the time grows with the data
/// and their number, for others with their product.
KESTOVA_FOUNDATION_EXPORT void replaceBytesInRanges_numberOfRanges_withBytes_length(
    const Ref<NSMutableData>& self, const NSRange* ranges, NSUInteger count, const void* bytes,
    NSUInteger length);

}  // namespace NSMutableData_ReplaceAdditions

}  // namespace kestova
