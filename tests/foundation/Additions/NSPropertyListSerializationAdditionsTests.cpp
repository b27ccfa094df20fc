// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSPropertyListSerializationAdditions.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <filesystem>

namespace kestova {
namespace {

using testing::TemporaryFolder;

class NSPropertyListSerializationAdditionsTests : public ::testing::Test {
 protected:
  Ref<NSString> at(const char* name) const { return folder_.at(name); }

  const TemporaryFolder folder_;
};

// Shows: mutablePropertyListFromFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, AMissingFileIsDescribedByAString) {
  Ref<NSString> description;
  EXPECT_EQ(mutablePropertyListFromFile_error(at("missing"), &description), nullptr);
  EXPECT_EQ(description, "File does not exist at path.");
  EXPECT_EQ(mutablePropertyListFromFile_error(at("missing")), nullptr);
  EXPECT_EQ(mutablePropertyListFromFile_error(nullptr, &description), nullptr);
}

// Shows: mutablePropertyListFromFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, ContainersAreMutableAtEveryLevelLeavesAreNot) {
  const auto list = NSDictionary::of({{"rows", NSArray::of(NSDictionary::of({{"name", "x"}}))}});
  ASSERT_TRUE(writePropertyList_toFile_error(list, at("list")));
  Ref<NSString> description = "as it was";
  const auto read =
      cast<NSMutableDictionary>(mutablePropertyListFromFile_error(at("list"), &description));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(description, "as it was");
  EXPECT_TRUE(read->isEqual(list));
  const auto rows = cast<NSMutableArray>(read->objectForKey("rows"));
  ASSERT_NE(rows, nullptr);
  const auto row = cast<NSMutableDictionary>(rows->objectAtIndex(0));
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(cast<NSMutableString>(row->objectForKey("name")), nullptr);
}

// Shows: mutablePropertyListFromFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, XMLIsReadToo) {
  folder_.write("list", "<plist><array><integer>7</integer></array></plist>");
  const auto read = mutablePropertyListFromFile_error(at("list"));
  ASSERT_NE(cast<NSMutableArray>(read), nullptr);
  EXPECT_TRUE(read->isEqual(NSArray::of(7)));
}

// Shows: mutablePropertyListFromFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, TheParsersDescriptionIsHandedOn) {
  folder_.write("list", "<plist><array></plist>");
  Ref<NSString> description;
  EXPECT_EQ(mutablePropertyListFromFile_error(at("list"), &description), nullptr);
  Ref<NSString> expected;
  (void)NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      NSData::dataWithContentsOfFile(at("list")), 1, nullptr, &expected);
  ASSERT_NE(expected, nullptr);
  EXPECT_TRUE(description->isEqual(expected));
  description = nullptr;
  EXPECT_EQ(mutablePropertyListFromFile_error(folder_.path().string(), &description), nullptr);
  EXPECT_NE(description, nullptr) << "a folder is there, but no property list";
}

// Shows: writePropertyList_toFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, AListIsWrittenInTheBinaryFormat) {
  folder_.write("list", "old");
  Ref<NSError> error;
  EXPECT_TRUE(writePropertyList_toFile_error(NSArray::of(1, 2), at("list"), &error));
  EXPECT_EQ(folder_.read("list").substr(0, 8), "bplist00");
  EXPECT_EQ(error, nullptr);
}

// Shows: writePropertyList_toFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, AListIsWrittenAtomically) {
  folder_.write("list", "old");
  std::filesystem::create_hard_link(folder_.at("list"), folder_.at("linked"));
  EXPECT_TRUE(writePropertyList_toFile_error(NSArray::of(1, 2), at("list")));
  EXPECT_EQ(folder_.read("linked"), "old") << "another file took the name";
  EXPECT_EQ(folder_.read("list").substr(0, 8), "bplist00");
}

// Shows: writePropertyList_toFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, WhatIsNoListFailsWithoutAReason) {
  folder_.write("list", "old");
  Ref<NSError> error = NSError::errorWithDomain_code_userInfo(NSCocoaErrorDomain, 1, nullptr);
  EXPECT_FALSE(writePropertyList_toFile_error(NSDictionary::of({{1, 2}}), at("list"), &error));
  EXPECT_EQ(error, nullptr);
  EXPECT_FALSE(writePropertyList_toFile_error(nullptr, at("list")));
  EXPECT_EQ(folder_.read("list"), "old");
}

// Shows: writePropertyList_toFile_error
TEST_F(NSPropertyListSerializationAdditionsTests, WhatTheFileSystemRefusesFailsWithItsError) {
  Ref<NSError> error;
  EXPECT_FALSE(writePropertyList_toFile_error(NSArray::of(1), at("missing/list"), &error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), NSFileNoSuchFileError);
  EXPECT_FALSE(writePropertyList_toFile_error(NSArray::of(1), at("missing/list")));
}

}  // namespace
}  // namespace kestova
