// SPDX-License-Identifier: Apache-2.0
#include "text/ReplacementTemplate.h"

#include "values/RangeCheck.h"

namespace kestova {
namespace {

template <class Unit>
bool isDigit(std::basic_string_view<Unit> units, std::size_t index) {
  return index < units.size() && units[index] >= '0' && units[index] <= '9';
}

/// Reads the number of a group, beginning at a digit: at least that one, and more of them for as
/// long as there is a group of that number.
template <class Unit>
std::int32_t readGroup(std::basic_string_view<Unit> units, std::size_t& index,
                       std::int32_t groupCount) {
  std::int64_t number = units[index++] - '0';
  while (isDigit(units, index) && number * 10 + (units[index] - '0') <= groupCount) {
    number = number * 10 + (units[index++] - '0');
  }
  return static_cast<std::int32_t>(number);
}

}  // namespace

ReplacementTemplate::ReplacementTemplate(const NSString& text, std::int32_t groupCount)
    : text_(text) {
  withUnits(text, [&](auto units) { parse(units, groupCount); });
}

template <class Unit>
void ReplacementTemplate::parse(std::basic_string_view<Unit> units, std::int32_t groupCount) {
  for (std::size_t index = 0; index < units.size();) {
    if (units[index] == '$' && isDigit(units, index + 1)) {
      addGroup(readGroup(units, ++index, groupCount), groupCount);
    } else {
      index += units[index] == '\\' && index + 1 < units.size() ? 1 : 0;
      addLiteral(index++);
    }
  }
}

void ReplacementTemplate::addLiteral(NSUInteger location) {
  const bool joins = !pieces_.empty() && pieces_.back().group == kNoGroup &&
                     NSMaxRange(pieces_.back().literal) == location;
  if (joins) {
    ++pieces_.back().literal.length;
  } else {
    pieces_.push_back({{location, 1}, kNoGroup});
  }
}

void ReplacementTemplate::addGroup(std::int32_t group, std::int32_t groupCount) {
  if (group <= groupCount) {
    pieces_.push_back({{}, group});
  }
}

void appendRange(TextStorage& result, const NSString& text, NSRange range) {
  checkRange(text, "substringWithRange:", range, text.length());
  withUnits(text,
            [&](auto units) { appendUnits(result, units.substr(range.location, range.length)); });
}

}  // namespace kestova
