// SPDX-License-Identifier: Apache-2.0
#include "text/FormatConversion.h"

#include <KestovaPlatform/NSString.h>

#include "text/CLocale.h"
#include "text/UnicodeConversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>
#include <variant>

namespace kestova {
namespace {

std::int64_t integerOf(double value) {
  if (std::isnan(value)) {
    return 0;
  }
  constexpr double kLimit = 9223372036854775808.0;
  if (value >= kLimit) {
    return std::numeric_limits<std::int64_t>::max();
  }
  return value <= -kLimit ? std::numeric_limits<std::int64_t>::min()
                          : static_cast<std::int64_t>(value);
}

std::optional<double> realIn(const FormatArgument& argument) {
  const auto& value = argument.value();
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return static_cast<double>(*number);
  }
  if (const auto* number = std::get_if<std::uint64_t>(&value)) {
    return static_cast<double>(*number);
  }
  if (const auto* number = std::get_if<double>(&value)) {
    return *number;
  }
  return std::nullopt;
}

/// The address in an argument; nothing when it is a number with a fraction.
std::optional<std::uintptr_t> addressIn(const FormatArgument& argument) {
  struct Visitor {
    std::optional<std::uintptr_t> operator()(double) const { return std::nullopt; }
    std::optional<std::uintptr_t> operator()(std::int64_t value) const {
      return static_cast<std::uintptr_t>(value);
    }
    std::optional<std::uintptr_t> operator()(std::uint64_t value) const { return value; }
    std::optional<std::uintptr_t> operator()(const id& object) const {
      return address(object.get());
    }
    std::optional<std::uintptr_t> operator()(const void* pointer) const { return address(pointer); }

    static std::uintptr_t address(const void* pointer) {
      return reinterpret_cast<std::uintptr_t>(pointer);
    }
  };
  return std::visit(Visitor(), argument.value());
}

std::int64_t signedOfSize(std::int64_t value, std::size_t size) {
  switch (size) {
    case 1:
      return static_cast<std::int8_t>(value);
    case 2:
      return static_cast<std::int16_t>(value);
    case 4:
      return static_cast<std::int32_t>(value);
    default:
      return value;
  }
}

std::uint64_t unsignedOfSize(std::int64_t value, std::size_t size) {
  const auto bits = static_cast<std::uint64_t>(value);
  return size >= sizeof bits ? bits : bits & ((std::uint64_t{1} << (8 * size)) - 1);
}

/// Prints one number as the C library does, with points as decimal points.
template <class Value>
std::string printed(const FormatConversion& conversion, const char* lengthModifier, Value value) {
  const std::string format =
      '%' + conversion.flags + "*.*" + lengthModifier + static_cast<char>(conversion.kind);
  const auto print = [&](char* buffer, std::size_t size) {
    return static_cast<std::size_t>(std::max(
        std::snprintf(buffer, size, format.c_str(), conversion.width, conversion.precision, value),
        0));
  };
  const CLocale locale;
  std::array<char, 128> usual;
  const std::size_t length = print(usual.data(), usual.size());
  if (length < usual.size()) {
    return std::string(usual.data(), length);
  }
  std::string result(length + 1, '\0');
  print(result.data(), result.size());
  result.resize(length);
  return result;
}

/// The argument of `%s`: bytes up to the NUL or to the precision, which may cut a character.
std::u16string unitsOfBytes(const char* bytes, int precision) {
  if (precision < 0) {
    return displayUTF16FromUTF8(bytes);
  }
  std::string_view text(bytes, strnlen(bytes, static_cast<std::size_t>(precision)));
  const bool isCut = text.size() == static_cast<std::size_t>(precision);
  return displayUTF16FromUTF8(isCut ? withoutCutCharacter(text) : text);
}

std::u16string unitsOfUnits(const char16_t* units, int precision) {
  std::size_t length = 0;
  while (length != static_cast<std::size_t>(precision) && units[length] != 0) {
    ++length;
  }
  return std::u16string(units, length);
}

std::u16string cutToPrecision(std::u16string text, int precision) {
  if (precision >= 0) {
    text.resize(std::min(text.size(), static_cast<std::size_t>(precision)));
  }
  return text;
}

std::u16string textOf(const id& object) {
  const auto text = object ? object->description() : Ref<NSString>();
  return text ? text->utf16() : u"(null)";
}

/// Writes one conversion behind what a format has come to so far.
class ConversionWriter {
 public:
  explicit ConversionWriter(TextStorage& result) : result_(result) {}

  void write(FormatConversion& conversion) {
    switch (conversion.kind) {
      case 'd':
      case 'D':
      case 'i':
        return writeSigned(conversion);
      case 'u':
      case 'U':
      case 'o':
      case 'O':
      case 'x':
      case 'X':
        return writeUnsigned(conversion);
      case 'c':
      case 'C':
        return writeCharacter(conversion);
      case 'p':
        return writeAddress(conversion);
      case 's':
      case 'S':
      case '@':
        return writeText(conversion);
      default:
        return writeReal(conversion);
    }
  }

 private:
  void writeSigned(FormatConversion& conversion) {
    const auto number = integerIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    conversion.integerSize = conversion.kind == 'D' ? sizeof(std::int64_t) : conversion.integerSize;
    conversion.kind = 'd';
    const long long value = signedOfSize(*number, conversion.integerSize);
    appendUnits(result_, std::string_view(printed(conversion, "ll", value)));
  }

  void writeUnsigned(FormatConversion& conversion) {
    const auto number = integerIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    if (conversion.kind == 'U' || conversion.kind == 'O') {
      conversion.integerSize = sizeof(std::int64_t);
      conversion.kind = conversion.kind == 'U' ? 'u' : 'o';
    }
    const unsigned long long value = unsignedOfSize(*number, conversion.integerSize);
    appendUnits(result_, std::string_view(printed(conversion, "ll", value)));
  }

  void writeReal(FormatConversion& conversion) {
    const auto number = realIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    appendUnits(result_, std::string_view(printed(conversion, "", *number)));
  }

  void writeAddress(FormatConversion& conversion) {
    const auto address = addressIn(*conversion.argument);
    if (!address) {
      return writeText(conversion);
    }
    char hex[2 + 2 * sizeof *address + 1];
    std::snprintf(hex, sizeof hex, "0x%llx", static_cast<unsigned long long>(*address));
    writePadded(conversion, displayUTF16FromUTF8(hex));
  }

  void writeCharacter(FormatConversion& conversion) {
    const auto number = integerIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    const std::size_t size = conversion.kind == 'c' ? sizeof(char) : sizeof(unichar);
    writePadded(conversion, {static_cast<unichar>(unsignedOfSize(*number, size))});
  }

  /// Writes an argument as its own kind.
  void writeText(const FormatConversion& conversion) {
    const auto& value = conversion.argument->value();
    const int precision = conversion.precision;
    if (const auto* bytes = std::get_if<FormatArgument::Bytes>(&value); bytes && *bytes) {
      // Only `%s` counts bytes; they may then lack their NUL.
      writePadded(conversion, conversion.kind == 's'
                                  ? unitsOfBytes(*bytes, precision)
                                  : cutToPrecision(unitsOfBytes(*bytes, -1), precision));
    } else if (const auto* units = std::get_if<FormatArgument::Units>(&value); units && *units) {
      writePadded(conversion, unitsOfUnits(*units, precision));
    } else if (const auto* object = std::get_if<id>(&value)) {
      writePadded(conversion, cutToPrecision(textOf(*object), precision));
    } else {
      writeOwnKind(conversion);
    }
  }

  /// Writes a number or pointer that was given where a text is asked for, or a text that is null.
  void writeOwnKind(FormatConversion conversion) {
    const auto& value = conversion.argument->value();
    conversion.flags = conversion.flags.find('-') == std::string::npos ? "" : "-";
    conversion.precision = -1;
    conversion.integerSize = sizeof(std::int64_t);
    if (std::holds_alternative<double>(value)) {
      conversion.kind = 'g';
      writeReal(conversion);
    } else if (std::holds_alternative<const void*>(value)) {
      writeAddress(conversion);
    } else if (integerIn(*conversion.argument)) {
      conversion.kind = std::holds_alternative<std::uint64_t>(value) ? 'u' : 'd';
      conversion.kind == 'u' ? writeUnsigned(conversion) : writeSigned(conversion);
    } else {
      writePadded(conversion, u"(null)");
    }
  }

  void writePadded(const FormatConversion& conversion, const std::u16string& text) {
    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::string padding(width > text.size() ? width - text.size() : 0, ' ');
    const bool left = conversion.flags.find('-') != std::string::npos;
    appendUnits(result_, std::string_view(left ? "" : padding));
    appendUnits(result_, std::u16string_view(text));
    appendUnits(result_, std::string_view(left ? padding : ""));
  }

  TextStorage& result_;
};

}  // namespace

std::optional<std::int64_t> integerIn(const FormatArgument& argument) {
  const auto& value = argument.value();
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return *number;
  }
  if (const auto* number = std::get_if<std::uint64_t>(&value)) {
    return static_cast<std::int64_t>(*number);
  }
  if (const auto* number = std::get_if<double>(&value)) {
    return integerOf(*number);
  }
  return std::nullopt;
}

void writeConversion(FormatConversion conversion, TextStorage& result) {
  ConversionWriter(result).write(conversion);
}

}  // namespace kestova
