// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/MacErrors.h>

#include <string>
#include <vector>

namespace kestova {

/// \file
/// Starting a tool as root. `tool` is an absolute path. Both answer when the tool runs, or with
/// what kept it from running, and leave its end to the ToolReaper.

/// For a process that is root.
OSStatus startToolAsRoot(const std::string& tool, const std::vector<std::string>& arguments);

/// For a process that is not, but has been authorized. What pkexec wants to ask the person all the
/// same, it asks.
OSStatus startToolByPkexec(const std::string& tool, const std::vector<std::string>& arguments);

}  // namespace kestova
