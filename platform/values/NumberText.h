// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <string>
#include <string_view>

namespace kestova {

template <std::integral T>
std::string numberText(T value) {
  char text[24];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

/// The shortest text that reads back as the same value: plain for exponents from -4 to 16, with an
/// exponent otherwise; "inf", "-inf" and "nan".
template <std::floating_point T>
std::string numberText(T value) {
  if (std::isnan(value)) {
    return "nan";
  }
  if (std::isinf(value)) {
    return value > 0 ? "inf" : "-inf";
  }
  char text[64];
  char* end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
  const char* sign = std::string_view(text, end).find('e') + text + 1;
  int exponent = 0;
  std::from_chars(sign + (*sign == '+'), end, exponent);
  if (exponent >= -4 && exponent <= 16) {
    end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed).ptr;
  }
  return {text, end};
}

}  // namespace kestova
