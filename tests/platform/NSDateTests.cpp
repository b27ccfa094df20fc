// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "SettableClock.h"

#include <limits>
#include <utility>

namespace kestova {
namespace {

using testing::expectException;

class NSDateTests : public ::testing::Test {
 protected:
  static Ref<NSDate> at(NSTimeInterval seconds) {
    return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
  }

  testing::SettableClock clock_{1000};
};

TEST_F(NSDateTests, NowIsWhatTheClockSays) {
  EXPECT_EQ(NSDate::date()->timeIntervalSinceReferenceDate(), 1000);
  const auto soon = NSDate::dateWithTimeIntervalSinceNow(5);
  EXPECT_EQ(soon->timeIntervalSinceNow(), 5);
  clock_.advance(7);
  EXPECT_EQ(soon->timeIntervalSinceNow(), -2);
  EXPECT_EQ(cast<NSDate>(NSClassFromString("NSDate")->make())->timeIntervalSinceNow(), 0);
}

TEST_F(NSDateTests, CountsFromEitherReference) {
  EXPECT_EQ(NSDate::dateWithTimeIntervalSince1970(978307200)->timeIntervalSinceReferenceDate(), 0);
  EXPECT_EQ(at(1)->timeIntervalSince1970(), 978307201);
}

TEST_F(NSDateTests, AddsAndSubtracts) {
  EXPECT_EQ(at(3)->dateByAddingTimeInterval(-5)->timeIntervalSinceReferenceDate(), -2);
  EXPECT_EQ(at(3)->timeIntervalSinceDate(at(10)), -7);
  EXPECT_TRUE(NSDate::dateWithTimeInterval_sinceDate(2, at(3))->isEqual(at(5)));
}

TEST_F(NSDateTests, OrdersMoments) {
  const auto early = at(1);
  const auto late = at(2);
  EXPECT_EQ(early->compare(late), NSOrderedAscending);
  EXPECT_EQ(late->compare(early), NSOrderedDescending);
  EXPECT_EQ(early->compare(at(1)), NSOrderedSame);
  EXPECT_EQ(early->earlierDate(late), early);
  EXPECT_EQ(late->earlierDate(early), early);
  EXPECT_EQ(early->laterDate(late), late);
  EXPECT_EQ(early->laterDate(at(1)), early);
  EXPECT_EQ(early->earlierDate(nullptr), early);
  EXPECT_EQ(NSDate::distantPast()->compare(early), NSOrderedAscending);
  EXPECT_EQ(NSDate::distantFuture()->compare(early), NSOrderedDescending);
}

TEST_F(NSDateTests, EqualityIsExact) {
  EXPECT_TRUE(at(1)->isEqual(at(1)));
  EXPECT_EQ(at(1)->hash(), at(1)->hash());
  EXPECT_EQ(at(0.0)->hash(), at(-0.0)->hash());
  EXPECT_FALSE(at(1)->isEqual(at(1.0000001)));
  EXPECT_FALSE(at(1)->isEqual("1"));
  EXPECT_FALSE(at(1)->isEqualToDate(nullptr));
}

TEST_F(NSDateTests, RefusesNothingWhereADateIsNeeded) {
  const auto refuses = [](auto&& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  refuses([] { (void)at(1)->compare(nullptr); });
  refuses([] { (void)at(1)->timeIntervalSinceDate(nullptr); });
  refuses([] { (void)NSDate::dateWithTimeInterval_sinceDate(1, nullptr); });
}

TEST_F(NSDateTests, IsWrittenInUTC) {
  const std::pair<Ref<NSDate>, const char*> rows[] = {
      {at(0), "2001-01-01 00:00:00 +0000"},
      {at(0.9), "2001-01-01 00:00:00 +0000"},
      {at(-0.1), "2000-12-31 23:59:59 +0000"},
      {NSDate::dateWithTimeIntervalSince1970(0), "1970-01-01 00:00:00 +0000"},
      {NSDate::dateWithTimeIntervalSince1970(951782400), "2000-02-29 00:00:00 +0000"},
      {NSDate::dateWithTimeIntervalSince1970(1e9), "2001-09-09 01:46:40 +0000"},
      {NSDate::distantPast(), "0001-01-01 00:00:00 +0000"},
      {NSDate::distantFuture(), "4001-01-01 00:00:00 +0000"},
      {at(1e300), "1e+300 s after 2001-01-01 00:00:00 +0000"},
      {at(std::numeric_limits<double>::quiet_NaN()), "nan s after 2001-01-01 00:00:00 +0000"},
  };
  for (const auto& [date, text] : rows) {
    EXPECT_EQ(date->description(), text);
  }
}

TEST_F(NSDateTests, IsItsOwnCopy) {
  const auto date = at(1);
  EXPECT_EQ(date->copy(), date);
}

}  // namespace
}  // namespace kestova
