// SPDX-License-Identifier: Apache-2.0
#include "preferences/PropertyListText.h"

#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSNumber.h>

#include "values/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <system_error>

namespace kestova {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

/// Takes a sign off the front; whether it was a minus.
bool takeSign(std::string_view& text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  return negative;
}

/// Takes the prefix of hexadecimal numbers off the front; the base of the digits behind it.
int takeBase(std::string_view& text) {
  if (!text.starts_with("0x") && !text.starts_with("0X")) {
    return 10;
  }
  text.remove_prefix(2);
  return 16;
}

/// The value of a text that is a number from its first character to its last.
template <class T, class... How>
std::optional<T> parsed(std::string_view text, How... how) {
  T value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, how...);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

id numberFromMagnitude(std::uint64_t magnitude, bool negative) {
  constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (negative) {
    return magnitude <= kLargest + 1
               ? id(NSNumber::numberWithLongLong(static_cast<std::int64_t>(-magnitude)))
               : nullptr;
  }
  return magnitude <= kLargest ? NSNumber::numberWithLongLong(static_cast<std::int64_t>(magnitude))
                               : NSNumber::numberWithUnsignedLongLong(magnitude);
}

/// Takes apart a text of fixed width, where every field is digits alone.
class FixedFields {
 public:
  explicit FixedFields(std::string_view text) : text_(text) {}

  unsigned number(std::size_t width) {
    const auto field = take(width);
    const bool isDigits = field.find_first_not_of("0123456789") == std::string_view::npos;
    const auto value = isDigits ? parsed<unsigned>(field) : std::nullopt;
    valid_ = valid_ && value;
    return value.value_or(0);
  }

  FixedFields& sign(char expected) {
    valid_ = take(1) == std::string_view(&expected, 1) && valid_;
    return *this;
  }

  bool areAllValid() const { return valid_ && text_.empty(); }

 private:
  std::string_view take(std::size_t width) {
    const auto taken = text_.substr(0, width);
    valid_ = valid_ && taken.size() == width;
    text_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view text_;
  bool valid_ = true;
};

constexpr std::uint8_t kNoDigit = 64;

constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The values of the digits by character, kNoDigit elsewhere.
constexpr std::array<std::uint8_t, 256> kBase64Values = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoDigit);
  std::uint8_t value = 0;
  for (const unsigned char digit : kBase64Digits) {
    values[digit] = value++;
  }
  return values;
}();

/// Collects bytes from digits of six bits each.
class Base64Decoder {
 public:
  /// Whether the character can stand here.
  bool take(char character) {
    const auto value = kBase64Values[static_cast<unsigned char>(character)];
    if (value == kNoDigit) {
      paddings_ += character == '=';
      return character == '=' || isBlank({&character, 1});
    }
    bits_ = bits_ << 6 | value;
    if (++digits_ % 4 != 1) {
      bytes_.push_back(static_cast<std::byte>(bits_ >> (6 - 2 * ((digits_ - 1) % 4))));
    }
    return paddings_ == 0;
  }

  /// The bytes, once the last group is full.
  std::optional<std::vector<std::byte>> finish() && {
    const bool isFull = paddings_ <= 2 && digits_ % 4 != 1 && (digits_ + paddings_) % 4 == 0;
    return isFull ? std::optional(std::move(bytes_)) : std::nullopt;
  }

 private:
  std::vector<std::byte> bytes_;
  std::uint32_t bits_ = 0;  // the latest digit lowest; older ones leave at the top
  std::size_t digits_ = 0;
  std::size_t paddings_ = 0;
};

/// The digits of up to three bytes, filled up to four characters.
void appendBase64(std::string& text, std::span<const std::byte> group) {
  std::uint32_t bits = 0;
  for (std::size_t index = 0; index < 3; ++index) {
    bits = bits << 8 | (index < group.size() ? std::to_integer<std::uint32_t>(group[index]) : 0);
  }
  for (std::size_t digit = 0; digit < 4; ++digit) {
    text += digit <= group.size() ? kBase64Digits[bits >> (18 - 6 * digit) & 0x3F] : '=';
  }
}

/// The first byte of the characters U+F000 to U+FFFF, of which XML lacks the last two.
constexpr char kPerhapsNoCharacter = '\xEF';

/// Which bytes of UTF-8 are written as they are, whatever follows.
constexpr std::array<bool, 256> kStandsForItself = [] {
  std::array<bool, 256> stands{};
  std::fill(stands.begin() + ' ', stands.end(), true);
  stands['\t'] = stands['\n'] = true;
  for (const char other : {'&', '<', '>', kPerhapsNoCharacter}) {
    stands[static_cast<unsigned char>(other)] = false;
  }
  return stands;
}();

bool standsForItself(char byte) { return kStandsForItself[static_cast<unsigned char>(byte)]; }

/// What is written for the first of the bytes; empty where nothing can be.
std::string_view formInXML(std::string_view utf8) {
  switch (utf8.front()) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return "&#13;";  // a parser makes a line feed of the character itself
    case kPerhapsNoCharacter:
      return utf8.starts_with("\xEF\xBF\xBE") || utf8.starts_with("\xEF\xBF\xBF")
                 ? std::string_view()
                 : utf8.substr(0, 1);
    default:
      return {};
  }
}

}  // namespace

id integerFromText(std::string_view text) {
  text = trimmed(text);
  const bool negative = takeSign(text);
  const int base = takeBase(text);
  const auto magnitude = parsed<std::uint64_t>(text, base);
  return magnitude ? numberFromMagnitude(*magnitude, negative) : nullptr;
}

id realFromText(std::string_view text) {
  text = trimmed(text);
  const bool negative = takeSign(text);
  if (text.starts_with('-')) {
    return nullptr;
  }
  const auto magnitude = parsed<double>(text);
  return magnitude ? id(NSNumber::numberWithDouble(negative ? -*magnitude : *magnitude)) : nullptr;
}

id dateFromText(std::string_view text) {
  using namespace std::chrono;
  FixedFields fields(trimmed(text));
  const year year(static_cast<int>(fields.number(4)));
  const month month(fields.sign('-').number(2));
  const day day(fields.sign('-').number(2));
  const hours hour(fields.sign('T').number(2));
  const minutes minute(fields.sign(':').number(2));
  const seconds second(fields.sign(':').number(2));
  const year_month_day date(year, month, day);
  if (!fields.sign('Z').areAllValid() || !date.ok() || hour >= 24h || minute >= 60min ||
      second >= 60s) {
    return nullptr;
  }
  const auto moment = sys_days(date) + hour + minute + second;
  return NSDate::dateWithTimeIntervalSince1970(
      static_cast<NSTimeInterval>(moment.time_since_epoch().count()));
}

std::optional<std::vector<std::byte>> bytesFromBase64(std::string_view text) {
  Base64Decoder decoder;
  for (const char character : text) {
    if (!decoder.take(character)) {
      return std::nullopt;
    }
  }
  return std::move(decoder).finish();
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(kWhiteSpace) == std::string_view::npos;
}

std::string textFromReal(double value) {
  return std::isinf(value) ? value > 0 ? "+infinity" : "-infinity" : numberText(value);
}

std::optional<std::string> textFromDate(NSTimeInterval seconds) {
  using namespace std::chrono;
  constexpr sys_seconds kReference{sys_days(2001y / January / 1)};
  constexpr sys_seconds kFirst{sys_days(0y / January / 1)};
  constexpr sys_seconds kEnd{sys_days(10000y / January / 1)};
  const double second = std::floor(seconds);
  if (second < static_cast<double>((kFirst - kReference).count()) ||
      second >= static_cast<double>((kEnd - kReference).count())) {
    return std::nullopt;
  }
  const auto moment = kReference + std::chrono::seconds(static_cast<std::int64_t>(second));
  const year_month_day date(floor<days>(moment));
  const hh_mm_ss time(moment - floor<days>(moment));
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(date.year()),
                unsigned(date.month()), unsigned(date.day()), int(time.hours().count()),
                int(time.minutes().count()), int(time.seconds().count()));
  return text;
}

std::string base64FromBytes(std::span<const std::byte> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  while (!bytes.empty()) {
    const auto group = bytes.first(std::min<std::size_t>(bytes.size(), 3));
    appendBase64(text, group);
    bytes = bytes.subspan(group.size());
  }
  return text;
}

bool appendToXML(std::string& xml, std::string_view utf8) {
  while (true) {
    const auto* const end = std::ranges::find_if_not(utf8, standsForItself);
    xml.append(utf8.begin(), end);
    utf8.remove_prefix(static_cast<std::size_t>(end - utf8.begin()));
    if (utf8.empty()) {
      return true;
    }
    const auto form = formInXML(utf8);
    if (form.empty()) {
      return false;
    }
    xml.append(form);
    utf8.remove_prefix(1);
  }
}

}  // namespace kestova
