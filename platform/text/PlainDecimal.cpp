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

/// Whether to add one to the last of the digits that stay.
bool roundsUp(char last, std::string_view dropped) {
  const bool isHalf = dropped[0] == '5' && dropped.find_first_not_of('0', 1) == dropped.npos;
  return isHalf ? (last - '0') % 2 != 0 : dropped[0] >= '5';
}

/// A number's shortest decimal form, with a point where there are decimals.
class Digits {
 public:
  explicit Digits(double number) {
    end_ = std::to_chars(begin_, std::end(buffer_), number, std::chars_format::fixed).ptr;
    point_ = std::find(begin_, end_, '.');
  }

  std::size_t decimals() const {
    return point_ == end_ ? 0 : static_cast<std::size_t>(end_ - point_ - 1);
  }

  void roundTo(std::size_t most) {
    if (decimals() <= most) {
      return;
    }
    char* dropped = point_ + 1 + most;
    const char last = most == 0 ? point_[-1] : dropped[-1];
    const bool isMore = roundsUp(last, {dropped, static_cast<std::size_t>(end_ - dropped)});
    end_ = most == 0 ? point_ : dropped;
    if (isMore) {
      increment();
    }
  }

  void trimTo(std::size_t fewest) {
    while (decimals() > fewest && end_[-1] == '0') {
      --end_;
    }
    end_ = decimals() == 0 ? point_ : end_;
  }

  void padTo(std::size_t fewest) {
    if (fewest > 0 && point_ == end_) {
      *end_++ = '.';
    }
    while (decimals() < fewest) {
      *end_++ = '0';
    }
  }

  std::string_view whole() const { return {begin_, static_cast<std::size_t>(point_ - begin_)}; }
  std::string_view fraction() const { return {end_ - decimals(), decimals()}; }

 private:
  /// Adds one to the last digit, and carries it as far as it goes.
  void increment() {
    for (char* digit = end_; digit != buffer_;) {
      --digit;
      if (*digit == '.') {
        continue;
      }
      if (*digit != '9') {
        ++*digit;
        begin_ = std::min(begin_, digit);
        return;
      }
      *digit = '0';
    }
  }

  char buffer_[64] = {'0'};  // the first place is for what is carried beyond the first digit
  char* begin_ = buffer_ + 1;
  char* end_;
  char* point_;
};

template <class Text>
Text joined(std::string_view whole, std::u16string_view separator, std::string_view fraction) {
  Text text(whole.begin(), whole.end());
  text.append(separator.begin(), separator.end());
  text.append(fraction.begin(), fraction.end());
  return text;
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
  Digits digits(number);
  digits.roundTo(mostDecimals_);
  digits.trimTo(fewestDecimals_);
  digits.padTo(fewestDecimals_);
  const std::string_view whole = digits.whole();
  const std::string_view fraction = digits.fraction();
  if (fraction.empty()) {
    return NSString::stringWithEightBitStorage(std::string(whole));
  }
  if (separator_.size() == 1 && separator_[0] < 0x80) {
    return NSString::stringWithEightBitStorage(joined<std::string>(whole, separator_, fraction));
  }
  return NSString::stringWithUTF16Storage(joined<std::u16string>(whole, separator_, fraction));
}

}  // namespace kestova
