// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>
#include <unicode/uchar.h>

#include "text/CLocale.h"
#include "text/CharacterWalk.h"
#include "text/TextStorage.h"

#include <cstdlib>
#include <limits>
#include <string>

namespace kestova {
namespace {

constexpr bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

bool isNoSpace(std::uint32_t character) {
  return u_isUWhiteSpace(static_cast<UChar32>(character)) == 0;
}

template <class Unit>
std::basic_string_view<Unit> withoutLeadingSpace(std::basic_string_view<Unit> units) {
  return units.substr(findCharacter(units, 0, isNoSpace));
}

template <class Unit>
std::size_t signLength(std::basic_string_view<Unit> units) {
  return !units.empty() && (units[0] == '+' || units[0] == '-') ? 1 : 0;
}

template <class Unit>
std::size_t digitsEnd(std::basic_string_view<Unit> units, std::size_t from) {
  while (from < units.size() && isDigit(static_cast<char16_t>(units[from]))) {
    ++from;
  }
  return from;
}

/// Where a number with an optional fraction and exponent ends; 0 when there is none.
template <class Unit>
std::size_t realEnd(std::basic_string_view<Unit> units) {
  const std::size_t start = signLength(units);
  std::size_t end = digitsEnd(units, start);
  std::size_t digits = end - start;
  if (end < units.size() && units[end] == '.') {
    const std::size_t fraction = end + 1;
    end = digitsEnd(units, fraction);
    digits += end - fraction;
  }
  if (digits == 0) {
    return 0;
  }
  if (end < units.size() && (units[end] == 'e' || units[end] == 'E')) {
    const std::size_t exponent = end + 1 + signLength(units.substr(end + 1));
    const std::size_t exponentEnd = digitsEnd(units, exponent);
    end = exponentEnd > exponent ? exponentEnd : end;
  }
  return end;
}

/// The integer that a text begins with, clamped.
template <class Integer>
Integer integerIn(const NSString& text) {
  return withUnits(text, [](auto all) {
    const auto units = withoutLeadingSpace(all);
    const bool isNegative = !units.empty() && units[0] == '-';
    const auto digits =
        units.substr(signLength(units), digitsEnd(units, signLength(units)) - signLength(units));
    using Limits = std::numeric_limits<Integer>;
    Integer value = 0;
    for (const auto unit : digits) {
      const auto digit = static_cast<Integer>(unit - '0');
      const bool overflows =
          isNegative ? value < (Limits::min() + digit) / 10 : value > (Limits::max() - digit) / 10;
      if (overflows) {
        return isNegative ? Limits::min() : Limits::max();
      }
      value = static_cast<Integer>(value * 10 + (isNegative ? -digit : digit));
    }
    return value;
  });
}

/// The number that a text begins with as the C library reads it; a null pointer where there is
/// none.
template <class Read>
auto realIn(const NSString& text, Read read) {
  const std::string number = withUnits(text, [](auto all) {
    const auto units = withoutLeadingSpace(all);
    const auto end = static_cast<std::ptrdiff_t>(realEnd(units));
    return std::string(units.begin(), units.begin() + end);
  });
  const CLocale locale;
  return read(number.c_str(), nullptr);
}

}  // namespace

int NSString::intValue() const { return integerIn<int>(*this); }
NSInteger NSString::integerValue() const { return integerIn<NSInteger>(*this); }
long long NSString::longLongValue() const { return integerIn<long long>(*this); }

float NSString::floatValue() const { return realIn(*this, std::strtof); }
double NSString::doubleValue() const { return realIn(*this, std::strtod); }

bool NSString::boolValue() const {
  return withUnits(*this, [](auto all) {
    auto units = withoutLeadingSpace(all);
    units.remove_prefix(signLength(units));
    const auto first = units.find_first_not_of('0');
    if (first == units.npos) {
      return false;
    }
    const auto unit = static_cast<char16_t>(units[first]);
    return std::u16string_view(u"YyTt123456789").find(unit) != std::u16string_view::npos;
  });
}

}  // namespace kestova
