// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "XMLPropertyLists.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace kestova {
namespace {

using testing::document;
using testing::kWholeDocument;
using testing::readXML;
using testing::repeated;

struct BadRow {
  const char* reason;
  std::string text;
  const char* problem;
};

std::ostream& operator<<(std::ostream& stream, const BadRow& row) { return stream << row.reason; }

class XMLPropertyListBadRowTests : public ::testing::TestWithParam<BadRow> {};

TEST_P(XMLPropertyListBadRowTests, IsRefusedWithFaultAndLine) {
  const auto& [reason, text, problem] = GetParam();
  EXPECT_EQ(readXML(text).problem, problem) << reason;
}

INSTANTIATE_TEST_SUITE_P(
    Structure, XMLPropertyListBadRowTests,
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
    Values, XMLPropertyListBadRowTests,
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
    XML, XMLPropertyListBadRowTests,
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

std::string nested(std::size_t depth) {
  return document(repeated("<array>", depth) + repeated("</array>", depth));
}

TEST(XMLPropertyListBadInputTests, RefusesEntitiesThatMultiply) {
  std::string bomb = "<!DOCTYPE plist [<!ENTITY a0 \"ha\">";
  for (int level = 1; level <= 30; ++level) {
    const std::string inner = "&a" + std::to_string(level - 1) + ";";
    bomb += "<!ENTITY a" + std::to_string(level) + " \"" + repeated(inner, 10) + "\">";
  }
  bomb += "]>" + document("<string>&a30;</string>");
  EXPECT_EQ(readXML(bomb).problem, "The entity a0 is declared, in line 1.");
}

TEST(XMLPropertyListBadInputTests, ContainersNestTo512) {
  EXPECT_EQ(readXML(nested(512)).problem, "");
  EXPECT_EQ(readXML(nested(513)).problem, "Containers nest more than 512 deep, in line 1.");
  EXPECT_EQ(
      readXML(document(repeated("<array>", 512) + "<true/>" + repeated("</array>", 512))).problem,
      "");
  EXPECT_EQ(readXML(document(repeated("<dict><key/>", 1000000))).problem,
            "Containers nest more than 512 deep, in line 1.");
}

TEST(XMLPropertyListBadInputTests, NothingIsReadFromADocumentThatIsCutOff) {
  const auto end = kWholeDocument.find("</plist>") + std::string_view("</plist>").size();
  for (std::size_t length = 0; length < end; ++length) {
    const auto [value, problem, code] = readXML(kWholeDocument.substr(0, length));
    EXPECT_EQ(value, nullptr) << length;
    EXPECT_NE(problem.find(", in line "), std::string::npos) << length << ": " << problem;
  }
  EXPECT_NE(readXML(kWholeDocument.substr(0, end)).value, nullptr);
}

TEST(XMLPropertyListBadInputTests, AnyByteMayBeWrong) {
  for (std::size_t index = 0; index < kWholeDocument.size(); ++index) {
    for (const char wrong : {'\0', '<', '&', '\x80', '\xFF'}) {
      std::string text(kWholeDocument);
      text[index] = wrong;
      readXML(text);
    }
  }
}

}  // namespace
}  // namespace kestova
