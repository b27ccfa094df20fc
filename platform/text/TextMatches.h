// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <vector>

namespace kestova {

/// Where one text stands in a range of another, from its front to its back: the matches that a
/// search finds when it goes on behind each one, or before it with NSBackwardsSearch.
std::vector<NSRange> matchesIn(const NSString& text, NSRange range, const NSString& wanted,
                               NSUInteger options);

}  // namespace kestova
