// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// What a file user-dirs.dirs says of a folder, such as "XDG_MUSIC_DIR", with "$HOME" at the front
/// as `home`; the last of several lines counts, as in the shell. Nothing when no line says
/// anything, or no absolute path.
std::optional<std::string> userDirectory(std::string_view text, std::string_view variable,
                                         std::string_view home);

/// The person's own folder; never empty.
std::string homeFolder();

/// A folder of the person's own, as the environment variable names it with an absolute path, or at
/// its usual place in the home folder.
std::string baseDirectory(const char* variable, const char* usual);

/// The folder in which programs keep what a person has set.
std::string configHome();

}  // namespace kestova
