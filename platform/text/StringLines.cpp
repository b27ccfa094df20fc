// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSString.h>

#include "text/TextStorage.h"
#include "values/RangeCheck.h"

namespace kestova {
namespace {

template <class Unit>
bool endsLine(Unit unit) {
  switch (static_cast<char16_t>(unit)) {
    case u'\n':
    case u'\r':
    case u'\u0085':
    case u'\u2028':
    case u'\u2029':
      return true;
    default:
      return false;
  }
}

/// Whether an index lies between the CR and the LF of one line ending.
template <class Unit>
bool splitsCRLF(std::basic_string_view<Unit> units, std::size_t index) {
  return index > 0 && index < units.size() && units[index - 1] == '\r' && units[index] == '\n';
}

template <class Unit>
std::size_t lineStart(std::basic_string_view<Unit> units, std::size_t index) {
  while (index > 0 && (splitsCRLF(units, index) || !endsLine(units[index - 1]))) {
    --index;
  }
  return index;
}

template <class Unit>
std::size_t contentsEndFrom(std::basic_string_view<Unit> units, std::size_t index) {
  while (index < units.size() && !endsLine(units[index])) {
    ++index;
  }
  return index;
}

/// Where the line ending at an index ends; the text ends without one.
template <class Unit>
std::size_t endingEnd(std::basic_string_view<Unit> units, std::size_t index) {
  const std::size_t end = index < units.size() ? index + 1 : index;
  return splitsCRLF(units, end) ? end + 1 : end;
}

struct Lines {
  std::size_t start;
  std::size_t contentsEnd;
  std::size_t end;
};

/// The lines of a range: the last one is that of the range's last unit.
template <class Unit>
Lines linesOf(std::basic_string_view<Unit> units, NSRange range) {
  const std::size_t start = lineStart(units, range.location);
  std::size_t last = NSMaxRange(range) - (range.length > 0 ? 1 : 0);
  if (splitsCRLF(units, last)) {
    --last;
  }
  const std::size_t contentsEnd = contentsEndFrom(units, last);
  return {start, contentsEnd, endingEnd(units, contentsEnd)};
}

void store(NSUInteger* place, std::size_t value) {
  if (place != nullptr) {
    *place = value;
  }
}

}  // namespace

void NSString::getLineStart_end_contentsEnd_forRange(NSUInteger* start, NSUInteger* end,
                                                     NSUInteger* contentsEnd, NSRange range) const {
  checkRange(*this, "getLineStart:end:contentsEnd:forRange:", range, length());
  const Lines lines = withUnits(*this, [&](auto units) { return linesOf(units, range); });
  store(start, lines.start);
  store(end, lines.end);
  store(contentsEnd, lines.contentsEnd);
}

NSRange NSString::lineRangeForRange(NSRange range) const {
  NSUInteger start = 0;
  NSUInteger end = 0;
  getLineStart_end_contentsEnd_forRange(&start, &end, nullptr, range);
  return {start, end - start};
}

void NSString::enumerateLinesUsingBlock(
    const Block<void(const Ref<NSString>& line, bool* stop)>& block) const {
  bool stop = false;
  for (NSUInteger start = 0, end = 0, contentsEnd = 0; start < length() && !stop; start = end) {
    getLineStart_end_contentsEnd_forRange(nullptr, &end, &contentsEnd, {start, 0});
    block(substringWithRange({start, contentsEnd - start}), &stop);
  }
}

}  // namespace kestova
