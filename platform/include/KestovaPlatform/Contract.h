// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

namespace kestova {

/// A place in the source, by default the one that the default argument is used at. It stands in for
/// std::source_location, which one of the supported compilers lacks.
struct SourcePlace {
  const char* file;
  const char* function;
  unsigned line;

  static constexpr SourcePlace current(const char* file = __builtin_FILE(),
                                       const char* function = __builtin_FUNCTION(),
                                       unsigned line = __builtin_LINE()) noexcept {
    return {file, function, line};
  }
};

/// Ends the process over a broken contract: one line on the diagnostic stream with the operation,
/// the source unit (the file's name without folder and ending), the line and `message`, then abort.
[[noreturn]] KESTOVA_PLATFORM_EXPORT void failContract(const char* message,
                                                       SourcePlace where = SourcePlace::current());

/// States what the caller must have kept. `message` is the condition as the caller would read it.
/// Checked in every build: what it guards is never on a hot path.
inline void require(bool condition, const char* message,
                    SourcePlace where = SourcePlace::current()) {
  if (!condition) [[unlikely]] {
    failContract(message, where);
  }
}

}  // namespace kestova
