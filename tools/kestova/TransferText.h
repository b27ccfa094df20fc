// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVFileOperation.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kestova::tool {

/// A count of bytes with its unit: "17 B", "1.5 KiB", "20 GiB".
std::string byteText(double bytes);

/// A count of seconds as minutes and hours: "0:05", "12:34", "1:02:03".
std::string clockText(double seconds);

/// A path fit to be shown on one line: control characters and bytes that are no UTF-8 become "?".
std::string displayText(std::string_view path);

/// The text cut to so many columns, with an ellipsis for what is missing at its beginning.
std::string shortenedFront(const std::string& text, std::size_t columns);

/// How many columns a text takes, one for each character.
std::size_t columnsOf(std::string_view text);

/// How much of an operation is done, from 0 to 1: by bytes, by objects where there are none.
double fractionDone(const OVFileOperation& operation);

}  // namespace kestova::tool
