// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace kestova::tool {

/// Adds "kestova admin", which changes files with an administrator's rights.
void addAdminCommand(CLI::App& app, Commands& commands);

}  // namespace kestova::tool
