// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSTimeZone.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "SettableClock.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace kestova {
namespace {

Ref<NSTimeZone> zoneNamed(const Ref<NSString>& name) { return NSTimeZone::timeZoneWithName(name); }

Ref<NSLocale> localeOf(const Ref<NSString>& identifier) {
  return NSLocale::localeWithLocaleIdentifier(identifier);
}

/// 2024-01-15 and 2024-07-15, both 12:00 UTC.
const Ref<NSDate>& winter() {
  static const auto date = NSDate::dateWithTimeIntervalSince1970(1705320000);
  return date;
}
const Ref<NSDate>& summer() {
  static const auto date = NSDate::dateWithTimeIntervalSince1970(1721044800);
  return date;
}

TEST(NSTimeZoneTests, KnownNamesAreOrderedAndEachMakesAZone) {
  const auto names = NSTimeZone::knownTimeZoneNames();
  ASSERT_GT(names->count(), 400U);
  EXPECT_TRUE(names->containsObject("Europe/Berlin"));
  EXPECT_TRUE(names->containsObject("UTC"));
  Ref<NSString> previous;
  for (const id& each : names) {
    const auto name = cast<NSString>(each);
    EXPECT_TRUE(!previous || previous->utf16() < name->utf16()) << name;
    const auto zone = zoneNamed(name);
    ASSERT_TRUE(zone) << name;
    EXPECT_TRUE(zone->name()->isEqualToString(name));
    previous = name;
  }
}

TEST(NSTimeZoneTests, NamesThatAreNoneMakeNoZone) {
  for (const char* name : {"", "Europe/Nowhere", "europe/berlin", "Etc/Unknown", "GMT+", "GMT+19",
                           "GMT+1:5", "GMT+01:60", "GMT+x", "GMT+-1", "GMT+12345", "GMT1"}) {
    EXPECT_FALSE(zoneNamed(name)) << name;
  }
  testing::expectException(NSInvalidArgumentException, [] { (void)zoneNamed(nullptr); });
}

TEST(NSTimeZoneTests, ClocksAreSetByTheRulesOfTheRegion) {
  testing::forBothStorages(u"Europe/Berlin", [](const Ref<NSString>& name) {
    const auto berlin = zoneNamed(name);
    EXPECT_EQ(berlin->secondsFromGMTForDate(winter()), 3600);
    EXPECT_EQ(berlin->secondsFromGMTForDate(summer()), 7200);
    EXPECT_FALSE(berlin->isDaylightSavingTimeForDate(winter()));
    EXPECT_TRUE(berlin->isDaylightSavingTimeForDate(summer()));
    EXPECT_EQ(berlin->daylightSavingTimeOffsetForDate(winter()), 0);
    EXPECT_EQ(berlin->daylightSavingTimeOffsetForDate(summer()), 3600);
  });
  EXPECT_EQ(zoneNamed("America/St_Johns")->secondsFromGMTForDate(winter()), -12600);
  EXPECT_EQ(zoneNamed("Asia/Tokyo")->secondsFromGMTForDate(summer()), 32400);
  EXPECT_EQ(zoneNamed("Australia/Lord_Howe")->daylightSavingTimeOffsetForDate(winter()), 1800);
}

TEST(NSTimeZoneTests, WithoutADateItIsNow) {
  testing::SettableClock clock(winter()->timeIntervalSinceReferenceDate());
  const auto berlin = zoneNamed("Europe/Berlin");
  EXPECT_EQ(berlin->secondsFromGMT(), 3600);
  EXPECT_FALSE(berlin->isDaylightSavingTime());
  EXPECT_EQ(berlin->daylightSavingTimeOffset(), 0);
  EXPECT_TRUE(berlin->abbreviation()->isEqualToString(berlin->abbreviationForDate(winter())));
  clock.setAbsoluteTime(summer()->timeIntervalSinceReferenceDate());
  EXPECT_EQ(berlin->secondsFromGMT(), 7200);
  EXPECT_TRUE(berlin->isDaylightSavingTime());
  EXPECT_EQ(berlin->daylightSavingTimeOffset(), 3600);
  EXPECT_TRUE(berlin->abbreviation()->isEqualToString(berlin->abbreviationForDate(summer())));
  EXPECT_TRUE(berlin->isDaylightSavingTimeForDate(nullptr)) << "no date is now";
}

/// The last second of winter and the first of summer in 2024.
TEST(NSTimeZoneTests, TheClockChangesOnTheSecond) {
  const auto berlin = zoneNamed("Europe/Berlin");
  const auto at = [&](double seconds) {
    return berlin->secondsFromGMTForDate(NSDate::dateWithTimeIntervalSince1970(seconds));
  };
  EXPECT_EQ(at(1711846799.999), 3600);
  EXPECT_EQ(at(1711846800), 7200);
}

TEST(NSTimeZoneTests, WhatIsNoMomentHasSomeOffset) {
  const auto berlin = zoneNamed("Europe/Berlin");
  for (const double seconds :
       {std::nan(""), std::numeric_limits<double>::infinity(), 1e300, -1e300}) {
    const NSInteger offset =
        berlin->secondsFromGMTForDate(NSDate::dateWithTimeIntervalSince1970(seconds));
    EXPECT_LE(std::abs(offset), 18 * 3600);
  }
}

TEST(NSTimeZoneTests, ZonesOfAFixedDistanceAreNamedByIt) {
  EXPECT_EQ(NSTimeZone::timeZoneForSecondsFromGMT(0)->name(), "GMT");
  EXPECT_EQ(NSTimeZone::timeZoneForSecondsFromGMT(5400)->name(), "GMT+0130");
  EXPECT_EQ(NSTimeZone::timeZoneForSecondsFromGMT(-19800)->name(), "GMT-0530");
  EXPECT_EQ(NSTimeZone::timeZoneForSecondsFromGMT(3659)->secondsFromGMT(), 3600);
  EXPECT_EQ(NSTimeZone::timeZoneForSecondsFromGMT(-3659)->secondsFromGMT(), -3600);
  EXPECT_EQ(NSTimeZone::timeZoneForSecondsFromGMT(64800)->secondsFromGMT(), 64800);
  EXPECT_FALSE(NSTimeZone::timeZoneForSecondsFromGMT(64801));
  EXPECT_FALSE(NSTimeZone::timeZoneForSecondsFromGMT(std::numeric_limits<NSInteger>::min()));
}

TEST(NSTimeZoneTests, DistancesFromGMTAreNames) {
  EXPECT_EQ(zoneNamed("GMT+0130")->secondsFromGMT(), 5400);
  EXPECT_EQ(zoneNamed("GMT-5")->secondsFromGMT(), -18000);
  EXPECT_EQ(zoneNamed("GMT+05:30")->secondsFromGMT(), 19800);
  EXPECT_EQ(zoneNamed("GMT+530")->name(), "GMT+0530");
}

TEST(NSTimeZoneTests, AbbreviationsStandForTheirUsualZones) {
  const auto zoneFor = [](const char* text) { return NSTimeZone::timeZoneWithAbbreviation(text); };
  EXPECT_EQ(zoneFor("PST")->name(), "America/Los_Angeles");
  EXPECT_EQ(zoneFor("pdt")->name(), "America/Los_Angeles");
  EXPECT_EQ(zoneFor("CET")->name(), "Europe/Paris");
  EXPECT_EQ(zoneFor("UTC")->name(), "UTC");
  EXPECT_EQ(zoneFor("JST")->name(), "Asia/Tokyo");
  EXPECT_EQ(zoneFor("WIB")->name(), "Asia/Jakarta");
  EXPECT_EQ(zoneFor("gmt+2")->secondsFromGMT(), 7200);
  EXPECT_FALSE(zoneFor("XYZ"));
  testing::expectException(NSInvalidArgumentException,
                           [] { (void)NSTimeZone::timeZoneWithAbbreviation(nullptr); });
}

TEST(NSTimeZoneTests, NamesAreInTheLanguageOfTheLocale) {
  const auto berlin = zoneNamed("Europe/Berlin");
  const auto name = [&](int style, const char* locale) {
    return berlin->localizedName_locale(NSTimeZoneNameStyle(style), localeOf(locale));
  };
  EXPECT_EQ(name(0, "en_US"), "Central European Standard Time");
  EXPECT_EQ(name(1, "en_US"), "GMT+1");
  EXPECT_EQ(name(2, "en_US"), "Central European Summer Time");
  EXPECT_EQ(name(3, "en_US"), "GMT+2");
  EXPECT_EQ(name(4, "en_US"), "Central European Time");
  EXPECT_EQ(name(1, "de_DE"), "MEZ");
  EXPECT_EQ(name(3, "de_DE"), "MESZ");
  EXPECT_EQ(name(1, "fr_FR"), "UTC+1");
  EXPECT_EQ(name(0, "ja_JP"), "\u4e2d\u592e\u30e8\u30fc\u30ed\u30c3\u30d1\u6a19\u6e96\u6642");
  EXPECT_FALSE(name(6, "en_US"));
  EXPECT_FALSE(name(-1, "en_US"));
  EXPECT_TRUE(berlin->localizedName_locale(NSTimeZoneNameStyleStandard, nullptr));
}

TEST(NSTimeZoneTests, AnUnknownLocaleHasTheNamesOfNone) {
  const auto berlin = zoneNamed("Europe/Berlin");
  const auto root =
      berlin->localizedName_locale(NSTimeZoneNameStyleStandard, NSLocale::systemLocale());
  EXPECT_TRUE(berlin->localizedName_locale(NSTimeZoneNameStyleStandard, localeOf("xx_YY"))
                  ->isEqualToString(root));
}

TEST(NSTimeZoneTests, AbbreviationsAreEnglish) {
  const auto chicago = zoneNamed("America/Chicago");
  EXPECT_EQ(chicago->abbreviationForDate(winter()), "CST");
  EXPECT_EQ(chicago->abbreviationForDate(summer()), "CDT");
  EXPECT_EQ(zoneNamed("UTC")->abbreviation(), "UTC");
}

TEST(NSTimeZoneTests, TheDefaultIsTheSystemsUntilItIsSet) {
  EXPECT_EQ(NSTimeZone::defaultTimeZone(), NSTimeZone::systemTimeZone());
  const auto tokyo = zoneNamed("Asia/Tokyo");
  NSTimeZone::setDefaultTimeZone(tokyo);
  EXPECT_EQ(NSTimeZone::defaultTimeZone(), tokyo);
  EXPECT_EQ(NSTimeZone::localTimeZone(), tokyo);
  NSTimeZone::setDefaultTimeZone(nullptr);
  EXPECT_EQ(NSTimeZone::defaultTimeZone(), NSTimeZone::systemTimeZone());
}

TEST(NSTimeZoneTests, TheSystemsZoneIsThatOfTheEnvironment) {
  const char* given = std::getenv("TZ");
  const std::string before = given == nullptr ? "" : given;
  const auto systemZoneWith = [](const char* value) {
    ::setenv("TZ", value, 1);
    ::tzset();
    NSTimeZone::resetSystemTimeZone();
    return NSTimeZone::systemTimeZone()->name()->displayUTF8();
  };
  EXPECT_EQ(systemZoneWith("Asia/Tokyo"), "Asia/Tokyo");
  EXPECT_EQ(systemZoneWith(":Europe/Berlin"), "Europe/Berlin");
  EXPECT_EQ(NSTimeZone::systemTimeZone(), NSTimeZone::systemTimeZone());
  if (given == nullptr) {
    ::unsetenv("TZ");
  } else {
    ::setenv("TZ", before.c_str(), 1);
  }
  ::tzset();
  NSTimeZone::resetSystemTimeZone();
}

TEST(NSTimeZoneTests, ZonesOfOneNameAreEqual) {
  EXPECT_TRUE(zoneNamed("Europe/Berlin")->isEqual(zoneNamed("Europe/Berlin")));
  EXPECT_EQ(zoneNamed("Europe/Berlin")->hash(), zoneNamed("Europe/Berlin")->hash());
  EXPECT_FALSE(zoneNamed("Europe/Berlin")->isEqual(zoneNamed("Europe/Paris")));
  EXPECT_FALSE(zoneNamed("Europe/Berlin")->isEqual("Europe/Berlin"));
  EXPECT_FALSE(zoneNamed("Europe/Berlin")->isEqualToTimeZone(nullptr));
  EXPECT_EQ(zoneNamed("Europe/Berlin")->description(), "Europe/Berlin");
  const auto zone = zoneNamed("UTC");
  EXPECT_EQ(zone->copy(), zone);
}

}  // namespace
}  // namespace kestova
