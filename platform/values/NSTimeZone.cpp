// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSTimeZone.h>
#include <unicode/strenum.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/ICUText.h"
#include "values/TimeZoneRules.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(NSTimeZone, .property<&NSTimeZone::name>("name"))

namespace {

constexpr NSInteger kSecondsPerHour = 3600;

/// Which zone an abbreviation is commonly used for.
constexpr std::pair<std::string_view, std::string_view> kAbbreviations[] = {
    {"ADT", "America/Halifax"},
    {"AKDT", "America/Juneau"},
    {"AKST", "America/Juneau"},
    {"ART", "America/Argentina/Buenos_Aires"},
    {"AST", "America/Halifax"},
    {"BDT", "Asia/Dhaka"},
    {"BRST", "America/Sao_Paulo"},
    {"BRT", "America/Sao_Paulo"},
    {"BST", "Europe/London"},
    {"CAT", "Africa/Harare"},
    {"CDT", "America/Chicago"},
    {"CEST", "Europe/Paris"},
    {"CET", "Europe/Paris"},
    {"CLST", "America/Santiago"},
    {"CLT", "America/Santiago"},
    {"COT", "America/Bogota"},
    {"CST", "America/Chicago"},
    {"EAT", "Africa/Nairobi"},
    {"EDT", "America/New_York"},
    {"EEST", "Europe/Athens"},
    {"EET", "Europe/Athens"},
    {"EST", "America/New_York"},
    {"GMT", "GMT"},
    {"GST", "Asia/Dubai"},
    {"HKT", "Asia/Hong_Kong"},
    {"HST", "Pacific/Honolulu"},
    {"ICT", "Asia/Bangkok"},
    {"IRST", "Asia/Tehran"},
    {"IST", "Asia/Kolkata"},
    {"JST", "Asia/Tokyo"},
    {"KST", "Asia/Seoul"},
    {"MDT", "America/Denver"},
    {"MSK", "Europe/Moscow"},
    {"MST", "America/Denver"},
    {"NDT", "America/St_Johns"},
    {"NST", "America/St_Johns"},
    {"NZDT", "Pacific/Auckland"},
    {"NZST", "Pacific/Auckland"},
    {"PDT", "America/Los_Angeles"},
    {"PET", "America/Lima"},
    {"PHT", "Asia/Manila"},
    {"PKT", "Asia/Karachi"},
    {"PST", "America/Los_Angeles"},
    {"SGT", "Asia/Singapore"},
    {"SST", "Pacific/Pago_Pago"},
    {"TRT", "Europe/Istanbul"},
    {"UTC", "UTC"},
    {"WAT", "Africa/Lagos"},
    {"WEST", "Europe/Lisbon"},
    {"WET", "Europe/Lisbon"},
    {"WIB", "Asia/Jakarta"},
};

void requireArgument(const char* operation, bool isPresent) {
  if (!isPresent) {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("NSTimeZone %s: an argument is missing.", operation));
  }
}

std::optional<NSInteger> numberIn(std::string_view digits) {
  NSInteger number = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = result.ec == std::errc() && result.ptr == digits.data() + digits.size();
  return isNumber && digits.front() != '-' ? std::optional(number) : std::nullopt;
}

/// "H", "HH", "HMM", "HHMM", "H:MM" or "HH:MM" in seconds.
std::optional<NSInteger> secondsIn(std::string_view distance) {
  std::string digits(distance);
  if (const std::size_t colon = digits.find(':'); colon != digits.npos) {
    if (colon == 0 || colon + 3 != digits.size()) {
      return std::nullopt;
    }
    digits.erase(colon, 1);
  }
  const auto number = digits.empty() || digits.size() > 4 ? std::nullopt : numberIn(digits);
  if (!number) {
    return std::nullopt;
  }
  const NSInteger hours = digits.size() <= 2 ? *number : *number / 100;
  const NSInteger minutes = digits.size() <= 2 ? 0 : *number % 100;
  return minutes < 60 ? std::optional(hours * kSecondsPerHour + minutes * 60) : std::nullopt;
}

/// Null unless the name is "GMT", a sign and a distance.
Ref<NSTimeZone> zoneOfFixedDistance(std::string_view name) {
  constexpr std::string_view kPrefix = "GMT";
  if (!name.starts_with(kPrefix) || name.size() <= kPrefix.size()) {
    return nullptr;
  }
  const char sign = name[kPrefix.size()];
  const auto seconds = secondsIn(name.substr(kPrefix.size() + 1));
  return seconds && (sign == '+' || sign == '-')
             ? NSTimeZone::timeZoneForSecondsFromGMT(sign == '+' ? *seconds : -*seconds)
             : nullptr;
}

Ref<NSString> nameForDistance(NSInteger seconds) {
  const NSInteger minutes = std::abs(seconds) / 60;
  return minutes == 0 ? Ref<NSString>("GMT")
                      : NSString::stringWithFormat("GMT%c%02ld%02ld", seconds < 0 ? '-' : '+',
                                                   minutes / 60, minutes % 60);
}

std::vector<id> knownNames() {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> zones(icu::TimeZone::createEnumeration(status));
  std::vector<id> names;
  const icu::UnicodeString* name = nullptr;
  while (U_SUCCESS(status) && (name = zones->snext(status)) != nullptr) {
    names.push_back(stringOf(*name));
  }
  return names;
}

bool isKnownName(const Ref<NSString>& name) {
  static const auto& known = *new Ref<NSSet>(NSSet::setWithArray(NSTimeZone::knownTimeZoneNames()));
  return known->containsObject(name);
}

Ref<NSTimeZone> detectedZone() {
  const std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
  icu::UnicodeString name;
  const auto zone = NSTimeZone::timeZoneWithName(stringOf(host->getID(name)));
  return zone ? zone : NSTimeZone::timeZoneForSecondsFromGMT(0);
}

/// The zones of the process, each null until it is asked for or set.
struct ProcessZones {
  static ProcessZones& shared() {
    static auto& zones = *new ProcessZones;
    return zones;
  }

  std::mutex mutex;
  Ref<NSTimeZone> system;
  Ref<NSTimeZone> chosen;
};

double secondsSince1970(const Ref<NSDate>& date) {
  return date ? date->timeIntervalSince1970()
              : CFAbsoluteTimeGetCurrent() + NSTimeIntervalSince1970;
}

}  // namespace

NSTimeZone::NSTimeZone(Ref<NSString> name, std::shared_ptr<const TimeZoneRules> rules) noexcept
    : name_(std::move(name)), rules_(std::move(rules)) {}

Ref<NSArray> NSTimeZone::knownTimeZoneNames() {
  static const auto& names = *new Ref<NSArray>(NSArray::arrayWithObjects(knownNames()));
  return names;
}

Ref<NSTimeZone> NSTimeZone::timeZoneWithName(const Ref<NSString>& name) {
  requireArgument("timeZoneWithName:", name != nullptr);
  if (!isKnownName(name)) {
    return zoneOfFixedDistance(name->displayUTF8());
  }
  auto rules = TimeZoneRules::named(*name);
  return rules ? make<NSTimeZone>(copyOf(name), std::move(rules)) : nullptr;
}

Ref<NSTimeZone> NSTimeZone::timeZoneWithAbbreviation(const Ref<NSString>& abbreviation) {
  requireArgument("timeZoneWithAbbreviation:", abbreviation != nullptr);
  const std::string text = abbreviation->uppercaseString()->displayUTF8();
  const auto* found = std::ranges::find(kAbbreviations, std::string_view(text),
                                        &std::pair<std::string_view, std::string_view>::first);
  return found == std::end(kAbbreviations)
             ? zoneOfFixedDistance(text)
             : timeZoneWithName(NSString::stringWithUTF8String(found->second));
}

Ref<NSTimeZone> NSTimeZone::timeZoneForSecondsFromGMT(NSInteger seconds) {
  constexpr NSInteger kLongest = 18 * kSecondsPerHour;
  if (seconds < -kLongest || seconds > kLongest) {
    return nullptr;
  }
  const NSInteger wholeMinutes = seconds / 60 * 60;
  return make<NSTimeZone>(nameForDistance(wholeMinutes),
                          TimeZoneRules::withSecondsFromGMT(wholeMinutes));
}

Ref<NSTimeZone> NSTimeZone::systemTimeZone() {
  auto& zones = ProcessZones::shared();
  const std::lock_guard lock(zones.mutex);
  if (!zones.system) {
    zones.system = detectedZone();
  }
  return zones.system;
}

void NSTimeZone::resetSystemTimeZone() {
  auto& zones = ProcessZones::shared();
  const std::lock_guard lock(zones.mutex);
  zones.system = nullptr;
}

Ref<NSTimeZone> NSTimeZone::defaultTimeZone() {
  auto& zones = ProcessZones::shared();
  {
    const std::lock_guard lock(zones.mutex);
    if (zones.chosen) {
      return zones.chosen;
    }
  }
  return systemTimeZone();
}

void NSTimeZone::setDefaultTimeZone(const Ref<NSTimeZone>& zone) {
  auto& zones = ProcessZones::shared();
  const std::lock_guard lock(zones.mutex);
  zones.chosen = zone;
}

NSInteger NSTimeZone::secondsFromGMT() const { return secondsFromGMTForDate(nullptr); }

NSInteger NSTimeZone::secondsFromGMTForDate(const Ref<NSDate>& date) const {
  const TimeZoneOffset offset = rules_->offsetAt(secondsSince1970(date));
  return offset.standard + offset.daylightSaving;
}

bool NSTimeZone::isDaylightSavingTime() const { return isDaylightSavingTimeForDate(nullptr); }

bool NSTimeZone::isDaylightSavingTimeForDate(const Ref<NSDate>& date) const {
  return daylightSavingTimeOffsetForDate(date) != 0;
}

NSTimeInterval NSTimeZone::daylightSavingTimeOffset() const {
  return daylightSavingTimeOffsetForDate(nullptr);
}

NSTimeInterval NSTimeZone::daylightSavingTimeOffsetForDate(const Ref<NSDate>& date) const {
  return static_cast<NSTimeInterval>(rules_->offsetAt(secondsSince1970(date)).daylightSaving);
}

Ref<NSString> NSTimeZone::abbreviation() const { return abbreviationForDate(nullptr); }

Ref<NSString> NSTimeZone::abbreviationForDate(const Ref<NSDate>& date) const {
  return localizedName_locale(isDaylightSavingTimeForDate(date)
                                  ? NSTimeZoneNameStyleShortDaylightSaving
                                  : NSTimeZoneNameStyleShortStandard,
                              NSLocale::localeWithLocaleIdentifier("en_US"));
}

Ref<NSString> NSTimeZone::localizedName_locale(NSTimeZoneNameStyle style,
                                               const Ref<NSLocale>& locale) const {
  return rules_->name(style, locale ? *locale : *NSLocale::currentLocale());
}

bool NSTimeZone::isEqualToTimeZone(const Ref<NSTimeZone>& other) const {
  return other && other->name_->isEqualToString(name_);
}

bool NSTimeZone::isEqual(const id& other) const {
  return other == self() || isEqualToTimeZone(cast<NSTimeZone>(other));
}

NSUInteger NSTimeZone::hash() const { return name_->hash(); }

Ref<NSString> NSTimeZone::description() const { return name_; }

id NSTimeZone::copy() const { return self(); }

}  // namespace kestova
