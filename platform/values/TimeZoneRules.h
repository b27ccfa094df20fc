// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSTimeZone.h>
#include <unicode/timezone.h>

#include <memory>

namespace kestova {

/// How far clocks are ahead of GMT at a moment, in seconds.
struct TimeZoneOffset {
  NSInteger standard = 0;
  NSInteger daylightSaving = 0;
};

/// ICU's rules and names of one zone. Immutable.
class TimeZoneRules {
 public:
  /// Null for a name that ICU doesn't know.
  static std::shared_ptr<const TimeZoneRules> named(const NSString& name);

  static std::shared_ptr<const TimeZoneRules> withSecondsFromGMT(NSInteger seconds);

  explicit TimeZoneRules(std::unique_ptr<const icu::TimeZone> zone) : zone_(std::move(zone)) {}

  /// `seconds` since 1970. What is no moment counts as the one at 0.
  TimeZoneOffset offsetAt(double seconds) const;

  /// Null for a style that is none.
  Ref<NSString> name(NSTimeZoneNameStyle style, const NSLocale& locale) const;

 private:
  const std::unique_ptr<const icu::TimeZone> zone_;
};

}  // namespace kestova
