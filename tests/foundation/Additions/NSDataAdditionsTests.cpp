// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "Bytes.h"
#include "ExceptionExpectation.h"
#include "PlainReplacing.h"
#include "RandomRun.h"

#include <algorithm>
#include <limits>
#include <string>

namespace kestova {
namespace {

using testing::dataOf;
using testing::expectException;
using testing::forBothStorages;
using testing::hex;
using testing::PlainReplacing;
using testing::RandomRun;

constexpr NSRange kNowhere = {NSNotFound, 0};
constexpr NSUInteger kAllMemory = std::numeric_limits<NSUInteger>::max();

Ref<NSData> dataOf(const std::string& bytes) {
  return NSData::dataWithBytes_length(bytes.data(), bytes.size());
}

/// What the strict reading gives, "nothing" for null.
std::string strictly(const Ref<NSString>& text) {
  const auto data = NSData_HexAdditions::dataFromHexString(text);
  return data ? hex(data) : "nothing";
}

// Shows: hexString
TEST(NSDataHexAdditionsTests, HexIsLowerCaseWithoutGaps) {
  EXPECT_EQ(hexString(dataOf({0x01, 0xAB, 0xFF})), "01abff");
  EXPECT_EQ(hexString(dataOf({1, 2, 3, 4, 5, 6, 7, 8, 9})), "010203040506070809");
  EXPECT_EQ(hexString(NSData::data()), "");
  EXPECT_TRUE(hexString(dataOf({0x7F}))->isEightBit());
}

// Shows: hexString
TEST(NSDataHexAdditionsTests, HexIsTheDescriptionWithoutBracketsAndBlanks) {
  RandomRun random;
  for (int round = 0; round < 100; ++round) {
    std::string bytes(random.below(300), '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(random.below(256)); });
    std::string description = dataOf(bytes)->description()->displayUTF8();
    std::erase_if(description, [](char c) { return c == '<' || c == '>' || c == ' '; });
    ASSERT_EQ(hexString(dataOf(bytes)), description);
    ASSERT_EQ(strictly(hexString(dataOf(bytes))), bytes.empty() ? "nothing" : hex(dataOf(bytes)));
  }
}

// Shows: dataFromHexString
TEST(NSDataHexAdditionsTests, TheStrictReadingKeepsDigitsAlone) {
  const struct {
    const char16_t* text;
    const char* bytes;
  } kRows[] = {
      {u"0x1F", "nothing"},  // the x goes, three digits stay
      {u"de:ad:be:ef", "de ad be ef"},
      {u"DEADbeef", "de ad be ef"},
      {u"", "nothing"},
      {u"xyz", "nothing"},
      {u"1", "nothing"},
      {u"1g2", "12"},
      {u"é中1２\U0001F4282", "12"},  // full-width digits are none
      {u"<01ab ff>", "01 ab ff"},
      {u" \r\n\t12\0"
       u"34",
       "12"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text,
                    [&](const Ref<NSString>& text) { EXPECT_EQ(strictly(text), row.bytes); });
  }
}

// Shows: dataFromHexString
TEST(NSDataHexAdditionsTests, ANulIsPassedOverAsOthersThatAreNoDigits) {
  using namespace std::string_view_literals;
  forBothStorages(
      u"1\0"
      u"2\0"sv,
      [](const Ref<NSString>& text) { EXPECT_EQ(strictly(text), "12"); });
}

// Shows: dataFromHexString
TEST(NSDataHexAdditionsTests, WithoutATextThereAreNoBytes) {
  EXPECT_EQ(NSData_HexAdditions::dataFromHexString(nullptr), nullptr);
}

// Shows: dataFromHexString
TEST(NSDataHexAdditionsTests, TheBytesReadAreImmutable) {
  EXPECT_EQ(cast<NSMutableData>(NSData_HexAdditions::dataFromHexString("12")), nullptr);
}

// Shows: MD5
TEST(NSDataMD5AdditionsTests, TheDigestIsThirtyTwoLowerCaseDigits) {
  EXPECT_EQ(MD5(NSData::data()), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(MD5(dataOf("abc")), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(MD5(dataOf(std::string(1'000'000, 'a'))), "7707d6ae4e027c70eea2a935c2296f21");
  EXPECT_EQ(MD5(NSMutableData::dataWithBytes_length("message digest", 14)),
            "f96b697d7cb7938d525a2f31aaf161d0");
}

NSRange find(const char* pattern, NSRange range, const char* text = "abcabcab") {
  return rangeOfData_range(dataOf(text), dataOf(pattern), range);
}

// Shows: rangeOfData_range
TEST(NSDataSearchAdditionsTests, TheFirstMatchInTheRangeIsFound) {
  EXPECT_EQ(find("abc", {0, 8}), NSMakeRange(0, 3));
  EXPECT_EQ(find("abc", {1, 7}), NSMakeRange(3, 3));
  EXPECT_EQ(find("b", {2, 6}), NSMakeRange(4, 1));
  EXPECT_EQ(find("ab", {4, 4}), NSMakeRange(6, 2));
  EXPECT_EQ(find("aab", {0, 5}, "aaab "), NSMakeRange(1, 3)) << "a false start hides nothing";
}

// Shows: rangeOfData_range
TEST(NSDataSearchAdditionsTests, AMatchLiesWhollyInTheRange) {
  EXPECT_EQ(find("ca", {0, 3}), kNowhere);
  EXPECT_EQ(find("ca", {0, 4}), NSMakeRange(2, 2));
  EXPECT_EQ(find("ca", {3, 2}), kNowhere);
}

// Shows: rangeOfData_range, rangeOfBytes_length_range
TEST(NSDataSearchAdditionsTests, AnEmptyOrTooLongPatternIsNowhere) {
  EXPECT_EQ(find("", {0, 8}), kNowhere);
  EXPECT_EQ(find("ab", {0, 1}), kNowhere) << "two bytes in a range of one";
  EXPECT_EQ(find("ab", {0, 0}), kNowhere);
  EXPECT_EQ(find("abcabcabca", {0, 8}), kNowhere);
  EXPECT_EQ(rangeOfData_range(dataOf("abc"), nullptr, {0, 3}), kNowhere);
  EXPECT_EQ(rangeOfBytes_length_range(dataOf("abc"), nullptr, 0, {0, 3}), kNowhere);
  EXPECT_EQ(rangeOfBytes_length_range(dataOf("abc"), nullptr, 2, {0, 3}), kNowhere);
}

// Shows: OVRangeOfBytesInBytes, rangeOfData_range
TEST(NSDataSearchAdditionsTests, ARangeThatLeavesAllMemoryHoldsNothing) {
  EXPECT_EQ(find("ab", {kAllMemory, 3}), kNowhere);
  EXPECT_EQ(find("ab", {5, kAllMemory}), kNowhere);
  EXPECT_EQ(OVRangeOfBytesInBytes("abc", "b", 1, {2, kAllMemory}), kNowhere);
  EXPECT_EQ(OVRangeOfBytesInBytes("abc", "bc", 2, {kAllMemory, 4}), kNowhere);
}

// Shows: rangeOfData_range
TEST(NSDataSearchAdditionsTests, ARangePastTheEndThrowsWhereSomethingMightBeFound) {
  expectException(NSRangeException, [] { (void)find("ab", {7, 2}); });
  expectException(NSRangeException, [] { (void)find("ab", {9, 2}); });
  expectException(NSRangeException, [] { (void)find("ab", {NSNotFound, 2}); });
  EXPECT_EQ(find("ab", {9, 1}), kNowhere);
}

// Shows: OVRangeOfBytesInBytes, rangeOfBytes_length_range
TEST(NSDataSearchAdditionsTests, PlainBytesAreFoundInPlainBytesAndInData) {
  const auto data = dataOf("abcabcab");
  const auto inBoth = [&](const char* pattern, NSUInteger length, NSRange range) {
    const NSRange found = OVRangeOfBytesInBytes(data->bytes(), pattern, length, range);
    EXPECT_EQ(rangeOfBytes_length_range(data, pattern, length, range), found);
    return found;
  };
  EXPECT_EQ(inBoth("ca", 2, {0, 8}), NSMakeRange(2, 2));
  EXPECT_EQ(inBoth("ca", 2, {3, 5}), NSMakeRange(5, 2));
  EXPECT_EQ(inBoth("ca", 2, {2, 1}), kNowhere);
  EXPECT_EQ(inBoth("cb", 2, {0, 8}), kNowhere);
  EXPECT_EQ(inBoth("ca", 0, {0, 8}), kNowhere);
}

// Shows: OVRangeOfBytesInBytes, rangeOfBytes_length_range
TEST(NSDataSearchAdditionsTests, PlainBytesAreSearchedInTheSameWay) {
  RandomRun random;
  for (int round = 0; round < 20000; ++round) {
    PlainReplacing plain;
    for (std::uint64_t left = random.below(40); left > 0; --left) {
      plain.data += static_cast<char>('a' + random.below(2));
    }
    for (std::uint64_t left = random.below(6); left > 0; --left) {
      plain.pattern += static_cast<char>('a' + random.below(2));
    }
    const NSUInteger location = random.below(plain.data.size() + 1);
    const NSRange range = {location, random.below(plain.data.size() - location + 1)};
    const NSRange expected = plain.search(range.location, range.length);
    ASSERT_EQ(
        OVRangeOfBytesInBytes(plain.data.data(), plain.pattern.data(), plain.pattern.size(), range),
        expected);
    ASSERT_EQ(rangeOfBytes_length_range(dataOf(plain.data), plain.pattern.data(),
                                        plain.pattern.size(), range),
              expected);
  }
}

}  // namespace
}  // namespace kestova
