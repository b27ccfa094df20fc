// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>

#include "text/FormatConversion.h"
#include "text/TextStorage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kestova {
namespace {

/// What widths and precisions end at: wider ones are slips of the format, and would cost memory.
constexpr std::int64_t kLargestField = 65535;

/// Reads a format, and writes what it asks for into a storage.
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
    FormatConversion conversion;
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
      writeConversion(std::move(conversion), result_);
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

  void readFlags(FormatConversion& conversion) {
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

  void readWidth(FormatConversion& conversion) {
    conversion.width = readField().value_or(0);
    if (conversion.width < 0) {
      conversion.flags.push_back('-');
      conversion.width = -conversion.width;
    }
  }

  void readPrecision(FormatConversion& conversion) {
    if (skip('.')) {
      conversion.precision = readField().value_or(-1);
    }
  }

  void readLengthModifier(FormatConversion& conversion) {
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
