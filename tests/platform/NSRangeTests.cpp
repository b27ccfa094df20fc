// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSRange.h>
#include <gtest/gtest.h>

#include <set>

namespace kestova {
namespace {

std::set<NSUInteger> membersOf(NSRange range) {
  std::set<NSUInteger> members;
  for (NSUInteger each = range.location; each < NSMaxRange(range); ++each) {
    members.insert(each);
  }
  return members;
}

TEST(NSRangeTests, ARangeEndsBehindItsLastUnit) {
  EXPECT_EQ(NSMaxRange(NSMakeRange(3, 4)), 7U);
  EXPECT_EQ(NSMaxRange(NSMakeRange(3, 0)), 3U);
  EXPECT_EQ(NSMaxRange(NSMakeRange(3, ~NSUInteger{0})), 2U) << "wraps around";
}

TEST(NSRangeTests, EqualRangesHaveEqualNumbers) {
  EXPECT_TRUE(NSEqualRanges({3, 4}, NSMakeRange(3, 4)));
  EXPECT_FALSE(NSEqualRanges({3, 4}, {3, 5}));
  EXPECT_FALSE(NSEqualRanges({3, 0}, {4, 0}));
}

TEST(NSRangeTests, ALocationIsInTheRangesThatCountIt) {
  EXPECT_TRUE(NSLocationInRange(3, {3, 4}));
  EXPECT_TRUE(NSLocationInRange(6, {3, 4}));
  EXPECT_FALSE(NSLocationInRange(7, {3, 4}));
  EXPECT_FALSE(NSLocationInRange(2, {3, 4}));
  EXPECT_FALSE(NSLocationInRange(3, {3, 0}));
  EXPECT_TRUE(NSLocationInRange(5, {3, ~NSUInteger{0}})) << "also where the end wraps around";
}

TEST(NSRangeTests, TheIntersectionOfAnyTwoSmallRangesIsWhatBothHave) {
  constexpr NSUInteger kEnd = 6;
  const auto forEachRange = [](auto&& body) {
    for (NSUInteger location = 0; location < kEnd; ++location) {
      for (NSUInteger length = 0; location + length <= kEnd; ++length) {
        body(NSMakeRange(location, length));
      }
    }
  };
  forEachRange([&](NSRange a) {
    forEachRange([&](NSRange b) {
      const NSRange common = NSIntersectionRange(a, b);
      std::set<NSUInteger> expected;
      for (const NSUInteger each : membersOf(a)) {
        if (NSLocationInRange(each, b)) {
          expected.insert(each);
        }
      }
      EXPECT_EQ(membersOf(common), expected) << a.location << ' ' << a.length << ' ' << b.location;
      EXPECT_TRUE(common.length > 0 || common == NSRange{});
    });
  });
}

}  // namespace
}  // namespace kestova
