// SPDX-License-Identifier: Apache-2.0
#include "Additions/StringSqueezing.h"

#include "Additions/MarkCuts.h"
#include "Additions/StringUnits.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace kestova {
namespace {

bool has(NSUInteger options, NSUInteger option) { return (options & option) != 0; }

/// \name Unit by unit
/// Where a match is a run of units, whatever stands around it, what has been squeezed grows unit by
/// unit: once the doubled text stands at its end, that is the first match, and half of it goes.
/// What then remains is what was there some units ago, so that all that was known of it holds
/// again.
/// @{

template <class Unit>
class UnitSqueeze {
 public:
  using Units = std::basic_string<Unit>;

  UnitSqueeze(Units once, bool ignoresCase) : once_(std::move(once)), ignoresCase_(ignoresCase) {
    fallback_.resize(2 * once_.size());
    for (std::uint32_t index = 1; index < fallback_.size(); ++index) {
      fallback_[index] = matchedWith(fallback_[index - 1], doubled(index));
    }
  }

  Units apply(const Units& text) {
    for (std::size_t index = skip(text, 0); index < text.size(); index = skip(text, index)) {
      const std::uint32_t before = matched_.empty() ? 0 : matched_.back();
      result_.push_back(text[index]);
      matched_.push_back(matchedWith(before, folded(text[index])));
      ++index;
      if (matched_.back() == fallback_.size()) {
        halve();
      }
    }
    return std::move(result_);
  }

 private:
  Unit folded(Unit unit) const {
    return ignoresCase_ && unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A'))
                                                      : unit;
  }
  Unit doubled(std::size_t index) const { return folded(once_[index % once_.size()]); }

  /// How much of the doubled text ends with a unit that follows so much of it.
  std::uint32_t matchedWith(std::uint32_t before, Unit unit) const {
    while (before > 0 && doubled(before) != unit) {
      before = fallback_[before - 1];
    }
    return doubled(before) == unit ? before + 1 : 0;
  }

  /// Copies what cannot begin a match while none has begun, and answers where it ends.
  std::size_t skip(const Units& text, std::size_t index) {
    if (ignoresCase_ || (!matched_.empty() && matched_.back() != 0)) {
      return index;
    }
    const std::size_t end = std::min(text.find(once_.front(), index), text.size());
    result_.append(text, index, end - index);
    matched_.resize(result_.size());
    return end;
  }

  void halve() {
    const std::size_t size = result_.size() - once_.size();
    matched_.resize(size);
    result_.resize(size);
    std::copy(once_.rbegin(), once_.rend(), result_.rbegin());
  }

  Units once_;
  bool ignoresCase_;
  /// For each beginning of the doubled text, the longest shorter one that it ends with.
  std::vector<std::uint32_t> fallback_;
  Units result_;
  /// How much of the doubled text each beginning of the result ends with.
  std::vector<std::uint32_t> matched_;
};

template <class Unit>
std::basic_string<Unit> unitsOf(const Ref<NSString>& text) {
  return withStoredUnits(
      text, [](auto units) { return std::basic_string<Unit>(units.begin(), units.end()); });
}

template <class Unit>
Ref<NSString> squeezedByUnits(const Ref<NSString>& self, const Ref<NSString>& once,
                              NSUInteger options) {
  auto text = unitsOf<Unit>(self);
  auto wanted = unitsOf<Unit>(once);
  const auto turn = [&](std::basic_string<Unit>& units) {
    if (has(options, NSBackwardsSearch)) {
      std::reverse(units.begin(), units.end());
    }
  };
  turn(text);
  turn(wanted);
  auto result =
      UnitSqueeze<Unit>(std::move(wanted), has(options, NSCaseInsensitiveSearch)).apply(text);
  turn(result);
  return result;
}

/// @}
/// \name Match by match
/// A new match can only begin or end near the place of the last replacement: each step is limited
/// to a part of the text around it. That part is short because characters with very many marks are
/// shortened before, and get their marks back in the result.
/// @{

/// Whether matches are made of characters of the standard, each of which leaves something when it
/// is folded; otherwise of those that a reader sees.
bool isBySingleCharacters(NSUInteger options) {
  return has(options, NSLiteralSearch) && !has(options, NSDiacriticInsensitiveSearch);
}

/// The text to squeeze, and what was cut out of it.
struct Shortened {
  Shortened(const Ref<NSString>& whole, const Ref<NSString>& twice, NSUInteger options)
      : text(whole) {
    if (!whole->isEightBit() && !isBySingleCharacters(options) &&
        !has(options, NSRegularExpressionSearch)) {
      text = cuts.shorten({whole->utf16Characters(), whole->length()}, 32 + 3 * twice->length());
    }
  }

  MarkCuts cuts;
  Ref<NSString> text;
};

/// More whole characters than a match of the doubled text can have: none of its units is folded to
/// more than three, and of two neighbouring characters at least one leaves some.
NSUInteger reachOf(const Ref<NSString>& twice) { return 6 * twice->length() + 2; }

/// Where the character at an index begins.
NSUInteger startOfCharacter(const NSString& text, NSUInteger index) {
  const bool isWithinPair = index > 0 && index < text.length() &&
                            (text.characterAtIndex(index) & 0xFC00) == 0xDC00 &&
                            (text.characterAtIndex(index - 1) & 0xFC00) == 0xD800;
  return isWithinPair ? index - 1 : index;
}

NSUInteger stepBack(const NSString& text, NSUInteger index, NSUInteger count, NSUInteger options) {
  if (isBySingleCharacters(options)) {
    return startOfCharacter(text, index - std::min(index, 2 * count));
  }
  for (; count > 0 && index > 0; --count) {
    index = text.rangeOfComposedCharacterSequenceAtIndex(index - 1).location;
  }
  return index;
}

NSUInteger stepOn(const NSString& text, NSUInteger index, NSUInteger count, NSUInteger options) {
  if (isBySingleCharacters(options)) {
    return startOfCharacter(text, index + std::min(text.length() - index, 2 * count + 1));
  }
  for (; count > 0 && index < text.length(); --count) {
    index = NSMaxRange(text.rangeOfComposedCharacterSequenceAtIndex(index));
  }
  return index;
}

/// From the front. The text moves into the result a chunk at a time, so that a replacement moves
/// little of what is behind it; a match at the end of it counts when the next character is there
/// too, for that may belong to it.
class FrontSqueeze {
 public:
  FrontSqueeze(const Ref<NSString>& text, const Ref<NSString>& once, const Ref<NSString>& twice,
               NSUInteger options)
      : source_(text, twice, options), once_(once), twice_(twice), options_(options) {}

  /// Ends with the whole text in the result: only a pattern is done before nothing is found, and it
  /// is looked for in nothing but the whole text.
  Ref<NSString> result() {
    while (!isDone_) {
      const NSRange rest{from_, result_->length() - from_};
      const NSRange match = result_->rangeOfString_options_range(twice_, options_, rest);
      const bool isFound = match.location != NSNotFound;
      if (isFound && (isWhole() || NSMaxRange(match) + kLookAhead <= result_->length())) {
        replace(match);
      } else if (isWhole()) {
        isDone_ = true;
      } else {
        from_ = isFound ? from_ : firstPlaceBefore(result_->length());
        takeMore();
      }
    }
    return cuts_.restored(result_->utf16());
  }

 private:
  static constexpr NSUInteger kLookAhead = 2;
  static constexpr NSUInteger kChunk = 4096;

  bool isWhole() const { return taken_ == source_.text->length(); }
  bool isPattern() const { return has(options_, NSRegularExpressionSearch); }

  NSUInteger firstPlaceBefore(NSUInteger index) const {
    const bool isFixed = isPattern() || has(options_, NSAnchoredSearch);
    return isFixed ? 0 : stepBack(*result_, index, reachOf(twice_), options_);
  }

  void replace(NSRange match) {
    result_->replaceCharactersInRange_withString(match, once_);
    cuts_.replace(match, once_->length());
    from_ = firstPlaceBefore(match.location);
    isDone_ = isPattern() && once_->length() >= match.length;
  }

  /// What a pattern matches may depend on all that follows.
  void takeMore() {
    const NSUInteger left = source_.text->length() - taken_;
    const NSUInteger count = isPattern() ? left : std::min(left, kChunk);
    cuts_.append(source_.cuts.takeBefore(taken_ + count), taken_, result_->length());
    result_->appendString(source_.text->substringWithRange({taken_, count}));
    taken_ += count;
  }

  Shortened source_;
  const Ref<NSString>& once_;
  const Ref<NSString>& twice_;
  NSUInteger options_;
  Ref<NSMutableString> result_ = NSMutableString::string();
  MarkCuts cuts_;  // of the result
  NSUInteger taken_ = 0;
  NSUInteger from_ = 0;
  bool isDone_ = false;
};

/// From the back. What lies behind the reach of new matches is put aside.
Ref<NSString> squeezedFromBack(const Ref<NSString>& self, const Ref<NSString>& once,
                               const Ref<NSString>& twice, NSUInteger options) {
  Shortened source(self, twice, options);
  const auto front = NSMutableString::stringWithString(source.text);
  std::vector<std::u16string> behind;
  for (NSRange match;
       (match = front->rangeOfString_options(twice, options)).location != NSNotFound;) {
    front->replaceCharactersInRange_withString(match, once);
    source.cuts.replace(match, once->length());
    const NSUInteger end = stepOn(*front, match.location + once->length(), reachOf(twice), options);
    if (!has(options, NSAnchoredSearch) && end < front->length()) {
      behind.push_back(source.cuts.takeFrom(end).restored(front->substringFromIndex(end)->utf16()));
      front->deleteCharactersInRange({end, front->length() - end});
    }
  }
  std::u16string result = source.cuts.restored(front->utf16());
  std::for_each(behind.rbegin(), behind.rend(), [&](const auto& piece) { result += piece; });
  return result;
}

/// @}

/// Whether a match is a run of units, wherever it stands.
bool isUnitByUnit(const Ref<NSString>& self, const Ref<NSString>& once, NSUInteger options) {
  constexpr NSUInteger kFoldings =
      NSCaseInsensitiveSearch | NSDiacriticInsensitiveSearch | NSWidthInsensitiveSearch;
  const bool isASCII = self->isEightBit() && once->isEightBit();
  const bool isExact = has(options, NSLiteralSearch) && !has(options, kFoldings);
  return (isASCII || isExact) && !has(options, NSAnchoredSearch | NSRegularExpressionSearch) &&
         once->length() < std::numeric_limits<std::int32_t>::max();
}

}  // namespace

Ref<NSString> squeezed(const Ref<NSString>& self, const Ref<NSString>& once, NSUInteger options) {
  const auto twice = once ? once->stringByAppendingString(once) : nullptr;
  if (self->rangeOfString_options(twice, options).location == NSNotFound) {
    return self;
  }
  if (isUnitByUnit(self, once, options)) {
    return self->isEightBit() && once->isEightBit()
               ? squeezedByUnits<char>(self, once, options)
               : squeezedByUnits<char16_t>(self, once, options);
  }
  const bool isFromBack =
      has(options, NSBackwardsSearch) && !has(options, NSRegularExpressionSearch);
  return isFromBack ? squeezedFromBack(self, once, twice, options)
                    : FrontSqueeze(self, once, twice, options).result();
}

}  // namespace kestova
