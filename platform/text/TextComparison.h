// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include "text/TextFolding.h"

namespace kestova {

/// Orders two texts by NSStringCompareOptions: by the units that folding leaves, numbers by their
/// value where the options say so. Where one order has texts the same, all of them are: it can be
/// sorted by.
NSComparisonResult compareTexts(const NSString& a, const NSString& b, NSUInteger options);

/// The same for a range of the first text, seen by itself.
NSComparisonResult compareTexts(const NSString& a, NSRange range, const NSString& b,
                                NSUInteger options);

/// How many units of `a` begin it as `b` begins too, as the options see it: a number of whole
/// characters.
NSUInteger commonPrefixLength(const NSString& a, const NSString& b, NSUInteger options);

}  // namespace kestova
