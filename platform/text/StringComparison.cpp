// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>

#include "text/Collation.h"
#include "text/TextComparison.h"
#include "text/TextStorage.h"
#include "text/Wildcards.h"
#include "values/RangeCheck.h"

namespace kestova {

NSComparisonResult NSString::compare(const Ref<NSString>& other) const {
  checkArgument(*this, "compare:", other != nullptr);
  return compareTexts(*this, *other, 0);
}

NSComparisonResult NSString::compare_options(const Ref<NSString>& other, NSUInteger options) const {
  checkArgument(*this, "compare:options:", other != nullptr);
  return compareTexts(*this, *other, options);
}

NSComparisonResult NSString::compare_options_range(const Ref<NSString>& other, NSUInteger options,
                                                   NSRange range) const {
  checkArgument(*this, "compare:options:range:", other != nullptr);
  checkRange(*this, "compare:options:range:", range, length());
  return compareTexts(*this, range, *other, options);
}

NSComparisonResult NSString::caseInsensitiveCompare(const Ref<NSString>& other) const {
  checkArgument(*this, "caseInsensitiveCompare:", other != nullptr);
  return compareTexts(*this, *other, NSCaseInsensitiveSearch);
}

NSComparisonResult NSString::localizedCompare(const Ref<NSString>& other) const {
  checkArgument(*this, "localizedCompare:", other != nullptr);
  return currentCollation(Distinctions::all).compare(*this, *other);
}

NSComparisonResult NSString::localizedCaseInsensitiveCompare(const Ref<NSString>& other) const {
  checkArgument(*this, "localizedCaseInsensitiveCompare:", other != nullptr);
  return currentCollation(Distinctions::exceptCase).compare(*this, *other);
}

NSComparisonResult NSString::localizedStandardCompare(const Ref<NSString>& other) const {
  checkArgument(*this, "localizedStandardCompare:", other != nullptr);
  return currentCollation(Distinctions::asFileNames).compare(*this, *other);
}

bool NSString::isCaseInsensitiveLike(const Ref<NSString>& pattern) const {
  checkArgument(*this, "isCaseInsensitiveLike:", pattern != nullptr);
  return matchesWildcards(*this, *pattern, NSCaseInsensitiveSearch);
}

Ref<NSString> NSString::commonPrefixWithString_options(const Ref<NSString>& other,
                                                       NSUInteger options) const {
  checkArgument(*this, "commonPrefixWithString:options:", other != nullptr);
  return substringToIndex(commonPrefixLength(*this, *other, options));
}

}  // namespace kestova
