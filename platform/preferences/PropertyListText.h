// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
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

/// \name The texts that values are written as
/// @{

/// The shortest text that reads back as the same double; "+infinity", "-infinity" and "nan".
std::string textFromReal(double value);

/// The second, in UTC, that the moment lies in; nothing outside the years 0 to 9999. The moment is
/// given in seconds since the reference date, neither infinite nor NaN.
std::optional<std::string> textFromDate(NSTimeInterval seconds);

/// Without line ends.
std::string base64FromBytes(std::span<const std::byte> bytes);

/// Adds the text with everything replaced that XML reads as something else than itself. False, and
/// part of it added, when a character can't stand in XML in any way.
bool appendToXML(std::string& xml, std::string_view utf8);

/// @}

}  // namespace kestova
