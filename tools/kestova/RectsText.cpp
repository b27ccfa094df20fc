// SPDX-License-Identifier: Apache-2.0
#include "RectsText.h"

#include "FileFailure.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>

namespace kestova::tool {
namespace {

using nlohmann::json;

constexpr std::string_view kBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == text.npos ? std::string_view()
                            : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<double> finiteNumber(std::string_view text) {
  double number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// As many numbers as there is room for; nothing where it is another count.
template <std::size_t kCount>
std::optional<std::array<double, kCount>> numbersIn(std::string_view text) {
  std::array<double, kCount> numbers{};
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::size_t comma = text.find(',');
    const auto number = finiteNumber(trimmed(text.substr(0, comma)));
    if (!number || (comma == text.npos) != (i + 1 == kCount)) {
      return std::nullopt;
    }
    numbers[i] = *number;
    text.remove_prefix(comma == text.npos ? text.size() : comma + 1);
  }
  return numbers;
}

std::optional<NSRect> rectIn(std::string_view text) {
  const auto n = numbersIn<4>(text);
  return n ? std::optional(NSMakeRect((*n)[0], (*n)[1], (*n)[2], (*n)[3])) : std::nullopt;
}

std::vector<NSRect> rectsInLines(std::string_view text, const std::string& name) {
  std::vector<NSRect> rects;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    const std::string_view line = trimmed(text.substr(0, end));
    if (!line.empty()) {
      const auto rect = rectIn(line);
      if (!rect) {
        throw FileFailure(name, "line " + std::to_string(number) +
                                    " is not four finite numbers with commas between");
      }
      rects.push_back(*rect);
    }
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
  }
  return rects;
}

bool isFourNumbers(const json& item) {
  if (!item.is_array() || item.size() != 4) {
    return false;
  }
  for (const json& number : item) {
    if (!number.is_number() || !std::isfinite(number.get<double>())) {
      return false;
    }
  }
  return true;
}

/// What nests otherwise than a list of rectangles does is refused before it takes any memory.
json parsed(std::string_view text, const std::string& name) {
  const auto refuse = [&](int depth, json::parse_event_t event, const json& /*value*/) {
    if (event == json::parse_event_t::object_start ||
        (event == json::parse_event_t::array_start && depth > 1)) {
      throw FileFailure(name, "not a JSON array of arrays of four numbers");
    }
    return true;
  };
  try {
    return json::parse(text, refuse);
  } catch (const json::exception&) {
    throw FileFailure(name, "malformed JSON");
  }
}

std::vector<NSRect> rectsInJSON(std::string_view text, const std::string& name) {
  std::vector<NSRect> rects;
  for (const json& item : parsed(text, name)) {
    if (!isFourNumbers(item)) {
      throw FileFailure(name, "item " + std::to_string(rects.size() + 1) +
                                  " is not an array of four finite numbers");
    }
    rects.push_back(NSMakeRect(item[0], item[1], item[2], item[3]));
  }
  return rects;
}

void append(std::string& text, double number) {
  if (!std::isfinite(number)) {
    throw FileFailure("result", "a number is too large");
  }
  char digits[32];
  text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

void append(std::string& text, const NSRect& rect) {
  append(text, rect.origin.x);
  for (const double number : {rect.origin.y, rect.size.width, rect.size.height}) {
    text += ',';
    append(text, number);
  }
}

std::string linesOf(const std::vector<NSRect>& rects) {
  std::string text;
  for (const NSRect& rect : rects) {
    append(text, rect);
    text += '\n';
  }
  return text;
}

std::string jsonOf(const std::vector<NSRect>& rects) {
  std::string text = "[";
  for (const NSRect& rect : rects) {
    text += text.size() == 1 ? "[" : ",\n [";
    append(text, rect);
    text += ']';
  }
  return text + "]\n";
}

}  // namespace

RectList readRects(std::string_view text, const std::string& name) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const bool isJSON = first != text.npos && (text[first] == '[' || text[first] == '{');
  return isJSON ? RectList{RectsForm::kJSON, rectsInJSON(text, name)}
                : RectList{RectsForm::kLines, rectsInLines(text, name)};
}

NSRect readRect(std::string_view text, const std::string& name) {
  const auto rect = rectIn(text);
  if (!rect) {
    throw FileFailure(name, "not four finite numbers with commas between");
  }
  return *rect;
}

NSPoint readPoint(std::string_view text, const std::string& name) {
  const auto numbers = numbersIn<2>(text);
  if (!numbers) {
    throw FileFailure(name, "not two finite numbers with a comma between");
  }
  return NSMakePoint((*numbers)[0], (*numbers)[1]);
}

std::string textOf(const RectList& list) {
  return list.form == RectsForm::kJSON ? jsonOf(list.rects) : linesOf(list.rects);
}

}  // namespace kestova::tool
