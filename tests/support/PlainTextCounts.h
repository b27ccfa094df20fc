// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSRange.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestova::testing {

/// The UTF-8 form, one character after the other; a surrogate that stands alone is U+FFFD.
inline std::string plainUTF8(std::u16string_view units) {
  std::string bytes;
  const auto put = [&](std::uint32_t byte) { bytes.push_back(static_cast<char>(byte)); };
  const auto putTail = [&](std::uint32_t c, int shift) { put(0x80 | (c >> shift & 0x3F)); };
  for (std::size_t i = 0; i < units.size(); ++i) {
    std::uint32_t c = units[i];
    const bool leads = c >= 0xD800 && c < 0xDC00 && i + 1 < units.size();
    if (leads && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00U);
    } else if (c >= 0xD800 && c < 0xE000) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      put(c);
    } else if (c < 0x800) {
      put(0xC0 | c >> 6), putTail(c, 0);
    } else if (c < 0x10000) {
      put(0xE0 | c >> 12), putTail(c, 6), putTail(c, 0);
    } else {
      put(0xF0 | c >> 18), putTail(c, 12), putTail(c, 6), putTail(c, 0);
    }
  }
  return bytes;
}

/// Lines, words and positions counted one byte at a time, as one would tell somebody to do it by
/// hand: what the operations on strings are compared with. Kinds of endings are 0 for LF, 1 for CR,
/// 2 for CR LF.
class PlainTextCounts {
 public:
  PlainTextCounts(std::u16string_view units, bool isEightBit)
      : units_(units), b_(plainUTF8(units)), n_(units.size()), pair_(isEightBit ? u'\n' : u'\r') {}

  std::int32_t lineEnding() const {
    for (std::size_t i = n_; i-- > 1;) {
      if (b_[i] == '\r') {
        return 1;
      }
      if (b_[i] == '\n') {
        return b_[i - 1] == '\r' ? 2 : 0;
      }
    }
    return 0;
  }

  NSUInteger wordCount() const {
    NSUInteger count = 0;
    bool inWord = false;
    for (std::size_t i = 0; i < n_; ++i) {
      const bool isMember = isAlphanumeric(b_[i]);
      count += !isMember && inWord ? 1 : 0;
      inWord = isMember;
    }
    return count + (inWord ? 1 : 0);
  }

  NSUInteger lineCount() const {
    if (n_ < 2) {
      return n_;
    }
    NSUInteger count = 1;
    for (std::size_t i = n_ - 1; i >= 1; --i) {
      const bool isLonelyCR = units_[i] == '\r' && i < n_ - 1 && units_[i + 1] != pair_;
      count += units_[i] == '\n' || isLonelyCR ? 1 : 0;
    }
    return count;
  }

  NSUInteger lineCount(std::int32_t ending) const {
    NSUInteger count = 1;
    for (std::size_t k = 0; k < n_; ++k) {
      count += endsAt(k, ending) ? 1 : 0;
    }
    return count;
  }

  NSUInteger lineCountAtIndex(NSUInteger index) const {
    if (n_ == 0 || index == 0) {
      return 1;
    }
    Locked state;
    for (std::size_t k = 0; k < std::min<NSUInteger>(index, n_); ++k) {
      look(state, k);
    }
    return state.lines;
  }

  NSUInteger indexOfLine(NSUInteger line) const {
    if (line < 2 || n_ == 0) {
      return 0;
    }
    Locked state;
    std::size_t k = 0;
    for (;; ++k) {
      look(state, k);
      if (state.lines == line || k == n_ - 1) {
        return k + 1;
      }
    }
  }

  NSUInteger indexOfLine(NSUInteger line, std::int32_t ending) const {
    if (line < 2 || n_ == 0) {
      return 0;
    }
    NSUInteger lines = 1;
    for (std::size_t k = 0; k < n_; ++k) {
      lines += endsAt(k, ending) ? 1 : 0;
      if (lines == line) {
        return k + 1;
      }
    }
    return n_ + 1;
  }

  NSUInteger lineCountAtIndex(NSUInteger index, std::int32_t ending) const {
    NSUInteger lines = 1;
    for (std::size_t k = 0; k < n_; ++k) {
      lines += endsAt(k, ending) ? 1 : 0;
      if (k + 1 >= index) {
        break;
      }
    }
    return lines;
  }

  NSRange position(NSUInteger index, NSUInteger tabLength) const {
    const NSUInteger line = lineCountAtIndex(index);
    return {line, column(indexOfLine(line), index, tabLength)};
  }

  NSRange position(NSUInteger index, NSUInteger tabLength, std::int32_t ending) const {
    const NSUInteger line = lineCountAtIndex(index, ending);
    return {line, column(indexOfLine(line, ending), index, tabLength)};
  }

  NSRange plainPosition(NSUInteger index, std::int32_t ending) const {
    const NSUInteger line = lineCountAtIndex(index, ending);
    return {line, index - indexOfLine(line, ending)};
  }

  static bool isAlphanumeric(char byte) {
    const auto widened = static_cast<std::int16_t>(static_cast<signed char>(byte));
    static const auto set = NSCharacterSet::alphanumericCharacterSet();
    return set->characterIsMember(static_cast<unichar>(widened));
  }

 private:
  enum class Mode { unknown, lf, cr, crlf };
  struct Locked {
    Mode mode = Mode::unknown;
    NSUInteger lines = 1;
  };

  bool endsAt(std::size_t k, std::int32_t ending) const {
    switch (ending) {
      case 0:
        return b_[k] == '\n';
      case 1:
        return b_[k] == '\r';
      case 2:
        return b_[k] == '\n' && k > 0 && b_[k - 1] == '\r';
      default:
        return false;
    }
  }

  void look(Locked& state, std::size_t k) const {
    if (b_[k] == '\n') {
      state.mode = state.mode == Mode::unknown ? Mode::lf : state.mode;
      state.lines += state.mode == Mode::lf ? 1 : 0;
    } else if (b_[k] == '\r' && state.mode == Mode::unknown) {
      state.mode = k + 1 < n_ && b_[k + 1] == '\n' ? Mode::crlf : Mode::cr;
      state.lines += 1;
    } else if (b_[k] == '\r') {
      state.lines += state.mode == Mode::cr ? 1 : 0;
    }
  }

  NSUInteger column(NSUInteger start, NSUInteger index, NSUInteger tabLength) const {
    NSUInteger column = 1;
    for (NSUInteger k = start; k < std::min<NSUInteger>(index, n_); ++k) {
      column += b_[k] == '\t' ? tabLength : 1;
    }
    return column;
  }

  std::u16string units_;
  std::string b_;
  std::size_t n_;
  char16_t pair_;
};

}  // namespace kestova::testing
