// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace kestova {

/// \name Values of a property list that are written as text
/// White space around the text doesn't count. Nothing is answered when the text is anything else
/// than one value.
/// @{

/// Decimal, or hexadecimal after 0x, with a sign or without; from -2^63 to 2^64-1.
id integerFromText(std::string_view text);

/// Decimal, with an exponent or without; "inf", "infinity" and "nan" in any case.
id realFromText(std::string_view text);

/// A moment in UTC: "2001-01-31T12:00:00Z".
id dateFromText(std::string_view text);

/// Base64 in full groups of four, white space anywhere.
std::optional<std::vector<std::byte>> bytesFromBase64(std::string_view text);

/// Whether there is white space only, or nothing.
bool isBlank(std::string_view text);

/// @}

}  // namespace kestova
