// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSError.h>
#include <unicode/parseerr.h>
#include <unicode/utypes.h>

namespace kestova {

/// The error for a text that ICU refused as a pattern, and where in it.
Ref<NSError> errorForPattern(const Ref<NSString>& pattern, UErrorCode status,
                             const UParseError& place);

}  // namespace kestova
