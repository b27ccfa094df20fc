// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSCharacterSet.h>
#include <unicode/uniset.h>

namespace kestova {

/// The members of a set as ICU keeps them: a sorted list of runs.
struct NSCharacterSet::Members {
  icu::UnicodeSet set;
};

/// The characters of a range; throws NSInvalidArgumentException beyond U+10FFFF.
icu::UnicodeSet charactersInRange(NSRange range);

/// The characters of a text; throws NSInvalidArgumentException for null.
icu::UnicodeSet charactersInString(const Ref<NSString>& characters);

}  // namespace kestova
