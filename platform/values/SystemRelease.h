// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kestova {

/// Major, minor and bugfix number of a version.
using VersionParts = std::array<std::int32_t, 3>;

/// The version that the text of an os-release file gives as VERSION_ID; nothing when it gives none.
/// Of several the last one counts, as it does for a shell. What is no number ends the version;
/// numbers end at the largest one.
std::optional<VersionParts> systemVersionIn(std::string_view osRelease);

}  // namespace kestova
