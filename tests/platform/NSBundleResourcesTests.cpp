// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSLocale.h>
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <filesystem>
#include <string>

namespace kestova {
namespace {

class NSBundleResourcesTests : public ::testing::Test {
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

TEST_F(NSBundleResourcesTests, WithoutAFileTheValueElseTheKeyIsTheText) {
  EXPECT_EQ(text("Open", "Open it"), "Open it");
  EXPECT_EQ(text("Open", ""), "Open");
  EXPECT_EQ(text("Open", nullptr), "Open");
  EXPECT_EQ(text(nullptr, "Open it"), "Open it");
  EXPECT_EQ(text(nullptr, nullptr), "");
}

TEST_F(NSBundleResourcesTests, TheTextStandsInTheTable) {
  write("Localizable.strings", NSDictionary::of({{"Open", "Open…"}}));
  write("Menu.strings", NSDictionary::of({{"Open", "Open File"}}));
  EXPECT_EQ(text("Open", ""), "Open…");
  EXPECT_EQ(text("Open", "", ""), "Open…");
  EXPECT_EQ(text("Open", "", "Menu"), "Open File");
  EXPECT_EQ(text("Close", "", "Menu"), "Close");
}

TEST_F(NSBundleResourcesTests, TheCurrentLocaleComesBeforeAllOthers) {
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

TEST_F(NSBundleResourcesTests, WhatIsNoTextIsPassedOver) {
  write("Localizable.strings", NSDictionary::of({{"Open", 1}}));
  EXPECT_EQ(text("Open", ""), "Open");
  folder_.write("Localizable.strings", "junk");
  EXPECT_EQ(text("Open", ""), "Open");
}

TEST_F(NSBundleResourcesTests, AResourceIsFoundByNameAndType) {
  folder_.write("icon.png", "");
  folder_.write("README", "");
  const auto folder = folder_.path().string();
  EXPECT_EQ(bundle_->pathForResource_ofType("icon", "png"), folder + "/icon.png");
  EXPECT_EQ(bundle_->pathForResource_ofType("icon.png", nullptr), folder + "/icon.png");
  EXPECT_EQ(bundle_->pathForResource_ofType("icon.png", ""), folder + "/icon.png");
  EXPECT_EQ(bundle_->pathForResource_ofType("README", nullptr), folder + "/README");
  EXPECT_EQ(bundle_->pathForResource_ofType("icon", nullptr), nullptr);
  EXPECT_EQ(bundle_->pathForResource_ofType("icon", "gif"), nullptr);
  EXPECT_EQ(bundle_->pathForResource_ofType(nullptr, "png"), nullptr);
  EXPECT_EQ(bundle_->pathForResource_ofType("", "png"), nullptr);
}

TEST_F(NSBundleResourcesTests, TheResourceOfTheLocaleComesFirst) {
  const auto code = NSLocale::currentLocale()->objectForKey(NSLocaleLanguageCode);
  if (!code) GTEST_SKIP() << "the current locale has no language";
  const auto localized = code->description()->displayUTF8() + ".lproj";
  std::filesystem::create_directory(folder_.at(localized));
  folder_.write("page.html", "");
  folder_.write(localized + "/page.html", "");
  EXPECT_EQ(bundle_->pathForResource_ofType("page", "html"), folder_.at(localized + "/page.html"));
}

TEST_F(NSBundleResourcesTests, AFolderIsABundle) {
  folder_.write("Info.plist",
                "<plist><dict><key>CFBundleIdentifier</key><string>org.example.Part</string></dict>"
                "</plist>");
  folder_.write("icon.png", "");
  const auto bundle = NSBundle::bundleWithPath(folder_.path().c_str());
  EXPECT_EQ(bundle->bundlePath(), folder_.path().string());
  EXPECT_EQ(bundle->executablePath(), nullptr);
  EXPECT_EQ(bundle->bundleIdentifier(), "org.example.Part");
  EXPECT_EQ(bundle->pathForResource_ofType("icon", "png"), folder_.at("icon.png"));
}

TEST_F(NSBundleResourcesTests, AFolderWithoutInfoIsKnownByItsName) {
  std::filesystem::create_directory(folder_.at("my part"));
  EXPECT_EQ(NSBundle::bundleWithPath(folder_.at("my part").c_str())->bundleIdentifier(),
            "kestova.my-part");
}

TEST_F(NSBundleResourcesTests, WhereThereIsNoFolderThereIsNoBundle) {
  EXPECT_EQ(NSBundle::bundleWithPath(nullptr), nullptr);
  EXPECT_EQ(NSBundle::bundleWithPath(""), nullptr);
  EXPECT_EQ(NSBundle::bundleWithPath(folder_.at("missing").c_str()), nullptr);
  EXPECT_EQ(NSBundle::bundleWithPath(folder_.write("file", "").c_str()), nullptr);
}

}  // namespace
}  // namespace kestova
