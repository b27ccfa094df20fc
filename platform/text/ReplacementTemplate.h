// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <cstdint>
#include <vector>

#include "text/TextStorage.h"

namespace kestova {

/// Appends a range of a text; throws NSRangeException past its end.
void appendRange(TextStorage& result, const NSString& text, NSRange range);

/// What matches are replaced with, taken apart once: runs of the template's own text and groups.
/// See NSRegularExpression for how it is written.
class ReplacementTemplate {
 public:
  ReplacementTemplate(const NSString& text, std::int32_t groupCount);

  /// Appends the replacement of a match in `source`. `group` answers where a group stands in it.
  template <class Group>
  void appendTo(TextStorage& result, const NSString& source, Group&& group) const {
    for (const Piece& piece : pieces_) {
      if (piece.group == kNoGroup) {
        appendRange(result, text_, piece.literal);
      } else if (const NSRange range = group(piece.group); range.location != NSNotFound) {
        appendRange(result, source, range);
      }
    }
  }

 private:
  static constexpr std::int32_t kNoGroup = -1;

  struct Piece {
    NSRange literal;
    std::int32_t group = kNoGroup;
  };

  template <class Unit>
  void parse(std::basic_string_view<Unit> units, std::int32_t groupCount);
  void addLiteral(NSUInteger location);
  void addGroup(std::int32_t group, std::int32_t groupCount);

  const NSString& text_;
  std::vector<Piece> pieces_;
};

}  // namespace kestova
