// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <unicode/decimfmt.h>

#include <memory>
#include <optional>

#include "text/PlainDecimal.h"

namespace kestova {

/// A compiled number pattern with the signs of a locale. Immutable; any number of threads may use
/// one at a time.
class NumberPattern {
 public:
  /// The one for a locale and a pattern; that of `kDefault` for a malformed pattern. The latest
  /// ones are kept.
  static std::shared_ptr<const NumberPattern> of(const NSLocale& locale,
                                                 const Ref<NSString>& pattern);

  static constexpr const char* kDefault = "#";

  NumberPattern(const NSLocale& locale, const Ref<NSString>& pattern);

  Ref<NSString> text(const NSNumber& number) const;

  /// Null unless the whole text is a number.
  Ref<NSNumber> number(const NSString& text) const;

 private:
  const std::unique_ptr<const icu::DecimalFormat> format_;
  const std::optional<PlainDecimal> plain_;
};

}  // namespace kestova
