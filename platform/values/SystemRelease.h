// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// Major, minor and bugfix number of a version.
using VersionParts = std::array<std::int32_t, 3>;

/// The beginning of the administrator's os-release file or, where there is none, of the vendor's;
/// more than such files hold. Empty when neither can be read.
std::string systemRelease();

/// The name for people that the text of an os-release file gives as PRETTY_NAME, its quotes and the
/// backslashes within them resolved; nothing when it gives none or an empty one. Of several the
/// last one counts, as it does for a shell.
std::optional<std::string> systemNameIn(std::string_view osRelease);

/// The version that the text of an os-release file gives as VERSION_ID; nothing when it gives none.
/// Of several the last one counts, as it does for a shell. What is no number ends the version;
/// numbers end at the largest one.
std::optional<VersionParts> systemVersionIn(std::string_view osRelease);

}  // namespace kestova
