// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FormatArgument.h>

#include "text/TextStorage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kestova {

/// One conversion of a format, as it was read.
struct FormatConversion {
  std::string flags;
  int width = 0;
  /// Negative when the format gives none, as for printf.
  int precision = -1;
  /// How many bytes of an integer count.
  std::size_t integerSize = sizeof(int);
  /// The letter that stands for it, in the C library's spelling.
  char kind = 0;
  const FormatArgument* argument = nullptr;
};

/// The number that an argument holds, as a 64-bit pattern; nothing when it holds none.
std::optional<std::int64_t> integerIn(const FormatArgument& argument);

/// Appends the conversion's argument as the conversion asks for, or as its own kind where that
/// doesn't fit it. The kind is a letter other than "%", and there is an argument.
void writeConversion(FormatConversion conversion, TextStorage& result);

}  // namespace kestova
