// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Explained.h"

#include <iosfwd>

namespace kestova::manual {

/// Write what a shell sources to complete commands and options of the tool; where neither fits,
/// file names are completed.
void writeBashCompletion(std::ostream& output, const ExplainedCommand& tool);
void writeZshCompletion(std::ostream& output, const ExplainedCommand& tool);
void writeFishCompletion(std::ostream& output, const ExplainedCommand& tool);

}  // namespace kestova::manual
