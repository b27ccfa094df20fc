// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// \file
/// Numbers as they are written at a place of a text, in either storage.

/// A number that was read, and the index behind it.
template <class Value>
struct ScannedNumber {
  Value value;
  std::size_t end;
};

/// The value of an ASCII digit to a base up to 16, or that base or more for anything else.
template <unsigned base>
constexpr unsigned digitValue(char16_t unit) noexcept {
  if (unit >= u'0' && unit <= u'9') {
    return unit - u'0';
  }
  if constexpr (base > 10) {
    const char16_t lower = unit | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10U : base;
  }
  return base;
}

template <class Unit>
constexpr bool isUnitAt(std::basic_string_view<Unit> text, std::size_t at,
                        std::u16string_view units) noexcept {
  return at < text.size() &&
         units.find(static_cast<char16_t>(text[at])) != std::u16string_view::npos;
}

template <unsigned base, class Unit>
constexpr std::size_t endOfDigits(std::basic_string_view<Unit> text, std::size_t at) noexcept {
  while (at < text.size() && digitValue<base>(static_cast<char16_t>(text[at])) < base) {
    ++at;
  }
  return at;
}

/// The digits at a place, at least one; their value, but never more than `limit`.
template <unsigned base, class Unit>
std::optional<ScannedNumber<std::uint64_t>> scanDigits(std::basic_string_view<Unit> text,
                                                       std::size_t start, std::uint64_t limit) {
  std::uint64_t value = 0;
  std::size_t at = start;
  for (; at < text.size(); ++at) {
    const unsigned digit = digitValue<base>(static_cast<char16_t>(text[at]));
    if (digit >= base) {
      break;
    }
    value = value > (limit - digit) / base ? limit : value * base + digit;
  }
  return at == start ? std::nullopt : std::optional(ScannedNumber<std::uint64_t>{value, at});
}

/// A sign and decimal digits, clamped to the type. An unsigned number has no minus.
template <std::integral Value, class Unit>
std::optional<ScannedNumber<Value>> scanInteger(std::basic_string_view<Unit> text,
                                                std::size_t start) {
  using Limits = std::numeric_limits<Value>;
  const bool isNegative = std::signed_integral<Value> && isUnitAt(text, start, u"-");
  const bool hasSign = isNegative || isUnitAt(text, start, u"+");
  const auto limit = static_cast<std::uint64_t>(Limits::max()) + (isNegative ? 1 : 0);
  const auto digits = scanDigits<10>(text, start + (hasSign ? 1 : 0), limit);
  if (!digits) {
    return std::nullopt;
  }
  const std::uint64_t value = isNegative ? 0 - digits->value : digits->value;
  return ScannedNumber<Value>{static_cast<Value>(value), digits->end};
}

/// Hexadecimal digits, clamped to the type, which may follow 0x or 0X.
template <std::unsigned_integral Value, class Unit>
std::optional<ScannedNumber<Value>> scanHexInteger(std::basic_string_view<Unit> text,
                                                   std::size_t start) {
  constexpr std::uint64_t kLimit = std::numeric_limits<Value>::max();
  const bool hasPrefix = isUnitAt(text, start, u"0") && isUnitAt(text, start + 1, u"xX");
  auto digits = hasPrefix ? scanDigits<16>(text, start + 2, kLimit) : std::nullopt;
  if (!digits) {
    digits = scanDigits<16>(text, start, kLimit);
  }
  if (!digits) {
    return std::nullopt;
  }
  return ScannedNumber<Value>{static_cast<Value>(digits->value), digits->end};
}

/// Where the parts of a real number stand, without sign and prefix: digits up to `separator`, more
/// digits and the exponent from `fraction` to `end`. Both are the same without a separator.
struct RealParts {
  std::size_t start;
  std::size_t separator;
  std::size_t fraction;
  std::size_t end;
};

template <class Unit>
bool isTextAt(std::basic_string_view<Unit> text, std::size_t at, std::u16string_view wanted) {
  return text.size() - at >= wanted.size() &&
         std::equal(wanted.begin(), wanted.end(), text.begin() + static_cast<std::ptrdiff_t>(at));
}

/// Where an exponent ends that begins at a place; the place itself when there is none.
template <class Unit>
std::size_t endOfExponent(std::basic_string_view<Unit> text, std::size_t at,
                          std::u16string_view marks) {
  if (!isUnitAt(text, at, marks)) {
    return at;
  }
  const std::size_t digits = at + (isUnitAt(text, at + 1, u"+-") ? 2 : 1);
  const std::size_t end = endOfDigits<10>(text, digits);
  return end == digits ? at : end;
}

template <unsigned base, class Unit>
std::optional<RealParts> scanRealParts(std::basic_string_view<Unit> text, std::size_t start,
                                       std::u16string_view separator) {
  RealParts parts{start, endOfDigits<base>(text, start), 0, 0};
  parts.fraction = parts.separator;
  std::size_t fractionEnd = parts.separator;
  if (!separator.empty() && isTextAt(text, parts.separator, separator)) {
    parts.fraction = parts.separator + separator.size();
    fractionEnd = endOfDigits<base>(text, parts.fraction);
  }
  if (parts.separator == start && fractionEnd == parts.fraction) {
    return std::nullopt;
  }
  parts.end = endOfExponent(text, fractionEnd, base == 10 ? u"eE" : u"pP");
  return parts;
}

/// The nearest value to a number, which is written as `std::from_chars` reads it.
template <std::floating_point Value>
Value realValue(std::string_view number, std::chars_format format);

/// The number that parts of a text make.
template <class Value, class Unit>
Value realValue(std::basic_string_view<Unit> text, const RealParts& parts,
                std::chars_format format) {
  if constexpr (std::same_as<Unit, char>) {
    if (parts.fraction == parts.separator || text[parts.separator] == '.') {
      return realValue<Value>(text.substr(parts.start, parts.end - parts.start), format);
    }
  }
  const auto at = [&](std::size_t index) {
    return text.begin() + static_cast<std::ptrdiff_t>(index);
  };
  std::string number(at(parts.start), at(parts.separator));
  number += parts.fraction == parts.separator ? "" : ".";
  number.append(at(parts.fraction), at(parts.end));
  return realValue<Value>(std::string_view(number), format);
}

/// A sign, digits with a separator before, among or behind them, and an exponent.
template <std::floating_point Value, class Unit>
std::optional<ScannedNumber<Value>> scanReal(std::basic_string_view<Unit> text, std::size_t start,
                                             std::u16string_view separator) {
  const std::size_t number = start + (isUnitAt(text, start, u"+-") ? 1 : 0);
  const auto parts = scanRealParts<10>(text, number, separator);
  if (!parts) {
    return std::nullopt;
  }
  const auto value = realValue<Value>(text, *parts, std::chars_format::general);
  return ScannedNumber<Value>{isUnitAt(text, start, u"-") ? -value : value, parts->end};
}

/// The same with hexadecimal digits behind 0x or 0X and an exponent to the base 2.
template <std::floating_point Value, class Unit>
std::optional<ScannedNumber<Value>> scanHexReal(std::basic_string_view<Unit> text,
                                                std::size_t start, std::u16string_view separator) {
  const std::size_t prefix = start + (isUnitAt(text, start, u"+-") ? 1 : 0);
  if (!isUnitAt(text, prefix, u"0") || !isUnitAt(text, prefix + 1, u"xX")) {
    return std::nullopt;
  }
  const auto parts = scanRealParts<16>(text, prefix + 2, separator);
  if (!parts) {
    return std::nullopt;
  }
  const auto value = realValue<Value>(text, *parts, std::chars_format::hex);
  return ScannedNumber<Value>{isUnitAt(text, start, u"-") ? -value : value, parts->end};
}

}  // namespace kestova
