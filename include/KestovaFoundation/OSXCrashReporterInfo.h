// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSString.h>

/// The text for crash reports, ended by a zero byte; null until one was set. It is there to be read
/// from outside: by a debugger in the process or in its core dump.
///
///     gdb -batch -ex 'print (char *)__crashreporter_info__' PROGRAM CORE
extern "C" KESTOVA_FOUNDATION_EXPORT const char* __crashreporter_info__;

namespace kestova {

/// \name What the program was at, for those who look at its crash
///
///     OSXCrashReporterInfoInitialize();          // once, at the start
///     …
///     OSXCrashReporterInfoSet(NSString::stringWithString("importing %@"), path);
///     import(path);
///     OSXCrashReporterInfoClear();
///
/// There is one text in the process, held in a buffer of its own that grows and never goes. A crash
/// at any moment finds either no text, the old or the new one, or the beginning of the new one
/// before the end of the old.
///
/// Threads: any; one call after the other, on the serial queue "OVCrashReporterInfo". Using one of
/// the others before `OSXCrashReporterInfoInitialize` is a broken contract.
/// @{

/// Makes the queue, once in the process's life; again it does nothing.
KESTOVA_FOUNDATION_EXPORT void OSXCrashReporterInfoInitialize();

/// Publishes a copy of `length` bytes. Null, or a length of 0, empties the text. When there is no
/// memory for it, there is no text at all any more.
KESTOVA_FOUNDATION_EXPORT void OSXCrashReporterInfoSet(const char* text, NSUInteger length);

/// The same for a C string; null empties the text.
KESTOVA_FOUNDATION_EXPORT void OSXCrashReporterInfoSet(const char* text);

/// The same for the UTF-8 form of a string, with U+FFFD for unpaired surrogates; null empties the
/// text.
KESTOVA_FOUNDATION_EXPORT void OSXCrashReporterInfoSet(const Ref<NSString>& text);

/// The same for a text that is formatted as `NSString::stringWithFormat` does it. The format is a
/// string object: bytes with a number behind them are a text with its length.
template <StringClass Format, class First, class... Rest>
void OSXCrashReporterInfoSet(const Ref<Format>& format, const First& first, const Rest&... rest) {
  OSXCrashReporterInfoSet(NSString::stringWithFormat(format, first, rest...));
}

/// Empties the text.
KESTOVA_FOUNDATION_EXPORT void OSXCrashReporterInfoClear();

/// @}

}  // namespace kestova
