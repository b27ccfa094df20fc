// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSStringEncodings.h>
#include <KestovaPlatform/Ref.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace kestova {

class NSString;

/// \file
/// Text encodings: their numbers and names, and converting strings to bytes and back.
///
///     NSUInteger size = 0;
///     CFStringGetBytes(text, {0, text->length()}, kCFStringEncodingWindowsLatin1, '?', false,
///                      nullptr, 0, &size);
///
/// Nothing is ever replaced, dropped or approximated unless a loss byte is given: a surrogate that
/// stands alone is a character of no encoding, private characters are encoded only where they come
/// back as they were, and bytes that an encoding does not define are refused.
///
/// Threads: any. Cost: text in the strings' 8-bit storage is copied where the encoding extends
/// ASCII, the Unicode forms are converted a vector at a time, the rest at some hundred MB/s.

/// How text is laid out in bytes.
using CFStringEncoding = std::uint32_t;

/// The encodings that are known by number. `CFStringIsEncodingAvailable` tells which can be used.
enum : CFStringEncoding {
  kCFStringEncodingInvalidId = 0xFFFFFFFF,  ///< none

  // Unicode. Without LE or BE in the name: in the machine's byte order, unless a mark tells
  // another.
  kCFStringEncodingUnicode = 0x00000100,
  kCFStringEncodingUTF16 = kCFStringEncodingUnicode,
  kCFStringEncodingUTF16BE = 0x10000100,
  kCFStringEncodingUTF16LE = 0x14000100,
  kCFStringEncodingUTF32 = 0x0C000100,
  kCFStringEncodingUTF32BE = 0x18000100,
  kCFStringEncodingUTF32LE = 0x1C000100,
  kCFStringEncodingUTF8 = 0x08000100,
  kCFStringEncodingUTF7 = 0x04000100,
  kCFStringEncodingUTF7_IMAP = 0x0A10,

  kCFStringEncodingMacRoman = 0x00,
  kCFStringEncodingMacGreek = 0x06,
  kCFStringEncodingMacCyrillic = 0x07,
  kCFStringEncodingMacCentralEurRoman = 0x1D,
  kCFStringEncodingMacTurkish = 0x23,

  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingISOLatin2 = 0x0202,
  kCFStringEncodingISOLatin3 = 0x0203,
  kCFStringEncodingISOLatin4 = 0x0204,
  kCFStringEncodingISOLatinCyrillic = 0x0205,
  kCFStringEncodingISOLatinArabic = 0x0206,
  kCFStringEncodingISOLatinGreek = 0x0207,
  kCFStringEncodingISOLatinHebrew = 0x0208,
  kCFStringEncodingISOLatin5 = 0x0209,
  kCFStringEncodingISOLatin6 = 0x020A,
  kCFStringEncodingISOLatinThai = 0x020B,
  kCFStringEncodingISOLatin7 = 0x020D,
  kCFStringEncodingISOLatin8 = 0x020E,
  kCFStringEncodingISOLatin9 = 0x020F,

  kCFStringEncodingDOSLatinUS = 0x0400,
  kCFStringEncodingDOSGreek = 0x0405,
  kCFStringEncodingDOSBalticRim = 0x0406,
  kCFStringEncodingDOSLatin1 = 0x0410,
  kCFStringEncodingDOSGreek1 = 0x0411,
  kCFStringEncodingDOSLatin2 = 0x0412,
  kCFStringEncodingDOSCyrillic = 0x0413,
  kCFStringEncodingDOSTurkish = 0x0414,
  kCFStringEncodingDOSPortuguese = 0x0415,
  kCFStringEncodingDOSIcelandic = 0x0416,
  kCFStringEncodingDOSHebrew = 0x0417,
  kCFStringEncodingDOSCanadianFrench = 0x0418,
  kCFStringEncodingDOSArabic = 0x0419,
  kCFStringEncodingDOSNordic = 0x041A,
  kCFStringEncodingDOSRussian = 0x041B,
  kCFStringEncodingDOSGreek2 = 0x041C,
  kCFStringEncodingDOSThai = 0x041D,
  kCFStringEncodingDOSJapanese = 0x0420,
  kCFStringEncodingDOSChineseSimplif = 0x0421,
  kCFStringEncodingDOSKorean = 0x0422,
  kCFStringEncodingDOSChineseTrad = 0x0423,

  kCFStringEncodingWindowsLatin1 = 0x0500,
  kCFStringEncodingWindowsLatin2 = 0x0501,
  kCFStringEncodingWindowsCyrillic = 0x0502,
  kCFStringEncodingWindowsGreek = 0x0503,
  kCFStringEncodingWindowsLatin5 = 0x0504,
  kCFStringEncodingWindowsHebrew = 0x0505,
  kCFStringEncodingWindowsArabic = 0x0506,
  kCFStringEncodingWindowsBalticRim = 0x0507,
  kCFStringEncodingWindowsVietnamese = 0x0508,

  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingGBK_95 = 0x0631,
  kCFStringEncodingGB_18030_2000 = 0x0632,
  kCFStringEncodingISO_2022_JP = 0x0820,
  kCFStringEncodingISO_2022_JP_2 = 0x0821,
  kCFStringEncodingISO_2022_JP_1 = 0x0822,
  kCFStringEncodingISO_2022_CN = 0x0830,
  kCFStringEncodingISO_2022_CN_EXT = 0x0831,
  kCFStringEncodingISO_2022_KR = 0x0840,
  kCFStringEncodingEUC_JP = 0x0920,
  kCFStringEncodingEUC_CN = 0x0930,
  kCFStringEncodingEUC_TW = 0x0931,
  kCFStringEncodingEUC_KR = 0x0940,
  kCFStringEncodingShiftJIS = 0x0A01,
  kCFStringEncodingKOI8_R = 0x0A02,
  kCFStringEncodingBig5 = 0x0A03,
  kCFStringEncodingHZ_GB_2312 = 0x0A05,
  kCFStringEncodingBig5_HKSCS_1999 = 0x0A06,
  kCFStringEncodingKOI8_U = 0x0A08,
  kCFStringEncodingEBCDIC_CP037 = 0x0C02,
};

/// \name Numbers and names
/// @{

/// The number that the string classes have for an encoding, of which many have none of their own;
/// 0 for `kCFStringEncodingInvalidId`. The number need not be one of an encoding that there is.
KESTOVA_PLATFORM_EXPORT NSStringEncoding
CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding);

/// The reverse; `kCFStringEncodingInvalidId` for what is no number of the string classes.
KESTOVA_PLATFORM_EXPORT CFStringEncoding
CFStringConvertNSStringEncodingToEncoding(NSStringEncoding encoding);

/// The name by which the encoding is known on the Internet, in lower case: "utf-8", "macintosh".
/// Null for what is not available.
KESTOVA_PLATFORM_EXPORT Ref<NSString> CFStringConvertEncodingToIANACharSetName(
    CFStringEncoding encoding);

/// The encoding of such a name or of one of its aliases, in any case: "UTF8", "latin1", "sjis".
/// `kCFStringEncodingInvalidId` for unknown names and for null.
KESTOVA_PLATFORM_EXPORT CFStringEncoding
CFStringConvertIANACharSetNameToEncoding(const Ref<NSString>& name);

/// The name for people, in English: "Western (Mac Roman)". Null for what is not available.
KESTOVA_PLATFORM_EXPORT Ref<NSString> CFStringGetNameOfEncoding(CFStringEncoding encoding);

KESTOVA_PLATFORM_EXPORT bool CFStringIsEncodingAvailable(CFStringEncoding encoding);

/// All that are available, each once, ordered by number. It stays valid.
KESTOVA_PLATFORM_EXPORT std::span<const CFStringEncoding> CFStringGetListOfAvailableEncodings();

/// The byte-order mark of an encoding, U+FEFF in its bytes: of two, three or four bytes for UTF-16,
/// UTF-8 and UTF-32, empty for every other encoding.
KESTOVA_PLATFORM_EXPORT std::string_view byteOrderMarkOfEncoding(CFStringEncoding encoding);

/// @}
/// \name Converting
/// @{

/// Writes a range of a string in an encoding and answers how many units of it were converted.
///
/// The conversion ends at the first character that the encoding cannot hold, unless `lossByte` is
/// not 0: then that character of ASCII stands in its place. It also ends before the first character
/// for which the buffer of `maxBufLen` bytes has no room any more, together with what the encoding
/// has to put at the end of a text. `buffer` may be null: then the bytes are only counted, and
/// `maxBufLen` does not matter.
///
/// `isExternalRepresentation` puts a byte-order mark before UTF-16 and UTF-32 in the machine's
/// order, even of an empty range; the other encodings need none. `usedBufLen`, which may be null,
/// gets the number of bytes, with the mark. A null string throws NSInvalidArgumentException, a
/// range past the end NSRangeException; an encoding that is not available converts nothing.
KESTOVA_PLATFORM_EXPORT NSUInteger CFStringGetBytes(const Ref<NSString>& string, NSRange range,
                                                    CFStringEncoding encoding,
                                                    std::uint8_t lossByte,
                                                    bool isExternalRepresentation,
                                                    std::uint8_t* buffer, NSUInteger maxBufLen,
                                                    NSUInteger* usedBufLen);

/// The text of bytes; null when they are malformed or the encoding is not available. `bytes` may be
/// null when `numBytes` is 0.
///
/// With `isExternalRepresentation` a byte-order mark at the front of a Unicode encoding is no part
/// of the text, and tells the order of UTF-16 and UTF-32 where the encoding doesn't. Without it
/// these are in the machine's order, and a mark is the character U+FEFF.
KESTOVA_PLATFORM_EXPORT Ref<NSString> CFStringCreateWithBytes(const std::uint8_t* bytes,
                                                              NSUInteger numBytes,
                                                              CFStringEncoding encoding,
                                                              bool isExternalRepresentation);

/// @}

}  // namespace kestova
