// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kestova {

/// The identifier for a locale's name as the C library knows it: "de_DE.UTF-8" is "de_DE",
/// "sr_RS@latin" is "sr_Latn_RS". "C", "POSIX" and nothing are "en_US_POSIX".
std::string localeIdentifierForName(std::string_view name);

/// The same for the name that the environment gives.
std::string localeIdentifierOfEnvironment();

}  // namespace kestova
