// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace kestova::testing {

/// The bytes in hex with blanks between, as a failing test should show them: "01 ff".
inline std::string hex(std::span<const std::byte> bytes) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const std::byte byte : bytes) {
    text += text.empty() ? "" : " ";
    text += kDigits[std::to_integer<int>(byte) >> 4];
    text += kDigits[std::to_integer<int>(byte) & 15];
  }
  return text;
}

inline std::string hex(const Ref<NSData>& data) { return hex(data->span()); }

/// The bytes as text; there must be data.
inline std::string textOf(const Ref<NSData>& data) {
  return {reinterpret_cast<const char*>(data->bytes()), data->length()};
}

inline Ref<NSData> dataOf(std::initializer_list<int> values) {
  std::vector<std::byte> bytes;
  for (const int value : values) {
    bytes.push_back(static_cast<std::byte>(value));
  }
  return NSData::dataWithBytes_length(bytes.data(), bytes.size());
}

}  // namespace kestova::testing
