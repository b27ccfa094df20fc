// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "PropertyLists.h"
#include "RandomRun.h"

#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

constexpr auto kXML = NSPropertyListXMLFormat_v1_0;

std::string written(const id& list) {
  const auto outcome = testing::writePropertyList(list, kXML);
  EXPECT_EQ(outcome.problem, "");
  return testing::textOfData(outcome.value);
}

/// The lines of the value at the top.
std::string writtenValue(const id& value) {
  const std::string before = "<plist version=\"1.0\">\n";
  const std::string after = "</plist>\n";
  const std::string text = written(value);
  const auto start = text.find(before) + before.size();
  EXPECT_TRUE(text.ends_with(after));
  return text.substr(start, text.size() - start - after.size());
}

id read(const std::string& text) { return testing::readPropertyList(text).value; }

TEST(XMLPropertyListWriterTests, TheLayoutIsTheUsualOne) {
  const auto list = NSDictionary::of({
      {"numbers", NSArray::of(1, -2, 2.5)},
      {"Truth", true},
      {"nothing", NSArray::of(NSArray::array(), NSDictionary::dictionary(), "", NSData::data())},
      {"data", testing::dataOf({1, 2, 3, 255})},
      {"date", NSDate::dateWithTimeIntervalSinceReferenceDate(0)},
      {"a", NSDictionary::of({{"b", false}})},
  });
  EXPECT_EQ(written(list),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist>\n"
            "<plist version=\"1.0\">\n"
            "<dict>\n"
            "\t<key>Truth</key>\n"
            "\t<true/>\n"
            "\t<key>a</key>\n"
            "\t<dict>\n"
            "\t\t<key>b</key>\n"
            "\t\t<false/>\n"
            "\t</dict>\n"
            "\t<key>data</key>\n"
            "\t<data>\n"
            "\tAQID/w==\n"
            "\t</data>\n"
            "\t<key>date</key>\n"
            "\t<date>2001-01-01T00:00:00Z</date>\n"
            "\t<key>nothing</key>\n"
            "\t<array>\n"
            "\t\t<array/>\n"
            "\t\t<dict/>\n"
            "\t\t<string></string>\n"
            "\t\t<data>\n"
            "\t\t</data>\n"
            "\t</array>\n"
            "\t<key>numbers</key>\n"
            "\t<array>\n"
            "\t\t<integer>1</integer>\n"
            "\t\t<integer>-2</integer>\n"
            "\t\t<real>2.5</real>\n"
            "\t</array>\n"
            "</dict>\n"
            "</plist>\n");
}

struct ValueRow {
  id value;
  const char* text;
};

TEST(XMLPropertyListWriterTests, EveryKindHasItsText) {
  const ValueRow rows[] = {
      {std::numeric_limits<std::uint64_t>::max(), "<integer>18446744073709551615</integer>\n"},
      {std::numeric_limits<std::int64_t>::min(), "<integer>-9223372036854775808</integer>\n"},
      {static_cast<char>(65), "<integer>65</integer>\n"},
      {1.0, "<real>1</real>\n"},
      {0.1, "<real>0.1</real>\n"},
      {0.1F, "<real>0.10000000149011612</real>\n"},
      {-0.0, "<real>-0</real>\n"},
      {1e300, "<real>1e+300</real>\n"},
      {HUGE_VAL, "<real>+infinity</real>\n"},
      {-HUGE_VAL, "<real>-infinity</real>\n"},
      {std::nan(""), "<real>nan</real>\n"},
      {"a & b < c > d \"e\" 'f'", "<string>a &amp; b &lt; c &gt; d \"e\" 'f'</string>\n"},
      {"tab\tline\nreturn\r", "<string>tab\tline\nreturn&#13;</string>\n"},
      {"]]>", "<string>]]&gt;</string>\n"},
      {" ä€😀 ", "<string> ä€😀 </string>\n"},
      {"\x7F\xC2\x80", "<string>\x7F\xC2\x80</string>\n"},
  };
  for (const auto& [value, text] : rows) {
    EXPECT_EQ(writtenValue(value), text);
    EXPECT_TRUE(value->isEqual(read(written(value)))) << text;
  }
}

struct DateRow {
  double seconds;
  const char* text;
};

TEST(XMLPropertyListWriterTests, DatesAreWrittenToTheSecondThatTheyLieIn) {
  for (const auto& [seconds, text] : {
           DateRow{99750615, "2004-02-29T12:30:15Z"},
           DateRow{0.999, "2001-01-01T00:00:00Z"},
           DateRow{-0.001, "2000-12-31T23:59:59Z"},
           DateRow{-978307200, "1970-01-01T00:00:00Z"},
           DateRow{-63145526400, "0000-01-01T00:00:00Z"},
           DateRow{252423993599.5, "9999-12-31T23:59:59Z"},
       }) {
    const auto date = NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
    EXPECT_EQ(writtenValue(date), "<date>" + std::string(text) + "</date>\n") << seconds;
    EXPECT_TRUE(NSDate::dateWithTimeIntervalSinceReferenceDate(std::floor(seconds))
                    ->isEqual(read(written(date))))
        << seconds;
  }
}

TEST(XMLPropertyListWriterTests, Base64IsBrokenAtTheColumnAndIndentedWithItsElement) {
  const auto data = NSMutableData::dataWithLength(60);
  const std::string all(80, 'A');
  EXPECT_EQ(writtenValue(data),
            "<data>\n" + all.substr(0, 76) + "\n" + all.substr(0, 4) + "\n</data>\n");
  const auto nested = writtenValue(NSArray::of(NSArray::of(data)));
  EXPECT_NE(nested.find("\n\t\t" + all.substr(0, 60) + "\n\t\t" + all.substr(0, 20) + "\n"),
            std::string::npos)
      << nested;
  id deep = data;
  for (int level = 0; level < 20; ++level) {
    deep = NSArray::of(deep);
  }
  EXPECT_NE(writtenValue(deep).find("\t" + all.substr(0, 16) + "\n"), std::string::npos);
}

TEST(XMLPropertyListWriterTests, DataOfEveryLengthComesBack) {
  const auto data = NSMutableData::data();
  for (int length = 0; length < 200; ++length) {
    EXPECT_TRUE(data->isEqual(read(written(data)))) << length;
    const auto byte = static_cast<std::byte>(length * 37);
    data->appendBytes_length(&byte, 1);
  }
}

TEST(XMLPropertyListWriterTests, EveryCharacterThatXMLHasComesBack) {
  for (char32_t first = 0; first < 0x110000; first += 0x400) {
    std::u16string text;
    for (char32_t code = first; code < first + 0x400; ++code) {
      const bool isLacking = (code < 0x20 && code != '\t' && code != '\n' && code != '\r') ||
                             (code >= 0xD800 && code < 0xE000) || code == 0xFFFE || code == 0xFFFF;
      if (isLacking) {
        continue;
      }
      if (code < 0x10000) {
        text += static_cast<char16_t>(code);
      } else {
        text += static_cast<char16_t>(0xD7C0 + (code >> 10));
        text += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
      }
    }
    ASSERT_TRUE(id(text)->isEqual(read(written(text)))) << std::hex << std::uint32_t{first};
  }
}

TEST(XMLPropertyListWriterTests, WhatXMLHasNoFormForIsRefusedWithItsPlace) {
  struct Row {
    id list;
    const char* problem;
  };
  constexpr const char* kSurrogate =
      "A text with an unpaired surrogate has no form in XML, at [0].";
  constexpr const char* kCharacter =
      "A text with a character that XML lacks has no form in XML, at [0].";
  constexpr const char* kDate = "A date outside the years 0 to 9999 has no form in XML, at [0].";
  const Row rows[] = {
      {NSArray::of(std::u16string(u"a\xD800")), kSurrogate},
      {NSArray::of(std::u16string(u"\xDC00z")), kSurrogate},
      {NSArray::of(std::string(1, '\0')), kCharacter},
      {NSArray::of("\x01"), kCharacter},
      {NSArray::of("a\x1F"), kCharacter},
      {NSArray::of("\v"), kCharacter},
      {NSArray::of(std::u16string(u"\xFFFE")), kCharacter},
      {NSArray::of(std::u16string(u"\xFFFF")), kCharacter},
      {NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(252423993600)), kDate},
      {NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(-63145526400.5)), kDate},
      {NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(1e300)), kDate},
      {NSDictionary::of({{"k\x02", 1}}),
       "A text with a character that XML lacks has no form in XML, at [\"k\x02\"]."},
  };
  for (const auto& [list, problem] : rows) {
    const auto outcome = testing::writePropertyList(list, kXML);
    EXPECT_EQ(outcome.problem, problem);
    EXPECT_EQ(outcome.code, 3852);
    EXPECT_EQ(testing::writePropertyList(list, NSPropertyListBinaryFormat_v1_0).problem, "");
  }
}

TEST(XMLPropertyListWriterTests, KeysAreWrittenInTheOrderOfTheirUnits) {
  const auto list = NSDictionary::of({{"b", 1}, {"ä", 2}, {"B", 3}, {"", 4}, {"10", 5}, {"9", 6}});
  const auto text = written(list);
  std::size_t last = 0;
  for (const char* key : {"<key></key>", "<key>10<", "<key>9<", "<key>B<", "<key>b<", "<key>ä<"}) {
    const auto found = text.find(key);
    ASSERT_NE(found, std::string::npos) << key;
    EXPECT_GT(found, last) << key;
    last = found;
  }
}

/// The texts of the keys in the order in which they are written.
std::vector<std::u16string> keysIn(const std::string& xml) {
  constexpr std::string_view kStart = "<key>";
  std::vector<std::u16string> keys;
  for (auto at = xml.find(kStart); at != xml.npos; at = xml.find(kStart, at + 1)) {
    const auto start = at + kStart.size();
    keys.push_back(Ref<NSString>(xml.substr(start, xml.find('<', start) - start))->utf16());
  }
  return keys;
}

TEST(XMLPropertyListWriterTests, AnyKeysAreWrittenInTheOrderOfTheirUnits) {
  constexpr std::u16string_view kUnits[] = {u"a", u"b",  u"~",  u"\xFE",      u"\xFF",
                                            u"ā", u"中", u"～", u"\U0001F600"};
  testing::RandomRun random;
  for (int round = 0; round < 300; ++round) {
    const bool isASCII = random.below(3) == 0;
    const std::u16string prefix(random.below(12), u'p');
    std::set<std::u16string> keys;
    const auto list = NSMutableDictionary::dictionary();
    for (auto count = random.below(40); count > 0; --count) {
      auto key = prefix;
      for (auto length = random.below(12); length > 0; --length) {
        key += kUnits[random.below(isASCII ? 3 : std::size(kUnits))];
      }
      keys.insert(key);
      list->setObject_forKey(
          1, random.below(2) == 0 ? id(NSString::stringWithUTF16Storage(key)) : id(key));
    }
    ASSERT_EQ(keysIn(written(list)), std::vector<std::u16string>(keys.begin(), keys.end()));
  }
}

TEST(XMLPropertyListWriterTests, LongListsAndLongTextsComeBackWhole) {
  const auto list = NSMutableArray::array();
  for (std::size_t length = 0; length < 1000; ++length) {
    list->addObject(std::string(length, 'a'));
  }
  for (const std::size_t length : {65'535, 65'536, 65'537, 1'000'000}) {
    list->addObject(std::string(length, '&'));
    list->addObject("between");
  }
  EXPECT_TRUE(list->isEqual(read(written(list))));
}

TEST(XMLPropertyListWriterTests, TextIsTheSameInBothStorages) {
  testing::forBothStorages(u"a<b&c", [](const Ref<NSString>& string) {
    EXPECT_EQ(writtenValue(string), "<string>a&lt;b&amp;c</string>\n");
  });
}

}  // namespace
}  // namespace kestova
