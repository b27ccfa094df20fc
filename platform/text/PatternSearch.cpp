// SPDX-License-Identifier: Apache-2.0
#include "text/PatternSearch.h"

#include <KestovaPlatform/NSRegularExpression.h>

namespace kestova {
namespace {

Ref<NSRegularExpression> expressionOf(const Ref<NSString>& pattern, NSUInteger options) {
  const bool ignoresCase = (options & NSCaseInsensitiveSearch) != 0;
  return NSRegularExpression::regularExpressionWithPattern_options_error(
      pattern, ignoresCase ? NSUInteger{NSRegularExpressionCaseInsensitive} : 0);
}

NSUInteger matchingOptions(NSUInteger options) {
  return (options & NSAnchoredSearch) != 0 ? NSUInteger{NSMatchingAnchored} : 0;
}

}  // namespace

NSRange rangeOfPattern(const Ref<NSString>& text, const Ref<NSString>& pattern, NSUInteger options,
                       NSRange range) {
  const auto expression = expressionOf(pattern, options);
  return expression ? expression->rangeOfFirstMatchInString_options_range(
                          text, matchingOptions(options), range)
                    : NSRange{NSNotFound, 0};
}

NSUInteger replacePattern(const Ref<NSMutableString>& text, const Ref<NSString>& pattern,
                          const Ref<NSString>& replacement, NSUInteger options, NSRange range) {
  const auto expression = expressionOf(pattern, options);
  return expression ? expression->replaceMatchesInString_options_range_withTemplate(
                          text, matchingOptions(options), range, replacement)
                    : 0;
}

}  // namespace kestova
