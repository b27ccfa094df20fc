// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/StringMatches.h>

#include "text/PatternSearch.h"
#include "text/TextSearch.h"
#include "values/RangeCheck.h"

#include <algorithm>

namespace kestova {
namespace {

/// The part of a range that the search goes on in; one without units when nothing is left of it.
NSRange restOf(NSRange range, NSRange match, SearchGoesOn goesOn) {
  if (goesOn == SearchGoesOn::beforeTheMatch) {
    const NSUInteger end = match.location - (match.length == 0 && match.location > 0 ? 1 : 0);
    return {range.location, std::max(end, range.location) - range.location};
  }
  const bool isNextUnit = goesOn == SearchGoesOn::atTheNextUnit || match.length == 0;
  const NSUInteger start = isNextUnit ? match.location + 1 : NSMaxRange(match);
  const NSUInteger end = NSMaxRange(range);
  return {std::min(start, end), end - std::min(start, end)};
}

template <class Find, class Visit>
void visitEach(NSRange range, SearchGoesOn goesOn, Find&& find, Visit&& visit) {
  for (NSRange match; (match = find(range)).location != NSNotFound && visit(match);) {
    if (range = restOf(range, match, goesOn); range.length == 0) {
      return;
    }
  }
}

}  // namespace

void visitMatches(const Ref<NSString>& text, const Ref<NSString>& wanted, NSUInteger options,
                  NSRange range, SearchGoesOn goesOn, const std::function<bool(NSRange)>& visit) {
  checkArgument(*text, "rangeOfString:options:range:", wanted != nullptr);
  checkRange(*text, "rangeOfString:options:range:", range, text->length());
  if ((options & NSRegularExpressionSearch) != 0) {
    visitEach(
        range, goesOn, [&](NSRange rest) { return rangeOfPattern(text, wanted, options, rest); },
        visit);
    return;
  }
  TextSearch search(*text, *wanted, options);
  if (goesOn == SearchGoesOn::atTheNextUnit && search.canVisitAll()) {
    search.visitAll(range, visit);
  } else {
    visitEach(
        range, goesOn, [&](NSRange rest) { return search.in(rest); }, visit);
  }
}

}  // namespace kestova
