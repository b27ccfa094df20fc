// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSValue.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

#include <cstring>

namespace kestova {
namespace {

using testing::expectException;

/// A user's own kind of value.
class Temperature : public NSValue {
 public:
  const char* objCType() const override { return "{Temperature=f}"; }
  void getValue(void* buffer) const override { std::memset(buffer, 0, sizeof(float)); }
};

TEST(NSValueTests, GivesBackWhatItHolds) {
  EXPECT_EQ(NSValue::valueWithRange({1, 2})->rangeValue(), NSMakeRange(1, 2));
  EXPECT_EQ(NSValue::valueWithPoint({1, 2})->pointValue(), NSMakePoint(1, 2));
  EXPECT_EQ(NSValue::valueWithSize({1, 2})->sizeValue(), NSMakeSize(1, 2));
  EXPECT_EQ(NSValue::valueWithRect({{1, 2}, {3, 4}})->rectValue(), NSMakeRect(1, 2, 3, 4));
  int here = 0;
  EXPECT_EQ(NSValue::valueWithPointer(&here)->pointerValue(), &here);
  NSRange range;
  NSValue::valueWithRange({5, 6})->getValue(&range);
  EXPECT_EQ(range, NSMakeRange(5, 6));
}

TEST(NSValueTests, ReadingAnotherTypeThrows) {
  const auto range = NSValue::valueWithRange({1, 2});
  expectException(NSInvalidArgumentException, [&] { (void)range->pointValue(); });
  expectException(NSInvalidArgumentException, [&] { (void)range->pointerValue(); });
  expectException(NSInvalidArgumentException, [] { (void)Ref<NSNumber>(1)->rectValue(); });
}

TEST(NSValueTests, DoesNotKeepAnUnretainedObject) {
  const id object = testing::counted(1);
  const auto value = NSValue::valueWithNonretainedObject(object.get());
  EXPECT_EQ(object->retainCount(), 1U);
  EXPECT_EQ(value->nonretainedObjectValue(), object.get());
}

TEST(NSValueTests, DescribesItself) {
  EXPECT_EQ(NSValue::valueWithRect({{0, 0}, {1, 2}})->description(), "NSRect: {{0, 0}, {1, 2}}");
  EXPECT_EQ(NSValue::valueWithRange({1, 2})->description(), "NSRange: {1, 2}");
  EXPECT_EQ(NSValue::valueWithPoint({-0.5, 1e20})->description(), "NSPoint: {-0.5, 1e+20}");
  EXPECT_EQ(NSValue::valueWithSize({3, 4.25})->description(), "NSSize: {3, 4.25}");
  EXPECT_EQ(NSValue::valueWithPointer(reinterpret_cast<void*>(0xA0))->description(), "<0xa0>");
}

TEST(NSValueTests, EqualityIsThatOfTypeAndValue) {
  const id range = NSMakeRange(1, 2);
  EXPECT_TRUE(range->isEqual(NSMakeRange(1, 2)));
  EXPECT_EQ(range->hash(), id(NSMakeRange(1, 2))->hash());
  EXPECT_FALSE(range->isEqual(NSMakeRange(2, 1)));
  EXPECT_FALSE(id(NSMakePoint(1, 2))->isEqual(NSMakeSize(1, 2)));
  EXPECT_TRUE(id(NSMakePoint(0.0, 1))->isEqual(NSMakePoint(-0.0, 1)));
  EXPECT_EQ(id(NSMakePoint(0.0, 1))->hash(), id(NSMakePoint(-0.0, 1))->hash());
  EXPECT_TRUE(id(NSMakeRect(1, 2, 3, 4))->isEqual(NSMakeRect(1, 2, 3, 4)));
  EXPECT_FALSE(range->isEqual(nullptr));
  EXPECT_FALSE(range->isEqual("range"));
}

TEST(NSValueTests, AUsersOwnKindIsEqualToItself) {
  const auto own = make<Temperature>();
  EXPECT_TRUE(own->isEqual(own));
  EXPECT_FALSE(own->isEqual(make<Temperature>()));
  EXPECT_EQ(own->description(), "{Temperature=f}");
  expectException(NSInvalidArgumentException, [&] { (void)own->rangeValue(); });
}

TEST(NSValueTests, Unboxes) {
  EXPECT_EQ(Unboxing<NSRange>::unbox(NSMakeRange(1, 2)), NSMakeRange(1, 2));
  EXPECT_EQ(Unboxing<NSRect>::unbox(NSMakeRect(1, 2, 3, 4)), NSMakeRect(1, 2, 3, 4));
  EXPECT_EQ(Unboxing<NSPoint>::unbox(nullptr), NSPoint());
  EXPECT_EQ(Unboxing<NSSize>::unbox(NSMakeSize(1, 2)), NSMakeSize(1, 2));
  expectException(NSInvalidArgumentException, [] { (void)Unboxing<NSRange>::unbox("1"); });
  expectException(NSInvalidArgumentException, [] { (void)Unboxing<NSRange>::unbox(1); });
}

TEST(NSValueTests, IsItsOwnCopy) {
  const id value = NSMakeRange(1, 2);
  EXPECT_EQ(value->copy(), value);
}

/// Plain properties, read and written by name.
class Shape : public NSObject {
  KESTOVA_CLASS(Shape, NSObject)

 public:
  NSRect frame() const { return frame_; }
  void setFrame(NSRect frame) { frame_ = frame; }
  float weight() const { return weight_; }
  void setWeight(float weight) { weight_ = weight; }
  bool isHidden() const { return hidden_; }
  void setHidden(bool hidden) { hidden_ = hidden; }

 private:
  NSRect frame_;
  float weight_ = 0;
  bool hidden_ = false;
};

KESTOVA_DEFINE_CLASS(Shape, .property<&Shape::frame, &Shape::setFrame>("frame")
                                .property<&Shape::weight, &Shape::setWeight>("weight")
                                .property<&Shape::isHidden, &Shape::setHidden>("hidden"))

TEST(NSValueTests, PropertiesOfPlainTypesAreReadAndWrittenByName) {
  const auto shape = make<Shape>();
  shape->setValue_forKey(NSMakeRect(1, 2, 3, 4), "frame");
  shape->setValue_forKey(2.5, "weight");
  shape->setValue_forKey(1, "hidden");
  EXPECT_EQ(shape->frame(), NSMakeRect(1, 2, 3, 4));
  EXPECT_EQ(shape->weight(), 2.5F);
  EXPECT_TRUE(shape->isHidden());
  EXPECT_TRUE(shape->valueForKey("frame")->isEqual(NSMakeRect(1, 2, 3, 4)));
  EXPECT_STREQ(cast<NSNumber>(shape->valueForKey("hidden"))->objCType(), "B");
  expectException(NSInvalidArgumentException, [&] { shape->setValue_forKey(nullptr, "weight"); });
}

}  // namespace
}  // namespace kestova
