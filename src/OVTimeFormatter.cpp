// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVTimeFormatter.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNumber.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    OVTimeFormatter,
    .property<&OVTimeFormatter::timeStyle, &OVTimeFormatter::setTimeStyle>("timeStyle")
        .property<&OVTimeFormatter::showsFractions, &OVTimeFormatter::setShowsFractions>(
            "showsFractions")
        .property<&OVTimeFormatter::options, &OVTimeFormatter::setOptions>("options"))

struct OVTimeFormatter::_OVTimeFormatterParts {
  double value = 0;
  std::uint32_t days = 0;
  std::uint32_t hours = 0;
  std::uint32_t minutes = 0;
  std::uint32_t seconds = 0;
  double fraction = 0;
  bool showsDays = false;
  bool showsHours = false;
  bool showsMinutes = false;
  bool showsSeconds = false;
};

namespace {

constexpr NSUInteger kColonStyle = 4;

struct Labels {
  std::string_view day;
  std::string_view hour;
  std::string_view minute;
  std::string_view second;
  std::string_view unitSeparator;
  std::string_view labelSeparator;
  std::string_view plural;
};

constexpr std::array<Labels, kColonStyle> kLabels = {{
    {"d", "h", "m", "s", " ", "", ""},
    {"day", "hr", "min", "sec", " ", " ", "s"},
    {"day", "hour", "minute", "second", ", ", " ", "s"},
    {"day", "hour", "minute", "second", ", ", " ", "s"},
}};

/// A short text being put together. The longest there is has less than 64 characters.
class Text {
 public:
  Text& operator<<(std::string_view text) {
    end_ = std::ranges::copy(text, end_).out;
    return *this;
  }
  Text& operator<<(std::uint32_t number) {
    end_ = std::to_chars(end_, limit(), number).ptr;
    return *this;
  }

  /// At least two digits.
  Text& padded(std::uint32_t number) { return (number < 10 ? *this << "0" : *this) << number; }

  Text& withHundredths(double number) {
    end_ = std::to_chars(end_, limit(), number, std::chars_format::fixed, 2).ptr;
    return *this;
  }

  Ref<NSString> string() const {
    return NSString::stringWithEightBitStorage(
        std::string(buffer_.data(), static_cast<std::size_t>(end_ - buffer_.data())));
  }

 private:
  char* limit() { return buffer_.data() + buffer_.size(); }

  std::array<char, 96> buffer_;
  char* end_ = buffer_.data();
};

/// A whole number's low 32 bits; 0 for what has no place in 64.
std::uint32_t lowBitsOf(double whole) {
  constexpr double kLimit = 9223372036854775808.0;
  return whole >= -kLimit && whole < kLimit
             ? static_cast<std::uint32_t>(static_cast<std::int64_t>(whole))
             : 0;
}

/// Nothing for an object that is no number.
std::optional<double> secondsIn(const id& object) {
  if (!object) {
    return 0;
  }
  if (const auto* number = dynamic_cast<const NSNumber*>(object.get())) {
    return number->doubleValue();
  }
  const auto* string = dynamic_cast<const NSString*>(object.get());
  return string == nullptr ? std::nullopt : std::optional(string->doubleValue());
}

}  // namespace

Ref<OVTimeFormatter> OVTimeFormatter::init() { return make<OVTimeFormatter>(); }

void OVTimeFormatter::setTimeStyle(NSUInteger style) {
  const KeyValueChange change(*this, "timeStyle");
  mTimeStyle = style;
}

void OVTimeFormatter::setShowsFractions(bool shows) {
  const KeyValueChange change(*this, "showsFractions");
  mShowsFractions = shows;
}

void OVTimeFormatter::setOptions(NSUInteger options) {
  const KeyValueChange change(*this, "options");
  mOptions = options;
}

Ref<NSString> OVTimeFormatter::stringForObjectValue(const id& object) const {
  const auto seconds = secondsIn(object);
  if (!seconds) {
    return nullptr;
  }
  const _OVTimeFormatterParts parts = partsOf(*seconds);
  return mTimeStyle == kColonStyle ? _stringInColonStyleForParts(parts)
                                   : _stringInEnglishStyleForParts(parts);
}

OVTimeFormatter::_OVTimeFormatterParts OVTimeFormatter::partsOf(double seconds) const {
  const double whole = std::floor(seconds);
  const double wholeMinutes = std::floor(whole / 60);
  const std::uint32_t minutes = lowBitsOf(wholeMinutes);
  _OVTimeFormatterParts parts;
  parts.value = seconds;
  parts.days = minutes / 1440;
  parts.hours = minutes / 60 % 24;
  parts.minutes = minutes % 60;
  parts.seconds = lowBitsOf(whole - 60 * wholeMinutes);
  parts.fraction = std::isfinite(seconds) ? seconds - whole : 0;
  const bool hasDays = parts.days != 0;
  const bool hasHours = parts.hours != 0;
  const bool hasMinutes = parts.minutes != 0;
  const bool showsLargestOnly = (mOptions & OVTimeFormatterShowsLargestUnitOnly) != 0;
  const bool omitsSeconds = (mOptions & OVTimeFormatterOmitsSecondsAfterHours) != 0;
  parts.showsDays = hasDays;
  parts.showsHours = hasHours && !(showsLargestOnly && hasDays);
  parts.showsMinutes = hasMinutes && !(showsLargestOnly && (hasDays || hasHours));
  parts.showsSeconds = (parts.seconds != 0 || (mShowsFractions && parts.fraction > 0)) &&
                       !(omitsSeconds && (hasDays || hasHours)) &&
                       !(showsLargestOnly && (hasDays || hasHours || hasMinutes));
  return parts;
}

Ref<NSString> OVTimeFormatter::_stringInEnglishStyleForParts(
    const _OVTimeFormatterParts& parts) const {
  const Labels& labels = kLabels[std::min(mTimeStyle, kColonStyle - 1)];
  Text text;
  const auto addUnit = [&](std::uint32_t number, std::string_view label, bool isMoreToCome) {
    text << number << labels.labelSeparator << label << (number == 1 ? "" : labels.plural)
         << (isMoreToCome ? labels.unitSeparator : "");
  };
  const bool isMinuteOrLess = parts.showsMinutes || parts.showsSeconds;
  if (parts.showsDays) {
    addUnit(parts.days, labels.day, parts.showsHours || isMinuteOrLess);
  }
  if (parts.showsHours) {
    addUnit(parts.hours, labels.hour, isMinuteOrLess);
  }
  if (parts.showsMinutes) {
    addUnit(parts.minutes, labels.minute, parts.showsSeconds);
  }
  if (!parts.showsSeconds && (parts.showsDays || parts.showsHours || parts.showsMinutes)) {
    return text.string();
  }
  if (mShowsFractions && parts.fraction > 0.01) {
    const double seconds = parts.seconds + parts.fraction;
    text.withHundredths(seconds) << labels.labelSeparator << labels.second
                                 << (seconds == 1.0 ? "" : labels.plural);
  } else {
    addUnit(parts.seconds, labels.second, false);
  }
  return text.string();
}

Ref<NSString> OVTimeFormatter::_stringInColonStyleForParts(
    const _OVTimeFormatterParts& parts) const {
  Text text;
  if (parts.showsDays) {
    text << parts.days << (parts.days < 2 ? " day " : " days ");
  }
  if (parts.showsDays || parts.showsHours) {
    (text << parts.hours << ":").padded(parts.minutes) << ":";
  } else {
    text << parts.minutes << ":";
  }
  if (mShowsFractions) {
    text.withHundredths(parts.seconds + parts.fraction);
  } else {
    text << parts.seconds;
  }
  return text.string();
}

}  // namespace kestova
