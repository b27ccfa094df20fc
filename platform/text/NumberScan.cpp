// SPDX-License-Identifier: Apache-2.0
#include "text/NumberScan.h"

#include "text/CLocale.h"

#include <cstdlib>
#include <system_error>

namespace kestova {
namespace {

float readReal(const char* number, float) { return std::strtof(number, nullptr); }
double readReal(const char* number, double) { return std::strtod(number, nullptr); }

/// A number out of the type's range, as the C library gives it: an infinity or 0.
template <class Value>
Value valueOutOfRange(std::string_view number, std::chars_format format) {
  const CLocale locale;
  const std::string prefix = format == std::chars_format::hex ? "0x" : "";
  return readReal((prefix + std::string(number)).c_str(), Value());
}

}  // namespace

template <std::floating_point Value>
Value realValue(std::string_view number, std::chars_format format) {
  Value value = 0;
  const char* end = number.data() + number.size();
  const bool isInRange = std::from_chars(number.data(), end, value, format).ec == std::errc();
  return isInRange ? value : valueOutOfRange<Value>(number, format);
}

template float realValue<float>(std::string_view, std::chars_format);
template double realValue<double>(std::string_view, std::chars_format);

}  // namespace kestova
