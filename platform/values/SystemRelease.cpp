// SPDX-License-Identifier: Apache-2.0
#include "values/SystemRelease.h"

#include <charconv>
#include <cstddef>
#include <fstream>
#include <limits>
#include <system_error>

namespace kestova {
namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view withoutBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  return first == text.npos ? std::string_view()
                            : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view withoutQuotes(std::string_view text) {
  const bool isQuoted = text.size() >= 2 && text.front() == text.back() &&
                        (text.front() == '"' || text.front() == '\'');
  return isQuoted ? text.substr(1, text.size() - 2) : text;
}

/// Takes a number from the front of the text; nothing when there is none.
std::optional<std::int32_t> takeNumber(std::string_view& text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument) {
    return std::nullopt;
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
  const bool isTooLarge = error != std::errc() || number > static_cast<std::uint32_t>(kLargest);
  return isTooLarge ? kLargest : static_cast<std::int32_t>(number);
}

VersionParts partsOf(std::string_view version) {
  VersionParts parts{};
  for (std::int32_t& part : parts) {
    const auto number = takeNumber(version);
    part = number.value_or(0);
    if (!number || !version.starts_with('.')) {
      break;
    }
    version.remove_prefix(1);
  }
  return parts;
}

/// What stands behind the last assignment to a name, which ends in "=".
std::optional<std::string_view> lastValueIn(std::string_view osRelease, std::string_view name) {
  std::optional<std::string_view> value;
  while (!osRelease.empty()) {
    const auto line = withoutBlanks(osRelease.substr(0, osRelease.find('\n')));
    if (line.starts_with(name)) {
      value = line.substr(name.size());
    }
    const auto end = osRelease.find('\n');
    osRelease.remove_prefix(end == osRelease.npos ? osRelease.size() : end + 1);
  }
  return value;
}

/// The value without its quotes. A backslash stands for the character behind it, but for one in
/// single quotes.
std::string resolved(std::string_view value) {
  const auto text = withoutQuotes(value);
  const bool isLiteral = text.size() < value.size() && value.front() == '\'';
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const bool isEscape = !isLiteral && text[index] == '\\' && index + 1 < text.size();
    result.push_back(text[index += isEscape ? 1 : 0]);
  }
  return result;
}

}  // namespace

std::string systemRelease() {
  constexpr std::size_t kMost = 64 * 1024;
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    std::string text(kMost, '\0');
    if (std::ifstream file(path, std::ios::binary); file) {
      file.read(text.data(), static_cast<std::streamsize>(text.size()));
      text.resize(static_cast<std::size_t>(file.gcount()));
      return text;
    }
  }
  return {};
}

std::optional<std::string> systemNameIn(std::string_view osRelease) {
  const auto value = lastValueIn(osRelease, "PRETTY_NAME=");
  const std::string name = value ? resolved(*value) : std::string();
  return name.empty() ? std::nullopt : std::optional(name);
}

std::optional<VersionParts> systemVersionIn(std::string_view osRelease) {
  const auto value = lastValueIn(osRelease, "VERSION_ID=");
  return value ? std::optional(partsOf(withoutQuotes(*value))) : std::nullopt;
}

}  // namespace kestova
