// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSLocale.h>
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <filesystem>
#include <string>

namespace kestova {
namespace {

class NSBundleStringsTests : public ::testing::Test {
 protected:
  void write(const std::string& name, const Ref<NSDictionary>& texts) const {
    const std::filesystem::path path = folder_.at(name);
    std::filesystem::create_directories(path.parent_path());
    ASSERT_TRUE(texts->writeToFile_atomically(
        NSString::stringWithFileSystemRepresentation(path.native()), true));
  }

  Ref<NSString> text(const Ref<NSString>& key, const Ref<NSString>& value,
                     const Ref<NSString>& table = nullptr) const {
    return bundle_->localizedStringForKey_value_table(key, value, table);
  }

  testing::TemporaryFolder folder_;
  Ref<NSBundle> bundle_ =
      make<NSBundle>(NSString::stringWithFileSystemRepresentation(folder_.at("program")));
};

TEST_F(NSBundleStringsTests, WithoutAFileTheValueElseTheKeyIsTheText) {
  EXPECT_EQ(text("Open", "Open it"), "Open it");
  EXPECT_EQ(text("Open", ""), "Open");
  EXPECT_EQ(text("Open", nullptr), "Open");
  EXPECT_EQ(text(nullptr, "Open it"), "Open it");
  EXPECT_EQ(text(nullptr, nullptr), "");
}

TEST_F(NSBundleStringsTests, TheTextStandsInTheTable) {
  write("Localizable.strings", NSDictionary::of({{"Open", "Open…"}}));
  write("Menu.strings", NSDictionary::of({{"Open", "Open File"}}));
  EXPECT_EQ(text("Open", ""), "Open…");
  EXPECT_EQ(text("Open", "", ""), "Open…");
  EXPECT_EQ(text("Open", "", "Menu"), "Open File");
  EXPECT_EQ(text("Close", "", "Menu"), "Close");
}

TEST_F(NSBundleStringsTests, TheCurrentLocaleComesBeforeAllOthers) {
  const auto& locale = NSLocale::currentLocale();
  const auto language = cast<NSString>(locale->objectForKey(NSLocaleLanguageCode));
  write("Localizable.strings", NSDictionary::of({{"a", "all"}, {"b", "all"}, {"c", "all"}}));
  write(language->displayUTF8() + ".lproj/Localizable.strings",
        NSDictionary::of({{"a", "language"}, {"b", "language"}}));
  EXPECT_EQ(text("a", ""), "language");
  EXPECT_EQ(text("c", ""), "all");
  write(locale->localeIdentifier()->displayUTF8() + ".lproj/Localizable.strings",
        NSDictionary::of({{"a", "locale"}}));
  EXPECT_EQ(text("a", ""), "locale");
  EXPECT_EQ(text("c", ""), "all");
}

TEST_F(NSBundleStringsTests, WhatIsNoTextIsPassedOver) {
  write("Localizable.strings", NSDictionary::of({{"Open", 1}}));
  EXPECT_EQ(text("Open", ""), "Open");
  folder_.write("Localizable.strings", "junk");
  EXPECT_EQ(text("Open", ""), "Open");
}

}  // namespace
}  // namespace kestova
