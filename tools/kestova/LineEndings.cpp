// SPDX-License-Identifier: Apache-2.0
#include "LineEndings.h"

#include <algorithm>

namespace kestova::tool {
namespace {

constexpr bool isSecondHalf(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }
}  // namespace

void TextPosition::advance(std::u16string_view units) {
  for (LineEndingCounter* counter : {&lfs_, &crs_, &pairs_}) {
    counter->add(units);
  }
  const std::size_t lastBreak = lastLineBreak(units);
  const bool hasBreak = lastBreak != units.npos;
  const auto rest = units.substr(hasBreak ? lastBreak + 1 : 0);
  const auto halves = std::ranges::count_if(rest, isSecondHalf);
  column_ = (hasBreak ? 1 : column_) + rest.size() - static_cast<std::uint64_t>(halves);
}

std::u16string_view LineEndings::replaced(std::u16string_view units) {
  result_.clear();
  for (std::size_t index = 0; index < units.size();) {
    if (isBehindCR_ && units[index] == u'\n') {
      ++index;
    }
    const auto rest = units.substr(index);
    const auto line = rest.substr(0, firstLineBreak(rest));
    result_ += line;
    index += line.size();
    isBehindCR_ = index < units.size() && units[index] == u'\r';
    if (index < units.size()) {
      result_ += ending_;
      ++index;
    }
  }
  return result_;
}

}  // namespace kestova::tool
