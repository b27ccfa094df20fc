// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace kestova {
namespace {

using testing::expectException;

constexpr auto kMinLong = std::numeric_limits<std::int64_t>::min();
constexpr auto kMaxLong = std::numeric_limits<std::int64_t>::max();
constexpr auto kMaxUnsigned = std::numeric_limits<std::uint64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Ref<NSNumber> number(const Ref<NSNumber>& boxed) { return boxed; }

TEST(NSNumberTests, RemembersTheTypeThatItWasMadeFrom) {
  const std::pair<Ref<NSNumber>, const char*> rows[] = {
      {true, "B"},
      {char{1}, "c"},
      {static_cast<signed char>(1), "c"},
      {static_cast<unsigned char>(1), "C"},
      {short{1}, "s"},
      {static_cast<unsigned short>(1), "S"},
      {1, "i"},
      {1U, "I"},
      {1L, "q"},
      {1UL, "Q"},
      {1LL, "q"},
      {1ULL, "Q"},
      {1.0F, "f"},
      {1.0, "d"},
      {1.0L, "d"},
      {NSNumber::numberWithInteger(1), "q"},
      {NSNumber::numberWithUnsignedInteger(1), "Q"},
  };
  for (const auto& [boxed, type] : rows) {
    EXPECT_STREQ(boxed->objCType(), type);
    EXPECT_EQ(boxed->intValue(), 1);
  }
}

TEST(NSNumberTests, TruthValuesAreTwoSharedObjects) {
  EXPECT_EQ(NSNumber::numberWithBool(true), Ref<NSNumber>(true));
  EXPECT_EQ(NSNumber::numberWithBool(false), Ref<NSNumber>(false));
  EXPECT_FALSE(NSNumber::numberWithBool(false)->boolValue());
}

TEST(NSNumberTests, WholeNumbersKeepTheirLowBits) {
  const auto big = number(0x123456789ABCDEF0LL);
  EXPECT_EQ(big->charValue(), static_cast<char>(0xF0));
  EXPECT_EQ(big->unsignedCharValue(), 0xF0);
  EXPECT_EQ(big->shortValue(), static_cast<short>(0xDEF0));
  EXPECT_EQ(big->unsignedShortValue(), 0xDEF0);
  EXPECT_EQ(big->intValue(), static_cast<int>(0x9ABCDEF0));
  EXPECT_EQ(big->unsignedIntValue(), 0x9ABCDEF0U);
  EXPECT_EQ(big->longValue(), 0x123456789ABCDEF0L);
  EXPECT_EQ(number(-1)->unsignedLongValue(), kMaxUnsigned);
  EXPECT_EQ(number(-1)->unsignedLongLongValue(), kMaxUnsigned);
  EXPECT_EQ(number(kMaxUnsigned)->longLongValue(), -1);
  EXPECT_EQ(number(kMaxUnsigned)->integerValue(), -1);
}

TEST(NSNumberTests, FractionsAreCutOffTowardsZero) {
  EXPECT_EQ(number(2.9)->intValue(), 2);
  EXPECT_EQ(number(-2.9)->longLongValue(), -2);
  EXPECT_EQ(number(-0.9)->unsignedLongLongValue(), 0U);
  EXPECT_EQ(number(0.4F)->longValue(), 0);
  EXPECT_TRUE(number(0.4F)->boolValue());
}

TEST(NSNumberTests, FloatingPointValuesStopAtTheLimitsOfWholeTypes) {
  EXPECT_EQ(number(1e300)->longLongValue(), kMaxLong);
  EXPECT_EQ(number(-1e300)->longLongValue(), kMinLong);
  EXPECT_EQ(number(1e300)->unsignedLongLongValue(), kMaxUnsigned);
  EXPECT_EQ(number(-5.0)->unsignedIntegerValue(), 0U);
  EXPECT_EQ(number(9223372036854775808.0)->longLongValue(), kMaxLong);
  EXPECT_EQ(number(-9223372036854775808.0)->longLongValue(), kMinLong);
  EXPECT_EQ(number(9223372036854774784.0)->longLongValue(), 9223372036854774784LL);
  EXPECT_EQ(number(18446744073709551616.0)->unsignedLongLongValue(), kMaxUnsigned);
  EXPECT_EQ(number(3e9)->intValue(), std::numeric_limits<int>::max());
  EXPECT_EQ(number(1e6)->shortValue(), std::numeric_limits<short>::max());
  EXPECT_EQ(number(1e6)->charValue(), 127);
  EXPECT_EQ(number(kInfinity)->unsignedCharValue(), 255);
  EXPECT_EQ(number(-kInfinity)->intValue(), std::numeric_limits<int>::min());
}

TEST(NSNumberTests, NaNIsNoWholeNumberButTrue) {
  EXPECT_EQ(number(kNaN)->intValue(), 0);
  EXPECT_EQ(number(kNaN)->unsignedLongLongValue(), 0U);
  EXPECT_TRUE(number(kNaN)->boolValue());
  EXPECT_TRUE(std::isnan(number(kNaN)->doubleValue()));
}

TEST(NSNumberTests, IsWrittenInItsShortestForm) {
  const std::pair<Ref<NSNumber>, const char*> rows[] = {
      {true, "1"},
      {false, "0"},
      {0, "0"},
      {-7, "-7"},
      {kMinLong, "-9223372036854775808"},
      {kMaxUnsigned, "18446744073709551615"},
      {'A', "65"},
      {1.0, "1"},
      {0.5, "0.5"},
      {0.1F, "0.1"},
      {0.1, "0.1"},
      {100000.0, "100000"},
      {1e16, "10000000000000000"},
      {1e17, "1e+17"},
      {0.0001, "0.0001"},
      {0.00001, "1e-05"},
      {-1e300, "-1e+300"},
      {1.0 / 3, "0.3333333333333333"},
      {-0.0, "-0"},
      {kInfinity, "inf"},
      {-kInfinity, "-inf"},
      {kNaN, "nan"},
      {std::numeric_limits<double>::denorm_min(), "5e-324"},
  };
  for (const auto& [boxed, text] : rows) {
    EXPECT_EQ(boxed->stringValue(), text);
    EXPECT_EQ(boxed->description(), text);
  }
}

TEST(NSNumberTests, EqualValuesOfEveryTypeAreEqualAndHashAlike) {
  const auto ones = NSArray::of(true, 1, 1U, 1L, 1ULL, 1.0F, 1.0, char{1});
  for (const id& one : ones) {
    for (const id& other : ones) {
      EXPECT_TRUE(one->isEqual(other));
      EXPECT_EQ(one->hash(), other->hash());
    }
    EXPECT_FALSE(one->isEqual(2));
  }
  EXPECT_TRUE(id(0.0)->isEqual(-0.0));
  EXPECT_EQ(id(0.0)->hash(), id(-0.0)->hash());
  EXPECT_TRUE(id(-3)->isEqual(-3.0));
  EXPECT_EQ(id(-3)->hash(), id(-3.0)->hash());
  EXPECT_TRUE(id(0.5F)->isEqual(0.5));
  EXPECT_EQ(id(0.5F)->hash(), id(0.5)->hash());
  EXPECT_TRUE(id(kNaN)->isEqual(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_EQ(id(kNaN)->hash(), id(std::numeric_limits<float>::quiet_NaN())->hash());
}

TEST(NSNumberTests, ValuesAreComparedExactly) {
  EXPECT_FALSE(id(0.1F)->isEqual(0.1));
  EXPECT_FALSE(id(kMaxLong)->isEqual(9223372036854775808.0));
  EXPECT_FALSE(id(kMaxUnsigned)->isEqual(-1));
  EXPECT_FALSE(id(kMaxUnsigned)->isEqual(18446744073709551616.0));
  EXPECT_TRUE(id(kMinLong)->isEqual(-9223372036854775808.0));
  EXPECT_FALSE(id((std::int64_t{1} << 53) + 1)->isEqual(9007199254740992.0));
  EXPECT_FALSE(id(1)->isEqual("1"));
  EXPECT_FALSE(id(1)->isEqual(nullptr));
  EXPECT_FALSE(id(1)->isEqual(NSMakeRange(1, 0)));
  EXPECT_FALSE(id(NSMakeRange(1, 0))->isEqual(1));
}

TEST(NSNumberTests, OrdersAllNumbers) {
  const Ref<NSNumber> ascending[] = {kNaN, -kInfinity, kMinLong, -1,           false,    0.5,
                                     true, 1.5F,       kMaxLong, kMaxUnsigned, kInfinity};
  constexpr auto kCount = std::size(ascending);
  for (std::size_t a = 0; a < kCount; ++a) {
    for (std::size_t b = 0; b < kCount; ++b) {
      const auto expected = a < b   ? NSOrderedAscending
                            : a > b ? NSOrderedDescending
                                    : NSOrderedSame;
      EXPECT_EQ(ascending[a]->compare(ascending[b]), expected) << a << " and " << b;
    }
  }
  expectException(NSInvalidArgumentException, [] { (void)number(1)->compare(nullptr); });
  EXPECT_FALSE(number(1)->isEqualToNumber(nullptr));
}

TEST(NSNumberTests, WholeNumbersAndTheirDoublesAgreeOnEqualityAndHash) {
  testing::RandomRun random;
  for (int round = 0; round < 2000; ++round) {
    const auto bits = random.below(kMaxUnsigned) >> random.below(64);
    const auto signedBits = static_cast<std::int64_t>(bits);
    const auto real = static_cast<double>(signedBits);
    const bool isExact = std::abs(real) < 9.2e18 && static_cast<std::int64_t>(real) == signedBits;
    EXPECT_EQ(id(signedBits)->isEqual(real), isExact) << signedBits;
    if (isExact) {
      EXPECT_EQ(id(signedBits)->hash(), id(real)->hash()) << signedBits;
    }
  }
}

TEST(NSNumberTests, CopiesItsValueOutAsItsType) {
  std::uint16_t small = 0;
  number(static_cast<unsigned short>(7))->getValue(&small);
  EXPECT_EQ(small, 7);
  std::int64_t big = 0;
  number(kMinLong)->getValue(&big);
  EXPECT_EQ(big, kMinLong);
  std::uint64_t unsignedBig = 0;
  number(kMaxUnsigned)->getValue(&unsignedBig);
  EXPECT_EQ(unsignedBig, kMaxUnsigned);
  bool truth = false;
  number(true)->getValue(&truth);
  EXPECT_TRUE(truth);
  float real = 0;
  number(2.5F)->getValue(&real);
  EXPECT_EQ(real, 2.5F);
}

TEST(NSNumberTests, IsAValueAndItsOwnCopy) {
  const auto one = number(1);
  EXPECT_EQ(one->copy(), one);
  EXPECT_TRUE(one->isKindOfClass(NSValue::staticClass()));
  EXPECT_NE(Ref<NSValue>(2.5), nullptr);
}

enum class Small : unsigned char { kTen = 10 };

TEST(NSNumberTests, UnboxesIntoEveryPlainType) {
  EXPECT_TRUE(Unboxing<bool>::unbox(2));
  EXPECT_EQ(Unboxing<int>::unbox(2.9), 2);
  EXPECT_EQ(Unboxing<unsigned char>::unbox(300.0), 255);
  EXPECT_EQ(Unboxing<short>::unbox(-2), -2);
  EXPECT_EQ(Unboxing<unsigned long>::unbox(kMaxUnsigned), kMaxUnsigned);
  EXPECT_EQ(Unboxing<long long>::unbox(kMinLong), kMinLong);
  EXPECT_EQ(Unboxing<char>::unbox('x'), 'x');
  EXPECT_EQ(Unboxing<float>::unbox(1), 1.0F);
  EXPECT_EQ(Unboxing<double>::unbox(true), 1.0);
  EXPECT_EQ(Unboxing<Small>::unbox(10), Small::kTen);
}

TEST(NSNumberTests, NothingUnboxesAsZeroAndOtherObjectsDoNotUnbox) {
  EXPECT_EQ(Unboxing<int>::unbox(nullptr), 0);
  EXPECT_FALSE(Unboxing<bool>::unbox(nullptr));
  expectException(NSInvalidArgumentException, [] { (void)Unboxing<int>::unbox("1"); });
}

template <class T>
constexpr bool kBoxes = BoxesInto<T, NSNumber>;

TEST(NSNumberTests, OnlyNumbersBoxIntoNumbers) {
  EXPECT_TRUE(kBoxes<bool>);
  EXPECT_TRUE(kBoxes<char>);
  EXPECT_FALSE(kBoxes<char16_t>);
  EXPECT_FALSE(kBoxes<wchar_t>);
  EXPECT_FALSE(kBoxes<const char*>);
  EXPECT_FALSE(kBoxes<void*>);
  EXPECT_FALSE((BoxesInto<int, NSString>));
}

}  // namespace
}  // namespace kestova
