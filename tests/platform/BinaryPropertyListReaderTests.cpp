// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "PropertyLists.h"

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::BinaryPropertyList;
using namespace std::string_literals;

constexpr NSUInteger kEveryOption[] = {NSPropertyListImmutable, NSPropertyListMutableContainers,
                                       NSPropertyListMutableContainersAndLeaves};

std::string problemOf(const std::string& bytes, NSUInteger options = NSPropertyListImmutable) {
  return testing::readPropertyList(bytes, options).problem;
}

id read(const std::string& bytes, NSUInteger options = NSPropertyListImmutable) {
  return testing::readPropertyList(bytes, options).value;
}

/// Reads a list of one object, which is written down as those bytes.
id readObject(const std::string& object) { return read(BinaryPropertyList{{object}}.bytes()); }

struct ValueRow {
  std::string object;
  id value;
  const char* kind = "";
};

TEST(BinaryPropertyListReaderTests, ReadsEveryKindInEverySize) {
  const ValueRow rows[] = {
      {"\x08", false, "B"},
      {"\x09", true, "B"},
      {"\x10\xFF", 255, "q"},
      {"\x11\xFF\xFE", 65534, "q"},
      {"\x12\xFF\xFF\xFF\xFF", 4294967295U, "q"},
      {"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", -2, "q"},
      {"\x13\0\0\0\0\0\0\0\x01"s, 1, "q"},
      {"\x14" + std::string(15, '\0') + "\x07", 7, "q"},
      {"\x14" + std::string(8, '\0') + std::string(8, '\xFF'),
       std::numeric_limits<std::uint64_t>::max(), "Q"},
      {"\x14" + std::string(16, '\xFF'), -1, "q"},
      {"\x22\xC0\x20\0\0"s, -2.5F, "f"},
      {"\x23\xC0\x04\0\0\0\0\0\0"s, -2.5, "d"},
      {"\x33\xBF\xF0\0\0\0\0\0\0"s, NSDate::dateWithTimeIntervalSinceReferenceDate(-1)},
      {"\x40", NSData::data()},
      {"\x43\x01\x02\xFF", testing::dataOf({1, 2, 255})},
      {"\x50", ""},
      {"\x53"
       "a\0b"s,
       std::string("a\0b", 3)},
      {"\x60", ""},
      {"\x61\0a"s, "a"},
      {"\x62\xD8\x3D\xDE\0"s, "😀"},
      {"\x61\xD8\0"s, std::u16string(u"\xD800")},
      {"\xA0", NSArray::array()},
      {"\xD0", NSDictionary::dictionary()},
      {"\x80\x05", NSDictionary::of({{"CF$UID", 5}})},
      {"\x81\x01\0"s, NSDictionary::of({{"CF$UID", 256}})},
      {"\x82\x01\0\0"s, NSDictionary::of({{"CF$UID", 65536}})},
      {"\x87" + std::string(8, '\xFF'),
       NSDictionary::of({{"CF$UID", std::numeric_limits<std::uint64_t>::max()}})},
      {"\x5F\x10\x02"
       "ab",
       "ab"},
      {"\x5F\x13\0\0\0\0\0\0\0\x02"
       "ab"s,
       "ab"},
  };
  for (const auto& [object, value, kind] : rows) {
    const id found = readObject(object);
    EXPECT_TRUE(value->isEqual(found)) << value << " is " << found;
    if (const auto number = cast<NSNumber>(found)) {
      EXPECT_STREQ(number->objCType(), kind) << value;
    }
  }
}

TEST(BinaryPropertyListReaderTests, ReferencesAndOffsetsMayTakeAnyNumberOfBytes) {
  const auto expected = NSDictionary::of({{"a", NSArray::of("a", true)}});
  for (std::size_t size = 1; size <= 8; ++size) {
    const auto reference = [&](std::size_t number) { return testing::bytesOfNumber(number, size); };
    const BinaryPropertyList list{{"\xD1" + reference(1) + reference(2), "\x51"s + "a",
                                   "\xA2" + reference(1) + reference(3), "\x09"},
                                  0,
                                  9 - size,
                                  size};
    EXPECT_TRUE(expected->isEqual(read(list.bytes()))) << size;
  }
}

TEST(BinaryPropertyListReaderTests, AnyObjectMayBeAtTheTop) {
  const std::vector<std::string> objects = {"\xA1\x01", "\x09", "\xA1\x02", "\x51"s + "z"};
  EXPECT_TRUE(NSArray::of(true)->isEqual(read(BinaryPropertyList{objects, 0}.bytes())));
  EXPECT_TRUE(id(true)->isEqual(read(BinaryPropertyList{objects, 1}.bytes())));
  EXPECT_TRUE(id("z")->isEqual(read(BinaryPropertyList{objects, 3}.bytes())));
}

TEST(BinaryPropertyListReaderTests, WhatNothingRefersToIsNotRead) {
  EXPECT_TRUE(id(true)->isEqual(read(BinaryPropertyList{{"\x09", "\xFF"}}.bytes())));
}

TEST(BinaryPropertyListReaderTests, TheLastOfEqualKeysCounts) {
  const BinaryPropertyList list{
      {"\xD2\x01\x02\x03\x04", "\x51"s + "k", "\x61\0k"s, "\x10\x01", "\x10\x02"}};
  EXPECT_TRUE(NSDictionary::of({{"k", 2}})->isEqual(read(list.bytes())));
}

TEST(BinaryPropertyListReaderTests, WhatAnEqualKeyDisplacesIsStillThereForOthers) {
  // 0: [1, 3, 4, 5]   1: {2: 4, 3: 5}   2, 3: "k"   4: [6]   5: [6]   6: "v"
  const BinaryPropertyList list{{"\xA4\x01\x03\x04\x05", "\xD2\x02\x03\x04\x05", "\x51"s + "k",
                                 "\x61\0k"s, "\xA1\x06", "\xA1\x06", "\x51"s + "v"}};
  const id inner = NSArray::of("v");
  const id expected = NSArray::of(NSDictionary::of({{"k", inner}}), "k", inner, inner);
  for (const NSUInteger options : kEveryOption) {
    EXPECT_TRUE(expected->isEqual(read(list.bytes(), options)));
  }
}

TEST(BinaryPropertyListReaderTests, OnlyTheFirstDigitOfTheVersionMatters) {
  auto bytes = BinaryPropertyList{{"\x09"}}.bytes();
  bytes[7] = '1';
  EXPECT_TRUE(id(true)->isEqual(read(bytes)));
  bytes[6] = '1';
  const auto outcome = testing::readPropertyList(bytes);
  EXPECT_EQ(outcome.value, nullptr);
  EXPECT_EQ(outcome.code, 3841);
  EXPECT_EQ(outcome.problem, "The binary format's version 11 is not known, at byte 6.");
}

struct BadRow {
  const char* reason;
  std::string bytes;
  const char* problem;
};

std::ostream& operator<<(std::ostream& stream, const BadRow& row) { return stream << row.reason; }

class BinaryPropertyListReaderBadInputTests : public ::testing::TestWithParam<BadRow> {};

TEST_P(BinaryPropertyListReaderBadInputTests, IsRefusedWithFaultAndByteWhateverIsMutable) {
  const auto& [reason, bytes, problem] = GetParam();
  for (const NSUInteger options : kEveryOption) {
    const auto outcome = testing::readPropertyList(bytes, options);
    EXPECT_EQ(outcome.problem, problem) << reason;
    EXPECT_EQ(outcome.code, 3840);
  }
}

BadRow badObject(const char* reason, const std::string& object, const char* problem) {
  return {reason, BinaryPropertyList{{object}}.bytes(), problem};
}

INSTANTIATE_TEST_SUITE_P(
    Objects, BinaryPropertyListReaderBadInputTests,
    ::testing::Values(
        badObject("null", "\0"s, "Nothing is no value of a property list, at byte 8."),
        badObject("a filling byte", "\x0F", "Nothing is no value of a property list, at byte 8."),
        badObject("an unknown kind", "\x71z", "An object is of an unknown kind, at byte 8."),
        badObject("another unknown kind", "\xF0", "An object is of an unknown kind, at byte 8."),
        badObject("a set", "\xC0", "A set is no value of a property list, at byte 8."),
        badObject("an integer without its bytes", "\x13\x01",
                  "An object claims more bytes than there are, at byte 8."),
        badObject("an integer of 32 bytes", "\x15" + std::string(32, '\0'),
                  "An integer takes more than 16 bytes, at byte 8."),
        badObject("an integer of 2^15 bytes", "\x1F",
                  "An object claims more bytes than there are, at byte 8."),
        badObject("an integer above 64 bits", "\x14\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\0\0"s,
                  "An integer needs more than 64 bits, at byte 8."),
        badObject("an integer below 64 bits",
                  "\x14" + std::string(8, '\xFF') + std::string(8, '\0'),
                  "An integer needs more than 64 bits, at byte 8."),
        badObject("a real number of 2 bytes", "\x21\0\0"s,
                  "A real number takes neither 4 nor 8 bytes, at byte 8."),
        badObject("a real number of 16 bytes", "\x24" + std::string(16, '\0'),
                  "A real number takes neither 4 nor 8 bytes, at byte 8."),
        badObject("a date of 4 bytes", "\x32\0\0\0\0"s, "A date is no moment, at byte 8."),
        badObject("an infinite date", "\x33\x7F\xF0\0\0\0\0\0\0"s,
                  "A date is no moment, at byte 8."),
        badObject("a date that is no number", "\x33\x7F\xF8\0\0\0\0\0\0"s,
                  "A date is no moment, at byte 8."),
        badObject("data without its bytes", "\x42\x01",
                  "An object claims more bytes than there are, at byte 8."),
        badObject("data of 2^63 bytes", "\x4F\x13\x80\0\0\0\0\0\0\0"s,
                  "An object claims more bytes than there are, at byte 8."),
        badObject("text of 2^64-1 units", "\x6F\x13" + std::string(8, '\xFF'),
                  "An object claims more bytes than there are, at byte 8."),
        badObject("text of 2^63 units, which would be 0 bytes in 64 bits",
                  "\x6F\x13\x80\0\0\0\0\0\0\0"s,
                  "An object claims more bytes than there are, at byte 8."),
        badObject("an array of 2^61 references", "\xAF\x13\x20\0\0\0\0\0\0\0"s,
                  "An object claims more bytes than there are, at byte 8."),
        badObject("a dictionary of 2^63 keys", "\xDF\x13\x80\0\0\0\0\0\0\0"s,
                  "An object claims more bytes than there are, at byte 8."),
        badObject("no count", "\x5F", "The count of an object is missing, at byte 8."),
        badObject("half a count", "\x5F\x11\x01", "The count of an object is missing, at byte 8."),
        badObject("a count that is no integer", "\x5F\x23" + std::string(8, '\0'),
                  "The count of an object is missing, at byte 8."),
        badObject("a count of 16 bytes", "\x5F\x14" + std::string(16, '\0'),
                  "The count of an object is missing, at byte 8."),
        badObject("no ASCII", "\x51\x80", "A text in ASCII holds other bytes, at byte 8."),
        badObject("half a unit", "\x61z", "An object claims more bytes than there are, at byte 8."),
        badObject("a UID of 9 bytes", "\x88" + std::string(9, '\0'),
                  "A UID needs more than 64 bits, at byte 8."),
        badObject("a reference to no object", "\xA1\x01", "There is no object 1, at byte 9."),
        badObject("a key that is no object", "\xD1\x07\x01", "There is no object 7, at byte 9."),
        badObject("a key that is no string", "\xD1\0\0"s, "A key is no string, at byte 9."),
        badObject("an array in itself", "\xA1\0"s, "A container holds itself, at byte 9."),
        BadRow{"a dictionary in an array in itself",
               BinaryPropertyList{{"\xD1\x01\x02", "\x50", "\xA2\x01\0"s}}.bytes(),
               "A container holds itself, at byte 14."}));

/// A good list, one field of whose trailer is something else.
BadRow badTrailer(const char* reason, std::size_t field, std::uint64_t value, const char* problem) {
  auto bytes = BinaryPropertyList{{"\x09"}}.bytes();
  const std::size_t size = field < 8 ? 1 : 8;
  bytes.replace(bytes.size() - 32 + field, size, testing::bytesOfNumber(value, size));
  return {reason, bytes, problem};
}

constexpr const char* kBadSizes = "Offsets or references take not 1 to 8 bytes, at byte 16.";
constexpr const char* kBadTable = "The offset table does not fit into the data, at byte 18.";

INSTANTIATE_TEST_SUITE_P(
    Trailers, BinaryPropertyListReaderBadInputTests,
    ::testing::Values(
        BadRow{"the magic alone", "bplist", "The data ends before its trailer, at byte 6."},
        BadRow{"half a version", "bplist1", "The data ends before its trailer, at byte 7."},
        BadRow{"the header alone", "bplist00", "The data ends before its trailer, at byte 8."},
        BadRow{"a trailer of zeros", "bplist00" + std::string(32, '\0'),
               "Offsets or references take not 1 to 8 bytes, at byte 14."},
        badTrailer("offsets of no bytes", 6, 0, kBadSizes),
        badTrailer("offsets of nine bytes", 6, 9, kBadSizes),
        badTrailer("references of no bytes", 7, 0, kBadSizes),
        badTrailer("references of 255 bytes", 7, 255, kBadSizes),
        badTrailer("two objects with one offset", 8, 2, kBadTable),
        badTrailer("2^64-1 objects", 8, ~std::uint64_t(0), kBadTable),
        badTrailer("the offsets in the header", 24, 7, kBadTable),
        badTrailer("the offsets in the trailer", 24, 11, kBadTable),
        badTrailer("the offsets far away", 24, ~std::uint64_t(0), kBadTable),
        badTrailer("offsets where the objects are", 24, 8,
                   "An offset leads to where no objects are, at byte 8."),
        badTrailer("no objects", 8, 0, "There is no object 0, at byte 26."),
        badTrailer("another top", 16, 1, "There is no object 1, at byte 26."),
        BadRow{"an offset into the header",
               [] {
                 auto bytes = BinaryPropertyList{{"\x09"}}.bytes();
                 bytes[9] = 7;
                 return bytes;
               }(),
               "An offset leads to where no objects are, at byte 9."},
        BadRow{"an offset into the offsets",
               [] {
                 auto bytes = BinaryPropertyList{{"\x09"}}.bytes();
                 bytes[9] = 9;
                 return bytes;
               }(),
               "An offset leads to where no objects are, at byte 9."}));

/// Arrays of which each holds the next one, the innermost nothing.
std::string nested(std::size_t depth) {
  BinaryPropertyList list;
  list.referenceSize = list.offsetSize = 4;
  for (std::size_t level = 1; level < depth; ++level) {
    list.objects.push_back("\xA1" + testing::bytesOfNumber(level, 4));
  }
  list.objects.push_back("\xA0");
  return list.bytes();
}

TEST(BinaryPropertyListReaderTests, ContainersNestTo512) {
  for (const NSUInteger options : kEveryOption) {
    EXPECT_EQ(problemOf(nested(512), options), "");
    EXPECT_EQ(problemOf(nested(513), options), "Containers nest more than 512 deep, at byte 2568.");
    EXPECT_EQ(problemOf(nested(100000), options),
              "Containers nest more than 512 deep, at byte 2568.");
  }
}

/// As above, but that the array at the top refers to the middle one first.
std::string nestedFromTheMiddle(std::size_t depth) {
  BinaryPropertyList list;
  list.referenceSize = list.offsetSize = 4;
  list.objects.push_back("\xA2" + testing::bytesOfNumber(depth / 2, 4) +
                         testing::bytesOfNumber(1, 4));
  for (std::size_t level = 2; level < depth; ++level) {
    list.objects.push_back("\xA1" + testing::bytesOfNumber(level, 4));
  }
  list.objects.push_back("\xA0");
  return list.bytes();
}

TEST(BinaryPropertyListReaderTests, WhatIsKnownAlreadyCountsWithItsDepth) {
  for (const NSUInteger options : kEveryOption) {
    EXPECT_EQ(problemOf(nestedFromTheMiddle(512), options), "");
    const std::string problem = problemOf(nestedFromTheMiddle(513), options);
    EXPECT_NE(problem.find("Containers nest more than 512 deep"), std::string::npos) << problem;
  }
}

TEST(BinaryPropertyListReaderTests, WhatIsSharedIsOneObjectUnlessItIsMutable) {
  const BinaryPropertyList list{{"\xA4\x01\x01\x02\x02", "\xA1\x02", "\x51"s + "s"}};
  const auto isShared = [&](NSUInteger options, NSUInteger first) {
    const auto array = cast<NSArray>(read(list.bytes(), options));
    return array->objectAtIndex(first) == array->objectAtIndex(first + 1);
  };
  EXPECT_TRUE(isShared(0, 0) && isShared(0, 2));
  EXPECT_TRUE(!isShared(1, 0) && isShared(1, 2));
  EXPECT_TRUE(!isShared(2, 0) && !isShared(2, 2));
}

/// Arrays of which each holds the next one twice: 2^levels ways lead to the innermost one.
std::string bomb(std::size_t levels) {
  BinaryPropertyList list;
  for (std::size_t level = 1; level < levels; ++level) {
    const auto next = static_cast<char>(level);
    list.objects.push_back({'\xA2', next, next});
  }
  list.objects.push_back("\xA0");
  return list.bytes();
}

TEST(BinaryPropertyListReaderTests, ListsThatUnfoldWithoutEndAreRefusedWhateverIsMutable) {
  for (const NSUInteger options : kEveryOption) {
    EXPECT_EQ(problemOf(bomb(16), options), "");
    for (const std::size_t levels : {18, 24, 40, 60}) {
      const std::string problem = problemOf(bomb(levels), options);
      EXPECT_NE(problem.find("The list unfolds to more than "), std::string::npos) << problem;
    }
  }
}

/// So many offsets lead to one array of so many references.
TEST(BinaryPropertyListReaderTests, ObjectsOnTheSameBytesAreCountedOneByOne) {
  constexpr std::size_t kCount = 2000;
  BinaryPropertyList list;
  list.offsetSize = list.referenceSize = 2;
  std::string top = "\xAF\x11" + testing::bytesOfNumber(kCount, 2);
  std::string wide = top;
  for (std::size_t number = 0; number < kCount; ++number) {
    top += testing::bytesOfNumber(number + 1, 2);
    wide += testing::bytesOfNumber(kCount + 1, 2);
  }
  list.objects.assign(kCount + 2, "");
  list.objects[0] = top;
  list.objects[kCount] = wide;
  list.objects[kCount + 1] = "\x09";
  for (const NSUInteger options : kEveryOption) {
    const std::string problem = problemOf(list.bytes(), options);
    EXPECT_NE(problem.find("The list unfolds to more than "), std::string::npos) << problem;
  }
}

/// 100 KB that are referred to 60,000 times would be 6 GB of texts that can be changed.
TEST(BinaryPropertyListReaderTests, MutableTextsThatUnfoldWithoutEndAreRefused) {
  const std::string text =
      "\x5F\x12" + testing::bytesOfNumber(100000, 4) + std::string(100000, 'x');
  const std::string references(60000, '\x01');
  const BinaryPropertyList list{
      {"\xAF\x11" + testing::bytesOfNumber(references.size(), 2) + references, text}, 0, 4};
  EXPECT_EQ(problemOf(list.bytes(), NSPropertyListImmutable), "");
  EXPECT_EQ(problemOf(list.bytes(), NSPropertyListMutableContainers), "");
  const auto problem = problemOf(list.bytes(), NSPropertyListMutableContainersAndLeaves);
  EXPECT_NE(problem.find("The texts and data unfold to more than "), std::string::npos) << problem;
}

std::string everyKind() {
  return testing::textOfData(
      testing::writePropertyList(testing::everyKindOfValue(), NSPropertyListBinaryFormat_v1_0)
          .value);
}

TEST(BinaryPropertyListReaderTests, NothingIsReadFromAListThatIsCutOff) {
  const std::string whole = everyKind();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_NE(problemOf(whole.substr(0, length)), "") << length;
  }
  EXPECT_TRUE(testing::everyKindOfValue()->isEqual(read(whole)));
}

TEST(BinaryPropertyListReaderTests, AnyByteMayBeAnyOther) {
  const auto list = NSDictionary::of({{"a", NSArray::of(1, -1, 2.5, true, "a", "ä")},
                                      {"b", testing::dataOf({1, 2})},
                                      {"c", NSDate::dateWithTimeIntervalSinceReferenceDate(1)},
                                      {"d", NSDictionary::of({{"CF$UID", 1}})}});
  const std::string whole =
      testing::textOfData(testing::writePropertyList(list, NSPropertyListBinaryFormat_v1_0).value);
  std::size_t readable = 0;
  for (std::size_t index = 0; index < whole.size(); ++index) {
    std::string bytes = whole;
    for (int value = 0; value < 256; ++value) {
      bytes[index] = static_cast<char>(value);
      for (const NSUInteger options : kEveryOption) {
        readable += read(bytes, options) != nullptr;
      }
    }
  }
  EXPECT_GT(readable, whole.size() * 3);
}

TEST(BinaryPropertyListReaderTests, EveryByteOfALargerListMayBeTurned) {
  const std::string whole = everyKind();
  for (std::size_t index = 0; index < whole.size(); ++index) {
    for (const int bits : {0x01, 0x80, 0xFF}) {
      std::string bytes = whole;
      bytes[index] = static_cast<char>(bytes[index] ^ bits);
      const auto outcome = testing::readPropertyList(bytes, NSPropertyListMutableContainers);
      EXPECT_EQ(outcome.value == nullptr, !outcome.problem.empty());
    }
  }
}

}  // namespace
}  // namespace kestova
