// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

#include <string>

namespace kestova {
namespace {

using testing::counted;
using testing::CountingObject;
using testing::expectException;

enum Fruit { kApple = 4 };
enum class Berry : unsigned char { kBlue = 200 };

TEST(NSArrayTests, PlainValuesBoxThemselves) {
  const auto array = NSArray::of("text", u"text", std::string("text"), 42, 2.5F, 2.5, true, 'A',
                                 kApple, Berry::kBlue, NSMakeRange(1, 2), NSNull::null());
  EXPECT_EQ(array->count(), 12U);
  EXPECT_TRUE(array->objectAtIndex(0)->isEqual("text"));
  EXPECT_TRUE(array->objectAtIndex(1)->isEqual(array->objectAtIndex(2)));
  EXPECT_TRUE(array->objectAtIndex(4)->isEqual(2.5));
  EXPECT_STREQ(cast<NSNumber>(array->objectAtIndex(6))->objCType(), "B");
  EXPECT_EQ(cast<NSNumber>(array->objectAtIndex(7))->intValue(), 65);
  EXPECT_EQ(cast<NSNumber>(array->objectAtIndex(8))->intValue(), 4);
  EXPECT_EQ(cast<NSNumber>(array->objectAtIndex(9))->intValue(), 200);
  EXPECT_EQ(cast<NSValue>(array->objectAtIndex(10))->rangeValue(), NSMakeRange(1, 2));
}

TEST(NSArrayTests, EveryMakerMakesTheSame) {
  const id objects[] = {1, 2};
  EXPECT_TRUE(NSArray::arrayWithObjects_count(objects, 2)->isEqual(NSArray::of(1, 2)));
  EXPECT_TRUE(NSArray::arrayWithObjects({1, 2})->isEqual(NSArray::of(1, 2)));
  EXPECT_TRUE(NSArray::arrayWithObject(1)->isEqual(NSArray::of(1)));
  EXPECT_EQ(NSArray::arrayWithObjects_count(nullptr, 0)->count(), 0U);
  EXPECT_EQ(NSArray::arrayWithArray(nullptr)->count(), 0U);
}

TEST(NSArrayTests, NoMakerTakesNull) {
  const auto refuses = [](auto&& maker) { expectException(NSInvalidArgumentException, maker); };
  refuses([] { (void)NSArray::arrayWithObject(nullptr); });
  refuses([] { (void)NSArray::of(1, nullptr); });
  refuses([] { (void)NSMutableArray::of(nullptr, 1); });
  refuses([] { (void)NSMutableArray::arrayWithObject(nullptr); });
}

TEST(NSArrayTests, TheTextsOfFailuresNameClassOperationAndNumbers) {
  const auto array = NSArray::of(1);
  EXPECT_EQ(expectException(NSRangeException, [&] { (void)array->objectAtIndex(3); }).reason(),
            "-[NSArray objectAtIndex:]: index 3 lies beyond count 1");
  EXPECT_EQ(expectException(NSInvalidArgumentException,
                            [&] { NSMutableArray::array()->addObject(nullptr); })
                .reason(),
            "-[NSMutableArray addObject:]: nil argument");
}

TEST(NSArrayTests, AnImmutableArrayIsItsOwnCopy) {
  const auto array = NSArray::of(1);
  EXPECT_EQ(array->copy(), array);
  EXPECT_EQ(NSArray::arrayWithArray(array), array);
  EXPECT_EQ(copyOf(array), array);
}

TEST(NSArrayTests, MakersTakeObjectsOverWithoutCounting) {
  std::vector<id> objects{counted(1)};
  const NSObject* object = objects.front().get();
  const auto array = NSArray::arrayWithObjects(std::move(objects));
  EXPECT_EQ(object->retainCount(), 1U);
}

TEST(NSArrayTests, ThePlatformsOwnClassesGoByThePublicNames) {
  EXPECT_EQ(NSStringFromClass(NSArray::of(1)->classDescriptor()), "NSArray");
  EXPECT_EQ(NSStringFromClass(NSMutableArray::of(1)->classDescriptor()), "NSMutableArray");
  EXPECT_TRUE(NSMutableArray::array()->isKindOfClass(NSArray::staticClass()));
  EXPECT_EQ(NSArray::staticClass().make(), nullptr);
}

TEST(NSArrayTests, WalkingCountsNothing) {
  const auto array = NSArray::of(counted(1), counted(2));
  for (const id& object : array) {
    EXPECT_EQ(object->retainCount(), 1U);
  }
}

TEST(NSArrayTests, AComponentThatHoldsNothingAnswersForItself) {
  const auto people = NSArray::of(NSDictionary::dictionary());
  EXPECT_TRUE(people->valueForKeyPath("address.city")->isEqual(NSArray::of(NSNull::null())));
}

TEST(NSArrayTests, AnUnknownOwnPropertyIsUndefined) {
  expectException(NSUndefinedKeyException, [] { (void)NSArray::of(1)->valueForKey("@nonsense"); });
}

TEST(NSArrayTests, LetsGoOfAnyDepthOfNesting) {
  const int before = CountingObject::alive();
  Ref<NSArray> outer = NSArray::of(counted(0));
  for (int depth = 1; depth < 200'000; ++depth) {
    outer = depth % 1000 == 0 ? NSMutableArray::of(counted(depth), outer) : NSArray::of(outer);
  }
  EXPECT_EQ(CountingObject::alive(), before + 200);
  outer = nullptr;
  EXPECT_EQ(CountingObject::alive(), before);
}

}  // namespace
}  // namespace kestova
