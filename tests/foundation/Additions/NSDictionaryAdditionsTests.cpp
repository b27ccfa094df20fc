// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSDictionaryAdditions.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"

#include <filesystem>
#include <limits>

namespace kestova {
namespace {

using testing::expectException;
using testing::TemporaryFolder;

constexpr NSInteger kSmallest = std::numeric_limits<NSInteger>::min();
constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

// Shows: boolForKey, integerForKey, unsignedIntegerForKey, doubleForKey, floatForKey
TEST(NSDictionaryAdditionsTests, NumbersAreReadAsEachType) {
  const auto values = NSDictionary::of({{"yes", true},
                                        {"half", 2.5},
                                        {"smallest", kSmallest},
                                        {"largest", kLargest},
                                        {"tenth", 0.1F}});
  EXPECT_TRUE(boolForKey(values, "yes"));
  EXPECT_TRUE(boolForKey(values, "half"));
  EXPECT_EQ(integerForKey(values, "half"), 2);
  EXPECT_EQ(integerForKey(values, "smallest"), kSmallest);
  EXPECT_EQ(unsignedIntegerForKey(values, "largest"), kLargest);
  EXPECT_EQ(doubleForKey(values, "half"), 2.5);
  EXPECT_EQ(floatForKey(values, "tenth"), 0.1F);
}

// Shows: boolForKey, integerForKey, unsignedIntegerForKey, doubleForKey, floatForKey
TEST(NSDictionaryAdditionsTests, AMissingKeyIsFalseOrZero) {
  const auto empty = NSDictionary::dictionary();
  EXPECT_FALSE(boolForKey(empty, "x"));
  EXPECT_EQ(integerForKey(empty, "x"), 0);
  EXPECT_EQ(unsignedIntegerForKey(empty, "x"), 0U);
  EXPECT_EQ(doubleForKey(empty, "x"), 0.0);
  EXPECT_EQ(floatForKey(empty, "x"), 0.0F);
  EXPECT_FALSE(boolForKey(empty, nullptr));
}

// Shows: rectForKey, pointForKey, sizeForKey
TEST(NSDictionaryAdditionsTests, AMissingKeyIsAnEmptyShapeAtTheOrigin) {
  const auto empty = NSDictionary::dictionary();
  EXPECT_EQ(rectForKey(empty, "x"), NSRect());
  EXPECT_EQ(pointForKey(empty, "x"), NSPoint());
  EXPECT_EQ(sizeForKey(empty, "x"), NSSize());
}

// Shows: boolForKey, integerForKey, doubleForKey, floatForKey, unsignedIntegerForKey
TEST(NSDictionaryAdditionsTests, ATextIsReadAsANumberToo) {
  const auto values = NSDictionary::of({{"yes", "YES"}, {"number", " -12.5 pieces"}});
  EXPECT_TRUE(boolForKey(values, "yes"));
  EXPECT_EQ(integerForKey(values, "number"), -12);
  EXPECT_EQ(doubleForKey(values, "number"), -12.5);
  EXPECT_EQ(floatForKey(values, "number"), -12.5F);
  expectException(NSInvalidArgumentException,
                  [&] { (void)unsignedIntegerForKey(values, "number"); });
}

// Shows: rectForKey, pointForKey, sizeForKey
TEST(NSDictionaryAdditionsTests, GeometryIsReadFromText) {
  const auto values = NSDictionary::of(
      {{"rect", "{{1, 2}, {3, 4}}"}, {"point", "{5, 6}"}, {"size", "{7, 8}"}, {"text", "none"}});
  EXPECT_EQ(rectForKey(values, "rect"), NSMakeRect(1, 2, 3, 4));
  EXPECT_EQ(pointForKey(values, "point"), NSMakePoint(5, 6));
  EXPECT_EQ(sizeForKey(values, "size"), NSMakeSize(7, 8));
  EXPECT_EQ(rectForKey(values, "text"), NSRect());
}

// Shows: boolForKey, integerForKey, unsignedIntegerForKey, doubleForKey, floatForKey
TEST(NSDictionaryAdditionsTests, WhatIsNeitherNumberNorTextIsRefusedAsANumber) {
  const auto values = NSDictionary::of({{"array", NSArray::array()}});
  expectException(NSInvalidArgumentException, [&] { (void)boolForKey(values, "array"); });
  expectException(NSInvalidArgumentException, [&] { (void)integerForKey(values, "array"); });
  expectException(NSInvalidArgumentException,
                  [&] { (void)unsignedIntegerForKey(values, "array"); });
  expectException(NSInvalidArgumentException, [&] { (void)doubleForKey(values, "array"); });
  expectException(NSInvalidArgumentException, [&] { (void)floatForKey(values, "array"); });
}

// Shows: rectForKey, pointForKey, sizeForKey
TEST(NSDictionaryAdditionsTests, WhatIsNoTextIsRefusedAsGeometry) {
  const auto values = NSDictionary::of({{"number", 1}});
  expectException(NSInvalidArgumentException, [&] { (void)rectForKey(values, "number"); });
  expectException(NSInvalidArgumentException, [&] { (void)pointForKey(values, "number"); });
  expectException(NSInvalidArgumentException, [&] { (void)sizeForKey(values, "number"); });
}

// Shows: ov_dictionaryBySettingObject_forKey, ov_dictionaryByRemovingObjectForKey
TEST(NSDictionaryAdditionsTests, ChangedCopiesAreImmutableAndLeaveTheDictionary) {
  const auto values = NSMutableDictionary::of({{"a", 1}});
  const auto set = ov_dictionaryBySettingObject_forKey(values, 2, "b");
  const auto replaced = ov_dictionaryBySettingObject_forKey(values, 3, "a");
  const auto removed = ov_dictionaryByRemovingObjectForKey(values, "a");
  EXPECT_TRUE(set->isEqual(NSDictionary::of({{"a", 1}, {"b", 2}})));
  EXPECT_TRUE(replaced->isEqual(NSDictionary::of({{"a", 3}})));
  EXPECT_EQ(removed->count(), 0U);
  EXPECT_TRUE(ov_dictionaryByRemovingObjectForKey(values, "z")->isEqual(values));
  EXPECT_TRUE(values->isEqual(NSDictionary::of({{"a", 1}})));
  for (const auto& copy : {set, replaced, removed}) {
    EXPECT_EQ(cast<NSMutableDictionary>(copy), nullptr);
  }
  expectException(NSInvalidArgumentException,
                  [&] { (void)ov_dictionaryBySettingObject_forKey(values, nullptr, "a"); });
}

// Shows: writeToURL_options_error
TEST(NSDictionaryAdditionsTests, IsWrittenInTheBinaryFormat) {
  const TemporaryFolder folder;
  const auto values = NSDictionary::of({{"a", NSArray::of(1, "x")}});
  const auto url = NSURL::fileURLWithPath(folder.at("values"));
  Ref<NSError> error;
  EXPECT_TRUE(writeToURL_options_error(values, url, 0, &error));
  EXPECT_TRUE(writeToURL_options_error(values, url, NSDataWritingAtomic));
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(folder.read("values").substr(0, 8), "bplist00");
  EXPECT_TRUE(NSDictionary::dictionaryWithContentsOfURL(url)->isEqual(values));
}

// Shows: writeToURL_options_error
TEST(NSDictionaryAdditionsTests, IsWrittenWithTheOptionsThatAreGiven) {
  const TemporaryFolder folder;
  folder.write("values", "old");
  const auto url = NSURL::fileURLWithPath(folder.at("values"));
  const auto values = NSDictionary::of({{"a", 1}});
  Ref<NSError> error;
  EXPECT_FALSE(writeToURL_options_error(values, url, NSDataWritingWithoutOverwriting, &error));
  EXPECT_EQ(error->code(), NSFileWriteFileExistsError);
  EXPECT_EQ(folder.read("values"), "old");
  std::filesystem::create_hard_link(folder.at("values"), folder.at("linked"));
  EXPECT_TRUE(writeToURL_options_error(values, url, NSDataWritingAtomic));
  EXPECT_EQ(folder.read("linked"), "old") << "another file took the name";
  EXPECT_EQ(folder.read("values").substr(0, 8), "bplist00");
}

// Shows: writeToURL_options_error
TEST(NSDictionaryAdditionsTests, WhatIsNoPropertyListFailsWithAReason) {
  const TemporaryFolder folder;
  const auto url = NSURL::fileURLWithPath(folder.at("values"));
  const auto bad = NSDictionary::of({{1, "a key that is no string"}});
  Ref<NSError> error;
  EXPECT_FALSE(writeToURL_options_error(bad, url, 0, &error));
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  EXPECT_EQ(error->code(), 0);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  Ref<NSString> description;
  (void)NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      bad, NSPropertyListBinaryFormat_v1_0, &description);
  EXPECT_TRUE(error->localizedFailureReason()->isEqual(description));
  EXPECT_FALSE(writeToURL_options_error(bad, url, 0));
  EXPECT_FALSE(std::filesystem::exists(folder.at("values")));
}

// Shows: writeToURL_options_error
TEST(NSDictionaryAdditionsTests, WhatTheFileSystemRefusesFailsWithItsError) {
  const TemporaryFolder folder;
  const auto url = NSURL::fileURLWithPath(folder.at("missing/values"));
  Ref<NSError> error;
  EXPECT_FALSE(writeToURL_options_error(NSDictionary::dictionary(), url, 0, &error));
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  EXPECT_EQ(error->code(), NSFileNoSuchFileError);
  EXPECT_FALSE(writeToURL_options_error(NSDictionary::dictionary(), nullptr, 0));
}

}  // namespace
}  // namespace kestova
