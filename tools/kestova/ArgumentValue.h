// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileFailure.h"

#include <KestovaPlatform/NSString.h>

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace kestova::tool {

/// Nothing unless the whole text is a number that the type holds.
template <class Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() ? std::optional(number)
                                                                             : std::nullopt;
}

/// The argument as text. Throws FileFailure for what is no UTF-8.
inline Ref<NSString> textIn(const std::string& argument) {
  auto text = NSString::stringWithUTF8String(argument);
  if (!text) {
    throw FileFailure(argument, "not UTF-8 text");
  }
  return text;
}

}  // namespace kestova::tool
