// SPDX-License-Identifier: Apache-2.0
#include "ChecksumList.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kestova::tool {
namespace {

constexpr std::size_t kSumLength = 32;
constexpr std::string_view kBlanks = " \t";

/// Characters and what stands for them behind a backslash.
constexpr std::array kEscapes = {std::pair{'\n', 'n'}, std::pair{'\r', 'r'}, std::pair{'\\', '\\'}};

std::string escaped(std::string_view name) {
  std::string text;
  for (const char c : name) {
    const auto escape = std::ranges::find(kEscapes, c, [](auto pair) { return pair.first; });
    if (escape == kEscapes.end()) {
      text += c;
    } else {
      text.append({'\\', escape->second});
    }
  }
  return text;
}

/// Nothing when a backslash stands before anything else.
std::optional<std::string> unescaped(std::string_view text) {
  std::string name;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '\\') {
      name += text[index];
      continue;
    }
    const char next = ++index < text.size() ? text[index] : '\0';
    const auto escape = std::ranges::find(kEscapes, next, [](auto pair) { return pair.second; });
    if (escape == kEscapes.end()) {
      return std::nullopt;
    }
    name += escape->first;
  }
  return name;
}

/// The sum in small letters; nothing when it is none.
std::optional<std::string> sumIn(std::string_view text) {
  if (text.size() != kSumLength ||
      text.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos) {
    return std::nullopt;
  }
  std::string sum(text);
  std::ranges::transform(sum, sum.begin(), [](char c) {
    return static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
  });
  return sum;
}

std::string_view withoutBlanksInFront(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

/// A sum and a name as they stand in a line.
struct Fields {
  std::string_view sum;
  std::string_view name;
};

/// "MD5 (NAME) = SUM".
std::optional<Fields> taggedFields(std::string_view line) {
  const std::size_t start = line.starts_with("MD5 (") ? 5 : line.starts_with("MD5(") ? 4 : 0;
  const std::size_t end = line.rfind(')');
  if (start == 0 || end == std::string_view::npos || end <= start) {
    return std::nullopt;
  }
  const std::string_view rest = withoutBlanksInFront(line.substr(end + 1));
  if (!rest.starts_with('=')) {
    return std::nullopt;
  }
  return Fields{withoutBlanksInFront(rest.substr(1)), line.substr(start, end - start)};
}

}  // namespace

std::string checksumLine(const std::string& sum, const std::string& name) {
  const std::string shown = escaped(name);
  return (shown == name ? "" : "\\") + sum + "  " + shown + '\n';
}

std::optional<std::string_view> ChecksumListReader::nameBehindSum(std::string_view line) {
  const std::string_view rest = line.substr(kSumLength + 1);
  const bool isMarked = rest.size() > 1 && (rest.front() == ' ' || rest.front() == '*');
  if (separator_ == Separator::kUnknown) {
    separator_ = isMarked ? Separator::kBlankAndMark : Separator::kOneBlank;
  }
  if (separator_ == Separator::kOneBlank) {
    return rest;
  }
  return isMarked ? std::optional(rest.substr(1)) : std::nullopt;
}

std::optional<ListedChecksum> ChecksumListReader::read(std::string_view line) {
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  line = withoutBlanksInFront(line);
  const bool isEscaped = line.starts_with('\\');
  line.remove_prefix(isEscaped ? 1 : 0);
  const auto fields = taggedFields(line);
  const bool isPlain = !line.starts_with("MD5") && line.size() > kSumLength + 1 &&
                       kBlanks.find(line[kSumLength]) != std::string_view::npos;
  const auto sum = sumIn(fields ? fields->sum : line.substr(0, kSumLength));
  if (!sum || (!fields && !isPlain)) {
    return std::nullopt;
  }
  const auto name = fields ? fields->name : nameBehindSum(line);
  if (!name) {
    return std::nullopt;
  }
  const auto path = isEscaped ? unescaped(*name) : std::string(*name);
  return path ? std::optional(ListedChecksum{*sum, *path}) : std::nullopt;
}

std::string shownName(const std::string& name) {
  return name.find('\n') == std::string::npos ? name : '\\' + escaped(name);
}

}  // namespace kestova::tool
