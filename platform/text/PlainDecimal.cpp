// SPDX-License-Identifier: Apache-2.0
#include "text/PlainDecimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

#include "text/ICUText.h"

namespace kestova {
namespace {

constexpr std::size_t kMostDecimals = 15;

/// What has few digits.
bool isOfUsualSize(double number) {
  return (number >= 1e-5 && number < 1e15) || (number == 0 && !std::signbit(number));
}

/// The digits before and behind the point.
struct Digits {
  std::string whole;
  std::string decimals;
};

Digits digitsOf(double number) {
  char text[64];
  const char* end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed).ptr;
  const std::string_view digits(text, static_cast<std::size_t>(end - text));
  const std::size_t point = std::min(digits.find('.'), digits.size());
  return {std::string(digits.substr(0, point)),
          std::string(digits.substr(std::min(point + 1, digits.size())))};
}

/// Whether to add one to the last of the digits that stay.
bool roundsUp(char last, std::string_view dropped) {
  const bool isHalf = dropped[0] == '5' && dropped.find_first_not_of('0', 1) == dropped.npos;
  return isHalf ? (last - '0') % 2 != 0 : dropped[0] >= '5';
}

/// Adds one to the last digit; answers whether one is carried beyond the first.
bool increment(std::string& digits) {
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
    if (*digit != '9') {
      ++*digit;
      return false;
    }
    *digit = '0';
  }
  return true;
}

void roundTo(std::size_t decimals, Digits& digits) {
  if (digits.decimals.size() <= decimals) {
    return;
  }
  const char last = decimals == 0 ? digits.whole.back() : digits.decimals[decimals - 1];
  const bool isMore = roundsUp(last, std::string_view(digits.decimals).substr(decimals));
  digits.decimals.resize(decimals);
  if (isMore && increment(digits.decimals) && increment(digits.whole)) {
    digits.whole.insert(0, 1, '1');
  }
}

}  // namespace

PlainDecimal::PlainDecimal(std::size_t fewestDecimals, std::size_t mostDecimals,
                           std::u16string separator)
    : fewestDecimals_(fewestDecimals),
      mostDecimals_(mostDecimals),
      separator_(std::move(separator)) {}

std::optional<PlainDecimal> PlainDecimal::of(const icu::DecimalFormat& format) {
  icu::UnicodeString prefix, suffix;
  format.getPositivePrefix(prefix);
  format.getPositiveSuffix(suffix);
  const auto& symbols = *format.getDecimalFormatSymbols();
  const auto& zero = symbols.getConstSymbol(icu::DecimalFormatSymbols::kZeroDigitSymbol);
  const bool isPlain = prefix.isEmpty() && suffix.isEmpty() && zero == u"0" &&
                       !format.isGroupingUsed() && format.getMinimumIntegerDigits() == 1 &&
                       format.getMaximumIntegerDigits() > 20 &&
                       format.getMaximumFractionDigits() <= static_cast<int>(kMostDecimals) &&
                       !format.isScientificNotation() && !format.areSignificantDigitsUsed() &&
                       !format.isDecimalSeparatorAlwaysShown() && format.getMultiplier() == 1 &&
                       format.getFormatWidth() <= 0 && format.getRoundingIncrement() == 0;
  if (!isPlain) {
    return std::nullopt;
  }
  const auto& separator =
      symbols.getConstSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol);
  return PlainDecimal(static_cast<std::size_t>(format.getMinimumFractionDigits()),
                      static_cast<std::size_t>(format.getMaximumFractionDigits()),
                      std::u16string(unitsOf(separator)));
}

Ref<NSString> PlainDecimal::text(double number) const {
  if (!isOfUsualSize(number)) {
    return nullptr;
  }
  Digits digits = digitsOf(number);
  roundTo(mostDecimals_, digits);
  std::string& decimals = digits.decimals;
  while (decimals.size() > fewestDecimals_ && decimals.back() == '0') {
    decimals.pop_back();
  }
  decimals.resize(std::max(decimals.size(), fewestDecimals_), '0');
  std::u16string units(digits.whole.begin(), digits.whole.end());
  if (!decimals.empty()) {
    units += separator_;
    units.append(decimals.begin(), decimals.end());
  }
  return NSString::stringWithCharacters_length(units.data(), units.size());
}

}  // namespace kestova
