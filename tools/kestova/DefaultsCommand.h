// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace kestova::tool {

/// Adds `defaults` with its own commands.
void addDefaultsCommand(CLI::App& app, Commands& commands);

}  // namespace kestova::tool
