// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Whether all of a text matches a pattern, in which "*" stands for any number of characters and
/// "?" for one; `options` say how the others are compared. Time at most proportional to the product
/// of the lengths.
bool matchesWildcards(const NSString& text, const NSString& pattern, NSUInteger options);

}  // namespace kestova
