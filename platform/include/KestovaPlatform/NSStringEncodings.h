// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// How text is laid out in bytes, as the string classes number it. Every encoding that has no
/// number of its own here has that of CFStringEncodings.h with the highest of 32 bits set; see
/// `CFStringConvertEncodingToNSStringEncoding`.
using NSStringEncoding = NSUInteger;

enum : NSStringEncoding {
  NSASCIIStringEncoding = 1,
  NSJapaneseEUCStringEncoding = 3,
  NSUTF8StringEncoding = 4,
  NSISOLatin1StringEncoding = 5,
  NSShiftJISStringEncoding = 8,
  NSISOLatin2StringEncoding = 9,
  NSUnicodeStringEncoding = 10,        ///< UTF-16, see NSUTF16StringEncoding
  NSWindowsCP1251StringEncoding = 11,  ///< Cyrillic
  NSWindowsCP1252StringEncoding = 12,  ///< Western
  NSWindowsCP1253StringEncoding = 13,  ///< Greek
  NSWindowsCP1254StringEncoding = 14,  ///< Turkish
  NSWindowsCP1250StringEncoding = 15,  ///< Central European
  NSISO2022JPStringEncoding = 21,
  NSMacOSRomanStringEncoding = 30,

  /// In the order that a byte-order mark tells, in the machine's own where there is none.
  NSUTF16StringEncoding = NSUnicodeStringEncoding,
  NSUTF16BigEndianStringEncoding = 0x90000100,
  NSUTF16LittleEndianStringEncoding = 0x94000100,
  NSUTF32StringEncoding = 0x8C000100,  ///< as NSUTF16StringEncoding
  NSUTF32BigEndianStringEncoding = 0x98000100,
  NSUTF32LittleEndianStringEncoding = 0x9C000100,
};

}  // namespace kestova
