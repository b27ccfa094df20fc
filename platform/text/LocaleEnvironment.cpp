// SPDX-License-Identifier: Apache-2.0
#include "text/LocaleEnvironment.h"

#include <array>
#include <cstdlib>
#include <utility>

namespace kestova {
namespace {

/// The scripts that a name's modifier may tell; other modifiers tell nothing of interest.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kScripts = {{
    {"latin", "Latn"},
    {"cyrillic", "Cyrl"},
    {"devanagari", "Deva"},
}};

std::string_view scriptForModifier(std::string_view modifier) {
  for (const auto& [name, script] : kScripts) {
    if (name == modifier) {
      return script;
    }
  }
  return {};
}

/// Puts a script between language and country.
std::string withScript(std::string_view locale, std::string_view script) {
  const std::size_t language = locale.substr(0, locale.find('_')).size();
  return std::string(locale.substr(0, language)) + '_' + std::string(script) +
         std::string(locale.substr(language));
}

}  // namespace

std::string localeIdentifierForName(std::string_view name) {
  const std::size_t mark = name.find('@');
  const std::string_view locale = name.substr(0, name.find_first_of(".@"));
  if (locale.empty() || locale == "C" || locale == "POSIX") {
    return "en_US_POSIX";
  }
  const std::string_view script = mark == std::string_view::npos
                                      ? std::string_view()
                                      : scriptForModifier(name.substr(mark + 1));
  return script.empty() ? std::string(locale) : withScript(locale, script);
}

std::string localeIdentifierOfEnvironment() {
  for (const char* variable : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
    const char* name = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (name != nullptr && *name != '\0') {
      return localeIdentifierForName(name);
    }
  }
  return localeIdentifierForName({});
}

}  // namespace kestova
