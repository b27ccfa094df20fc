// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "XMLPropertyLists.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace kestova {
namespace {

using testing::document;
using testing::kWholeDocument;
using testing::readXML;
using testing::repeated;

/// What is at the top of a document with that value, or nothing.
id readValue(std::string_view value) { return readXML(document(value)).value; }

Ref<NSDictionary> contentsOfWholeDocument() {
  return NSDictionary::of({{"Name", "Grüße & 😀 <<b>"},
                           {"Sizes", NSArray::of(1, 2.5)},
                           {"Shown", true},
                           {"Hidden", false},
                           {"Made", NSDate::dateWithTimeIntervalSinceReferenceDate(5)},
                           {"Bytes", testing::dataOf({1, 2, 3, 255})},
                           {"Nothing", NSDictionary::dictionary()}});
}

TEST(XMLPropertyListReaderTests, ReadsEveryKindOfValue) {
  const auto [value, problem, code] = readXML(kWholeDocument);
  EXPECT_EQ(problem, "");
  EXPECT_TRUE(contentsOfWholeDocument()->isEqual(value)) << value;
}

struct NumberRow {
  const char* text;
  id number;
};

TEST(XMLPropertyListReaderTests, ReadsWholeNumbersOf64Bits) {
  const NumberRow rows[] = {
      {"0", 0},
      {"-0", 0},
      {"+7", 7},
      {" \n 42\t", 42},
      {"007", 7},
      {"0x1F", 31},
      {"-0X1f", -31},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"9223372036854775808", 9223372036854775808U},
      {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()},
      {"0xFFFFFFFFFFFFFFFF", std::numeric_limits<std::uint64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      {"-0x8000000000000000", std::numeric_limits<std::int64_t>::min()},
  };
  for (const auto& [text, number] : rows) {
    const id value = readValue("<integer>" + std::string(text) + "</integer>");
    EXPECT_TRUE(number->isEqual(value)) << text << " is " << value;
  }
}

TEST(XMLPropertyListReaderTests, KeepsTheKindOfANumber) {
  const auto kindOf = [](std::string_view value) {
    return std::string(cast<NSNumber>(readValue(value))->objCType());
  };
  EXPECT_EQ(kindOf("<integer>1</integer>"), "q");
  EXPECT_EQ(kindOf("<integer>18446744073709551615</integer>"), "Q");
  EXPECT_EQ(kindOf("<real>1</real>"), "d");
  EXPECT_EQ(kindOf("<true/>"), "B");
}

TEST(XMLPropertyListReaderTests, ReadsRealNumbersInEveryLocale) {
  const NumberRow rows[] = {
      {"1", 1.0},        {"-2.5", -2.5},           {"+.5", 0.5},
      {"1e3", 1000.0},   {" 6.02E+23 ", 6.02e23},  {"0.1", 0.1},
      {"inf", HUGE_VAL}, {"-infinity", -HUGE_VAL}, {"nan", std::nan("")},
  };
  for (const auto& [text, number] : rows) {
    const id value = readValue("<real>" + std::string(text) + "</real>");
    EXPECT_TRUE(number->isEqual(value)) << text << " is " << value;
  }
}

TEST(XMLPropertyListReaderTests, ReadsDatesInUTC) {
  struct Row {
    const char* text;
    NSTimeInterval seconds;
  };
  for (const auto& [text, seconds] : {
           Row{"2001-01-01T00:00:00Z", 0},
           Row{" 2000-12-31T23:59:59Z\n", -1},
           Row{"2004-02-29T12:30:15Z", 99750615},
           Row{"1970-01-01T00:00:00Z", -978307200},
           Row{"0001-01-01T00:00:00Z", -63113904000},
           Row{"9999-12-31T23:59:59Z", 252423993599},
       }) {
    const auto date = cast<NSDate>(readValue("<date>" + std::string(text) + "</date>"));
    ASSERT_NE(date, nullptr) << text;
    EXPECT_EQ(date->timeIntervalSinceReferenceDate(), seconds) << text;
  }
}

TEST(XMLPropertyListReaderTests, ReadsBase64) {
  struct Row {
    const char* text;
    const char* bytes;
  };
  for (const auto& [text, bytes] : {
           Row{"", ""},
           Row{" \n\t", ""},
           Row{"AA==", "00"},
           Row{"AAE=", "00 01"},
           Row{"AAEC", "00 01 02"},
           Row{"A A\nE\tC A w = =", "00 01 02 03"},
           Row{"+/+/", "fb ff bf"},
           Row{"////", "ff ff ff"},
       }) {
    const auto data = cast<NSData>(readValue("<data>" + std::string(text) + "</data>"));
    ASSERT_NE(data, nullptr) << text;
    EXPECT_EQ(testing::hex(data), bytes) << text;
  }
}

TEST(XMLPropertyListReaderTests, KeepsTheWhiteSpaceOfStringsAndKeys) {
  EXPECT_TRUE(readValue("<string> a\r\n\tb </string>")->isEqual(" a\n\tb "));
  EXPECT_TRUE(readValue("<string/>")->isEqual(""));
  const auto dictionary = cast<NSDictionary>(readValue("<dict><key> k </key><true/></dict>"));
  EXPECT_NE(dictionary->objectForKey(" k "), nullptr);
}

TEST(XMLPropertyListReaderTests, TheLastOfEqualKeysCounts) {
  const id value = readValue(
      "<dict><key>a</key><integer>1</integer>"
      "<key>a</key><integer>2</integer></dict>");
  EXPECT_TRUE(NSDictionary::of({{"a", 2}})->isEqual(value)) << value;
}

std::string utf16(std::u16string_view text, bool littleEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += littleEndian ? low : high;
    bytes += littleEndian ? high : low;
  }
  return bytes;
}

TEST(XMLPropertyListReaderTests, ReadsTheEncodingsOfXML) {
  const std::u16string_view text =
      u"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>ä€😀</string></plist>";
  const std::string_view utf8 = "\xEF\xBB\xBF<plist><string>ä€😀</string></plist>";
  EXPECT_TRUE(Ref<NSString>("ä€😀")->isEqual(readXML(utf16(text, true)).value));
  EXPECT_TRUE(Ref<NSString>("ä€😀")->isEqual(readXML(utf16(text, false)).value));
  EXPECT_TRUE(Ref<NSString>("ä€😀")->isEqual(readXML(utf8).value));
  EXPECT_TRUE(Ref<NSString>("ä")->isEqual(
      readXML("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><string>\xE4</string></plist>")
          .value));
}

TEST(XMLPropertyListReaderTests, ReadsTextsLargerThanThePiecesItIsParsedIn) {
  const std::string text = repeated("0123456789 äöü&amp;", 2000000);
  const auto string = cast<NSString>(readValue("<string>" + text + "</string>"));
  ASSERT_NE(string, nullptr);
  EXPECT_EQ(string->length(), 2000000U * 15);
  EXPECT_TRUE(string->hasSuffix("789 äöü&"));
}

}  // namespace
}  // namespace kestova
