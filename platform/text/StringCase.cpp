// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>
#include <unicode/locid.h>
#include <unicode/ucasemap.h>
#include <unicode/uchar.h>

#include "text/CharacterWalk.h"
#include "text/ICUText.h"
#include "text/LocaleCase.h"
#include "text/TextPieces.h"
#include "text/TextStorage.h"
#include "text/UnitMatches.h"

#include <algorithm>

namespace kestova {
namespace {

char smallLetter(char byte) { return CaselessASCII::fold(byte); }
char capital(char byte) {
  return smallLetter(byte) == byte ? CaselessASCII::otherSpelling(byte) : byte;
}

bool isSpace(std::uint32_t character) {
  return u_isUWhiteSpace(static_cast<UChar32>(character)) != 0;
}
bool isNoSpace(std::uint32_t character) { return !isSpace(character); }

template <class Map>
Ref<NSString> mapped(std::string_view ascii, Map map) {
  std::string result(ascii);
  std::transform(result.begin(), result.end(), result.begin(), map);
  return result;
}

Ref<NSString> capitalized(std::string_view ascii) {
  bool startsWord = true;
  return mapped(ascii, [&](char byte) {
    const bool isFirst = startsWord;
    startsWord = isSpace(static_cast<unsigned char>(byte));
    return isFirst ? capital(byte) : smallLetter(byte);
  });
}

icu::UnicodeString capitalizedWord(std::u16string_view word) {
  constexpr auto kAllOfIt = U_TITLECASE_WHOLE_STRING | U_TITLECASE_NO_BREAK_ADJUSTMENT;
  return icuText(word).toTitle(nullptr, icu::Locale::getRoot(), kAllOfIt);
}

Ref<NSString> capitalized(std::u16string_view units) {
  std::u16string result;
  for (std::size_t index = 0; index < units.size();) {
    const std::size_t word = findCharacter(units, index, isNoSpace);
    const std::size_t end = findCharacter(units, word, isSpace);
    result.append(units.substr(index, word - index));
    result.append(unitsOf(capitalizedWord(units.substr(word, end - word))));
    index = end;
  }
  return result;
}

Ref<NSString> folded(std::u16string_view units, TextFolding& folding) {
  return foldedText(units, folding);
}
Ref<NSString> folded(std::string_view ascii, TextFolding& folding) {
  return folding.ignoresCase() && folding.keepsASCII() ? mapped(ascii, smallLetter)
                                                       : Ref<NSString>(foldedText(ascii, folding));
}

}  // namespace

Ref<NSString> NSString::uppercaseString() const {
  return isEightBit()
             ? mapped({eightBitCharacters(), length()}, capital)
             : Ref<NSString>(
                   unitsOf(icuText({utf16Characters(), length()}).toUpper(icu::Locale::getRoot())));
}

Ref<NSString> NSString::lowercaseString() const {
  return isEightBit()
             ? mapped({eightBitCharacters(), length()}, smallLetter)
             : Ref<NSString>(
                   unitsOf(icuText({utf16Characters(), length()}).toLower(icu::Locale::getRoot())));
}

Ref<NSString> NSString::capitalizedString() const {
  return withUnits(*this, [](auto units) { return capitalized(units); });
}

Ref<NSString> NSString::stringByFoldingWithOptions_locale(NSUInteger options,
                                                          const Ref<NSLocale>& locale) const {
  constexpr NSUInteger kKnown =
      NSCaseInsensitiveSearch | NSDiacriticInsensitiveSearch | NSWidthInsensitiveSearch;
  TextFolding folding(options & kKnown, caseRulesOf(locale));
  if (!folding.takesAway()) {
    return description();
  }
  return withUnits(*this, [&](auto units) { return folded(units, folding); });
}

}  // namespace kestova
