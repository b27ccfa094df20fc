// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "AllocationFaults.h"
#include "PropertyLists.h"
#include "Sanitizers.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// A way to make a text, and the text.
struct Making {
  const char* what;
  std::function<Ref<NSString>()> make;
  std::u16string made;
};

void PrintTo(const Making& making, std::ostream* out) { *out << making.what; }

/// Long enough to stand in a buffer.
const std::string kLong(20000, 'x');

const std::vector<Making> makings = {
    {"from UTF-8", [] { return NSString::stringWithUTF8String("Zürich"); }, u"Zürich"},
    {"from long UTF-8", [] { return NSString::stringWithUTF8String(kLong); },
     std::u16string(20000, u'x')},
    {"from units", [] { return NSString::stringWithCharacters_length(u"añb", 3); }, u"añb"},
    {"by a format", [] { return NSString::stringWithFormat("%@ %d %s", "ä", 42, "z"); }, u"ä 42 z"},
    {"by appending", [] { return Ref<NSString>("ab")->stringByAppendingString(u"ü"); }, u"abü"},
    {"of a part", [] { return Ref<NSString>(u"Zürich")->substringFromIndex(2); }, u"rich"},
    {"in capitals", [] { return Ref<NSString>(u"straße")->uppercaseString(); }, u"STRASSE"},
    {"by replacing",
     [] {
       return Ref<NSString>(u"a-ü-b")->stringByReplacingOccurrencesOfString_withString("-", "+");
     },
     u"a+ü+b"},
    {"from Latin-1",
     [] {
       const auto data = NSData::dataWithBytes_length("Z\374rich", 6);
       return NSString::initWithData_encoding(data, NSISOLatin1StringEncoding);
     },
     u"Zürich"},
    {"by joining", [] { return NSArray::of("a", u"ü", "c")->componentsJoinedByString(", "); },
     u"a, ü, c"},
    {"of a path", [] { return Ref<NSString>("/a/b.txt")->stringByDeletingPathExtension(); },
     u"/a/b"},
};

class StringMaking : public ::testing::TestWithParam<Making> {};

}  // namespace

TEST_P(StringMaking, NeedsMemoryAndHasItsTextOrThrows) {
  const Making& making = GetParam();
  Ref<NSString> made;
  const int refused = walkAllocations(
      [&] {
        made = nullptr;
        made = making.make();
      },
      [&](bool threw) {
        EXPECT_EQ(made == nullptr, threw);
        EXPECT_TRUE(threw || made->utf16() == making.made) << made;
      });
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(AllWays, StringMaking, ::testing::ValuesIn(makings));

TEST(NSStringFaults, AChangeThatFindsNoMemoryLeavesTheTextAsItWas) {
  const std::vector<std::pair<std::function<void(NSMutableString&)>, std::string>> changes = {
      {[](NSMutableString& text) { text.appendString("a longer text than fits in place"); },
       "begina longer text than fits in place"},
      {[](NSMutableString& text) { text.insertString_atIndex(u"ü", 0); }, "übegin"},
      {[](NSMutableString& text) {
         text.replaceCharactersInRange_withString({0, 2}, kLong.substr(0, 40));
       },
       kLong.substr(0, 40) + "gin"},
      {[](NSMutableString& text) { text.setString(u"Zürich, Genève und Köln am Rhein"); },
       "Zürich, Genève und Köln am Rhein"},
      {[](NSMutableString& text) { text.appendFormat("%@-%d", "an object of a format", 1); },
       "beginan object of a format-1"},
  };
  for (const auto& [change, changed] : changes) {
    Ref<NSMutableString> text;
    const int refused = walkAllocations(
        [&] {
          {
            text = nullptr;
            text = NSMutableString::stringWithString("begin");
          }
          change(*text);
        },
        [&](bool threw) {
          EXPECT_TRUE(text == nullptr || text->displayUTF8() == (threw ? "begin" : changed))
              << text;
        });
    EXPECT_GT(refused, 0);
  }
}

TEST(NSStringFaults, ALengthThatNoMemoryHoldsIsRefusedBeforeAnyIsTaken) {
  if (builtWithSanitizer) GTEST_SKIP() << "the sanitizer ends who asks for so much";
  const auto data = NSMutableData::dataWithBytes_length("kept", 4);
  EXPECT_THROW(data->setLength(NSUInteger{1} << 62), std::bad_alloc);
  EXPECT_THROW(data->increaseLengthBy(~NSUInteger{0} - 8), std::bad_alloc);
  EXPECT_EQ(textOfData(data), "kept");
}

TEST(NSStringFaults, DataThatCannotGrowStaysAsItWas) {
  Ref<NSMutableData> data = NSMutableData::dataWithBytes_length("kept", 4);
  const std::string more(10000, 'm');
  const ArmedFault none(FaultyCall::realloc, 1, Fault::failing(ENOMEM));
  EXPECT_THROW(data->appendBytes_length(more.data(), more.size()), std::bad_alloc);
  EXPECT_TRUE(none.wasMet());
  EXPECT_EQ(textOfData(data), "kept");
  data->appendBytes_length(more.data(), more.size());
  EXPECT_EQ(data->length(), 10004U);
}
