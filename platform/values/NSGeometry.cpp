// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSString.h>

#include "text/NumberScan.h"
#include "text/TextStorage.h"
#include "values/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kestova {
namespace {

std::string pairText(const std::string& first, const std::string& second) {
  return "{" + first + ", " + second + "}";
}

std::string textOf(NSPoint point) { return pairText(numberText(point.x), numberText(point.y)); }
std::string textOf(NSSize size) {
  return pairText(numberText(size.width), numberText(size.height));
}

/// The same in every locale.
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The text from `start` on as far as every character is accepted.
std::string_view run(std::string_view text, bool (*isAccepted)(char), std::size_t start = 0) {
  const auto rest = text.substr(std::min(start, text.size()));
  const auto* end = std::ranges::find_if_not(rest, isAccepted);
  return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
}

/// How much of the front of the text is an exponent; 0 when none is.
std::size_t lengthOfExponent(std::string_view text) {
  if (text.empty() || (text[0] | 0x20) != 'e') {
    return 0;
  }
  const std::size_t sign = text.size() > 1 && (text[1] == '+' || text[1] == '-') ? 1 : 0;
  const std::size_t digits = run(text, isDigit, 1 + sign).size();
  return digits == 0 ? 0 : 1 + sign + digits;
}

/// How much of the front of the text is a decimal number without a sign; 0 when none is.
std::size_t lengthOfDecimal(std::string_view text) {
  const std::size_t whole = run(text, isDigit).size();
  const bool hasPoint = whole < text.size() && text[whole] == '.';
  const std::size_t fraction = hasPoint ? run(text, isDigit, whole + 1).size() : 0;
  if (whole + fraction == 0) {
    return 0;
  }
  const std::size_t length = whole + (hasPoint ? 1 + fraction : 0);
  return length + lengthOfExponent(text.substr(length));
}

std::optional<double> valueOfWord(std::string_view letters) {
  if (isSameButForCase(letters, "inf") || isSameButForCase(letters, "infinity")) {
    return HUGE_VAL;
  }
  return isSameButForCase(letters, "nan") ? std::optional(std::nan("")) : std::nullopt;
}

/// Hands out the numbers in a text one after the other and skips all that is between them.
class NumbersInText {
 public:
  explicit NumbersInText(const Ref<NSString>& string) : text_(asciiOf(string)), rest_(text_) {}

  /// 0 when there are no more.
  double nextReal() {
    while (!rest_.empty()) {
      if (const auto number = takeReal()) {
        return *number;
      }
      rest_.remove_prefix(std::max<std::size_t>(1, run(rest_, isLetter).size()));
    }
    return 0;
  }

  /// 0 when there are no more, and the largest number for a larger one.
  NSUInteger nextWhole() {
    const auto* first = std::ranges::find_if(rest_, isDigit);
    rest_.remove_prefix(static_cast<std::size_t>(first - rest_.begin()));
    const auto digits = run(rest_, isDigit);
    rest_.remove_prefix(digits.size());
    NSUInteger value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return result.ec == std::errc::result_out_of_range ? std::numeric_limits<NSUInteger>::max()
                                                       : value;
  }

 private:
  /// What is no ASCII stands between numbers.
  static std::string asciiOf(const Ref<NSString>& string) {
    std::string ascii;
    if (string) {
      withUnits(*string, [&](auto units) {
        ascii.reserve(units.size());
        for (const auto unit : units) {
          const auto value = static_cast<unichar>(unit);
          ascii.push_back(value < 0x80 ? static_cast<char>(value) : ' ');
        }
      });
    }
    return ascii;
  }

  /// The number at the front; nothing, and nothing taken, when there is none.
  std::optional<double> takeReal() {
    const bool isNegative = rest_[0] == '-';
    const auto unsignedRest = rest_.substr(isNegative || rest_[0] == '+' ? 1 : 0);
    const auto word = run(unsignedRest, isLetter);
    const std::size_t length = word.empty() ? lengthOfDecimal(unsignedRest) : word.size();
    if (length == 0) {
      return std::nullopt;
    }
    const auto value =
        word.empty() ? realValue<double>(unsignedRest.substr(0, length), std::chars_format::general)
                     : valueOfWord(word);
    if (!value) {
      return std::nullopt;
    }
    rest_ = unsignedRest.substr(length);
    return isNegative ? -*value : *value;
  }

  const std::string text_;
  std::string_view rest_;
};

/// What a rectangle covers of one axis.
struct Span {
  double start;
  double length;

  double end() const { return start + length; }
};

Span across(const NSRect& rect) { return {rect.origin.x, rect.size.width}; }
Span along(const NSRect& rect) { return {rect.origin.y, rect.size.height}; }
NSRect rectOf(Span x, Span y) { return {{x.start, y.start}, {x.length, y.length}}; }

/// The difference of the edges may round to another length than that of a span with these very
/// edges, which is then the answer.
Span between(double start, double end, Span a, Span b) {
  const auto fits = [&](Span span) { return span.start == start && span.end() == end; };
  return fits(a) ? a : fits(b) ? b : Span{start, end - start};
}

Span shared(Span a, Span b) {
  return between(std::max(a.start, b.start), std::min(a.end(), b.end()), a, b);
}

/// The first one where it is smaller or a NaN.
double leastOf(double a, double b) { return a < b || std::isnan(a) ? a : b; }
double greatestOf(double a, double b) { return a > b || std::isnan(a) ? a : b; }

Span hull(Span a, Span b) {
  return between(leastOf(a.start, b.start), greatestOf(a.end(), b.end()), a, b);
}

Span whole(Span span) {
  const double start = std::floor(span.start);
  return {start, std::ceil(span.end()) - start};
}

/// A NaN counts as nothing.
double lengthToCut(Span span, double amount) {
  return amount > 0 ? std::min(amount, std::max(span.length, 0.0)) : 0;
}

struct Cut {
  Span slice;
  Span remainder;
};

Cut cutAtFront(Span span, double amount) {
  const double length = lengthToCut(span, amount);
  return {{span.start, length}, {span.start + length, span.length - length}};
}

Cut cutAtBack(Span span, double amount) {
  const double length = lengthToCut(span, amount);
  const double rest = span.length - length;
  return {{span.start + rest, length}, {span.start, rest}};
}

}  // namespace

NSRect NSIntersectionRect(const NSRect& a, const NSRect& b) {
  return NSIntersectsRect(a, b) ? rectOf(shared(across(a), across(b)), shared(along(a), along(b)))
                                : NSZeroRect;
}

NSRect NSUnionRect(const NSRect& a, const NSRect& b) {
  if (NSIsEmptyRect(a)) {
    return NSIsEmptyRect(b) ? NSZeroRect : b;
  }
  return NSIsEmptyRect(b) ? a : rectOf(hull(across(a), across(b)), hull(along(a), along(b)));
}

NSRect NSIntegralRect(const NSRect& rect) {
  return NSIsEmptyRect(rect) ? NSZeroRect : rectOf(whole(across(rect)), whole(along(rect)));
}

void NSDivideRect(const NSRect& rect, NSRect* slice, NSRect* remainder, double amount,
                  NSRectEdge edge) {
  const bool isAcross = edge == NSMinXEdge || edge == NSMaxXEdge;
  const bool isFar = edge == NSMaxXEdge || edge == NSMaxYEdge;
  const Span span = isAcross ? across(rect) : along(rect);
  const Cut cut = isFar ? cutAtBack(span, amount) : cutAtFront(span, amount);
  const auto store = [&](NSRect* target, Span part) {
    if (target != nullptr) {
      *target = isAcross ? rectOf(part, along(rect)) : rectOf(across(rect), part);
    }
  };
  store(slice, cut.slice);
  store(remainder, cut.remainder);
}

Ref<NSString> NSStringFromPoint(NSPoint point) { return textOf(point); }

Ref<NSString> NSStringFromSize(NSSize size) { return textOf(size); }

Ref<NSString> NSStringFromRect(const NSRect& rect) {
  return pairText(textOf(rect.origin), textOf(rect.size));
}

Ref<NSString> NSStringFromRange(NSRange range) {
  return pairText(numberText(range.location), numberText(range.length));
}

NSPoint NSPointFromString(const Ref<NSString>& string) {
  NumbersInText numbers(string);
  return {numbers.nextReal(), numbers.nextReal()};
}

NSSize NSSizeFromString(const Ref<NSString>& string) {
  NumbersInText numbers(string);
  return {numbers.nextReal(), numbers.nextReal()};
}

NSRect NSRectFromString(const Ref<NSString>& string) {
  NumbersInText numbers(string);
  return {{numbers.nextReal(), numbers.nextReal()}, {numbers.nextReal(), numbers.nextReal()}};
}

NSRange NSRangeFromString(const Ref<NSString>& string) {
  NumbersInText numbers(string);
  return {numbers.nextWhole(), numbers.nextWhole()};
}

}  // namespace kestova
