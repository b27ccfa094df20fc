// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/MacErrors.h>

#include <cstdint>

namespace kestova {

/// Four ASCII characters in one number, the first one in the highest byte.
using OSType = std::uint32_t;

/// \name What can be asked of the system: the parts of its version
/// @{
inline constexpr OSType gestaltSystemVersionMajor = 0x73797331;   ///< 'sys1'
inline constexpr OSType gestaltSystemVersionMinor = 0x73797332;   ///< 'sys2'
inline constexpr OSType gestaltSystemVersionBugFix = 0x73797333;  ///< 'sys3'
/// @}

/// The system does not tell what `Gestalt` was asked for.
inline constexpr OSStatus gestaltUnknownErr = -5550;

/// Nothing can be asked of `Gestalt` under that selector.
inline constexpr OSStatus gestaltUndefSelectorErr = -5551;

/// Tells something about the running system: `response`, which is required, gets the answer; after
/// an error it is as it was. The version is VERSION_ID of the system's os-release file, whose
/// missing parts are 0: "12" is 12, 0, 0. Answers 0 or one of the statuses above. Reads the file at
/// each call. Any thread.
KESTOVA_PLATFORM_EXPORT OSStatus Gestalt(OSType selector, std::int32_t* response);

}  // namespace kestova
