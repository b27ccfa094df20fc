// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Explained.h"

#include <iosfwd>
#include <string_view>

namespace kestova::manual {

/// Writes the manual page of section 1, in the macros of man(7).
void writeManualPage(std::ostream& output, const ExplainedCommand& tool, std::string_view version);

}  // namespace kestova::manual
