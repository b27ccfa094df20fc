// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "text/TextPieces.h"
#include "text/UnitPairSearch.h"

namespace kestova {

/// Leads a search past all that can't be a match and can be told so a vector at a time: Latin
/// letters in which two units of what is wanted don't stand where they should, and single pieces
/// that are no part of it.
///
/// Cost: linear in the text; what deceives too often is not passed by any more.
class LikelyPlaces {
 public:
  /// `wanted` is folded and not empty, `length` is how much text is searched. All must outlive
  /// this.
  LikelyPlaces(const TextPieces<char16_t>& pieces, std::u16string_view wanted, std::size_t length);

  /// The boundary from which the search goes on: no match that ends at or before `to` begins
  /// between `from`, a boundary as well, and there.
  std::size_t next(std::size_t from, std::size_t to);

 private:
  static constexpr std::size_t kNone = std::u16string_view::npos;
  /// What may be looked at in vain before that counts.
  static constexpr std::size_t kPatience = 4096;
  /// A text that is not worth the preparations.
  static constexpr std::size_t kShortest = 128;
  /// What folding a piece counts.
  static constexpr std::size_t kFolding = 16;

  bool isOdd(std::size_t index) const { return odd_.contain(pieces_.text()[index]); }
  bool isEasyMatchAt(std::size_t place, std::size_t to);
  std::size_t passOdd(std::size_t index);

  const TextPieces<char16_t>& pieces_;
  const std::u16string_view wanted_;
  /// Where the pair's first unit stands in what is wanted; kNone without a pair.
  std::size_t pairStart_ = kNone;
  UnitPair<char16_t> pair_{};
  OddUnits odd_{};
  std::size_t effort_ = 0;
  std::size_t passed_ = 0;
  std::u16string piece_;
};

}  // namespace kestova
