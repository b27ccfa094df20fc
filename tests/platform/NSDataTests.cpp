// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "ExceptionExpectation.h"

#include <array>
#include <unordered_set>

namespace kestova {
namespace {

using testing::dataOf;
using testing::expectException;
using testing::hex;
using testing::textOf;

Ref<NSData> dataOf(const std::string& bytes) {
  return NSData::dataWithBytes_length(bytes.data(), bytes.size());
}

TEST(NSDataTests, HoldsACopyOfItsBytes) {
  std::string bytes = "abc";
  const auto data = dataOf(bytes);
  bytes[0] = 'x';
  EXPECT_EQ(data->length(), 3U);
  EXPECT_EQ(hex(data), "61 62 63");
  EXPECT_EQ(data->span().data(), data->bytes());
}

TEST(NSDataTests, MayBeEmpty) {
  for (const auto& data : {NSData::data(), NSData::dataWithBytes_length(nullptr, 0), dataOf("")}) {
    EXPECT_EQ(data->length(), 0U);
    EXPECT_TRUE(data->span().empty());
    EXPECT_TRUE(data->isEqual(NSData::data()));
    EXPECT_EQ(data->hash(), NSData::data()->hash());
    EXPECT_EQ(data->description(), "<>");
    EXPECT_EQ(data->subdataWithRange({0, 0})->length(), 0U);
  }
}

TEST(NSDataTests, PartsAreCopiedOut) {
  const auto data = dataOf("abcdef");
  std::array<char, 4> buffer{'-', '-', '-', '-'};
  data->getBytes_range(buffer.data(), {2, 3});
  EXPECT_EQ(std::string_view(buffer.data(), 4), "cde-");
  EXPECT_EQ(textOf(data->subdataWithRange({4, 2})), "ef");
  EXPECT_EQ(textOf(data->subdataWithRange({6, 0})), "");
}

TEST(NSDataTests, RangesPastTheEndThrow) {
  const auto data = dataOf("abc");
  char buffer[8];
  expectException(NSRangeException, [&] { data->getBytes_range(buffer, {2, 2}); });
  expectException(NSRangeException, [&] { (void)data->subdataWithRange({4, 0}); });
  expectException(NSRangeException, [&] { (void)data->subdataWithRange({1, NSNotFound * 2 + 1}); });
}

TEST(NSDataTests, EqualBytesAreEqual) {
  EXPECT_TRUE(dataOf("abc")->isEqual(dataOf("abc")));
  EXPECT_TRUE(dataOf("abc")->isEqualToData(NSMutableData::dataWithData(dataOf("abc"))));
  EXPECT_EQ(dataOf("abc")->hash(), dataOf("abc")->hash());
  EXPECT_FALSE(dataOf("abc")->isEqual(dataOf("abd")));
  EXPECT_FALSE(dataOf("abc")->isEqual(dataOf("ab")));
  EXPECT_FALSE(dataOf("abc")->isEqual(nullptr));
  EXPECT_FALSE(dataOf("abc")->isEqualToData(nullptr));
  EXPECT_FALSE(dataOf("abc")->isEqual("abc"));
}

TEST(NSDataTests, HashesTellBytesOfEveryLengthApart) {
  std::unordered_set<NSUInteger> hashes;
  for (int length = 0; length < 40; ++length) {
    std::string bytes(static_cast<std::size_t>(length), '\0');
    hashes.insert(dataOf(bytes)->hash());
    for (char& byte : bytes) {
      byte = 1;
      hashes.insert(dataOf(bytes)->hash());
      byte = 0;
    }
  }
  EXPECT_EQ(hashes.size(), 40U + 39U * 40U / 2U);
}

TEST(NSDataTests, DescriptionIsHexInGroupsOfFour) {
  EXPECT_EQ(dataOf({0x7F})->description(), "<7f>");
  EXPECT_EQ(dataOf({0x7F, 0x45, 0x4C, 0x46})->description(), "<7f454c46>");
  EXPECT_EQ(dataOf({0x7F, 0x45, 0x4C, 0x46, 0x02})->description(), "<7f454c46 02>");
  EXPECT_EQ(dataOf({0, 1, 2, 3, 4, 5, 6, 7, 0xFF})->description(), "<00010203 04050607 ff>");
}

TEST(NSDataTests, BytesAreFoundInARange) {
  const auto data = dataOf("abcabcab");
  const auto find = [&](const char* wanted, NSUInteger options, NSRange range) {
    return data->rangeOfData_options_range(dataOf(wanted), options, range);
  };
  constexpr NSRange kAll = {0, 8};
  constexpr NSRange kNowhere = {NSNotFound, 0};
  EXPECT_EQ(find("abc", 0, kAll), NSMakeRange(0, 3));
  EXPECT_EQ(find("abc", 0, {1, 7}), NSMakeRange(3, 3));
  EXPECT_EQ(find("abc", 0, {1, 4}), kNowhere) << "a match lies wholly in the range";
  EXPECT_EQ(find("", 0, kAll), kNowhere);
  EXPECT_EQ(find("abc", 0, {8, 0}), kNowhere);
  EXPECT_EQ(find("ab", NSDataSearchBackwards, kAll), NSMakeRange(6, 2));
  EXPECT_EQ(find("ab", NSDataSearchBackwards, {1, 6}), NSMakeRange(3, 2));
  EXPECT_EQ(find("ab", NSDataSearchAnchored, kAll), NSMakeRange(0, 2));
  EXPECT_EQ(find("bc", NSDataSearchAnchored, kAll), kNowhere);
  EXPECT_EQ(find("bc", NSDataSearchAnchored, {1, 7}), NSMakeRange(1, 2));
  EXPECT_EQ(find("abcabcabc", NSDataSearchAnchored, kAll), kNowhere);
  constexpr NSUInteger kAtTheEnd = NSDataSearchBackwards | NSDataSearchAnchored;
  EXPECT_EQ(find("ab", kAtTheEnd, kAll), NSMakeRange(6, 2));
  EXPECT_EQ(find("bc", kAtTheEnd, kAll), kNowhere);
  EXPECT_EQ(find("bc", kAtTheEnd, {2, 4}), NSMakeRange(4, 2));
  EXPECT_EQ(find("", kAtTheEnd, kAll), kNowhere);
}

TEST(NSDataTests, SearchesBeyondTheEndOrForNothingThrow) {
  const auto data = dataOf("abc");
  expectException(NSRangeException, [&] {
    (void)data->rangeOfData_options_range(dataOf("a"), 0, {2, 2});
  });
  expectException(NSInvalidArgumentException, [&] {
    (void)data->rangeOfData_options_range(nullptr, 0, {0, 3});
  });
}

TEST(NSDataTests, TakesBytesOverWithoutCopying) {
  const auto written = NSMutableData::dataWithBytes_length("abc", 3);
  const std::byte* bytes = written->bytes();
  const auto data = NSData::taking(*written);
  EXPECT_EQ(textOf(data), "abc");
  EXPECT_EQ(data->bytes(), bytes);
  EXPECT_EQ(cast<NSMutableData>(data), nullptr);
  EXPECT_EQ(written->length(), 0U);
  written->appendBytes_length("d", 1);
  EXPECT_EQ(textOf(data), "abc");
}

TEST(NSDataTests, CopiesOfImmutableDataAreItself) {
  const auto data = dataOf("abc");
  EXPECT_EQ(data->copy(), data);
  EXPECT_EQ(NSData::dataWithData(data), data);
  EXPECT_EQ(NSData::dataWithData(nullptr), nullptr);
  const auto changed = cast<NSMutableData>(data->mutableCopy());
  ASSERT_NE(changed, nullptr);
  changed->setLength(1);
  EXPECT_EQ(textOf(data), "abc");
}

}  // namespace
}  // namespace kestova
