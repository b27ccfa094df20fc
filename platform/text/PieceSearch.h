// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRange.h>

#include "text/SearchPlace.h"
#include "text/TextPieces.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {

/// Searches a text by what folding leaves of its pieces: a match consists of whole pieces. The text
/// is folded a window at a time, small near the beginning of the search, so that a match nearby
/// costs little and no text costs more memory than a few times what is wanted.
template <class Unit>
class PieceSearch {
 public:
  /// `wanted` is folded already and not empty. All must outlive this.
  PieceSearch(const TextPieces<Unit>& pieces, std::u16string_view wanted) noexcept
      : pieces_(pieces), wanted_(wanted) {}

  /// Where it stands in a range; {NSNotFound, 0} when it does not.
  NSRange find(NSRange range, SearchPlace place);

 private:
  static constexpr NSRange kNowhere{NSNotFound, 0};
  static constexpr std::size_t kFirstWindow = 16;
  static constexpr std::size_t kLargestWindow = 8192;
  static constexpr std::size_t kRun = 256;
  static constexpr std::size_t kLongWay = 128;

  NSRange first(std::size_t from, std::size_t to);
  NSRange last(std::size_t from, std::size_t to);
  NSRange atStart(std::size_t from, std::size_t to);
  NSRange atEnd(std::size_t from, std::size_t to);

  std::size_t windowAfter(std::size_t size) const noexcept;
  std::size_t startOfPieceBefore(std::size_t index) const {
    return pieces_.boundaryAtOrBefore(index - 1);
  }

  /// Folds whole pieces from `from` until there are `size` units of them or `to` is reached, and
  /// answers where they end.
  std::size_t foldFrom(std::size_t from, std::size_t to, std::size_t size);

  /// Folds units that are pieces by themselves and easily folded, as most of most texts are: at
  /// most `limit` and not too many, from `from` on. Answers where the next piece begins.
  std::size_t foldEasyUnits(std::size_t from, std::size_t to, std::size_t limit);

  /// Folds the pieces before `to`, about `size` units of the text or more, and answers where they
  /// begin. There are twice as many units as are wanted, or all down to `from`.
  std::size_t foldBack(std::size_t from, std::size_t to, std::size_t size);

  void foldPiece(std::size_t start, std::size_t end);
  void resizeWindow(std::size_t size);
  template <Direction direction>
  NSRange matchInWindow() const;

  const TextPieces<Unit>& pieces_;
  std::u16string_view wanted_;

  /// The window: its units, and for those that begin or end a piece where it does so in the text;
  /// kInside for the others.
  static constexpr std::size_t kInside = std::u16string_view::npos;
  std::u16string units_;
  std::vector<std::size_t> starts_;
  std::vector<std::size_t> ends_;
};

extern template class PieceSearch<char>;
extern template class PieceSearch<char16_t>;

}  // namespace kestova
