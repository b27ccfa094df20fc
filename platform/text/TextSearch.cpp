// SPDX-License-Identifier: Apache-2.0
#include "text/TextSearch.h"

#include <KestovaPlatform/UTF8.h>

#include "text/PieceSearch.h"
#include "text/TextPieces.h"
#include "text/TextStorage.h"

namespace kestova {
namespace {

/// Whether nothing but the units themselves is canonically equivalent to ASCII text: the grave
/// accent, the semicolon and the K have a second code each.
bool hasOneSpelling(std::u16string_view ascii) { return ascii.find_first_of(u"`;K") == ascii.npos; }

}  // namespace

TextSearch::TextSearch(const NSString& text, const NSString& wanted, NSUInteger options,
                       CaseRules rules)
    : text_(text),
      wanted_(wanted),
      place_(searchPlace(options)),
      folding_(options, rules),
      way_(withUnits(text, [&](auto units) { return wayIn(units); })) {}

NSRange TextSearch::in(NSRange range) {
  switch (way_) {
    case Way::never:
      return {NSNotFound, 0};
    case Way::bytes:
      return bytesIn<ExactUnits>(range);
    case Way::caselessBytes:
      return bytesIn<CaselessASCII>(range);
    case Way::units:
    case Way::wholeUnits:
      return unitsIn(range);
    case Way::pieces:
      return piecesIn(range);
  }
  return {NSNotFound, 0};
}

bool TextSearch::canVisitAll() const noexcept {
  const bool isUnitByUnit = way_ == Way::bytes || way_ == Way::caselessBytes || way_ == Way::units;
  return isUnitByUnit && place_ == SearchPlace::first;
}

void TextSearch::visitAll(NSRange range, const std::function<bool(NSRange)>& visit) const {
  if (way_ == Way::units) {
    visitAllOf<ExactUnits>(std::u16string_view(text_.utf16Characters(), text_.length()), units_,
                           range, visit);
    return;
  }
  const std::string_view text(text_.eightBitCharacters(), text_.length());
  if (way_ == Way::bytes) {
    visitAllOf<ExactUnits>(text, bytes_, range, visit);
  } else {
    visitAllOf<CaselessASCII>(text, bytes_, range, visit);
  }
}

template <class Units, class Unit>
void TextSearch::visitAllOf(std::basic_string_view<Unit> text, std::basic_string_view<Unit> wanted,
                            NSRange range, const std::function<bool(NSRange)>& visit) const {
  UnitMatches<Unit, Units, Direction::forwards> matches(text.substr(range.location, range.length),
                                                        wanted);
  for (std::size_t place; (place = matches.next()) != matches.npos;) {
    if (!visit({range.location + place, wanted.size()})) {
      return;
    }
  }
}

/// ASCII has nothing that folding could change but its case, and each unit is a character.
TextSearch::Way TextSearch::wayIn(std::string_view) {
  if (!folding_.keepsASCII()) {
    ownUnits_ = withUnits(wanted_, [&](auto units) { return foldedText(units, folding_); });
    units_ = ownUnits_;
    return units_.empty() ? Way::never : Way::pieces;
  }
  if (wanted_.isEightBit()) {
    bytes_ = {wanted_.eightBitCharacters(), wanted_.length()};
  } else {
    const auto folded =
        foldedText(std::u16string_view(wanted_.utf16Characters(), wanted_.length()), folding_);
    ownBytes_ = isASCII(folded) ? std::string(folded.begin(), folded.end()) : std::string();
    bytes_ = ownBytes_;
  }
  return bytes_.empty() ? Way::never : folding_.ignoresCase() ? Way::caselessBytes : Way::bytes;
}

TextSearch::Way TextSearch::wayIn(std::u16string_view) {
  const bool isExact = folding_.isLiteral() && !folding_.takesAway();
  if (isExact && !wanted_.isEightBit()) {
    units_ = {wanted_.utf16Characters(), wanted_.length()};
    return units_.empty() ? Way::never : Way::units;
  }
  ownUnits_ = withUnits(wanted_, [&](auto units) { return foldedText(units, folding_); });
  units_ = ownUnits_;
  if (units_.empty()) {
    return Way::never;
  }
  const bool isPlain = !folding_.takesAway() && isASCII(units_) && hasOneSpelling(units_);
  return isExact ? Way::units : isPlain ? Way::wholeUnits : Way::pieces;
}

template <class Units>
NSRange TextSearch::bytesIn(NSRange range) const {
  const std::string_view text(text_.eightBitCharacters() + range.location, range.length);
  const std::size_t place =
      findUnits<Units>(text, bytes_, place_, [](std::size_t) { return true; });
  return place == text.npos ? NSRange{NSNotFound, 0}
                            : NSRange{range.location + place, bytes_.size()};
}

NSRange TextSearch::unitsIn(NSRange range) const {
  const std::u16string_view all(text_.utf16Characters(), text_.length());
  const ComposedCharacters characters(all);
  const auto isWhole = [&](std::size_t place) {
    return way_ == Way::units || (characters.isBoundary(range.location + place) &&
                                  characters.isBoundary(range.location + place + units_.size()));
  };
  const auto text = all.substr(range.location, range.length);
  const std::size_t place = findUnits<ExactUnits>(text, units_, place_, isWhole);
  return place == text.npos ? NSRange{NSNotFound, 0}
                            : NSRange{range.location + place, units_.size()};
}

NSRange TextSearch::piecesIn(NSRange range) {
  return withUnits(text_, [&](auto text) {
    using Unit = typename decltype(text)::value_type;
    const TextPieces<Unit> pieces(text, folding_);
    return PieceSearch<Unit>(pieces, units_).find(range, place_);
  });
}

}  // namespace kestova
