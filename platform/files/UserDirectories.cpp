// SPDX-License-Identifier: Apache-2.0
#include "files/UserDirectories.h"

#include <KestovaPlatform/NSFileManager.h>

#include "files/NativePath.h"
#include "files/PathText.h"

#include <cstdlib>

namespace kestova {
namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view withoutLeadingBlanks(std::string_view line) {
  const auto start = line.find_first_not_of(kBlanks);
  return start == std::string_view::npos ? std::string_view() : line.substr(start);
}

/// Takes a word from the front, if it is there.
bool take(std::string_view& line, std::string_view word) {
  const bool isThere = line.starts_with(word);
  line.remove_prefix(isThere ? word.size() : 0);
  return isThere;
}

/// The text up to the closing quote, a backslash taking the next character as it is. Nothing
/// without one.
std::optional<std::string> unquoted(std::string_view text) {
  std::string value;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') {
      return value;
    }
    at += text[at] == '\\' ? 1 : 0;
    value.append(text.substr(at, 1));
  }
  return std::nullopt;
}

std::optional<std::string> valueIn(std::string_view line, std::string_view variable,
                                   std::string_view home) {
  line = withoutLeadingBlanks(line);
  if (!take(line, variable) || !take(line, "=\"")) {
    return std::nullopt;
  }
  const bool isInHome = take(line, "$HOME");
  const auto value = unquoted(line);
  if (!value || !(value->starts_with('/') || (isInHome && value->empty()))) {
    return std::nullopt;
  }
  return isInHome ? std::string(home) + *value : *value;
}

}  // namespace

std::optional<std::string> userDirectory(std::string_view text, std::string_view variable,
                                         std::string_view home) {
  std::optional<std::string> found;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
    if (auto value = valueIn(line, variable, home)) {
      found = std::move(value);
    }
  }
  return found;
}

std::string homeFolder() { return *nativePath(NSHomeDirectory()); }

std::string baseDirectory(const char* variable, const char* usual) {
  const char* chosen = std::getenv(variable);
  return chosen != nullptr && chosen[0] == '/' ? chosen : withTrailingSlash(homeFolder()) + usual;
}

std::string configHome() { return baseDirectory("XDG_CONFIG_HOME", ".config"); }

}  // namespace kestova
