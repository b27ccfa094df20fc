// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>

namespace kestova {

/// Reading text files of unknown encoding and writing them back.
///
///     const CFStringEncoding encoding = guessStringEncodingForData(data);
///     const Ref<NSString> text =
///         stringWithData_encoding(data, CFStringConvertEncodingToNSStringEncoding(encoding));
///     const Ref<NSData> copy = dataUsingCFStringEncoding_addBOM(text, encoding, true);
///
/// Nothing here reports an error: what cannot be done gives less, or nothing. Null data is no
/// bytes.
///
/// Threads: any.
inline namespace NSString_EncodingStuff {

/// \name Guessing
/// @{

/// The encoding that a byte-order mark at the front tells, from the first four bytes:
/// `kCFStringEncodingUTF8`, `…UTF16BE`, `…UTF16LE` or `…UTF32BE`. The mark of UTF-32 in little
/// endian begins with that of UTF-16 and is deliberately taken for it. `kCFStringEncodingInvalidId`
/// without a mark.
KESTOVA_FOUNDATION_EXPORT CFStringEncoding
quicklyGuessStringEncodingForData(const Ref<NSData>& data);

/// The quick guess where there is a mark. Otherwise UTF-16, if there are three bytes or more, one
/// of the first two is zero, and all of them are UTF-16 in the order that this tells; otherwise
/// UTF-8, if they are UTF-8, as no bytes are; otherwise `kCFStringEncodingMacRoman`, in which all
/// bytes are text. Malformed UTF-8 and UTF-16 are never taken for it: an odd number of bytes,
/// unpaired surrogates and longer forms than needed are refused.
///
/// Cost: at most two passes at about the speed of reading memory; nothing is decoded or allocated.
/// OVStringEncodingGuess does the same for bytes that come in pieces.
KESTOVA_FOUNDATION_EXPORT CFStringEncoding guessStringEncodingForData(const Ref<NSData>& data);

/// @}
/// \name Decoding and encoding
/// @{

/// What `NSString::initWithData_encoding` answers: null when the bytes don't decode, or there is no
/// data.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringWithData_encoding(const Ref<NSData>& data,
                                                                NSStringEncoding encoding);

/// How many bytes the byte-order mark of an encoding has: 2, 3 or 4 for UTF-16, UTF-8 and UTF-32, 0
/// for every other encoding. The receiver does not matter.
KESTOVA_FOUNDATION_EXPORT NSUInteger lengthOfBOMForEncoding(const Ref<NSString>& self,
                                                            CFStringEncoding encoding);

/// Writes that mark to the front of a buffer of four bytes or more. Answers false and writes
/// nothing where there is none. The receiver does not matter.
KESTOVA_FOUNDATION_EXPORT bool BOMForEncoding_buffer(const Ref<NSString>& self,
                                                     CFStringEncoding encoding,
                                                     std::uint8_t* buffer);

/// The text's bytes in an encoding, behind its byte-order mark when `addsBOM` is true. The text
/// ends at the first character that the encoding cannot hold, in silence and deliberately; when
/// that is the first one, or the text is empty, the data is empty and has no mark either.
KESTOVA_FOUNDATION_EXPORT Ref<NSData> dataUsingCFStringEncoding_addBOM(const Ref<NSString>& self,
                                                                       CFStringEncoding encoding,
                                                                       bool addsBOM);

/// The beginning of the text that an encoding can hold, encoded and decoded again; null when that
/// is no character at all. A byte-order mark at its front is lost on the way. `fromEncoding` does
/// not matter.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> convertStringFromEncoding_toEncoding(
    const Ref<NSString>& self, CFStringEncoding fromEncoding, CFStringEncoding toEncoding);

/// Repairs text that was decoded as `fromEncoding` and should have been as `encoding`: encodes it
/// again, as far as that goes, and decodes the bytes anew, without a byte-order mark. Null when no
/// character can be encoded or the bytes don't decode.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> reinterpretStringWithEncoding_fromEncoding(
    const Ref<NSString>& self, CFStringEncoding encoding, CFStringEncoding fromEncoding);

/// @}

}  // namespace NSString_EncodingStuff

}  // namespace kestova
