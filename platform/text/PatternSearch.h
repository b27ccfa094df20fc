// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Where a regular expression first matches in a range; {NSNotFound, 0} when it does not, or is
/// none. `options` are NSStringCompareOptions, of which NSCaseInsensitiveSearch and
/// NSAnchoredSearch count.
NSRange rangeOfPattern(const Ref<NSString>& text, const Ref<NSString>& pattern, NSUInteger options,
                       NSRange range);

/// Replaces every match in a range by what a template makes of it, and answers how many there were.
NSUInteger replacePattern(const Ref<NSMutableString>& text, const Ref<NSString>& pattern,
                          const Ref<NSString>& replacement, NSUInteger options, NSRange range);

}  // namespace kestova
