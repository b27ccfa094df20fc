// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>
#include <unicode/decimfmt.h>

#include <optional>
#include <string>

namespace kestova {

/// Writes numbers by a pattern that asks for nothing but a count of decimals, in ASCII digits, at a
/// third of what it costs otherwise.
class PlainDecimal {
 public:
  /// Nothing where the pattern asks for more.
  static std::optional<PlainDecimal> of(const icu::DecimalFormat& format);

  /// The shortest decimal form of the number, rounded half to even. Null for a number that it is
  /// not meant for: negative, not finite, very small or great.
  Ref<NSString> text(double number) const;

 private:
  PlainDecimal(std::size_t fewestDecimals, std::size_t mostDecimals, std::u16string separator);

  std::size_t fewestDecimals_;
  std::size_t mostDecimals_;
  std::u16string separator_;
};

}  // namespace kestova
