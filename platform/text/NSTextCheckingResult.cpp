// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRegularExpression.h>
#include <KestovaPlatform/NSTextCheckingResult.h>
#include <KestovaPlatform/NSValue.h>

#include "values/RangeCheck.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSTextCheckingResult,
                     .property<&NSTextCheckingResult::range>("range")
                         .property<&NSTextCheckingResult::numberOfRanges>("numberOfRanges")
                         .property<&NSTextCheckingResult::regularExpression>("regularExpression"))

NSTextCheckingResult::NSTextCheckingResult(std::vector<NSRange> ranges,
                                           Ref<NSRegularExpression> expression) noexcept
    : ranges_(std::move(ranges)), expression_(std::move(expression)) {}

NSTextCheckingResult::~NSTextCheckingResult() = default;

Ref<NSTextCheckingResult>
NSTextCheckingResult::regularExpressionCheckingResultWithRanges_regularExpression(
    std::vector<NSRange> ranges, const Ref<NSRegularExpression>& regularExpression) {
  if (ranges.empty()) {
    throw NSException(NSInvalidArgumentException, "A result has at least one range.");
  }
  return make<NSTextCheckingResult>(std::move(ranges), regularExpression);
}

NSRange NSTextCheckingResult::rangeAtIndex(NSUInteger index) const {
  checkIndex(*this, "rangeAtIndex:", index, ranges_.size());
  return ranges_[index];
}

id NSTextCheckingResult::copy() const { return self(); }

}  // namespace kestova
