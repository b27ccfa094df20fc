// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include <span>
#include <string>

namespace kestova::tool {

/// A preference as text: strings as they are, truth values as "true" and "false", dates as
/// "2001-01-31T12:00:00Z", data as hexadecimal digits, collections as their description.
std::string textOfValue(const id& value);

/// The same fit for one line, between quotes where it would not be clear where it ends; "(none)"
/// for nothing.
std::string lineOfValue(const id& value);

/// The preference that words stand for: a text, or what the option in front of it ("-int" and the
/// like) says. Throws CLI::ValidationError for anything else.
id valueOfWords(std::span<const std::string> words);

}  // namespace kestova::tool
