// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "PropertyLists.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace kestova {
namespace {

constexpr auto kBinary = NSPropertyListBinaryFormat_v1_0;
constexpr NSUInteger kHeader = 8;
constexpr NSUInteger kTrailer = 32;

std::string written(const id& list) {
  const auto outcome = testing::writePropertyList(list, kBinary);
  EXPECT_EQ(outcome.problem, "");
  return testing::textOfData(outcome.value);
}

/// The bytes of a list of one object, without what is the same around all of them.
std::string writtenObject(const id& object) {
  const std::string bytes = written(object);
  const std::string inner = bytes.substr(kHeader, bytes.size() - kHeader - kTrailer - 1);
  EXPECT_EQ(testing::hex(testing::dataOfText(bytes)),
            testing::hex(testing::dataOfText(testing::BinaryPropertyList{{inner}}.bytes())));
  return testing::hex(testing::dataOfText(inner));
}

id read(const std::string& bytes) { return testing::readPropertyList(bytes).value; }

std::size_t countOfObjects(const std::string& bytes) {
  const auto* trailer =
      reinterpret_cast<const unsigned char*>(bytes.data() + bytes.size() - kTrailer);
  return trailer[14] * 256U + trailer[15];
}

TEST(BinaryPropertyListWriterTests, AListIsHeaderObjectsOffsetsAndTrailer) {
  EXPECT_EQ(testing::hex(testing::dataOfText(written(true))),
            "62 70 6c 69 73 74 30 30 "   // bplist00
            "09 "                        // true
            "08 "                        // its offset
            "00 00 00 00 00 00 01 01 "   // bytes of an offset, of a reference
            "00 00 00 00 00 00 00 01 "   // one object
            "00 00 00 00 00 00 00 00 "   // the first one is at the top
            "00 00 00 00 00 00 00 09");  // where the offsets are
  EXPECT_EQ(testing::hex(testing::dataOfText(written(NSDictionary::of({{"a", 1}, {"b", "a"}})))),
            "62 70 6c 69 73 74 30 30 "
            "d2 01 02 03 01 51 61 51 62 10 01 "
            "08 0d 0f 11 "
            "00 00 00 00 00 00 01 01 "
            "00 00 00 00 00 00 00 04 "
            "00 00 00 00 00 00 00 00 "
            "00 00 00 00 00 00 00 13");
}

struct ObjectRow {
  id object;
  const char* bytes;
};

TEST(BinaryPropertyListWriterTests, EveryKindHasItsBytes) {
  const ObjectRow rows[] = {
      {false, "08"},
      {true, "09"},
      {0, "10 00"},
      {255, "10 ff"},
      {256, "11 01 00"},
      {65535U, "11 ff ff"},
      {65536, "12 00 01 00 00"},
      {4294967295U, "12 ff ff ff ff"},
      {4294967296, "13 00 00 00 01 00 00 00 00"},
      {std::numeric_limits<std::int64_t>::max(), "13 7f ff ff ff ff ff ff ff"},
      {-1, "13 ff ff ff ff ff ff ff ff"},
      {std::numeric_limits<std::int64_t>::min(), "13 80 00 00 00 00 00 00 00"},
      {9223372036854775808U, "14 00 00 00 00 00 00 00 00 80 00 00 00 00 00 00 00"},
      {std::numeric_limits<std::uint64_t>::max(),
       "14 00 00 00 00 00 00 00 00 ff ff ff ff ff ff ff ff"},
      {1.0F, "22 3f 80 00 00"},
      {1.0, "23 3f f0 00 00 00 00 00 00"},
      {-0.0, "23 80 00 00 00 00 00 00 00"},
      {HUGE_VAL, "23 7f f0 00 00 00 00 00 00"},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(-1.5), "33 bf f8 00 00 00 00 00 00"},
      {NSData::data(), "40"},
      {testing::dataOf({1, 255}), "42 01 ff"},
      {"", "50"},
      {"abc", "53 61 62 63"},
      {std::string("a\0b", 3), "53 61 00 62"},
      {"ä", "61 00 e4"},
      {"a😀", "63 00 61 d8 3d de 00"},
      {std::u16string(u"\xDC00"), "61 dc 00"},
      {"abcdefghijklmn", "5e 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e"},
      {"abcdefghijklmno", "5f 10 0f 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f"},
      {NSArray::array(), "a0"},
      {NSDictionary::dictionary(), "d0"},
      {NSDictionary::of({{"CF$UID", 5}}), "80 05"},
      {NSDictionary::of({{"CF$UID", 65536}}), "83 00 01 00 00"},
      {NSDictionary::of({{"CF$UID", std::numeric_limits<std::uint64_t>::max()}}),
       "87 ff ff ff ff ff ff ff ff"},
  };
  for (const auto& [object, bytes] : rows) {
    EXPECT_EQ(writtenObject(object), bytes) << object;
    EXPECT_TRUE(object->isEqual(read(written(object)))) << object;
  }
}

TEST(BinaryPropertyListWriterTests, LongCountsTakeAsManyBytesAsTheyNeed) {
  const auto start = [](std::size_t length) {
    return writtenObject(NSMutableData::dataWithLength(length)).substr(0, 17);
  };
  EXPECT_EQ(start(15), "4f 10 0f 00 00 00");
  EXPECT_EQ(start(200), "4f 10 c8 00 00 00");
  const std::string longer = written(NSMutableData::dataWithLength(70000));
  EXPECT_EQ(testing::hex(testing::dataOfText(longer.substr(kHeader, 7))), "4f 12 00 01 11 70 00");
}

/// What is no UID stays a dictionary.
TEST(BinaryPropertyListWriterTests, OnlyAnIntegerThatIsNotNegativeMakesAUID) {
  for (const id& value : {id(-1), id(1.0), id(true), id("1"), id(NSArray::of(1))}) {
    const auto list = NSDictionary::of({{"CF$UID", value}});
    EXPECT_EQ(written(list)[kHeader], '\xD1') << value;
    EXPECT_TRUE(list->isEqual(read(written(list)))) << value;
  }
  EXPECT_EQ(written(NSDictionary::of({{"CF$UID", 1}, {"b", 2}}))[kHeader], '\xD2');
  EXPECT_EQ(written(NSDictionary::of({{"b", 2}}))[kHeader], '\xD1');
}

TEST(BinaryPropertyListWriterTests, WhatIsEqualIsWrittenOnce) {
  const auto date = [](double seconds) {
    return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
  };
  EXPECT_EQ(countOfObjects(written(NSArray::of("a", "a", NSMutableString::stringWithString("a"),
                                               NSString::stringWithUTF16Storage(u"a")))),
            2U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(1, 1L, static_cast<char>(1), 1U))), 2U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(2.5, 2.5))), 2U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(true, true, false))), 3U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(date(1), date(1)))), 2U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(testing::dataOf({1}), testing::dataOf({1})))), 2U);
  EXPECT_EQ(countOfObjects(written(NSDictionary::of({{"a", "b"}, {"b", "a"}}))), 3U);
}

TEST(BinaryPropertyListWriterTests, WhatOnlyLooksEqualIsWrittenApart) {
  const auto date = NSDate::dateWithTimeIntervalSinceReferenceDate(1);
  EXPECT_EQ(countOfObjects(written(NSArray::of(1, 1.0, 1.0F, true, date))), 6U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(0.0, -0.0))), 3U);
  EXPECT_EQ(countOfObjects(written(NSArray::of(-1, std::numeric_limits<std::uint64_t>::max()))),
            3U);
  EXPECT_EQ(countOfObjects(written(NSArray::of("1", 1, testing::dataOf({'1'})))), 4U);
}

TEST(BinaryPropertyListWriterTests, WhatIsOneContainerIsWrittenOnceAndWhatOnlyLooksAlikeApart) {
  const auto shared = NSArray::of("a");
  const auto list =
      NSArray::of(shared, shared, NSArray::of("a"), NSDictionary::of({{"b", shared}}));
  const auto data = written(list);
  EXPECT_EQ(countOfObjects(data), 6U);
  const auto uid = NSDictionary::of({{"CF$UID", 1}});
  EXPECT_EQ(countOfObjects(written(NSArray::of(uid, uid, shared, shared))), 4U);
}

TEST(BinaryPropertyListWriterTests, AnArrayThatMakesItsMembersAnewIsWrittenWhole) {
  class Counting final : public NSArray {
   public:
    NSUInteger count() const override { return 100; }
    id objectAtIndex(NSUInteger index) const override { return NSArray::of(index); }
  };
  const auto data = written(make<Counting>());
  EXPECT_EQ(countOfObjects(data), 201U);
}

TEST(BinaryPropertyListWriterTests, TextIsTheSameInBothStorages) {
  for (const std::u16string_view text :
       {u"", u"abc", u"ä€😀", u"\xD800", u"\xDC00\xD800", u"a\xDFFFz", u"\0\x7F\x80"}) {
    testing::forBothStorages(text, [&](const Ref<NSString>& string) {
      const auto bytes = written(NSArray::of(string));
      EXPECT_EQ(bytes, written(NSArray::of(std::u16string(text))));
      EXPECT_TRUE(NSArray::of(string)->isEqual(read(bytes)));
    });
  }
}

TEST(BinaryPropertyListWriterTests, NumbersKeepTypeAndBits) {
  const id numbers[] = {0.1F, 0.1, -0.0, 1.0F, std::bit_cast<double>(0x7FF8000000000123)};
  for (const id& number : numbers) {
    const auto same = cast<NSNumber>(read(written(number)));
    ASSERT_NE(same, nullptr);
    EXPECT_STREQ(same->objCType(), cast<NSNumber>(number)->objCType());
    EXPECT_EQ(written(same), written(number));
  }
}

/// The size of the references as the trailer tells it.
std::size_t referenceSizeOf(const std::string& bytes) {
  return static_cast<unsigned char>(bytes[bytes.size() - kTrailer + 7]);
}
std::size_t offsetSizeOf(const std::string& bytes) {
  return static_cast<unsigned char>(bytes[bytes.size() - kTrailer + 6]);
}

TEST(BinaryPropertyListWriterTests, ReferencesAndOffsetsGrowWithTheList) {
  const auto numbers = [](int count) {
    const auto array = NSMutableArray::array();
    for (int number = 0; number < count; ++number) {
      array->addObject(number);
    }
    return array;
  };
  struct Row {
    int numbers;
    std::size_t referenceSize, offsetSize;
  };
  for (const auto& [count, referenceSize, offsetSize] :
       {Row{10, 1, 1}, Row{254, 1, 2}, Row{255, 2, 2}, Row{65534, 2, 4}, Row{65535, 4, 4}}) {
    const auto list = numbers(count);
    const auto bytes = written(list);
    EXPECT_EQ(referenceSizeOf(bytes), referenceSize) << count;
    EXPECT_EQ(offsetSizeOf(bytes), offsetSize) << count;
    EXPECT_TRUE(list->isEqual(read(bytes))) << count;
  }
}

}  // namespace
}  // namespace kestova
