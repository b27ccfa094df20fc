// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSLocale.h>
#include <gtest/gtest.h>

#include <string>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "text/LocaleEnvironment.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;

Ref<NSLocale> localeOf(const Ref<NSString>& identifier) {
  return NSLocale::localeWithLocaleIdentifier(identifier);
}

Ref<NSString> valueOf(const Ref<NSString>& identifier, const StringConstant& key) {
  return cast<NSString>(localeOf(identifier)->objectForKey(key));
}

TEST(NSLocaleTests, SeparatorsAreThoseOfTheCountry) {
  struct {
    const char* identifier;
    const char* decimal;
    const char* grouping;
  } const kRows[] = {
      {"en_US", ".", ","},       {"de_DE", ",", "."},
      {"de_CH", ".", "\u2019"},  {"fr_FR", ",", "\u202f"},
      {"en_IN", ".", ","},       {"ar_EG", "\u066b", "\u066c"},
      {"en_US_POSIX", ".", ","}, {"", ".", ","},
      {"xx_YY", ".", ","},       {"de_DE@numbers=arab", "\u066b", "\u066c"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.identifier);
    EXPECT_EQ(valueOf(row.identifier, NSLocaleDecimalSeparator), row.decimal);
    EXPECT_EQ(valueOf(row.identifier, NSLocaleGroupingSeparator), row.grouping);
  }
}

TEST(NSLocaleTests, AnIdentifierHasItsParts) {
  EXPECT_EQ(valueOf("sr_Latn_RS", NSLocaleLanguageCode), "sr");
  EXPECT_EQ(valueOf("sr_Latn_RS", NSLocaleCountryCode), "RS");
  EXPECT_EQ(valueOf("sr_Latn_RS", NSLocaleIdentifier), "sr_Latn_RS");
  EXPECT_EQ(valueOf("de", NSLocaleLanguageCode), "de");
  EXPECT_FALSE(valueOf("de", NSLocaleCountryCode));
}

TEST(NSLocaleTests, IdentifiersTakeTheirCanonicalForm) {
  forBothStorages(u"de-de", [](const Ref<NSString>& identifier) {
    EXPECT_EQ(localeOf(identifier)->localeIdentifier(), "de_DE");
  });
  EXPECT_TRUE(localeOf("de-DE")->isEqual(localeOf("de_DE")));
  EXPECT_EQ(localeOf("de-DE")->hash(), localeOf("de_DE")->hash());
  EXPECT_FALSE(localeOf("de")->isEqual(localeOf("de_DE")));
  EXPECT_FALSE(localeOf("de")->isEqual(nullptr));
  EXPECT_EQ(localeOf("en_GB")->description(), "en_GB");
}

TEST(NSLocaleTests, WhatCanBeNoIdentifierMakesNoLocale) {
  EXPECT_FALSE(localeOf("dé"));
  EXPECT_FALSE(localeOf(u"d\xD800"));
  for (const std::size_t length : {157U, 158U, 1000U, 1000000U}) {
    EXPECT_FALSE(localeOf("de_" + std::string(length - 3, 'x'))) << length;
  }
  expectException(NSInvalidArgumentException, [] { (void)localeOf(nullptr); });
}

TEST(NSLocaleTests, AnotherKeyHasNoValue) {
  EXPECT_FALSE(localeOf("de")->objectForKey("decimalSeparator"));
  EXPECT_FALSE(localeOf("de")->objectForKey(nullptr));
}

TEST(NSLocaleTests, TheSystemLocaleIsTheRoot) {
  const auto root = NSLocale::systemLocale();
  EXPECT_EQ(root->localeIdentifier(), "");
  EXPECT_EQ(root, NSLocale::systemLocale());
  EXPECT_FALSE(root->objectForKey(NSLocaleLanguageCode));
  EXPECT_TRUE(root->isEqual(localeOf("")));
}

TEST(NSLocaleTests, TheCurrentLocaleIsThatOfTheEnvironment) {
  const auto current = NSLocale::currentLocale();
  EXPECT_TRUE(current->isEqual(localeOf(localeIdentifierOfEnvironment())));
  EXPECT_EQ(current, NSLocale::currentLocale());
  EXPECT_EQ(copyOf(current), current);
}

TEST(NSLocaleTests, NamesOfTheCLibraryBecomeIdentifiers) {
  struct {
    const char* name;
    const char* identifier;
  } const kRows[] = {
      {"de_DE.UTF-8", "de_DE"},      {"de_DE", "de_DE"},
      {"de_DE@euro", "de_DE"},       {"de_DE.ISO-8859-15@euro", "de_DE"},
      {"sr_RS@latin", "sr_Latn_RS"}, {"sr_RS.UTF-8@latin", "sr_Latn_RS"},
      {"sr@cyrillic", "sr_Cyrl"},    {"ks_IN@devanagari", "ks_Deva_IN"},
      {"C", "en_US_POSIX"},          {"C.UTF-8", "en_US_POSIX"},
      {"POSIX", "en_US_POSIX"},      {"", "en_US_POSIX"},
      {"@latin", "en_US_POSIX"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(localeIdentifierForName(row.name), row.identifier) << row.name;
  }
}

}  // namespace
}  // namespace kestova
