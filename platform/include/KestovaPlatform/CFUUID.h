// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSString.h>

#include <array>
#include <cstdint>

namespace kestova {

/// A universally unique identifier, its bytes in the order in which they are written.
using CFUUIDBytes = std::array<std::uint8_t, 16>;

/// A new random identifier (version 4), from the kernel's random numbers. Any thread.
KESTOVA_PLATFORM_EXPORT CFUUIDBytes CFUUIDCreate();

/// The identifier's text: 36 characters, upper-case hexadecimal digits in groups of 8, 4, 4, 4 and
/// 12 with hyphens between. Any thread.
KESTOVA_PLATFORM_EXPORT Ref<NSString> CFUUIDCreateString(const CFUUIDBytes& uuid);

}  // namespace kestova
