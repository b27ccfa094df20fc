// SPDX-License-Identifier: Apache-2.0
#include "text/Wildcards.h"

#include "text/TextPieces.h"
#include "text/TextStorage.h"
#include "text/UnitMatches.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

/// One unit of a folded text, or a wildcard of the pattern.
struct Item {
  enum class Kind : std::uint8_t {
    first,   ///< a unit that begins a character
    inside,  ///< one that does not
    any,     ///< "*"
    one,     ///< "?"
  };
  char16_t unit;
  Kind kind;
};

using Items = std::vector<Item>;

enum class Wildcards { none, some };

Item::Kind kindOf(std::u16string_view character, Wildcards wildcards) {
  const bool mayBeOne = wildcards == Wildcards::some && character.size() == 1;
  return mayBeOne && character.front() == u'*'   ? Item::Kind::any
         : mayBeOne && character.front() == u'?' ? Item::Kind::one
                                                 : Item::Kind::first;
}

template <class Unit>
Items itemsOf(std::basic_string_view<Unit> text, TextFolding& folding, Wildcards wildcards) {
  const TextPieces<Unit> pieces(text, folding);
  Items items;
  std::u16string folded;
  for (std::size_t start = 0, end; start < text.size(); start = end) {
    end = pieces.boundaryAtOrAfter(start + 1);
    folded.clear();
    pieces.appendFolded(start, end, folded);
    Item::Kind kind = kindOf(folded, wildcards);
    for (const char16_t unit : folded) {
      items.push_back({unit, kind});
      kind = Item::Kind::inside;
    }
  }
  return items;
}

/// The same of ASCII, read where it stands.
class ASCIIItems {
 public:
  ASCIIItems(std::string_view text, bool ignoresCase, Wildcards wildcards)
      : text_(text), ignoresCase_(ignoresCase), wildcards_(wildcards) {}

  std::size_t size() const { return text_.size(); }
  Item operator[](std::size_t index) const {
    const auto unit = static_cast<char16_t>(text_[index]);
    return {ignoresCase_ ? CaselessASCII::fold(unit) : unit, kindOf({&unit, 1}, wildcards_)};
  }

 private:
  std::string_view text_;
  bool ignoresCase_;
  Wildcards wildcards_;
};

/// Matches from the front. Where that fails, the last "*" takes one character more: an earlier one
/// need not, for what followed it was found as early as can be.
template <class TextItems, class PatternItems>
class WildcardMatch {
 public:
  WildcardMatch(const TextItems& text, const PatternItems& pattern)
      : text_(text), pattern_(pattern) {}

  bool holds() {
    while (at_ < text_.size() || wanted_ < pattern_.size()) {
      if (!step() && !retry()) {
        return false;
      }
    }
    return true;
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  bool atBoundary(std::size_t index) const {
    return index == text_.size() || text_[index].kind == Item::Kind::first;
  }

  void skipCharacter(std::size_t& index) const {
    do {
      ++index;
    } while (!atBoundary(index));
  }

  bool step() {
    if (wanted_ == pattern_.size()) {
      return false;
    }
    const Item wanted = pattern_[wanted_];
    if (wanted.kind == Item::Kind::any) {
      return openStar();
    }
    if (at_ == text_.size()) {
      return false;
    }
    if (wanted.kind == Item::Kind::one) {
      if (!atBoundary(at_)) {
        return false;
      }
      skipCharacter(at_);
    } else if (wanted.unit == text_[at_].unit) {
      ++at_;
    } else {
      return false;
    }
    ++wanted_;
    return true;
  }

  bool openStar() {
    if (!atBoundary(at_)) {
      return false;
    }
    star_ = wanted_++;
    afterStar_ = at_;
    return true;
  }

  bool retry() {
    if (star_ == kNone || afterStar_ == text_.size()) {
      return false;
    }
    skipCharacter(afterStar_);
    at_ = afterStar_;
    wanted_ = star_ + 1;
    return true;
  }

  const TextItems& text_;
  const PatternItems& pattern_;
  std::size_t at_ = 0;
  std::size_t wanted_ = 0;
  std::size_t star_ = kNone;
  std::size_t afterStar_ = 0;
};

}  // namespace

bool matchesWildcards(const NSString& text, const NSString& pattern, NSUInteger options) {
  TextFolding folding(options);
  if (text.isEightBit() && pattern.isEightBit() && folding.keepsASCII()) {
    const auto itemsIn = [&](const NSString& string, Wildcards wildcards) {
      return ASCIIItems({string.eightBitCharacters(), string.length()}, folding.ignoresCase(),
                        wildcards);
    };
    const ASCIIItems own = itemsIn(text, Wildcards::none);
    const ASCIIItems wanted = itemsIn(pattern, Wildcards::some);
    return WildcardMatch(own, wanted).holds();
  }
  const auto itemsIn = [&](const NSString& string, Wildcards wildcards) {
    return withUnits(string, [&](auto units) { return itemsOf(units, folding, wildcards); });
  };
  const Items own = itemsIn(text, Wildcards::none);
  const Items wanted = itemsIn(pattern, Wildcards::some);
  return WildcardMatch(own, wanted).holds();
}

}  // namespace kestova
