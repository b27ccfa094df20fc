// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSValue.h>
#include <gtest/gtest.h>

#include "PropertyLists.h"
#include "RandomRun.h"

#include <cmath>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

namespace kestova {
namespace {

using testing::dataOfText;
using testing::everyKindOfValue;
using testing::textOfData;

constexpr NSPropertyListFormat kFormats[] = {NSPropertyListXMLFormat_v1_0,
                                             NSPropertyListBinaryFormat_v1_0};

/// The value at the top, or nothing; the description of the error, or "".
testing::PropertyListOutcome<id> read(std::string_view text,
                                      NSUInteger options = NSPropertyListImmutable) {
  auto outcome = testing::readPropertyList(text, options);
  EXPECT_EQ(outcome.code, outcome.value ? 0 : 3840);
  return outcome;
}

std::string document(std::string_view value) {
  return "<plist version=\"1.0\">" + std::string(value) + "</plist>";
}

id readValue(std::string_view value, NSUInteger options = NSPropertyListImmutable) {
  return read(document(value), options).value;
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (; count > 0; --count) {
    result += text;
  }
  return result;
}

std::string nested(std::size_t depth) {
  return document(repeated("<array>", depth) + repeated("</array>", depth));
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

constexpr std::string_view kWholeDocument =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "http://example.org/PropertyList-1.0.dtd">
<plist version="1.0">
<!-- settings -->
<dict>
  <key>Name</key>     <string>Grüße &amp; &#x1F600; &lt;<![CDATA[<b>]]></string>
  <key>Sizes</key>    <array><integer>1</integer><real>2.5</real></array>
  <key>Shown</key>    <true/>
  <key>Hidden</key>   <false></false>
  <key>Made</key>     <date>2001-01-01T00:00:05Z</date>
  <key>Bytes</key>    <data>
    AQID
    /w==
  </data>
  <key>Nothing</key>  <dict/>
</dict>
</plist>
)";

Ref<NSDictionary> contentsOfWholeDocument() {
  return NSDictionary::of({{"Name", "Grüße & 😀 <<b>"},
                           {"Sizes", NSArray::of(1, 2.5)},
                           {"Shown", true},
                           {"Hidden", false},
                           {"Made", NSDate::dateWithTimeIntervalSinceReferenceDate(5)},
                           {"Bytes", testing::dataOf({1, 2, 3, 255})},
                           {"Nothing", NSDictionary::dictionary()}});
}

TEST(NSPropertyListSerializationTests, ReadsEveryKindOfValue) {
  const auto [value, problem, code] = read(kWholeDocument);
  EXPECT_EQ(problem, "");
  EXPECT_TRUE(contentsOfWholeDocument()->isEqual(value)) << value;
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

struct NumberRow {
  const char* text;
  id number;
};

TEST(NSPropertyListSerializationTests, ReadsWholeNumbersOf64Bits) {
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

TEST(NSPropertyListSerializationTests, KeepsTheKindOfANumber) {
  const auto kindOf = [](std::string_view value) {
    return std::string(cast<NSNumber>(readValue(value))->objCType());
  };
  EXPECT_EQ(kindOf("<integer>1</integer>"), "q");
  EXPECT_EQ(kindOf("<integer>18446744073709551615</integer>"), "Q");
  EXPECT_EQ(kindOf("<real>1</real>"), "d");
  EXPECT_EQ(kindOf("<true/>"), "B");
}

TEST(NSPropertyListSerializationTests, ReadsRealNumbersInEveryLocale) {
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

TEST(NSPropertyListSerializationTests, ReadsDatesInUTC) {
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

TEST(NSPropertyListSerializationTests, ReadsBase64) {
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

TEST(NSPropertyListSerializationTests, KeepsTheWhiteSpaceOfStringsAndKeys) {
  EXPECT_TRUE(readValue("<string> a\r\n\tb </string>")->isEqual(" a\n\tb "));
  EXPECT_TRUE(readValue("<string/>")->isEqual(""));
  const auto dictionary = cast<NSDictionary>(readValue("<dict><key> k </key><true/></dict>"));
  EXPECT_NE(dictionary->objectForKey(" k "), nullptr);
}

TEST(NSPropertyListSerializationTests, TheLastOfEqualKeysCounts) {
  const id value = readValue(
      "<dict><key>a</key><integer>1</integer>"
      "<key>a</key><integer>2</integer></dict>");
  EXPECT_TRUE(NSDictionary::of({{"a", 2}})->isEqual(value)) << value;
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
  for (const auto format : kFormats) {
    const auto bytes = textOfData(testing::writePropertyList(outer, format).value);
    for (const NSUInteger options : {0, 1, 2}) {
      const auto dictionary = cast<NSDictionary>(read(bytes, options).value);
      ASSERT_NE(dictionary, nullptr);
      EXPECT_EQ(mutabilityOf(dictionary), rows[options]) << format;
      const auto array = cast<NSArray>(dictionary->objectForKey("k"));
      EXPECT_EQ(mutabilityOf(cast<NSDictionary>(array->lastObject())), rows[options]) << format;
    }
  }
}

TEST(NSPropertyListSerializationTests, ReadsTheEncodingsOfXML) {
  const std::u16string_view text =
      u"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?><plist><string>ä€😀</string></plist>";
  const std::string_view utf8 = "\xEF\xBB\xBF<plist><string>ä€😀</string></plist>";
  EXPECT_TRUE(Ref<NSString>("ä€😀")->isEqual(read(utf16(text, true)).value));
  EXPECT_TRUE(Ref<NSString>("ä€😀")->isEqual(read(utf16(text, false)).value));
  EXPECT_TRUE(Ref<NSString>("ä€😀")->isEqual(read(utf8).value));
  EXPECT_TRUE(Ref<NSString>("ä")->isEqual(
      read("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><plist><string>\xE4</string></plist>")
          .value));
}

struct BadRow {
  const char* reason;
  std::string text;
  const char* problem;
};

std::ostream& operator<<(std::ostream& stream, const BadRow& row) { return stream << row.reason; }

class NSPropertyListSerializationBadInputTests : public ::testing::TestWithParam<BadRow> {};

TEST_P(NSPropertyListSerializationBadInputTests, IsRefusedWithFaultAndLine) {
  const auto& [reason, text, problem] = GetParam();
  EXPECT_EQ(read(text).problem, problem) << reason;
}

INSTANTIATE_TEST_SUITE_P(
    Structure, NSPropertyListSerializationBadInputTests,
    ::testing::Values(
        BadRow{"nothing at all", "", "The data is in no known property list format, in line 1."},
        BadRow{"white space alone", " \n ",
               "The data is in no known property list format, in line 1."},
        BadRow{"no XML", "{ a = 1; }", "The data is in no known property list format, in line 1."},
        BadRow{"no document element", "<dict/>", "<dict> can't stand here, in line 1."},
        BadRow{"another document", "<html></html>", "<html> can't stand here, in line 1."},
        BadRow{"an empty document", "<plist>\n</plist>", "<plist> is incomplete, in line 2."},
        BadRow{"two values", "<plist>\n<true/>\n<true/></plist>",
               "<true> can't stand here, in line 3."},
        BadRow{"a document in a document", document("<plist/>"),
               "<plist> can't stand here, in line 1."},
        BadRow{"a key at the top", document("<key>k</key>"), "<key> can't stand here, in line 1."},
        BadRow{"a key in an array", document("<array><key>k</key></array>"),
               "<key> can't stand here, in line 1."},
        BadRow{"a key after a key", document("<dict><key>a</key><key>b</key></dict>"),
               "<key> can't stand here, in line 1."},
        BadRow{"a value without a key", document("<dict><true/></dict>"),
               "<true> can't stand here, in line 1."},
        BadRow{"a key without a value", document("<dict>\n<key>a</key>\n</dict>"),
               "<dict> is incomplete, in line 3."},
        BadRow{"an element within text", document("<string>a<true/></string>"),
               "<true> can't stand here, in line 1."},
        BadRow{"an element in capitals", document("<String/>"),
               "<String> can't stand here, in line 1."},
        BadRow{"an unknown element with a long name", document("<" + repeated("x", 1000) + "/>"),
               "<xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx> can't stand here, in line 1."},
        BadRow{"text in an array", document("<array>\n\na</array>"),
               "Text can't stand here, in line 3."},
        BadRow{"text in the document", document("a"), "Text can't stand here, in line 1."}));

constexpr const char* kBadInteger = "What <integer> holds is not valid, in line 1.";
constexpr const char* kBadReal = "What <real> holds is not valid, in line 1.";
constexpr const char* kBadDate = "What <date> holds is not valid, in line 1.";
constexpr const char* kBadData = "What <data> holds is not valid, in line 1.";

INSTANTIATE_TEST_SUITE_P(
    Values, NSPropertyListSerializationBadInputTests,
    ::testing::Values(
        BadRow{"no digits", document("<integer/>"), kBadInteger},
        BadRow{"a sign alone", document("<integer>-</integer>"), kBadInteger},
        BadRow{"two signs", document("<integer>--1</integer>"), kBadInteger},
        BadRow{"a fraction", document("<integer>1.5</integer>"), kBadInteger},
        BadRow{"a second word", document("<integer>1 2</integer>"), kBadInteger},
        BadRow{"a prefix alone", document("<integer>0x</integer>"), kBadInteger},
        BadRow{"a sign behind the prefix", document("<integer>0x-1</integer>"), kBadInteger},
        BadRow{"digits beyond the base", document("<integer>1F</integer>"), kBadInteger},
        BadRow{"above 64 bits", document("<integer>18446744073709551616</integer>"), kBadInteger},
        BadRow{"below 64 bits", document("<integer>-9223372036854775809</integer>"), kBadInteger},
        BadRow{"no number", document("<real>one</real>"), kBadReal},
        BadRow{"nothing for a number", document("<real></real>"), kBadReal},
        BadRow{"two signs of a real", document("<real>+-1</real>"), kBadReal},
        BadRow{"a comma", document("<real>1,5</real>"), kBadReal},
        BadRow{"a real out of range", document("<real>1e999</real>"), kBadReal},
        BadRow{"text for truth", document("<true>no</true>"),
               "What <true> holds is not valid, in line 1."},
        BadRow{"text for falsehood", document("<false>0</false>"),
               "What <false> holds is not valid, in line 1."},
        BadRow{"nothing for a date", document("<date/>"), kBadDate},
        BadRow{"a date without time", document("<date>2001-01-01</date>"), kBadDate},
        BadRow{"a date without zone", document("<date>2001-01-01T00:00:00</date>"), kBadDate},
        BadRow{"another zone", document("<date>2001-01-01T00:00:00+01:00</date>"), kBadDate},
        BadRow{"something behind a date", document("<date>2001-01-01T00:00:00Z.</date>"), kBadDate},
        BadRow{"a month too many", document("<date>2001-13-01T00:00:00Z</date>"), kBadDate},
        BadRow{"a day that the year lacks", document("<date>2001-02-29T00:00:00Z</date>"),
               kBadDate},
        BadRow{"a day 0", document("<date>2001-01-00T00:00:00Z</date>"), kBadDate},
        BadRow{"hour 24", document("<date>2001-01-01T24:00:00Z</date>"), kBadDate},
        BadRow{"minute 60", document("<date>2001-01-01T00:60:00Z</date>"), kBadDate},
        BadRow{"second 60", document("<date>2001-01-01T00:00:60Z</date>"), kBadDate},
        BadRow{"a sign in a date", document("<date>2001-+1-01T00:00:00Z</date>"), kBadDate},
        BadRow{"a short year", document("<date>201-01-01T00:00:00Z</date>"), kBadDate},
        BadRow{"one digit of four", document("<data>A</data>"), kBadData},
        BadRow{"no padding", document("<data>AAE</data>"), kBadData},
        BadRow{"padding alone", document("<data>====</data>"), kBadData},
        BadRow{"three paddings", document("<data>A===</data>"), kBadData},
        BadRow{"padding too much", document("<data>AAEC==</data>"), kBadData},
        BadRow{"digits behind the padding", document("<data>AA==AAEC</data>"), kBadData},
        BadRow{"no Base64", document("<data>AA-_</data>"), kBadData}));

INSTANTIATE_TEST_SUITE_P(
    XML, NSPropertyListSerializationBadInputTests,
    ::testing::Values(
        BadRow{"an end of another element", "<plist>\n<array></dict></plist>",
               "The XML can't be read: mismatched tag, in line 2."},
        BadRow{"a character that XML lacks", document("<string>\x01</string>"),
               "The XML can't be read: not well-formed (invalid token), in line 1."},
        BadRow{"no UTF-8", document("<string>\xC3(</string>"),
               "The XML can't be read: not well-formed (invalid token), in line 1."},
        BadRow{"an unpaired surrogate", document("<string>&#xD800;</string>"),
               "The XML can't be read: reference to invalid character number, in line 1."},
        BadRow{"something behind the document", document("<true/>") + "\n<a/>",
               "The XML can't be read: junk after document element, in line 2."},
        BadRow{"an unknown encoding",
               "<?xml version=\"1.0\" encoding=\"EBCDIC\"?>" + document("<true/>"),
               "The XML can't be read: unknown encoding, in line 1."},
        BadRow{"an unknown entity", document("<string>&other;</string>"),
               "The XML can't be read: undefined entity, in line 1."},
        BadRow{"an entity that a document type elsewhere may declare",
               "<!DOCTYPE plist SYSTEM \"http://example.org/a.dtd\">\n" +
                   document("<string>&other;</string>"),
               "The entity other is not known, in line 2."},
        BadRow{"a declared entity",
               "<!DOCTYPE plist [\n<!ENTITY a \"b\">]>" + document("<string>&a;</string>"),
               "The entity a is declared, in line 2."},
        BadRow{"an entity from a file",
               "<!DOCTYPE plist [\n<!ENTITY a SYSTEM \"file:///etc/passwd\">]>" +
                   document("<string>&a;</string>"),
               "The entity a is declared, in line 2."},
        BadRow{"an entity for declarations",
               "<!DOCTYPE plist [<!ENTITY % a SYSTEM \"file:///etc/passwd\">\n%a;]>" +
                   document("<true/>"),
               "The entity a is declared, in line 1."}));

TEST(NSPropertyListSerializationTests, RefusesEntitiesThatMultiply) {
  std::string bomb = "<!DOCTYPE plist [<!ENTITY a0 \"ha\">";
  for (int level = 1; level <= 30; ++level) {
    const std::string inner = "&a" + std::to_string(level - 1) + ";";
    bomb += "<!ENTITY a" + std::to_string(level) + " \"" + repeated(inner, 10) + "\">";
  }
  bomb += "]>" + document("<string>&a30;</string>");
  EXPECT_EQ(read(bomb).problem, "The entity a0 is declared, in line 1.");
}

TEST(NSPropertyListSerializationTests, ContainersNestTo512) {
  EXPECT_EQ(read(nested(512)).problem, "");
  EXPECT_EQ(read(nested(513)).problem, "Containers nest more than 512 deep, in line 1.");
  EXPECT_EQ(
      read(document(repeated("<array>", 512) + "<true/>" + repeated("</array>", 512))).problem, "");
  EXPECT_EQ(read(document(repeated("<dict><key/>", 1000000))).problem,
            "Containers nest more than 512 deep, in line 1.");
}

TEST(NSPropertyListSerializationTests, NothingIsReadFromADocumentThatIsCutOff) {
  const auto end = kWholeDocument.find("</plist>") + std::string_view("</plist>").size();
  for (std::size_t length = 0; length < end; ++length) {
    const auto [value, problem, code] = read(kWholeDocument.substr(0, length));
    EXPECT_EQ(value, nullptr) << length;
    EXPECT_NE(problem.find(", in line "), std::string::npos) << length << ": " << problem;
  }
  EXPECT_NE(read(kWholeDocument.substr(0, end)).value, nullptr);
}

TEST(NSPropertyListSerializationTests, AnyByteMayBeWrong) {
  for (std::size_t index = 0; index < kWholeDocument.size(); ++index) {
    for (const char wrong : {'\0', '<', '&', '\x80', '\xFF'}) {
      std::string text(kWholeDocument);
      text[index] = wrong;
      read(text);
    }
  }
}

TEST(NSPropertyListSerializationTests, ReadsTextsLargerThanThePiecesItIsParsedIn) {
  const std::string text = repeated("0123456789 äöü&amp;", 2000000);
  const auto string = cast<NSString>(readValue("<string>" + text + "</string>"));
  ASSERT_NE(string, nullptr);
  EXPECT_EQ(string->length(), 2000000U * 15);
  EXPECT_TRUE(string->hasSuffix("789 äöü&"));
}

TEST(NSPropertyListSerializationTests, EveryKindOfValueComesBackAsItWasInBothFormats) {
  const auto list = everyKindOfValue();
  for (const auto format : kFormats) {
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

/// Collections that hold nothing, and make their members whenever they are asked for them.
class MadeArray final : public NSArray {
 public:
  NSUInteger count() const override { return 20; }
  id objectAtIndex(NSUInteger index) const override {
    return NSString::stringWithFormat("member %lu of an array", index);
  }
};

class MadeDictionary final : public NSDictionary {
 public:
  NSUInteger count() const override { return 50; }
  id objectForKey(const id& key) const override {
    const auto text = cast<NSString>(key);
    const bool isLeaf = text->hasSuffix("0");
    return isLeaf ? id(text->stringByAppendingString("'s value")) : id(make<MadeArray>());
  }
  Ref<NSEnumerator> keyEnumerator() const override {
    class Keys final : public NSEnumerator {
     public:
      id nextObject() override {
        return next_ < 50 ? NSString::stringWithFormat("key %d", next_++) : nullptr;
      }

     private:
      int next_ = 0;
    };
    return make<Keys>();
  }
};

TEST(NSPropertyListSerializationTests, WhatCollectionsMakeWhenTheyAreAskedIsWrittenAsWhatTheyHold) {
  const auto made = make<MadeDictionary>();
  const auto held = NSMutableDictionary::dictionary();
  for (const id& key : made) {
    const id value = made->objectForKey(key);
    const auto array = cast<NSArray>(value);
    held->setObject_forKey(array ? NSMutableArray::arrayWithArray(array) : value, key);
  }
  for (const auto format : kFormats) {
    const auto written = testing::writePropertyList(made, format);
    EXPECT_EQ(written.problem, "");
    EXPECT_EQ(textOfData(written.value),
              textOfData(testing::writePropertyList(held, format).value));
  }
}

/// The type of every number is kept, which equality does not tell.
TEST(NSPropertyListSerializationTests, TheKindsOfNumbersStayApartInBothFormats) {
  const auto list = NSArray::of(1, 1.0, true, 0, 0.0, false, 18446744073709551615U, -1);
  for (const auto format : kFormats) {
    const auto bytes = textOfData(testing::writePropertyList(list, format).value);
    std::string kinds;
    for (const id& number : cast<NSArray>(read(bytes).value)) {
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
  for (const auto format : kFormats) {
    for (const id& value : values) {
      const auto bytes = textOfData(testing::writePropertyList(value, format).value);
      EXPECT_TRUE(value->isEqual(read(bytes).value)) << value << " in " << format;
    }
  }
}

TEST(NSPropertyListSerializationTests, FloatsKeepTheirValueInBothFormats) {
  for (const auto format : kFormats) {
    const auto bytes = textOfData(testing::writePropertyList(0.1F, format).value);
    EXPECT_TRUE(id(0.1F)->isEqual(read(bytes).value)) << format;
  }
}

/// An object of no property list and how it is told.
struct UnwritableRow {
  id list;
  const char* problem;
};

class Unlisted : public NSObject {
  KESTOVA_CLASS(Unlisted, NSObject)
};
KESTOVA_DEFINE_CLASS(Unlisted)

TEST(NSPropertyListSerializationTests, WhatIsNoPropertyListIsRefusedWithClassAndPlace) {
  const auto unlisted = make<Unlisted>();
  id deep = NSSet::set();
  for (int level = 0; level < 10; ++level) {
    deep = NSArray::of(deep);
  }
  const UnwritableRow rows[] = {
      {nullptr, "A value of class null is no property list, at the top."},
      {unlisted, "A value of class Unlisted is no property list, at the top."},
      {NSNull::null(), "A value of class NSNull is no property list, at the top."},
      {NSArray::of(1, NSSet::set()), "A value of class NSSet is no property list, at [1]."},
      {NSDictionary::of({{"a", NSArray::of("x", NSDictionary::of({{"b c", unlisted}}))}}),
       "A value of class Unlisted is no property list, at [\"a\"][1][\"b c\"]."},
      {NSDictionary::of({{std::string(100, 'k'), unlisted}}),
       "A value of class Unlisted is no property list, at "
       "[\"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk\"]."},
      {deep, "A value of class NSSet is no property list, at [0][0][0][0][0][0][0][0]…."},
      {NSDictionary::of({{1, "one"}}), "A key of class NSNumber is no string, at the top."},
      {NSArray::of(NSDictionary::of({{NSNull::null(), 1}})),
       "A key of class NSNull is no string, at [0]."},
      {NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(HUGE_VAL)),
       "A date is no moment, at [0]."},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(std::nan("")),
       "A date is no moment, at the top."},
      {NSValue::valueWithRange({1, 2}), nullptr},
  };
  for (const auto format : kFormats) {
    for (const auto& [list, problem] : rows) {
      const auto outcome = testing::writePropertyList(list, format);
      EXPECT_EQ(outcome.value, nullptr);
      EXPECT_EQ(outcome.code, 3852);
      if (problem != nullptr) {
        EXPECT_EQ(outcome.problem, problem) << format;
      }
    }
  }
}

TEST(NSPropertyListSerializationTests, ContainersThatHoldThemselvesAreRefused) {
  const auto array = NSMutableArray::array();
  array->addObject(array);
  const auto dictionary = NSMutableDictionary::dictionary();
  dictionary->setObject_forKey(NSArray::of("x", dictionary), "self");
  for (const auto format : kFormats) {
    EXPECT_EQ(testing::writePropertyList(array, format).problem,
              "A container holds itself, at [0].");
    EXPECT_EQ(testing::writePropertyList(dictionary, format).problem,
              "A container holds itself, at [\"self\"][1].");
  }
  array->removeAllObjects();
  dictionary->removeAllObjects();
}

TEST(NSPropertyListSerializationTests, AContainerMayBeThereSeveralTimes) {
  const auto shared = NSArray::of("a");
  const auto list = NSArray::of(shared, shared, NSDictionary::of({{"k", shared}}));
  for (const auto format : kFormats) {
    const auto bytes = textOfData(testing::writePropertyList(list, format).value);
    EXPECT_TRUE(list->isEqual(read(bytes).value)) << format;
  }
}

/// An array of an array of an array …, which is taken apart from the outside in: its end would
/// recurse otherwise.
class DeepList {
 public:
  explicit DeepList(std::size_t depth) {
    for (; depth > 0; --depth) {
      const auto outer = NSMutableArray::array();
      if (!levels_.empty()) {
        outer->addObject(levels_.back());
      }
      levels_.push_back(outer);
    }
  }
  ~DeepList() {
    for (const auto& level : levels_) {
      level->removeAllObjects();
    }
  }

  const Ref<NSMutableArray>& outermost() const { return levels_.back(); }

 private:
  std::vector<Ref<NSMutableArray>> levels_;
};

TEST(NSPropertyListSerializationTests, WhatIsWrittenNestsAsDeepAsCanBeRead) {
  for (const auto format : kFormats) {
    const auto bytes =
        textOfData(testing::writePropertyList(DeepList(512).outermost(), format).value);
    EXPECT_EQ(read(bytes).problem, "") << format;
    for (const std::size_t depth : {513, 100000}) {
      EXPECT_EQ(testing::writePropertyList(DeepList(depth).outermost(), format).problem,
                "Containers nest more than 512 deep, at [0][0][0][0][0][0][0][0]….");
    }
  }
}

TEST(NSPropertyListSerializationTests, WhatIsSharedCountsWithItsDepthWhereverItIs) {
  const DeepList deep(511);
  const auto& shared = deep.outermost();
  for (const auto format : kFormats) {
    EXPECT_EQ(testing::writePropertyList(NSArray::of(shared, shared), format).problem, "");
    EXPECT_EQ(testing::writePropertyList(NSArray::of(shared, NSArray::of(shared)), format)
                  .problem.substr(0, 36),
              "Containers nest more than 512 deep, ");
  }
}

/// Arrays of which each holds the next one twice: 2^levels ways lead to the innermost one.
Ref<NSArray> bomb(int levels) {
  Ref<NSArray> list = NSArray::array();
  for (int level = 1; level < levels; ++level) {
    list = NSArray::of(list, list);
  }
  return list;
}

TEST(NSPropertyListSerializationTests, ListsThatUnfoldWithoutEndAreNotWritten) {
  for (const auto format : kFormats) {
    const auto most = textOfData(testing::writePropertyList(bomb(16), format).value);
    EXPECT_TRUE(bomb(16)->isEqual(read(most).value)) << format;
    EXPECT_EQ(testing::writePropertyList(bomb(17), format).problem,
              "The list unfolds to more than 66048 objects, at the top.");
    EXPECT_EQ(testing::writePropertyList(bomb(40), format).problem,
              "The list unfolds to more than 66784 objects, at the top.");
    EXPECT_EQ(testing::writePropertyList(bomb(512), format).problem,
              "The list unfolds to more than 81888 objects, at the top.");
  }
}

TEST(NSPropertyListSerializationTests, AListMayShareMoreTheMoreThereIsInItWhateverComesFirst) {
  std::vector<id> numbers(10'000, id(1));
  const auto many = NSArray::arrayWithObjects(std::move(numbers));
  for (const auto format : kFormats) {
    for (const auto& list : {NSArray::of(bomb(17), many), NSArray::of(many, bomb(17))}) {
      const auto bytes = textOfData(testing::writePropertyList(list, format).value);
      EXPECT_EQ(read(bytes).problem, "") << format;
      EXPECT_EQ(read(bytes, NSPropertyListMutableContainersAndLeaves).problem, "") << format;
    }
  }
}

TEST(NSPropertyListSerializationTests, AFaultBehindSomethingSharedIsToldAtItsPlace) {
  for (const auto format : kFormats) {
    const auto list = NSArray::of(bomb(60), NSDictionary::of({{"k", NSNull::null()}}));
    EXPECT_EQ(testing::writePropertyList(list, format).problem,
              "A value of class NSNull is no property list, at [1][\"k\"].");
  }
}

TEST(NSPropertyListSerializationTests, OnlyKnownFormatsAreWritten) {
  for (const NSUInteger format : {0, 1, 99, 101, 201}) {
    const auto outcome =
        testing::writePropertyList("text", static_cast<NSPropertyListFormat>(format));
    EXPECT_EQ(outcome.problem,
              "There is no property list format " + std::to_string(format) + " to write.");
    EXPECT_EQ(outcome.code, 3852);
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
    for (const auto format : kFormats) {
      const auto bytes = textOfData(testing::writePropertyList(list, format).value);
      for (const NSUInteger options : {0, 1, 2}) {
        ASSERT_TRUE(list->isEqual(read(bytes, options).value)) << format;
      }
    }
  }
}

}  // namespace
}  // namespace kestova
