// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestova {

/// Where the characters of a text begin and end as a reader sees them: a base with its marks, a
/// pair of surrogates, a syllable of jamos, an emoji made of several. They are Unicode's extended
/// grapheme clusters, but CR and LF are two: whoever looks for an LF finds it.
///
/// A short-lived view; the text must outlive it unchanged. One thread at a time.
class ComposedCharacters {
 public:
  explicit ComposedCharacters(std::u16string_view text) noexcept;

  /// Whether no character has units on both sides of an index, which is at most the length.
  bool isBoundary(std::size_t index) const {
    return index == 0 || index >= text_.size() ||
           (neverJoins(text_[index - 1]) && neverJoins(text_[index])) || isBoundaryOf(index);
  }

  /// Whether a unit makes no character together with another such unit.
  static constexpr bool neverJoins(char16_t unit) noexcept { return unit < kFirstMark; }

 private:
  static constexpr char16_t kFirstMark = 0x300;

  bool isBoundaryOf(std::size_t index) const;

  std::u16string_view text_;
  /// Tells this text from every other that the thread has looked at, wherever those lay.
  std::uint64_t identity_;
};

}  // namespace kestova
