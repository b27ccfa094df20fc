// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \file
/// Bytes as hexadecimal text, their digest, and the search for bytes among bytes.
///
///     Ref<NSData> key = NSData_HexAdditions::dataFromHexString("de:ad:be:ef");
///     std::cout << hexString(key) << ' ' << MD5(key) << '\n';
///     NSRange found = rangeOfData_range(contents, key, {0, contents->length()});
///
/// Threads: any. Nothing here fails with an error: what there is no answer to is null or
/// NSNotFound.

inline namespace NSData_HexAdditions {

/// Two lower-case digits for each byte, nothing between them. Empty for no bytes.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> hexString(const Ref<NSData>& self);

/// The bytes of a text's hex digits, which are 0-9, a-f and A-F. Every other character is passed
/// over, wherever it stands: the "0" of a "0x" counts, then. Null when there is no digit, when
/// their number is odd, and for null.
///
/// NSString_HexAdditions has one of the same name that reads otherwise: name the category.
KESTOVA_FOUNDATION_EXPORT Ref<NSData> dataFromHexString(const Ref<NSString>& text);

}  // namespace NSData_HexAdditions

inline namespace NSData_MD5Additions {

/// The MD5 digest of the bytes as 32 lower-case hex digits. It tells contents apart, and is no
/// protection.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> MD5(const Ref<NSData>& self);

}  // namespace NSData_MD5Additions

/// Where a pattern of bytes begins for the first time in a range of others, lying wholly in it, and
/// its length; {NSNotFound, 0} when it is nowhere, when it is empty, and when the range leaves all
/// memory. `range` lies in the bytes at `haystack`. The time grows with the range, whatever the
/// bytes are.
KESTOVA_FOUNDATION_EXPORT NSRange OVRangeOfBytesInBytes(const void* haystack, const void* pattern,
                                                        NSUInteger patternLength, NSRange range);

inline namespace NSData_SearchAdditions {

/// The same in the bytes of data. A range past its end throws NSRangeException, unless the pattern
/// is empty or longer than the range: it is nowhere then. Null for the pattern counts as empty.
KESTOVA_FOUNDATION_EXPORT NSRange rangeOfBytes_length_range(const Ref<NSData>& self,
                                                            const void* bytes, NSUInteger length,
                                                            NSRange range);

/// The same with the bytes of `data` as the pattern; null counts as empty.
KESTOVA_FOUNDATION_EXPORT NSRange rangeOfData_range(const Ref<NSData>& self,
                                                    const Ref<NSData>& data, NSRange range);

}  // namespace NSData_SearchAdditions

}  // namespace kestova
