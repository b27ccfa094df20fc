// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>

#include "text/CLocale.h"
#include "text/TextStorage.h"
#include "text/UnicodeConversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace kestova {
namespace {

/// What widths and precisions end at: wider ones are slips of the format, and would cost memory.
constexpr std::int64_t kLargestField = 65535;

/// One conversion of a format, as it was read.
struct Conversion {
  std::string flags;
  int width = 0;
  /// Negative when the format gives none, as for printf.
  int precision = -1;
  /// How many bytes of an integer count.
  std::size_t integerSize = sizeof(int);
  char kind = 0;
  const FormatArgument* argument = nullptr;
};

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

/// The number that an argument holds, as a 64-bit pattern; nothing when it holds none.
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
std::string printed(const Conversion& conversion, const char* lengthModifier, Value value) {
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

/// Writes what a format asks for into a storage.
template <class Unit>
class Formatter {
 public:
  Formatter(std::basic_string_view<Unit> format, const FormatArguments& arguments)
      : format_(format), arguments_(arguments) {}

  TextStorage format() && {
    while (position_ < format_.size()) {
      const std::size_t mark = std::min(format_.find(Unit{'%'}, position_), format_.size());
      appendUnits(result_, format_.substr(position_, mark - position_));
      position_ = mark;
      if (mark < format_.size()) {
        formatConversion();
      }
    }
    return std::move(result_);
  }

 private:
  /// Reads one conversion from its "%" on and writes it; what is none is written as it stands.
  void formatConversion() {
    const std::size_t start = position_++;
    Conversion conversion;
    const std::size_t explicitIndex = readPosition();
    readFlags(conversion);
    readWidth(conversion);
    readPrecision(conversion);
    readLengthModifier(conversion);
    conversion.kind = readKind();
    if (conversion.kind == '%') {
      appendUnits(result_, std::string_view("%"));
    } else if (conversion.kind == 0) {
      appendUnits(result_, format_.substr(start, position_ - start));
    } else if ((conversion.argument = argumentAt(explicitIndex)) != nullptr) {
      write(conversion);
    }
  }

  /// The unit at the present position; NUL at the end and for what no conversion is written with.
  char peek() const {
    if (position_ >= format_.size()) {
      return 0;
    }
    const auto unit = static_cast<unichar>(format_[position_]);
    return unit < 0x80 ? static_cast<char>(unit) : '\0';
  }

  bool skip(char wanted) {
    const bool found = wanted != 0 && peek() == wanted;
    position_ += found ? 1 : 0;
    return found;
  }

  /// A decimal number, as far as there are digits; large ones end at `kLargestField`.
  int readNumber() {
    std::int64_t number = 0;
    for (; peek() >= '0' && peek() <= '9'; ++position_) {
      number = std::min(number * 10 + (peek() - '0'), kLargestField);
    }
    return static_cast<int>(number);
  }

  /// The number before a "$", which counts arguments from 1; 0 when there is none.
  std::size_t readPosition() {
    const std::size_t start = position_;
    const int number = readNumber();
    if (number > 0 && skip('$')) {
      return static_cast<std::size_t>(number);
    }
    position_ = start;
    return 0;
  }

  void readFlags(Conversion& conversion) {
    for (char flag = peek(); flag != 0 && std::strchr("-+ #0'", flag) != nullptr; flag = peek()) {
      if (conversion.flags.find(flag) == std::string::npos) {
        conversion.flags.push_back(flag);
      }
      ++position_;
    }
  }

  /// A number, or "*" for an argument that holds it; nothing when the argument is missing.
  std::optional<int> readField() {
    if (!skip('*')) {
      return readNumber();
    }
    const FormatArgument* argument = argumentAt(readPosition());
    const auto number = argument == nullptr ? std::nullopt : integerIn(*argument);
    if (!number) {
      return std::nullopt;
    }
    return static_cast<int>(std::clamp(*number, -kLargestField, kLargestField));
  }

  void readWidth(Conversion& conversion) {
    conversion.width = readField().value_or(0);
    if (conversion.width < 0) {
      conversion.flags.push_back('-');
      conversion.width = -conversion.width;
    }
  }

  void readPrecision(Conversion& conversion) {
    if (skip('.')) {
      conversion.precision = readField().value_or(-1);
    }
  }

  void readLengthModifier(Conversion& conversion) {
    if (skip('h')) {
      conversion.integerSize = skip('h') ? sizeof(char) : sizeof(short);
      return;
    }
    while (skip('l') || skip('q') || skip('j') || skip('z') || skip('t') || skip('L')) {
      conversion.integerSize = sizeof(std::int64_t);
    }
  }

  /// The letter of a conversion, in the C library's spelling; NUL for none.
  char readKind() {
    const char kind = peek();
    if (kind == 0 || std::strchr("dDiuUoOxXcCsSfFeEgGaAp@%", kind) == nullptr) {
      return 0;
    }
    ++position_;
    return kind;
  }

  /// The argument of that position, or the next one for 0; null when there are not so many.
  const FormatArgument* argumentAt(std::size_t explicitIndex) {
    const std::size_t index = explicitIndex > 0 ? explicitIndex - 1 : next_++;
    return index < arguments_.size() ? &arguments_[index] : nullptr;
  }

  void write(Conversion& conversion) {
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

  void writeSigned(Conversion& conversion) {
    const auto number = integerIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    conversion.integerSize = conversion.kind == 'D' ? sizeof(std::int64_t) : conversion.integerSize;
    conversion.kind = 'd';
    const long long value = signedOfSize(*number, conversion.integerSize);
    appendUnits(result_, std::string_view(printed(conversion, "ll", value)));
  }

  void writeUnsigned(Conversion& conversion) {
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

  void writeReal(Conversion& conversion) {
    const auto number = realIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    appendUnits(result_, std::string_view(printed(conversion, "", *number)));
  }

  void writeAddress(Conversion& conversion) {
    const auto address = addressIn(*conversion.argument);
    if (!address) {
      return writeText(conversion);
    }
    char hex[2 + 2 * sizeof *address + 1];
    std::snprintf(hex, sizeof hex, "0x%llx", static_cast<unsigned long long>(*address));
    writePadded(conversion, displayUTF16FromUTF8(hex));
  }

  void writeCharacter(Conversion& conversion) {
    const auto number = integerIn(*conversion.argument);
    if (!number) {
      return writeText(conversion);
    }
    const std::size_t size = conversion.kind == 'c' ? sizeof(char) : sizeof(unichar);
    writePadded(conversion, {static_cast<unichar>(unsignedOfSize(*number, size))});
  }

  /// Writes an argument as its own kind.
  void writeText(const Conversion& conversion) {
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
  void writeOwnKind(Conversion conversion) {
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

  void writePadded(const Conversion& conversion, const std::u16string& text) {
    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::string padding(width > text.size() ? width - text.size() : 0, ' ');
    const bool left = conversion.flags.find('-') != std::string::npos;
    appendUnits(result_, std::string_view(left ? "" : padding));
    appendUnits(result_, std::u16string_view(text));
    appendUnits(result_, std::string_view(left ? padding : ""));
  }

  std::basic_string_view<Unit> format_;
  const FormatArguments& arguments_;
  std::size_t position_ = 0;
  std::size_t next_ = 0;
  TextStorage result_;
};

}  // namespace

Ref<NSString> NSString::initWithFormat_arguments(const Ref<NSString>& format,
                                                 const FormatArguments& arguments) {
  if (!format) {
    throw NSException(NSInvalidArgumentException, "a format is no text");
  }
  return kept(withUnits(*format, [&](auto units) { return Formatter(units, arguments).format(); }));
}

}  // namespace kestova
