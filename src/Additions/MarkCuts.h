// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRange.h>

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace kestova {

/// Combining marks that were taken out of the middle of long runs of them, with the index in the
/// text where each lot belongs: so characters of any length become characters of a bounded one.
///
/// Where such a text is searched for whole characters, it has matches where the complete one has
/// them, as long as more marks are kept than a match can have: a character with that many is part
/// of a match only where marks don't count at all. Nor does it change where characters begin and
/// end, since between two of these marks another one makes no difference.
class MarkCuts {
 public:
  /// The text, with runs of more than twice `kept` marks cut down to `kept` of them.
  std::u16string shorten(std::u16string_view text, std::size_t kept);

  /// The text with the marks in their places again.
  std::u16string restored(std::u16string_view text) const;

  /// Follows a replacement of a range by so many units: what was cut out of the range goes with it.
  /// Takes time by the cuts behind.
  void replace(NSRange range, NSUInteger length);

  /// The cuts before an index, which go, or those from it on: these then count from there.
  MarkCuts takeBefore(NSUInteger index);
  MarkCuts takeFrom(NSUInteger index);

  /// Adds the cuts of a text that follows this one, with what stood at `from` there now at `to`.
  void append(MarkCuts more, NSUInteger from, NSUInteger to);

 private:
  struct Cut {
    NSUInteger place;
    std::u16string marks;
  };

  std::deque<Cut> cuts_;  // by place
};

}  // namespace kestova
