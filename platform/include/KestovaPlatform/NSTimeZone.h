// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <memory>

namespace kestova {

class TimeZoneRules;

/// Which of a time zone's names is meant.
enum NSTimeZoneNameStyle : NSInteger {
  NSTimeZoneNameStyleStandard = 0,             ///< "Central European Standard Time"
  NSTimeZoneNameStyleShortStandard = 1,        ///< "PST", "GMT+1"
  NSTimeZoneNameStyleDaylightSaving = 2,       ///< "Central European Summer Time"
  NSTimeZoneNameStyleShortDaylightSaving = 3,  ///< "PDT", "GMT+2"
  NSTimeZoneNameStyleGeneric = 4,              ///< "Central European Time"
  NSTimeZoneNameStyleShortGeneric = 5,         ///< "PT"
};

/// The rules by which a region sets its clocks.
///
///     const auto berlin = NSTimeZone::timeZoneWithName("Europe/Berlin");
///     const NSInteger ahead = berlin->secondsFromGMTForDate(date);   // 3600 or 7200
///
/// Zones, their rules and their names are those of ICU.
///
/// Threads: immutable, so any number of them may read one zone at a time. The default zone may be
/// set and read from any thread.
class KESTOVA_PLATFORM_EXPORT NSTimeZone : public NSObject {
  KESTOVA_CLASS(NSTimeZone, NSObject)

 public:
  /// \name Making
  /// Null for what is no zone; a null argument throws NSInvalidArgumentException.
  /// @{

  /// The names of all zones, "Africa/Abidjan" to "Zulu", in the order of their units.
  static Ref<NSArray> knownTimeZoneNames();

  /// A zone by one of these names, or with a fixed distance from GMT by a name such as "GMT+0130".
  static Ref<NSTimeZone> timeZoneWithName(const Ref<NSString>& name);

  /// The zone that an abbreviation is commonly used for, in any case: "PST" and "PDT" are
  /// "America/Los_Angeles". "GMT+2", "GMT-0530" and the like are zones of a fixed distance.
  static Ref<NSTimeZone> timeZoneWithAbbreviation(const Ref<NSString>& abbreviation);

  /// A zone of a fixed distance from GMT, to the whole minute towards 0: "GMT+0130". Null beyond 18
  /// hours.
  static Ref<NSTimeZone> timeZoneForSecondsFromGMT(NSInteger seconds);

  /// The machine's zone, as the environment's TZ or the system's settings say; GMT where they say
  /// nothing that is known. It is looked up once.
  static Ref<NSTimeZone> systemTimeZone();

  /// Makes the next call of `systemTimeZone` look it up again.
  static void resetSystemTimeZone();

  /// The zone that the program works in: the system's until another one is set. Null sets it back.
  static Ref<NSTimeZone> defaultTimeZone();
  static void setDefaultTimeZone(const Ref<NSTimeZone>& zone);

  /// The same as the default zone.
  static Ref<NSTimeZone> localTimeZone() { return defaultTimeZone(); }

  /// @}
  /// \name Reading
  /// Without a date: now, as Clock.h says it. A null date is now.
  /// @{

  /// The name that it was found or made by.
  const Ref<NSString>& name() const noexcept { return name_; }

  /// How far the zone's clocks are ahead of GMT, daylight saving included.
  NSInteger secondsFromGMT() const;
  NSInteger secondsFromGMTForDate(const Ref<NSDate>& date) const;

  /// Whether any of the distance is daylight saving.
  bool isDaylightSavingTime() const;
  bool isDaylightSavingTimeForDate(const Ref<NSDate>& date) const;

  /// How much of the distance is daylight saving.
  NSTimeInterval daylightSavingTimeOffset() const;
  NSTimeInterval daylightSavingTimeOffsetForDate(const Ref<NSDate>& date) const;

  /// The short name in English, "CST" or "GMT+1".
  Ref<NSString> abbreviation() const;
  Ref<NSString> abbreviationForDate(const Ref<NSDate>& date) const;

  /// A name in a language; the distance from GMT in that language's form where there is no name.
  /// Null for a style that is none. A null locale is the current one.
  Ref<NSString> localizedName_locale(NSTimeZoneNameStyle style, const Ref<NSLocale>& locale) const;

  /// @}

  /// Whether both have the same name. Null is equal to nothing.
  bool isEqualToTimeZone(const Ref<NSTimeZone>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// The name.
  Ref<NSString> description() const override;
  id copy() const override;

 protected:
  NSTimeZone(Ref<NSString> name, std::shared_ptr<const TimeZoneRules> rules) noexcept;

 private:
  const Ref<NSString> name_;
  const std::shared_ptr<const TimeZoneRules> rules_;
};

}  // namespace kestova
