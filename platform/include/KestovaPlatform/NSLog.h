// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/FormatArgument.h>
#include <KestovaPlatform/NSString.h>

#include <string_view>

namespace kestova {

/// Where the log goes: the diagnostic stream, unless a test or an application with a log of its own
/// puts another sink in place.
///
/// Threads: `write` is called from any thread, several at once.
class KESTOVA_PLATFORM_EXPORT LogSink {
 public:
  LogSink() = default;
  virtual ~LogSink() = default;
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;

  /// Takes one entry in UTF-8, with its line break. It must neither log nor throw.
  virtual void write(std::string_view entry) = 0;

  /// The sink in use; the diagnostic stream's unless another one was set.
  static LogSink& current();

  /// Puts another sink in use, unowned: it must stay until it is no longer in use. Null puts the
  /// diagnostic stream's back.
  static void setCurrent(LogSink* sink);
};

/// Writes one entry to the log: "2001-01-01 12:00:00.000 program[4711] " in local time, the
/// formatted text, a line break. On the diagnostic stream it is written at once and in one piece,
/// so entries of several threads and processes do not mix. Lone surrogates show as U+FFFD.
///
///     NSLog("Error %ld", status);
///
/// A null format logs "(null)". Failures to write are ignored. May be called from any thread.
KESTOVA_PLATFORM_EXPORT void NSLogv(const Ref<NSString>& format, const FormatArguments& arguments);

template <class... Arguments>
void NSLog(const Ref<NSString>& format, const Arguments&... arguments) {
  NSLogv(format, {FormatArgument(arguments)...});
}

}  // namespace kestova
