// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>

#include <cstdint>

namespace kestova {

/// A system version in one number, such that later versions are larger: the low 8 bits of each
/// part, major before minor before bugfix.
///
///     if (OSXVersion() >= OSXVersionMake(12, 4, 0)) …
constexpr std::uint32_t OSXVersionMake(std::uint32_t major, std::uint32_t minor,
                                       std::uint32_t bugfix) noexcept {
  return (major & 0xFF) << 16 | (minor & 0xFF) << 8 | (bugfix & 0xFF);
}

/// The version of the running system, as `Gestalt` tells it; a part that it can't tell is 0. Read
/// once in the process's life. Any thread.
KESTOVA_FOUNDATION_EXPORT std::uint32_t OSXVersion();

}  // namespace kestova
