// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "PropertyLists.h"
#include "RandomRun.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace kestova {
namespace {

using testing::dataOfText;
using testing::everyKindOfValue;
using testing::kPropertyListFormats;
using testing::textOfData;

id read(std::string_view bytes, NSUInteger options = NSPropertyListImmutable) {
  return testing::readPropertyList(bytes, options).value;
}

TEST(NSPropertyListSerializationTests, TellsTheFormatOfWhatItRead) {
  auto format = NSPropertyListBinaryFormat_v1_0;
  const auto answer = NSPropertyListSerialization::propertyListWithData_options_format_error(
      dataOfText("<plist><true/></plist>"), NSPropertyListImmutable, &format);
  EXPECT_TRUE(answer->isEqual(true));
  EXPECT_EQ(format, 100U);
}

TEST(NSPropertyListSerializationTests, LeavesTheFormatAloneWhenNothingIsRead) {
  auto format = NSPropertyListBinaryFormat_v1_0;
  EXPECT_EQ(NSPropertyListSerialization::propertyListWithData_options_format_error(
                dataOfText("<plist>"), NSPropertyListImmutable, &format),
            nullptr);
  EXPECT_EQ(format, NSPropertyListBinaryFormat_v1_0);
}

TEST(NSPropertyListSerializationTests, NoDataIsAFaultThatNeedsNobodyToTell) {
  Ref<NSError> error;
  EXPECT_EQ(NSPropertyListSerialization::propertyListWithData_options_format_error(
                nullptr, NSPropertyListImmutable, nullptr, &error),
            nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), 3840);
  EXPECT_EQ(NSPropertyListSerialization::propertyListWithData_options_format_error(
                nullptr, NSPropertyListImmutable),
            nullptr);
}

TEST(NSPropertyListSerializationTests, IsKnownByNameButCantBeMade) {
  const Class* described = NSClassFromString("NSPropertyListSerialization");
  ASSERT_NE(described, nullptr);
  EXPECT_EQ(described->make(), nullptr);
}

struct Mutability {
  bool dictionary, array, string, data, key;

  friend bool operator==(const Mutability&, const Mutability&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Mutability& m) {
    return stream << m.dictionary << m.array << m.string << m.data << m.key;
  }
};

Mutability mutabilityOf(const Ref<NSDictionary>& dictionary) {
  const auto array = cast<NSArray>(dictionary->objectForKey("k"));
  return {cast<NSMutableDictionary>(dictionary) != nullptr, cast<NSMutableArray>(array) != nullptr,
          cast<NSMutableString>(array->objectAtIndex(0)) != nullptr,
          cast<NSMutableData>(array->objectAtIndex(1)) != nullptr,
          cast<NSMutableString>(dictionary->allKeys()->firstObject()) != nullptr};
}

TEST(NSPropertyListSerializationTests, MakesMutableWhatIsAskedForAtEveryLevel) {
  const auto inner = NSDictionary::of({{"k", NSArray::of("s", testing::dataOf({0}))}});
  const auto outer = NSDictionary::of({{"k", NSArray::of("s", testing::dataOf({0}), inner)}});
  const Mutability rows[] = {{false, false, false, false, false},
                             {true, true, false, false, false},
                             {true, true, true, true, false}};
  for (const auto format : kPropertyListFormats) {
    const auto bytes = textOfData(testing::writePropertyList(outer, format).value);
    for (const NSUInteger options : {0, 1, 2}) {
      const auto dictionary = cast<NSDictionary>(read(bytes, options));
      ASSERT_NE(dictionary, nullptr);
      EXPECT_EQ(mutabilityOf(dictionary), rows[options]) << format;
      const auto array = cast<NSArray>(dictionary->objectForKey("k"));
      EXPECT_EQ(mutabilityOf(cast<NSDictionary>(array->lastObject())), rows[options]) << format;
    }
  }
}

TEST(NSPropertyListSerializationTests, EveryKindOfValueComesBackAsItWasInBothFormats) {
  const auto list = everyKindOfValue();
  for (const auto format : kPropertyListFormats) {
    const auto written = testing::writePropertyList(list, format);
    ASSERT_EQ(written.problem, "");
    NSPropertyListFormat found{};
    const auto same = NSPropertyListSerialization::propertyListWithData_options_format_error(
        written.value, NSPropertyListImmutable, &found);
    EXPECT_EQ(found, format);
    EXPECT_TRUE(list->isEqual(same)) << same;
    EXPECT_TRUE(written.value->isEqual(testing::writePropertyList(same, format).value)) << format;
  }
}

/// The type of every number is kept, which equality does not tell.
TEST(NSPropertyListSerializationTests, TheKindsOfNumbersStayApartInBothFormats) {
  const auto list = NSArray::of(1, 1.0, true, 0, 0.0, false, 18446744073709551615U, -1);
  for (const auto format : kPropertyListFormats) {
    const auto bytes = textOfData(testing::writePropertyList(list, format).value);
    std::string kinds;
    for (const id& number : cast<NSArray>(read(bytes))) {
      kinds += cast<NSNumber>(number)->objCType();
    }
    EXPECT_EQ(kinds, "qdBqdBQq") << format;
  }
}

TEST(NSPropertyListSerializationTests, AnyValueMayStandAtTheTop) {
  const id values[] = {"text",
                       1,
                       2.5,
                       true,
                       NSArray::array(),
                       NSDictionary::dictionary(),
                       NSDate::dateWithTimeIntervalSinceReferenceDate(0),
                       testing::dataOf({1})};
  for (const auto format : kPropertyListFormats) {
    for (const id& value : values) {
      const auto bytes = textOfData(testing::writePropertyList(value, format).value);
      EXPECT_TRUE(value->isEqual(read(bytes))) << value << " in " << format;
    }
  }
}

TEST(NSPropertyListSerializationTests, FloatsKeepTheirValueInBothFormats) {
  for (const auto format : kPropertyListFormats) {
    const auto bytes = textOfData(testing::writePropertyList(0.1F, format).value);
    EXPECT_TRUE(id(0.1F)->isEqual(read(bytes))) << format;
  }
}

TEST(NSPropertyListSerializationTests, TheOlderFormsTellADescription) {
  using PropertyLists = NSPropertyListSerialization;
  Ref<NSString> description;
  const auto data = PropertyLists::dataFromPropertyList_format_errorDescription(
      NSArray::of(1), NSPropertyListBinaryFormat_v1_0, &description);
  ASSERT_NE(data, nullptr);
  NSPropertyListFormat format{};
  const id same = PropertyLists::propertyListFromData_mutabilityOption_format_errorDescription(
      data, NSPropertyListMutableContainers, &format, &description);
  EXPECT_NE(cast<NSMutableArray>(same), nullptr);
  EXPECT_EQ(format, 200U);
  EXPECT_EQ(description, nullptr);

  EXPECT_EQ(PropertyLists::dataFromPropertyList_format_errorDescription(
                NSNull::null(), NSPropertyListXMLFormat_v1_0, &description),
            nullptr);
  EXPECT_EQ(description, "A value of class NSNull is no property list, at the top.");
  EXPECT_EQ(PropertyLists::propertyListFromData_mutabilityOption_format_errorDescription(
                dataOfText("bplist00"), NSPropertyListImmutable, nullptr, &description),
            nullptr);
  EXPECT_EQ(description, "The data ends before its trailer, at byte 8.");
  EXPECT_EQ(
      PropertyLists::propertyListFromData_mutabilityOption_format_errorDescription(nullptr, 0),
      nullptr);
  EXPECT_EQ(PropertyLists::dataFromPropertyList_format_errorDescription(
                nullptr, NSPropertyListBinaryFormat_v1_0),
            nullptr);
}

/// Random lists of every kind of value, and what writing and reading makes of them.
class RandomList {
 public:
  id value(std::size_t depth) {
    const auto kind = random_.below(depth == 0 ? 7 : 9);
    switch (kind) {
      case 0:
        return random_.below(2) == 0;
      case 1:
        return static_cast<std::int64_t>(bits());
      case 2:
        return bits();
      case 3:
        return static_cast<double>(bits()) / 3;
      case 4:
        return NSDate::dateWithTimeIntervalSinceReferenceDate(
            static_cast<double>(random_.below(std::uint64_t(1) << 37)));
      case 5:
        return dataOfText(text());
      case 6:
        return string();
      case 7:
        return array(depth - 1);
      default:
        return dictionary(depth - 1);
    }
  }

 private:
  std::uint64_t bits() { return random_.below(~std::uint64_t(0)) >> random_.below(64); }

  std::string text() {
    return std::string(random_.below(40), static_cast<char>('a' + random_.below(26)));
  }

  id string() { return random_.below(3) == 0 ? text() + "äöü😀" : text(); }

  id array(std::size_t depth) {
    const auto array = NSMutableArray::array();
    for (auto count = random_.below(20); count > 0; --count) {
      array->addObject(value(depth));
    }
    return array;
  }

  id dictionary(std::size_t depth) {
    const auto dictionary = NSMutableDictionary::dictionary();
    for (auto count = random_.below(20); count > 0; --count) {
      dictionary->setObject_forKey(value(depth), string());
    }
    return dictionary;
  }

  testing::RandomRun random_;
};

TEST(NSPropertyListSerializationTests, RandomListsComeBackAsTheyWereInBothFormats) {
  RandomList random;
  for (int turn = 0; turn < 60; ++turn) {
    const id list = random.value(3);
    for (const auto format : kPropertyListFormats) {
      const auto bytes = textOfData(testing::writePropertyList(list, format).value);
      for (const NSUInteger options : {0, 1, 2}) {
        ASSERT_TRUE(list->isEqual(read(bytes, options))) << format;
      }
    }
  }
}

}  // namespace
}  // namespace kestova
