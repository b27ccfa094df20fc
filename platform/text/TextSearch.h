// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include "text/SearchPlace.h"
#include "text/TextFolding.h"

#include <functional>
#include <string>
#include <string_view>

namespace kestova {

/// Looks for one text in another by NSStringCompareOptions, but for regular expressions: prepared
/// once, asked as often as is wanted.
///
/// Both texts must outlive this unchanged. One thread at a time. Nothing is allocated where both
/// are in 8-bit storage.
class TextSearch {
 public:
  TextSearch(const NSString& text, const NSString& wanted, NSUInteger options,
             CaseRules rules = CaseRules::common);
  TextSearch(const TextSearch&) = delete;
  TextSearch& operator=(const TextSearch&) = delete;

  /// Where it stands in a range of the text, which lies within it; {NSNotFound, 0} when it does
  /// not. Characters count as they stand in the whole text: no match cuts one in two at an end of
  /// the range.
  NSRange in(NSRange range);

  /// Whether the matches from the front, overlapping ones included, can be had in one go, and
  /// having them so: each is handed to `visit` until that answers false.
  bool canVisitAll() const noexcept;
  void visitAll(NSRange range, const std::function<bool(NSRange)>& visit) const;

 private:
  /// How the places are found.
  enum class Way {
    never,          ///< nothing can match
    bytes,          ///< 8-bit units as they are
    caselessBytes,  ///< 8-bit units without the case of letters
    units,          ///< UTF-16 units as they are
    wholeUnits,     ///< the same, where they are whole characters
    pieces,         ///< folded pieces
  };

  Way wayIn(std::string_view text);
  Way wayIn(std::u16string_view text);
  template <class Units>
  NSRange bytesIn(NSRange range) const;
  NSRange unitsIn(NSRange range) const;
  template <class Units, class Unit>
  void visitAllOf(std::basic_string_view<Unit> text, std::basic_string_view<Unit> wanted,
                  NSRange range, const std::function<bool(NSRange)>& visit) const;
  NSRange piecesIn(NSRange range);

  const NSString& text_;
  const NSString& wanted_;
  SearchPlace place_;
  TextFolding folding_;
  /// What is wanted in the units of the text: a view of the string itself, or of what it was turned
  /// into.
  std::string_view bytes_;
  std::u16string_view units_;
  std::string ownBytes_;
  std::u16string ownUnits_;
  Way way_;
};

}  // namespace kestova
