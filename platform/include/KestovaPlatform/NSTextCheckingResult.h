// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>

#include <vector>

namespace kestova {

class NSRegularExpression;

/// Where a regular expression matched: the range of the whole match and those of its groups.
///
///     auto result = regex->firstMatchInString_options_range(text, 0, {0, text->length()});
///     if (result) text->substringWithRange(result->rangeAtIndex(1));
///
/// Threads: immutable; any number of threads may read one.
class KESTOVA_PLATFORM_EXPORT NSTextCheckingResult : public NSObject {
  KESTOVA_CLASS(NSTextCheckingResult, NSObject)

 public:
  /// The result of an expression with those ranges, the whole match's first. No ranges throw
  /// NSInvalidArgumentException; the expression may be null.
  static Ref<NSTextCheckingResult> regularExpressionCheckingResultWithRanges_regularExpression(
      std::vector<NSRange> ranges, const Ref<NSRegularExpression>& regularExpression);

  /// The whole match.
  NSRange range() const noexcept { return ranges_.front(); }

  /// One for the whole match and one for each group of the expression.
  NSUInteger numberOfRanges() const noexcept { return ranges_.size(); }

  /// The whole match for 0, else the group of that number: {NSNotFound, 0} for one that took no
  /// part in the match. Throws NSRangeException past the last group.
  NSRange rangeAtIndex(NSUInteger index) const;

  /// The expression that matched.
  const Ref<NSRegularExpression>& regularExpression() const noexcept { return expression_; }

  id copy() const override;

 protected:
  NSTextCheckingResult(std::vector<NSRange> ranges, Ref<NSRegularExpression> expression) noexcept;
  ~NSTextCheckingResult() override;

 private:
  const std::vector<NSRange> ranges_;
  const Ref<NSRegularExpression> expression_;
};

}  // namespace kestova
