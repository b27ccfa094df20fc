// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "ExceptionExpectation.h"

#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>

namespace kestova {
namespace {

using testing::expectException;
using testing::textOf;

Ref<NSMutableData> dataOf(const std::string& bytes) {
  return NSMutableData::dataWithBytes_length(bytes.data(), bytes.size());
}

constexpr NSUInteger kAllMemory = std::numeric_limits<NSUInteger>::max();

TEST(NSMutableDataTests, BeginsAsAsked) {
  EXPECT_EQ(textOf(NSMutableData::data()), "");
  EXPECT_EQ(textOf(NSMutableData::init()), "");
  EXPECT_EQ(textOf(NSMutableData::dataWithCapacity(100)), "");
  EXPECT_EQ(textOf(NSMutableData::dataWithLength(3)), std::string(3, '\0'));
  EXPECT_EQ(textOf(NSMutableData::dataWithData(dataOf("abc"))), "abc");
  EXPECT_EQ(NSMutableData::dataWithData(nullptr), nullptr);
}

TEST(NSMutableDataTests, GrowingWithinItsCapacityMovesNothing) {
  const auto data = NSMutableData::dataWithCapacity(1000);
  const std::byte* start = data->bytes();
  for (int round = 0; round < 100; ++round) {
    data->appendBytes_length("0123456789", 10);
  }
  EXPECT_EQ(data->bytes(), start);
}

TEST(NSMutableDataTests, GrowingBySmallStepsMovesItRarely) {
  const auto data = NSMutableData::data();
  int moves = 0;
  for (int round = 0; round < 100000; ++round) {
    const std::byte* start = data->bytes();
    data->appendBytes_length("x", 1);
    moves += data->bytes() == start ? 0 : 1;
  }
  EXPECT_LE(moves, 14) << "16 bytes at first, doubled each time, reach 100,000 in 14 steps";
}

TEST(NSMutableDataTests, NewBytesAreZero) {
  const auto data = dataOf("abcdef");
  data->setLength(2);
  data->setLength(4);
  data->increaseLengthBy(1);
  data->increaseLengthBy(0);
  EXPECT_EQ(textOf(data), std::string("ab\0\0\0", 5));
  data->setLength(0);
  EXPECT_EQ(data->length(), 0U);
}

TEST(NSMutableDataTests, Appends) {
  const auto data = dataOf("a");
  data->appendBytes_length("bc", 2);
  data->appendBytes_length(nullptr, 0);
  data->appendData(dataOf("de"));
  data->appendData(NSData::data());
  EXPECT_EQ(textOf(data), "abcde");
  std::memcpy(data->extend(2), "fg", 2);
  EXPECT_EQ(textOf(data), "abcdefg");
  data->mutableBytes()[0] = std::byte{'A'};
  EXPECT_EQ(textOf(data), "Abcdefg");
}

TEST(NSMutableDataTests, TakesItselfAsAnArgument) {
  const auto data = dataOf("0123456789abcdef");
  data->appendData(data);
  EXPECT_EQ(textOf(data), "0123456789abcdef0123456789abcdef");
  data->setData(data);
  EXPECT_EQ(data->length(), 32U);
}

TEST(NSMutableDataTests, OverwritesAndGrowsOverItsEnd) {
  const auto data = dataOf("abcd");
  data->replaceBytesInRange_withBytes({1, 2}, "XY");
  EXPECT_EQ(textOf(data), "aXYd");
  data->replaceBytesInRange_withBytes({3, 3}, "123");
  EXPECT_EQ(textOf(data), "aXY123");
  data->replaceBytesInRange_withBytes({6, 1}, "!");
  EXPECT_EQ(textOf(data), "aXY123!");
  expectException(NSRangeException, [&] { data->replaceBytesInRange_withBytes({8, 0}, ""); });
  data->resetBytesInRange({5, 4});
  EXPECT_EQ(textOf(data), std::string("aXY12\0\0\0\0", 9));
  expectException(NSRangeException, [&] { data->resetBytesInRange({10, 1}); });
}

TEST(NSMutableDataTests, PutsBytesInPlaceOfOthers) {
  const struct {
    std::string bytes;
    NSRange range;
    std::string replacement;
    std::string result;
  } kRows[] = {
      {"abcd", {1, 2}, "X", "aXd"},   {"abcd", {1, 2}, "XYZ", "aXYZd"},
      {"abcd", {1, 2}, "XY", "aXYd"}, {"abcd", {0, 4}, "", ""},
      {"abcd", {4, 0}, "e", "abcde"}, {"abcd", {0, 0}, "_", "_abcd"},
      {"", {0, 0}, "a", "a"},         {"", {0, 0}, "", ""},
  };
  for (const auto& row : kRows) {
    const auto data = dataOf(row.bytes);
    data->replaceBytesInRange_withBytes_length(row.range, row.replacement.data(),
                                               row.replacement.size());
    EXPECT_EQ(textOf(data), row.result);
  }
  expectException(NSRangeException, [] {
    dataOf("abc")->replaceBytesInRange_withBytes_length({2, 2}, "x", 1);
  });
}

TEST(NSMutableDataTests, NoBytesInPlaceOfOthersDeleteThem) {
  const auto data = dataOf("abcd");
  data->replaceBytesInRange_withBytes_length({1, 2}, nullptr, 0);
  EXPECT_EQ(textOf(data), "ad");
}

TEST(NSMutableDataTests, SetsAllOfIt) {
  const auto data = dataOf("abc");
  data->setData(dataOf("xy"));
  EXPECT_EQ(textOf(data), "xy");
}

TEST(NSMutableDataTests, NullIsRefused) {
  const auto data = dataOf("abc");
  expectException(NSInvalidArgumentException, [&] { data->appendData(nullptr); });
  expectException(NSInvalidArgumentException, [&] { data->setData(nullptr); });
  expectException(NSInvalidArgumentException, [&] {
    data->replaceBytesInRange_withBytes_length({0, 1}, nullptr, 1);
  });
  EXPECT_EQ(textOf(data), "abc");
}

TEST(NSMutableDataTests, MoreThanAllMemoryIsRefusedAndChangesNothing) {
  const auto data = dataOf("abc");
  EXPECT_THROW(data->extend(kAllMemory), std::bad_alloc);
  EXPECT_THROW(data->setLength(kAllMemory), std::bad_alloc);
  EXPECT_THROW(data->replaceBytesInRange_withBytes({3, kAllMemory}, ""), std::bad_alloc);
  EXPECT_THROW(data->resetBytesInRange({3, kAllMemory}), std::bad_alloc);
  EXPECT_EQ(textOf(data), "abc");
}

TEST(NSMutableDataTests, ItsCopiesDoNotChangeWithIt) {
  const auto data = dataOf("abc");
  const Ref<NSData> copy = copyOf<NSData>(data);
  const auto mutableCopy = cast<NSMutableData>(data->mutableCopy());
  data->setLength(0);
  EXPECT_EQ(textOf(copy), "abc");
  EXPECT_EQ(cast<NSMutableData>(copy), nullptr);
  EXPECT_EQ(textOf(mutableCopy), "abc");
}

TEST(NSMutableDataTests, RandomEditsAgreeWithAPlainString) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const auto data = NSMutableData::data();
  std::string model;
  for (int round = 0; round < 3000; ++round) {
    const NSUInteger location = random() % (model.size() + 1);
    const NSUInteger length = std::min<NSUInteger>(random() % 9, model.size() - location);
    const std::string piece(random() % 9, static_cast<char>('a' + round % 26));
    data->replaceBytesInRange_withBytes_length({location, length}, piece.data(), piece.size());
    model.replace(location, length, piece);
    ASSERT_EQ(textOf(data), model) << round;
  }
}

}  // namespace
}  // namespace kestova
