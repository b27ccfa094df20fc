// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>
#include <unicode/unistr.h>

#include "text/UnitPairSearch.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestova {

/// Whose letters lose their case: everybody's, or those of Turkish and Azeri, where I belongs to ı
/// and İ to i.
enum class CaseRules { common, turkic };

/// What searching and comparing sees of a text: its characters without the distinctions that the
/// options take away, in their composed form. Texts are the same to an operation when this is.
///
/// One thread at a time.
class TextFolding {
 public:
  /// `options` is a sum of NSStringCompareOptions.
  explicit TextFolding(NSUInteger options, CaseRules rules = CaseRules::common) noexcept;

  /// Whether each character stands for itself, and canonically equivalent ones differ.
  bool isLiteral() const noexcept { return isLiteral_; }

  bool ignoresCase() const noexcept { return ignoresCase_; }

  /// Whether any distinction is taken away beyond canonical equivalence.
  bool takesAway() const noexcept { return ignoresCase_ || ignoresMarks_ || ignoresWidth_; }

  /// Whether ASCII is folded to ASCII, letters at most to their small ones.
  bool keepsASCII() const noexcept { return !ignoresCase_ || rules_ == CaseRules::common; }

  /// What a unit that is a piece by itself is folded to, if that is one unit and can be told
  /// without much ado; 0 otherwise.
  char16_t foldedUnit(char16_t unit) {
    return unit < kLatin ? latinUnits().folded[unit] : char16_t{0};
  }

  /// Whether at most two units that are folded easily become this one, and which; a unit twice
  /// where there is but one.
  bool hasFewSpellings(char16_t folded) {
    return folded < kLatin && latinUnits().spellingCount[folded] - 1U < 2;
  }
  const std::array<char16_t, 2>& spellings(char16_t folded) {
    return latinUnits().spellings[folded];
  }

  /// The units that are not folded easily.
  const OddUnits& oddUnits() { return latinUnits().odd; }

  /// Appends what is seen of a piece: a composed character, or a single one where folding is
  /// literal.
  void append(std::string_view piece, std::u16string& result);
  void append(std::u16string_view piece, std::u16string& result);

 private:
  /// What a unit that is a piece by itself is folded to, for as many as have been met.
  struct Known {
    char16_t unit = 0;
    std::uint8_t length = 0;
    std::array<char16_t, 3> folded;
  };

  /// The units that are folded by a table: the Latin letters of Europe.
  static constexpr char16_t kLatin = 0x300;
  struct LatinUnits {
    std::array<char16_t, kLatin> folded{};
    std::array<std::uint8_t, kLatin> spellingCount{};
    std::array<std::array<char16_t, 2>, kLatin> spellings{};
    OddUnits odd{kLatin, {}, 0};
  };

  const LatinUnits& latinUnits() {
    if (latinUnits_ == nullptr) {
      latinUnits_ = &sharedLatinUnits();
    }
    return *latinUnits_;
  }
  const LatinUnits& sharedLatinUnits() const;
  void fillLatinUnits(LatinUnits& result) const;
  void appendUnit(char16_t unit, std::u16string& result);
  icu::UnicodeString folded(std::u16string_view piece) const;
  icu::UnicodeString foldedLiterally(icu::UnicodeString text) const;
  icu::UnicodeString foldedCanonically(icu::UnicodeString text) const;

  bool isLiteral_;
  bool ignoresCase_;
  bool ignoresMarks_;
  bool ignoresWidth_;
  CaseRules rules_;
  const LatinUnits* latinUnits_ = nullptr;
  std::array<Known, 64> known_;
};

}  // namespace kestova
