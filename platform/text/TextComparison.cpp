// SPDX-License-Identifier: Apache-2.0
#include "text/TextComparison.h"

#include "text/FoldedUnits.h"
#include "text/TextStorage.h"
#include "text/UnitMatches.h"

#include <algorithm>
#include <string_view>

namespace kestova {
namespace {

constexpr bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

template <class A, class B>
std::size_t equalLength(std::basic_string_view<A> a, std::basic_string_view<B> b) {
  return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first -
                                  a.begin());
}

/// Where to begin so that nothing of what stands there, or behind it, was cut: no later than
/// `index`, up to which both texts are equal.
template <class A, class B>
std::size_t commonBoundary(const TextPieces<A>& a, const TextPieces<B>& b, std::size_t index) {
  for (;;) {
    const std::size_t boundary = a.boundaryAtOrBefore(index);
    index = b.boundaryAtOrBefore(boundary);
    if (index == boundary) {
      return index;
    }
  }
}

template <class Unit>
void skipZeros(FoldedUnits<Unit>& units) {
  while (!units.atEnd() && units.unit() == u'0') {
    units.advance();
  }
}

template <class Unit>
bool atDigit(const FoldedUnits<Unit>& units) {
  return !units.atEnd() && isDigit(units.unit());
}

/// Orders two numbers and moves behind them, or behind as much as the order needs. Without leading
/// zeros the longer one is greater, and among equally long ones the first digit that differs
/// decides.
template <class A, class B>
NSComparisonResult compareNumbers(FoldedUnits<A>& a, FoldedUnits<B>& b) {
  skipZeros(a);
  skipZeros(b);
  NSComparisonResult order = NSOrderedSame;
  for (; atDigit(a) && atDigit(b); a.advance(), b.advance()) {
    if (order == NSOrderedSame) {
      order = orderOf(a.unit(), b.unit());
    }
  }
  return atDigit(a) || atDigit(b) ? orderOf(atDigit(a), atDigit(b)) : order;
}

/// Whether two texts are compared digit by digit or number by number.
enum class Digits { apart, asNumbers };

template <class A, class B>
NSComparisonResult compareFolded(FoldedUnits<A> a, FoldedUnits<B> b, Digits digits) {
  while (!a.atEnd() && !b.atEnd()) {
    if (digits == Digits::asNumbers && isDigit(a.unit()) && isDigit(b.unit())) {
      if (const auto order = compareNumbers(a, b); order != NSOrderedSame) {
        return order;
      }
    } else if (a.unit() != b.unit()) {
      return orderOf(a.unit(), b.unit());
    } else {
      a.advance();
      b.advance();
    }
  }
  return orderOf(!a.atEnd(), !b.atEnd());
}

/// A number that begins before `index`, or what may fold to one, is taken from its beginning.
template <class Unit>
std::size_t beforeNumber(std::basic_string_view<Unit> text, std::size_t index) {
  const auto belongs = [](char16_t unit) { return isDigit(unit) || unit >= 0x80; };
  while (index > 0 && belongs(static_cast<char16_t>(text[index - 1]))) {
    --index;
  }
  return index;
}

/// ASCII is folded unit by unit.
NSComparisonResult compareBytes(std::string_view a, std::string_view b,
                                const TextFolding& folding) {
  if (!folding.ignoresCase()) {
    return compareUnits(a, b);
  }
  const auto isSame = [](char x, char y) {
    return CaselessASCII::fold(x) == CaselessASCII::fold(y);
  };
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), isSame);
  const bool bothGoOn = x != a.end() && y != b.end();
  return bothGoOn ? orderOf(CaselessASCII::fold(*x), CaselessASCII::fold(*y))
                  : orderOf(x != a.end(), y != b.end());
}

template <class A, class B>
NSComparisonResult compareViews(std::basic_string_view<A> a, std::basic_string_view<B> b,
                                TextFolding& folding, Digits digits) {
  if constexpr (std::is_same_v<A, char> && std::is_same_v<B, char>) {
    if (folding.keepsASCII() && digits == Digits::apart) {
      return compareBytes(a, b, folding);
    }
  }
  std::size_t start = equalLength(a, b);
  if (start == a.size() && start == b.size()) {
    return NSOrderedSame;
  }
  if (digits == Digits::asNumbers) {
    start = beforeNumber(a, start);
  }
  const TextPieces<A> x(a, folding);
  const TextPieces<B> y(b, folding);
  start = commonBoundary(x, y, start);
  return compareFolded(FoldedUnits<A>(x, start), FoldedUnits<B>(y, start), digits);
}

template <class A, class B>
NSUInteger commonLength(std::basic_string_view<A> a, std::basic_string_view<B> b,
                        TextFolding& folding) {
  const TextPieces<A> x(a, folding);
  const TextPieces<B> y(b, folding);
  std::size_t length = commonBoundary(x, y, equalLength(a, b));
  FoldedUnits<A> left(x, length);
  FoldedUnits<B> right(y, length);
  while (!left.atEnd() && !right.atEnd() && left.unit() == right.unit()) {
    left.advance();
    right.advance();
    if (left.atBoundary() && right.atBoundary()) {
      length = left.position();
    }
  }
  return length;
}

}  // namespace

NSComparisonResult compareTexts(const NSString& a, const NSString& b, NSUInteger options) {
  return compareTexts(a, {0, a.length()}, b, options);
}

NSComparisonResult compareTexts(const NSString& a, NSRange range, const NSString& b,
                                NSUInteger options) {
  TextFolding folding(options);
  const Digits digits = (options & NSNumericSearch) != 0 ? Digits::asNumbers : Digits::apart;
  const bool isForced = (options & NSForcedOrderingSearch) != 0;
  return withBoth(a, b, [&](auto all, auto y) {
    const auto x = all.substr(range.location, range.length);
    const auto order = compareViews(x, y, folding, digits);
    return order == NSOrderedSame && isForced ? compareUnits(x, y) : order;
  });
}

NSUInteger commonPrefixLength(const NSString& a, const NSString& b, NSUInteger options) {
  TextFolding folding(options);
  return withBoth(a, b, [&](auto x, auto y) { return commonLength(x, y, folding); });
}

}  // namespace kestova
