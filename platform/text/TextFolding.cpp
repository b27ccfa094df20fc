// SPDX-License-Identifier: Apache-2.0
#include "text/TextFolding.h"

#include <unicode/uchar.h>

#include "text/ICUText.h"
#include "text/Normalization.h"
#include "text/TextPieces.h"

#include <algorithm>
#include <mutex>

namespace kestova {
namespace {

/// Combining classes up to this one are of marks without which the base would be another letter:
/// overlays that negate, nuktas, the voicing of kana, viramas.
constexpr std::uint8_t kLastEssentialClass = 9;

/// Hands each character of a text to a function that appends what becomes of it.
template <class Append>
icu::UnicodeString eachCharacter(const icu::UnicodeString& text, Append&& append) {
  icu::UnicodeString result;
  for (std::int32_t index = 0; index < text.length(); index = text.moveIndex32(index, 1)) {
    append(text.char32At(index), result);
  }
  return result;
}

void appendOfUsualWidth(UChar32 character, icu::UnicodeString& result) {
  const auto type = u_getIntPropertyValue(character, UCHAR_DECOMPOSITION_TYPE);
  icu::UnicodeString usual;
  const bool isOther =
      (type == U_DT_WIDE || type == U_DT_NARROW) &&
      normalizerTo(NormalizationForm::KC).getRawDecomposition(character, usual) != 0;
  result.append(isOther ? usual : icu::UnicodeString(character));
}

void appendUnlessMark(UChar32 character, icu::UnicodeString& result) {
  const bool isMark = u_charType(character) == U_NON_SPACING_MARK &&
                      u_getCombiningClass(character) > kLastEssentialClass;
  if (!isMark) {
    result.append(character);
  }
}

icu::UnicodeString withoutCase(icu::UnicodeString text, CaseRules rules) {
  return text.foldCase(rules == CaseRules::turkic ? U_FOLD_CASE_EXCLUDE_SPECIAL_I
                                                  : U_FOLD_CASE_DEFAULT);
}

}  // namespace

TextFolding::TextFolding(NSUInteger options, CaseRules rules) noexcept
    : isLiteral_((options & NSLiteralSearch) != 0),
      ignoresCase_((options & NSCaseInsensitiveSearch) != 0),
      ignoresMarks_((options & NSDiacriticInsensitiveSearch) != 0),
      ignoresWidth_((options & NSWidthInsensitiveSearch) != 0),
      rules_(rules) {}

void TextFolding::append(std::string_view piece, std::u16string& result) {
  const LatinUnits& units = latinUnits();
  for (const char byte : piece) {
    result.push_back(units.folded[static_cast<unsigned char>(byte)]);
  }
}

void TextFolding::append(std::u16string_view piece, std::u16string& result) {
  if (piece.size() != 1) {
    result.append(unitsOf(folded(piece)));
  } else if (piece.front() < kLatin && (foldedUnit(piece.front()) != 0 || piece.front() == 0)) {
    result.push_back(foldedUnit(piece.front()));
  } else {
    appendUnit(piece.front(), result);
  }
}

/// One table for each way of folding, made when it is first asked for.
const TextFolding::LatinUnits& TextFolding::sharedLatinUnits() const {
  static std::array<std::once_flag, 32> isMade;
  static std::array<LatinUnits, 32> tables;
  const std::size_t way = std::size_t{isLiteral_} | std::size_t{ignoresCase_} << 1 |
                          std::size_t{ignoresMarks_} << 2 | std::size_t{ignoresWidth_} << 3 |
                          std::size_t{rules_ == CaseRules::turkic} << 4;
  std::call_once(isMade[way], [&] { fillLatinUnits(tables[way]); });
  return tables[way];
}

void TextFolding::fillLatinUnits(LatinUnits& result) const {
  for (char16_t unit = 0; unit < kLatin; ++unit) {
    const auto text = folded({&unit, 1});
    const char16_t only = text.length() == 1 ? text[0] : char16_t{0};
    result.folded[unit] = only;
    if (only == 0) {
      result.odd.add(unit);
    } else if (only < kLatin) {
      const bool isFirst = result.spellingCount[only]++ == 0;
      result.spellings[only] = {isFirst ? unit : result.spellings[only][0], unit};
    }
  }
}

void TextFolding::appendUnit(char16_t unit, std::u16string& result) {
  Known& known = known_[unit % known_.size()];
  if (known.unit != unit) {
    const auto text = folded({&unit, 1});
    const auto units = unitsOf(text);
    if (units.size() > known.folded.size()) {
      result.append(units);
      return;
    }
    std::copy(units.begin(), units.end(), known.folded.begin());
    known.unit = unit;
    known.length = static_cast<std::uint8_t>(units.size());
  }
  result.append(known.folded.data(), known.length);
}

icu::UnicodeString TextFolding::folded(std::u16string_view piece) const {
  icu::UnicodeString text = icuText(piece);
  if (ignoresWidth_) {
    text = eachCharacter(text, appendOfUsualWidth);
  }
  return isLiteral_ ? foldedLiterally(text) : foldedCanonically(text);
}

/// A character that has no marks to lose is not decomposed, so that it stays what it was.
icu::UnicodeString TextFolding::foldedLiterally(icu::UnicodeString text) const {
  if (ignoresCase_) {
    text = withoutCase(text, rules_);
  }
  if (ignoresMarks_) {
    const auto decomposed = normalized(text, NormalizationForm::D);
    const auto bare = eachCharacter(decomposed, appendUnlessMark);
    text = bare == decomposed ? text : normalized(bare, NormalizationForm::C);
  }
  return text;
}

/// Case is taken from the decomposed form, because the iota below a letter becomes one after it;
/// what comes of that is decomposed anew before the marks go. But the Turkish İ is a letter of its
/// own, which decomposed would be an I.
icu::UnicodeString TextFolding::foldedCanonically(icu::UnicodeString text) const {
  if (ignoresCase_ && rules_ == CaseRules::turkic) {
    text = normalized(text, NormalizationForm::C).findAndReplace(u"İ", u"i");
  }
  if (ignoresCase_) {
    text = withoutCase(normalized(text, NormalizationForm::D), rules_);
  }
  if (ignoresMarks_) {
    text = eachCharacter(normalized(text, NormalizationForm::D), appendUnlessMark);
  }
  return normalized(text, NormalizationForm::C);
}

}  // namespace kestova
