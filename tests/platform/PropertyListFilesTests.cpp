// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSURL.h>
#include <gtest/gtest.h>

#include "PropertyLists.h"
#include "TemporaryFolder.h"

#include <string>

namespace kestova {
namespace {

class PropertyListFilesTests : public ::testing::Test {
 protected:
  Ref<NSString> path(const std::string& name) const { return folder_.at(name); }
  Ref<NSURL> url(const std::string& name) const { return NSURL::fileURLWithPath(path(name)); }

  testing::TemporaryFolder folder_;
};

TEST_F(PropertyListFilesTests, DictionariesAreWrittenAsXMLAndReadBack) {
  const auto list = testing::everyKindOfValue();
  for (const bool atomically : {true, false}) {
    ASSERT_TRUE(list->writeToFile_atomically(path("a"), atomically));
    ASSERT_TRUE(list->writeToURL_atomically(url("b"), atomically));
    EXPECT_TRUE(folder_.read("a").starts_with("<?xml "));
    EXPECT_EQ(folder_.read("a"), folder_.read("b"));
    EXPECT_TRUE(list->isEqual(NSDictionary::dictionaryWithContentsOfFile(path("b"))));
    EXPECT_TRUE(list->isEqual(NSDictionary::dictionaryWithContentsOfURL(url("a"))));
  }
}

TEST_F(PropertyListFilesTests, ArraysAreWrittenAsXMLAndReadBack) {
  const auto list = NSArray::of(1, "two", NSArray::of(3.0));
  for (const bool atomically : {true, false}) {
    ASSERT_TRUE(list->writeToFile_atomically(path("a"), atomically));
    ASSERT_TRUE(list->writeToURL_atomically(url("b"), atomically));
    EXPECT_TRUE(list->isEqual(NSArray::arrayWithContentsOfFile(path("b"))));
    EXPECT_TRUE(list->isEqual(NSArray::arrayWithContentsOfURL(url("a"))));
  }
}

TEST_F(PropertyListFilesTests, TheBinaryFormatIsReadToo) {
  const auto list = NSDictionary::of({{"k", 1}});
  folder_.write("a", testing::textOfData(
                         testing::writePropertyList(list, NSPropertyListBinaryFormat_v1_0).value));
  EXPECT_TRUE(list->isEqual(NSDictionary::dictionaryWithContentsOfFile(path("a"))));
}

TEST_F(PropertyListFilesTests, AnythingElseAtTheTopIsNothing) {
  ASSERT_TRUE(NSArray::array()->writeToFile_atomically(path("array"), true));
  ASSERT_TRUE(NSDictionary::dictionary()->writeToFile_atomically(path("dictionary"), true));
  folder_.write("junk", "junk");
  for (const char* name : {"array", "junk", "missing"}) {
    EXPECT_EQ(NSDictionary::dictionaryWithContentsOfFile(path(name)), nullptr) << name;
    EXPECT_EQ(NSDictionary::dictionaryWithContentsOfURL(url(name)), nullptr) << name;
  }
  for (const char* name : {"dictionary", "junk", "missing"}) {
    EXPECT_EQ(NSArray::arrayWithContentsOfFile(path(name)), nullptr) << name;
    EXPECT_EQ(NSArray::arrayWithContentsOfURL(url(name)), nullptr) << name;
  }
  EXPECT_EQ(NSDictionary::dictionaryWithContentsOfFile(nullptr), nullptr);
  EXPECT_EQ(NSArray::arrayWithContentsOfURL(nullptr), nullptr);
}

TEST_F(PropertyListFilesTests, WhatIsNoPropertyListLeavesTheFileAsItWas) {
  folder_.write("a", "before");
  const auto array = NSArray::of(NSNull::null());
  const auto dictionary = NSDictionary::of({{"k", NSNull::null()}});
  EXPECT_FALSE(array->writeToFile_atomically(path("a"), false));
  EXPECT_FALSE(array->writeToURL_atomically(url("a"), false));
  EXPECT_FALSE(dictionary->writeToFile_atomically(path("a"), false));
  EXPECT_FALSE(dictionary->writeToURL_atomically(url("a"), false));
  EXPECT_EQ(folder_.read("a"), "before");
}

TEST_F(PropertyListFilesTests, WhereNothingCanBeWrittenIsNoSuccess) {
  EXPECT_FALSE(NSArray::array()->writeToFile_atomically(path("missing/a"), true));
  EXPECT_FALSE(NSDictionary::dictionary()->writeToFile_atomically(nullptr, true));
  EXPECT_FALSE(NSDictionary::dictionary()->writeToURL_atomically(
      NSURL::URLWithString("http://example.org/a"), true));
}

}  // namespace
}  // namespace kestova
