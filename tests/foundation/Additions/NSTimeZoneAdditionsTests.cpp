// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSTimeZoneAdditions.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "BothStorages.h"
#include "ExceptionExpectation.h"

namespace kestova {

/// The locale of a language that has names for standard time only. There is a name in every real
/// one, be it the distance from GMT, so this stands before the platform's own operation.
constexpr const char* kNamelessLocale = "en_XN";

Ref<NSString> NSTimeZone::localizedName_locale(NSTimeZoneNameStyle style,
                                               const Ref<NSLocale>& locale) const {
  using Operation = Ref<NSString> (*)(const NSTimeZone*, NSTimeZoneNameStyle, const Ref<NSLocale>&);
  static const auto platformName = reinterpret_cast<Operation>(
      ::dlsym(RTLD_NEXT,
              "_ZNK7kestova10NSTimeZone20localizedName_localeENS_19NSTimeZoneNameStyleE"
              "RKNS_3RefINS_8NSLocaleEEE"));
  const bool isNameless = style == NSTimeZoneNameStyleDaylightSaving && locale &&
                          locale->localeIdentifier()->isEqualToString(kNamelessLocale);
  return isNameless ? nullptr : platformName(this, style, locale);
}

namespace {

Ref<NSLocale> localeOf(const Ref<NSString>& identifier) {
  return NSLocale::localeWithLocaleIdentifier(identifier);
}

/// "none" where no zone has the name.
std::string zoneNamed(const Ref<NSString>& name, const char* locale) {
  const auto zone = timeZoneWithAName_inLocale(name, localeOf(locale));
  return zone ? zone->name()->displayUTF8() : "none";
}

/// All zones that have the name, in the order of the known names.
std::vector<std::string> plainlyNamed(const Ref<NSString>& name, const char* locale) {
  std::vector<std::string> zones;
  for (const id& known : NSTimeZone::knownTimeZoneNames()) {
    const auto zone = NSTimeZone::timeZoneWithName(cast<NSString>(known));
    for (int style = 0; style < 4; ++style) {
      const auto each = zone->localizedName_locale(NSTimeZoneNameStyle(style), localeOf(locale));
      if (each->lowercaseString()->isEqualToString(name->lowercaseString())) {
        zones.push_back(zone->name()->displayUTF8());
        break;
      }
    }
  }
  return zones;
}

/// Each test takes a language of its own, because the first search of a process differs.
void expectFirstLastThenFirst(const Ref<NSString>& name, const char* locale) {
  const std::vector<std::string> zones = plainlyNamed(name, locale);
  ASSERT_GT(zones.size(), 1U) << name;
  EXPECT_EQ(zoneNamed(name, locale), zones.back());
  EXPECT_EQ(zoneNamed(name, locale), zones.front());
  EXPECT_EQ(zoneNamed(name, locale), zones.front());
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, TheFirstCallAnswersTheLastZoneAndLaterOnesTheFirst) {
  expectFirstLastThenFirst("CST", "en_US");
  expectFirstLastThenFirst("Mitteleurop\u00e4ische Normalzeit", "de_DE");
  expectFirstLastThenFirst("heure normale d\u2019Europe centrale", "fr_FR");
  expectFirstLastThenFirst("\u65e5\u672c\u6a19\u6e96\u6642", "ja_JP");
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, StandardAndDaylightSavingNamesOfEitherLengthAreFound) {
  (void)zoneNamed("nothing", "en");
  for (const char* name : {"Pacific Standard Time", "PST", "Pacific Daylight Time", "PDT"}) {
    const auto zone = NSTimeZone::timeZoneWithName(zoneNamed(name, "en"));
    ASSERT_TRUE(zone) << name;
    EXPECT_EQ(zone->secondsFromGMTForDate(NSDate::dateWithTimeIntervalSince1970(1704067200)),
              -8 * 3600)
        << name;
  }
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, CaseMakesNoDifference) {
  (void)zoneNamed("nothing", "en_GB");
  const std::string zone = zoneNamed("central european summer time", "en_GB");
  EXPECT_NE(zone, "none");
  testing::forBothStorages(u"CENTRAL European SUMMER time", [&](const Ref<NSString>& name) {
    EXPECT_EQ(zoneNamed(name, "en_GB"), zone);
  });
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, NamesThatNoZoneHasAreFoundNeverNotEvenAtFirst) {
  for (int turn = 0; turn < 3; ++turn) {
    for (const char* name : {"nothing", "", "Pacific Standard", "Europe/Paris", " PST"}) {
      EXPECT_EQ(zoneNamed(name, "es_ES"), "none") << name;
    }
    EXPECT_EQ(zoneNamed(nullptr, "es_ES"), "none");
  }
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, EachIdentifierHasItsOwnTable) {
  (void)zoneNamed("nothing", "de_LU");
  expectFirstLastThenFirst("Mitteleurop\u00e4ische Sommerzeit", "de_LI");
  EXPECT_EQ(zoneNamed("Central European Summer Time", "de_LI"), "none");
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, NamesBehindTheFirstThatIsMissingAreNotFound) {
  (void)zoneNamed("nothing", kNamelessLocale);
  EXPECT_NE(zoneNamed("Pacific Standard Time", kNamelessLocale), "none");
  EXPECT_NE(zoneNamed("PST", kNamelessLocale), "none");
  EXPECT_EQ(zoneNamed("Pacific Daylight Time", kNamelessLocale), "none");
  EXPECT_EQ(zoneNamed("PDT", kNamelessLocale), "none");
}

/// The first zone that has a name, by the name in lower case.
std::map<std::string, std::string> plainTable(const Ref<NSLocale>& locale) {
  std::map<std::string, std::string> table;
  for (const id& known : NSTimeZone::knownTimeZoneNames()) {
    const auto zone = NSTimeZone::timeZoneWithName(cast<NSString>(known));
    for (int style = 0; style < 4; ++style) {
      const auto name = zone->localizedName_locale(NSTimeZoneNameStyle(style), locale);
      table.try_emplace(name->lowercaseString()->displayUTF8(), zone->name()->displayUTF8());
    }
  }
  return table;
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, EveryNameOfALocaleIsThatOfTheFirstZoneThatHasIt) {
  for (const char* locale : {"en_CA", "de_CH", "hi_IN"}) {
    EXPECT_EQ(zoneNamed("nothing", locale), "none");
    const auto table = plainTable(localeOf(locale));
    EXPECT_GT(table.size(), 100U);
    for (const auto& [name, zone] : table) {
      ASSERT_EQ(zoneNamed(name.c_str(), locale), zone) << name;
    }
  }
}

// Shows: timeZoneWithAName_inLocale
TEST(NSTimeZoneAdditionsTests, WithoutALocaleItThrows) {
  testing::expectException(NSInvalidArgumentException,
                           [] { (void)timeZoneWithAName_inLocale("PST", nullptr); });
}

}  // namespace
}  // namespace kestova
