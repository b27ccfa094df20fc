// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/CFStringEncodings.h>

#include <bit>

namespace kestova {

/// How the bytes of an encoding are read and written: by own code, or by ICU's tables.
enum class EncodingForm { kUTF8, kUTF16, kUTF32, kConverter };

/// What is known of an encoding.
struct StringEncoding {
  CFStringEncoding number;
  const char* charsetName;    // IANA's, in lower case
  const char* converterName;  // ICU's
  const char* title;          // for people
};

/// Null for what is not known.
const StringEncoding* findStringEncoding(CFStringEncoding number);

EncodingForm formOfEncoding(CFStringEncoding number);

/// The byte order of UTF-16 and UTF-32; the machine's where the encoding states none.
std::endian byteOrderOfEncoding(CFStringEncoding number);

/// Whether it is UTF-16 or UTF-32 and leaves the byte order to a mark.
bool leavesByteOrderOpen(CFStringEncoding number);

/// Whether a byte below 0x80 is that ASCII character wherever it stands in a text.
bool extendsASCII(CFStringEncoding number);

}  // namespace kestova
