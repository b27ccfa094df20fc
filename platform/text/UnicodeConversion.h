// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/UTF8.h>

#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// Well-formed UTF-8 as UTF-16; nothing when it is not well-formed.
std::optional<std::u16string> utf16FromUTF8(std::string_view utf8);

/// UTF-16 as UTF-8; nothing when a surrogate stands alone.
std::optional<std::string> utf8FromUTF16(std::u16string_view units);

/// The same for showing: what is not well-formed becomes U+FFFD.
std::u16string displayUTF16FromUTF8(std::string_view utf8);
std::string displayUTF8FromUTF16(std::u16string_view units);

}  // namespace kestova
