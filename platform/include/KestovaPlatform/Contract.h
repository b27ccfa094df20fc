// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <source_location>

namespace kestova {

/// Ends the process over a broken contract: one line on the diagnostic stream with the operation,
/// the source unit (the file's name without folder and ending), the line and `message`, then abort.
[[noreturn]] KESTOVA_PLATFORM_EXPORT void failContract(
    const char* message, std::source_location where = std::source_location::current());

/// States what the caller must have kept. `message` is the condition as the caller would read it.
/// Checked in every build: what it guards is never on a hot path.
inline void require(bool condition, const char* message,
                    std::source_location where = std::source_location::current()) {
  if (!condition) [[unlikely]] {
    failContract(message, where);
  }
}

}  // namespace kestova
