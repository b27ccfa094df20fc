// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "text/TextPieces.h"

#include <cstddef>
#include <string>

namespace kestova {

/// A text from a piece on, unit by unit as folding leaves it. Never more than one piece is folded
/// ahead.
template <class Unit>
class FoldedUnits {
 public:
  /// `start` is a boundary. The pieces must outlive this.
  FoldedUnits(const TextPieces<Unit>& pieces, std::size_t start) : pieces_(pieces), end_(start) {
    fold();
  }

  bool atEnd() const noexcept { return index_ == units_.size(); }
  char16_t unit() const noexcept { return units_[index_]; }

  void advance() {
    if (++index_ == units_.size()) {
      fold();
    }
  }

  /// Whether the next unit is the first one of its piece, or there is none.
  bool atBoundary() const noexcept { return index_ == 0; }

  /// Where the piece of the next unit begins; the end of the text at its end.
  std::size_t position() const noexcept { return atEnd() ? end_ : start_; }

 private:
  void fold() {
    index_ = 0;
    units_.clear();
    start_ = end_;
    if (const char16_t unit = end_ < pieces_.text().size() ? pieces_.easyUnitAt(end_) : u'\0') {
      units_.push_back(unit);
      ++end_;
      return;
    }
    while (units_.empty() && end_ < pieces_.text().size()) {
      start_ = end_;
      end_ = pieces_.boundaryAtOrAfter(start_ + 1);
      pieces_.appendFolded(start_, end_, units_);
    }
  }

  const TextPieces<Unit>& pieces_;
  std::size_t start_ = 0;
  std::size_t end_;
  std::u16string units_;
  std::size_t index_ = 0;
};

}  // namespace kestova
