// SPDX-License-Identifier: Apache-2.0
#include "text/TextMatches.h"

#include "text/TextSearch.h"

#include <algorithm>

namespace kestova {

std::vector<NSRange> matchesIn(const NSString& text, NSRange range, const NSString& wanted,
                               NSUInteger options) {
  const bool fromBack = (options & NSBackwardsSearch) != 0;
  TextSearch search(text, wanted, options);
  std::vector<NSRange> matches;
  for (NSRange match; (match = search.in(range)).location != NSNotFound;) {
    matches.push_back(match);
    const NSUInteger start = fromBack ? range.location : NSMaxRange(match);
    const NSUInteger end = fromBack ? match.location : NSMaxRange(range);
    range = {start, end - start};
  }
  if (fromBack) {
    std::reverse(matches.begin(), matches.end());
  }
  return matches;
}

}  // namespace kestova
