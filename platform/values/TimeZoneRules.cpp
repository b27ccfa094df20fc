// SPDX-License-Identifier: Apache-2.0
#include "values/TimeZoneRules.h"

#include <unicode/simpletz.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "text/ICULocale.h"
#include "text/ICUText.h"

namespace kestova {
namespace {

constexpr int kMillisecondsPerSecond = 1000;

bool isKnown(const icu::TimeZone& zone) { return zone != icu::TimeZone::getUnknown(); }

struct DisplayName {
  bool isDaylightSaving;
  icu::TimeZone::EDisplayType type;
};

constexpr std::array<DisplayName, 6> kDisplayNames = {{{false, icu::TimeZone::LONG},
                                                       {false, icu::TimeZone::SHORT},
                                                       {true, icu::TimeZone::LONG},
                                                       {true, icu::TimeZone::SHORT},
                                                       {false, icu::TimeZone::LONG_GENERIC},
                                                       {false, icu::TimeZone::SHORT_GENERIC}}};

}  // namespace

std::shared_ptr<const TimeZoneRules> TimeZoneRules::named(const NSString& name) {
  const std::u16string units = name.utf16();
  std::unique_ptr<const icu::TimeZone> zone(icu::TimeZone::createTimeZone(icuText(units)));
  return isKnown(*zone) ? std::make_shared<const TimeZoneRules>(std::move(zone)) : nullptr;
}

std::shared_ptr<const TimeZoneRules> TimeZoneRules::withSecondsFromGMT(NSInteger seconds) {
  const auto milliseconds = static_cast<std::int32_t>(seconds * kMillisecondsPerSecond);
  return std::make_shared<const TimeZoneRules>(
      std::make_unique<const icu::SimpleTimeZone>(milliseconds, u"GMT"));
}

TimeZoneOffset TimeZoneRules::offsetAt(double seconds) const {
  std::int32_t standard = 0;
  std::int32_t daylightSaving = 0;
  UErrorCode status = U_ZERO_ERROR;
  const double moment = std::isfinite(seconds) ? std::floor(seconds * kMillisecondsPerSecond) : 0;
  zone_->getOffset(moment, 0, standard, daylightSaving, status);
  return {standard / kMillisecondsPerSecond, daylightSaving / kMillisecondsPerSecond};
}

Ref<NSString> TimeZoneRules::name(NSTimeZoneNameStyle style, const NSLocale& locale) const {
  const auto index = static_cast<std::size_t>(style);
  if (index >= kDisplayNames.size()) {
    return nullptr;
  }
  const auto [isDaylightSaving, type] = kDisplayNames[index];
  icu::UnicodeString name;
  zone_->getDisplayName(static_cast<UBool>(isDaylightSaving), type, knownICULocale(locale), name);
  return name.isEmpty() ? nullptr : stringOf(name);
}

}  // namespace kestova
