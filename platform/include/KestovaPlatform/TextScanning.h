// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kestova {

/// \file
/// Counting and finding in plain views of text, as fast as memory is read.
///
///     LineEndingCounter lines(LineEnding::CRLF);
///     ByteRunCounter words(alphanumericBytes());
///     for (const std::string_view piece : pieces) {
///       lines.add(piece);
///       words.add(piece);
///     }
///     report(lines.count(), words.count());
///
/// Texts are views of bytes (8-bit text, UTF-8) or of UTF-16 units. Each counter is a small value
/// that can be fed a text in pieces of any size, empty ones too: what it answers does not depend on
/// where the text was cut, not even between a CR and its LF.
///
/// Threads: the functions, any; a counter, one at a time. Nothing is allocated, and nothing outside
/// the views is read. Cost: one pass over what is given.

/// \name Single units
/// Positions are indexes into the view; `std::string_view::npos` says that there is none.
/// @{

KESTOVA_PLATFORM_EXPORT std::size_t countOf(std::string_view text, char byte) noexcept;
KESTOVA_PLATFORM_EXPORT std::size_t countOf(std::u16string_view text, char16_t unit) noexcept;

/// Where the first CR or LF stands.
KESTOVA_PLATFORM_EXPORT std::size_t firstLineBreak(std::string_view text) noexcept;
KESTOVA_PLATFORM_EXPORT std::size_t firstLineBreak(std::u16string_view text) noexcept;

/// Where the last CR or LF stands.
KESTOVA_PLATFORM_EXPORT std::size_t lastLineBreak(std::string_view text) noexcept;
KESTOVA_PLATFORM_EXPORT std::size_t lastLineBreak(std::u16string_view text) noexcept;

/// @}
/// \name Line endings
/// @{

/// What ends a line. Any other value ends none.
enum class LineEnding : std::int32_t {
  LF = 0,
  CR = 1,
  CRLF = 2,  ///< An LF whose unit before is a CR.
};

/// Counts the endings of one kind.
class KESTOVA_PLATFORM_EXPORT LineEndingCounter {
 public:
  explicit LineEndingCounter(LineEnding ending) noexcept : ending_(ending) {}

  void add(std::string_view piece) noexcept;
  void add(std::u16string_view piece) noexcept;

  /// Adds a piece up to the ending that makes the count `wanted`, and answers where in the piece
  /// that one's last unit stands. Nothing when the piece ends before; it is added whole then.
  /// `wanted` is more than the count so far.
  std::optional<std::size_t> addUntil(std::string_view piece, std::size_t wanted) noexcept;
  std::optional<std::size_t> addUntil(std::u16string_view piece, std::size_t wanted) noexcept;

  std::size_t count() const noexcept { return count_; }

 private:
  template <class Unit>
  std::optional<std::size_t> scan(std::basic_string_view<Unit> piece, std::size_t wanted) noexcept;

  LineEnding ending_;
  bool afterCR_ = false;
  std::size_t count_ = 0;
};

/// Which unit a CR takes to itself, so that both together end one line.
enum class CRPartner : char16_t { CR = u'\r', LF = u'\n' };

/// Counts lines that end in whichever way: in LF, or in a CR that its partner does not follow. A CR
/// whose partner is the CR counts once with all the CRs after it, and an LF behind them once more.
///
/// The very first unit ends no line, and no more does a CR that is the last unit. An empty text has
/// no line, any other at least one.
class KESTOVA_PLATFORM_EXPORT LineCounter {
 public:
  explicit LineCounter(CRPartner partner) noexcept : partner_(partner) {}

  void add(std::string_view piece) noexcept;
  void add(std::u16string_view piece) noexcept;

  std::size_t count() const noexcept { return started_ ? 1 + breaks_ : 0; }

 private:
  template <class Unit>
  void scan(std::basic_string_view<Unit> piece) noexcept;

  CRPartner partner_;
  bool started_ = false;
  bool afterCR_ = false;
  std::size_t breaks_ = 0;
};

/// Tells how the last line that ends does so; a CR at the very end is a CR, even behind a CRLF. The
/// very first unit ends no line.
class KESTOVA_PLATFORM_EXPORT LastLineEnding {
 public:
  void add(std::string_view piece) noexcept;
  void add(std::u16string_view piece) noexcept;

  /// LF when no line ends.
  LineEnding ending() const noexcept { return ending_; }

 private:
  template <class Unit>
  void scan(std::basic_string_view<Unit> piece) noexcept;

  bool started_ = false;
  bool afterCR_ = false;
  LineEnding ending_ = LineEnding::LF;
};

/// @}
/// \name Runs of bytes
/// @{

/// A set of bytes, immutable.
class ByteSet {
 public:
  /// The bytes of which the predicate holds; it is asked about each of 0…255 once.
  template <class Predicate>
  explicit ByteSet(Predicate&& holds) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      if (holds(static_cast<std::uint8_t>(byte))) {
        Row& row = byte < 128 ? lowRow_ : highRow_;
        row[byte % 16] = static_cast<std::uint8_t>(row[byte % 16] | 1U << byte / 16 % 8);
      }
    }
  }

  bool contains(std::uint8_t byte) const noexcept {
    const Row& row = byte < 128 ? lowRow_ : highRow_;
    return (row[byte % 16] >> byte / 16 % 8 & 1U) != 0;
  }

  /// \name Bits by nibbles
  /// Bit `h % 8` of entry `l` stands for the byte 16h + l, in the low row for h below 8.
  /// @{
  using Row = std::array<std::uint8_t, 16>;
  const Row& lowRow() const noexcept { return lowRow_; }
  const Row& highRow() const noexcept { return highRow_; }
  /// @}

 private:
  Row lowRow_{};
  Row highRow_{};
};

/// The bytes that count as letters or digits: each is taken as a signed number and widened, so that
/// 80…FF are looked up in the alphanumeric characters as U+FF80…U+FFFF. The same object every time.
KESTOVA_PLATFORM_EXPORT const ByteSet& alphanumericBytes();

/// Counts the runs of bytes that are in a set, words for instance. A run goes on across pieces.
class KESTOVA_PLATFORM_EXPORT ByteRunCounter {
 public:
  /// The set is kept by reference.
  explicit ByteRunCounter(const ByteSet& set) noexcept : set_(&set) {}

  void add(std::string_view bytes) noexcept;

  /// Adds the bytes of the units' UTF-8 form, the first `limit` of them, without making it. A
  /// surrogate that stands alone in the piece is the bytes EF BF BD, so a text is not to be cut
  /// between the halves of a pair.
  void add(std::u16string_view units, std::size_t limit = std::u16string_view::npos) noexcept;

  std::size_t count() const noexcept { return count_; }

 private:
  /// Answers how many bytes were added.
  template <class Unit>
  std::size_t scan(std::basic_string_view<Unit> piece) noexcept;

  const ByteSet* set_;
  bool inRun_ = false;
  std::size_t count_ = 0;
};

/// @}
/// \name The UTF-8 form of UTF-16 text
/// @{

/// The first `count` units, all of them if there are fewer, and one less where a pair would be
/// parted.
KESTOVA_PLATFORM_EXPORT std::u16string_view wholeCharacters(std::u16string_view units,
                                                            std::size_t count) noexcept;

/// A beginning of a text: its units, and its bytes in UTF-8.
struct UTF8Prefix {
  std::size_t units = 0;
  std::size_t bytes = 0;
};

/// The longest beginning in whole characters that has no more than `limit` bytes in UTF-8, where a
/// surrogate that stands alone has the three of U+FFFD.
KESTOVA_PLATFORM_EXPORT UTF8Prefix longestUTF8Prefix(std::u16string_view units,
                                                     std::size_t limit) noexcept;

/// @}

}  // namespace kestova
