// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "text/ComposedCharacters.h"
#include "text/TextFolding.h"

#include <unicode/utf16.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace kestova {

/// A text as a row of pieces, none of which is ever matched in part: composed characters, or single
/// ones where folding is literal. In 8-bit storage each unit is one.
template <class Unit>
class TextPieces {
 public:
  using View = std::basic_string_view<Unit>;

  /// Text and folding must outlive this.
  TextPieces(View text, TextFolding& folding) noexcept
      : text_(text), folding_(folding), characters_(text) {}

  View text() const noexcept { return text_; }
  TextFolding& folding() const noexcept { return folding_; }

  bool isBoundary(std::size_t index) const {
    if constexpr (kIsWide) {
      return folding_.isLiteral() ? !splitsPair(index) : characters_.isBoundary(index);
    } else {
      return true;
    }
  }

  std::size_t boundaryAtOrBefore(std::size_t index) const {
    while (!isBoundary(index)) {
      --index;
    }
    return index;
  }
  std::size_t boundaryAtOrAfter(std::size_t index) const {
    while (!isBoundary(index)) {
      ++index;
    }
    return index;
  }

  /// What is seen of the unit at an index if it is a piece by itself and can be folded easily; 0
  /// otherwise. NUL is not folded easily.
  char16_t easyUnitAt(std::size_t index) const {
    const bool standsAlone =
        !kIsWide || folding_.isLiteral() || index + 1 == text_.size() ||
        ComposedCharacters::neverJoins(static_cast<char16_t>(text_[index + 1]));
    return standsAlone ? folding_.foldedUnit(static_cast<char16_t>(text_[index])) : char16_t{0};
  }

  /// Appends what is seen of the piece between two neighbouring boundaries.
  void appendFolded(std::size_t start, std::size_t end, std::u16string& result) const {
    folding_.append(text_.substr(start, end - start), result);
  }

 private:
  static constexpr bool kIsWide = std::is_same_v<Unit, char16_t>;
  struct NoCharacters {
    explicit NoCharacters(View) noexcept {}
  };

  bool splitsPair(std::size_t index) const noexcept {
    return index > 0 && index < text_.size() && U16_IS_LEAD(text_[index - 1]) &&
           U16_IS_TRAIL(text_[index]);
  }

  View text_;
  TextFolding& folding_;
  [[no_unique_address]] std::conditional_t<kIsWide, ComposedCharacters, NoCharacters> characters_;
};

/// All of a text, folded.
template <class Unit>
std::u16string foldedText(std::basic_string_view<Unit> text, TextFolding& folding) {
  const TextPieces<Unit> pieces(text, folding);
  std::u16string result;
  for (std::size_t start = 0, end; start < text.size(); start = end) {
    end = pieces.boundaryAtOrAfter(start + 1);
    pieces.appendFolded(start, end, result);
  }
  return result;
}

}  // namespace kestova
