// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"

#include <malloc.h>

#include <array>
#include <sstream>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::inBothStorages;
using testing::unitsOf;
using namespace std::string_literals;
using namespace std::string_view_literals;

const std::u16string kLoneHigh{u'a', 0xD83D, u'z'};

TEST(NSStringTests, TextIsKeptInEightBitsExactlyWhenAllOfItIsASCII) {
  EXPECT_TRUE(NSString::string()->isEightBit());
  EXPECT_TRUE(NSString::stringWithUTF8String("plain")->isEightBit());
  EXPECT_TRUE(NSString::stringWithUTF8String("\x7F")->isEightBit());
  EXPECT_FALSE(NSString::stringWithUTF8String("\xC2\x80")->isEightBit());
  EXPECT_TRUE(NSString::stringWithCharacters_length(u"plain", 5)->isEightBit());
  EXPECT_FALSE(NSString::stringWithCharacters_length(u"plän", 4)->isEightBit());
  EXPECT_FALSE(NSString::stringWithUTF16Storage(u"plain")->isEightBit());
}

TEST(NSStringTests, BytesAreKeptAsTheyAreWhereTheyAreASCII) {
  std::string bytes(1000, 'x');
  const char* where = bytes.data();
  const auto text = NSString::stringWithEightBitStorage(std::move(bytes));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->length(), 1000U);
  EXPECT_EQ(text->eightBitCharacters(), where);
  EXPECT_EQ(NSString::stringWithEightBitStorage("gr\xC3\xBCn"), nullptr);
}

TEST(NSStringTests, LargeTextsAreTakenOverAndSmallOnesCopied) {
  std::string bytes(512, 'x');
  const char* whereBytes = bytes.data();
  EXPECT_EQ(NSString::stringWithEightBitStorage(std::move(bytes))->eightBitCharacters(),
            whereBytes);
  std::u16string units(256, u'x');
  const char16_t* whereUnits = units.data();
  EXPECT_EQ(NSString::stringWithUTF16Storage(std::move(units))->utf16Characters(), whereUnits);
  bytes.assign(511, 'x');
  whereBytes = bytes.data();
  EXPECT_NE(NSString::stringWithEightBitStorage(std::move(bytes))->eightBitCharacters(),
            whereBytes);
}

TEST(NSStringTests, EveryLengthKeepsItsUnitsInBothStorages) {
  std::u16string units;
  for (std::size_t length = 0; length <= 1100; ++length) {
    forBothStorages(units, [&](const Ref<NSString>& text) {
      ASSERT_EQ(text->length(), length);
      ASSERT_EQ(text->utf16(), units);
      ASSERT_EQ(Ref<NSString>(NSMutableString::stringWithString(text)), units);
      ASSERT_EQ(cast<NSString>(NSMutableString::stringWithString(text)->copy()), units);
    });
    units += static_cast<char16_t>(u' ' + length % 95);
  }
}

TEST(NSStringTests, TheLongestTextInItsObjectAndTheNextOneAreTheSameToEveryOperation) {
  for (const std::size_t length : {16382, 16383, 16384, 16385}) {
    const std::u16string units(length, u'x');
    forBothStorages(units, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->length(), length);
      EXPECT_EQ(text, units);
      EXPECT_EQ(text->stringByAppendingString("y"), units + u'y');
      EXPECT_EQ(text->stringByAppendingString("ж"), units + u'ж');
      EXPECT_EQ(text->substringToIndex(length), units);
      EXPECT_EQ(text->hash(), Ref<NSString>(units)->hash());
    });
    const auto cyrillic = NSString::stringWithUTF8String(std::string(length, 'x') + "ж");
    EXPECT_EQ(cyrillic, units + u'ж');
  }
}

TEST(NSStringTests, HashesOfAllLengthsAgreeInBothStoragesAndDifferByEachUnit) {
  std::u16string units;
  std::unordered_set<NSUInteger> hashes;
  for (std::size_t length = 0; length <= 40; ++length) {
    const auto both = inBothStorages(units);
    EXPECT_EQ(both[0]->hash(), both[1]->hash());
    hashes.insert(both[0]->hash());
    for (std::size_t index = 0; index < length; ++index) {
      for (const char16_t unit : {u'!', u'ж', u'\x0400'}) {
        auto changed = units;
        changed[index] = unit;
        hashes.insert(Ref<NSString>(changed)->hash());
      }
    }
    units += static_cast<char16_t>(u'a' + length % 26);
  }
  EXPECT_EQ(hashes.size(), 41U + 3 * 40 * 41 / 2);
}

TEST(NSStringTests, EveryLengthKeepsCharactersBeyondASCII) {
  std::string utf8;
  std::u16string units;
  for (std::size_t length = 1; length <= 600; ++length) {
    utf8 += "ж";
    units += u'ж';
    const auto text = NSString::stringWithUTF8String(utf8);
    ASSERT_FALSE(text->isEightBit());
    ASSERT_EQ(text, units);
    ASSERT_EQ(text->UTF8String(), utf8);
  }
}

TEST(NSStringTests, TextOfTwentyTwoCharactersIsOneBlockOfFortyBytes) {
  for (std::size_t length = 0; length <= 22; ++length) {
    const auto text = NSString::stringWithUTF8String(std::string(length, 'x'));
    EXPECT_LE(::malloc_usable_size(text.get()), 40U) << length;
    const auto* object = reinterpret_cast<const char*>(text.get());
    EXPECT_EQ(text->eightBitCharacters(), object + 18);
  }
}

TEST(NSStringTests, LargeTextThatWasTakenOverIsAStringAsOthers) {
  const auto large = NSString::stringWithEightBitStorage(std::string(600, 'x'));
  const Ref<NSString> same = std::string(600, 'x');
  EXPECT_TRUE(large->isEqual(same));
  EXPECT_TRUE(same->isEqual(large));
  EXPECT_EQ(large->hash(), same->hash());
  EXPECT_EQ(&large->classDescriptor(), &NSString::staticClass());
  EXPECT_EQ(large->copy(), id(large));
  EXPECT_EQ(cast<NSMutableString>(large), nullptr);
  EXPECT_TRUE(NSDictionary::of({{large, "value"}})->objectForKey(same)->isEqual("value"));
}

TEST(NSStringTests, OnlyTheStorageInUseAnswersItsUnits) {
  const Ref<NSString> narrow = "ab";
  EXPECT_EQ(std::string_view(narrow->eightBitCharacters(), 2), "ab");
  EXPECT_EQ(narrow->utf16Characters(), nullptr);
  const auto wide = NSString::stringWithUTF16Storage(u"ab");
  EXPECT_EQ(wide->eightBitCharacters(), nullptr);
  EXPECT_EQ(std::u16string_view(wide->utf16Characters(), 2), u"ab");
}

TEST(NSStringTests, LengthCountsUnits) {
  EXPECT_EQ(Ref<NSString>("")->length(), 0U);
  EXPECT_EQ(Ref<NSString>("abc")->length(), 3U);
  EXPECT_EQ(Ref<NSString>("ä€")->length(), 2U);
  EXPECT_EQ(Ref<NSString>("😀")->length(), 2U);
  EXPECT_EQ(Ref<NSString>("a\0b"s)->length(), 3U);
}

TEST(NSStringTests, IllFormedUTF8MakesNoString) {
  EXPECT_EQ(NSString::stringWithUTF8String("a\xFF"), nullptr);
  EXPECT_EQ(Ref<NSString>("\xED\xA0\x80"), nullptr);
  EXPECT_EQ(Ref<NSString>("\xC0\x80"), nullptr);
}

TEST(NSStringTests, TextsOfEveryKindBoxThemselves) {
  EXPECT_EQ(Ref<NSString>("ä"), u"ä"sv);
  EXPECT_EQ(Ref<NSString>(u"ä"), u"ä"sv);
  EXPECT_EQ(Ref<NSString>("ä"s), u"ä"sv);
  EXPECT_EQ(Ref<NSString>(u"ä"s), u"ä"sv);
  EXPECT_EQ(Ref<NSString>("ä"sv), u"ä"sv);
  EXPECT_EQ(Ref<NSString>(u"ä"sv), u"ä"sv);
  EXPECT_TRUE(id("ä")->isEqual(Ref<NSString>("ä")));
  const char* none = nullptr;
  EXPECT_EQ(Ref<NSString>(none), nullptr);
  EXPECT_EQ(id(none), nullptr);
}

TEST(NSStringTests, CharactersAreUnits) {
  forBothStorages(u"abc", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->characterAtIndex(0), u'a');
    EXPECT_EQ(text->characterAtIndex(2), u'c');
    expectException(NSRangeException, [&] { text->characterAtIndex(3); });
    expectException(NSRangeException, [&] { text->characterAtIndex(NSNotFound); });
  });
  EXPECT_EQ(Ref<NSString>("😀")->characterAtIndex(0), 0xD83D);
  EXPECT_EQ(Ref<NSString>("😀")->characterAtIndex(1), 0xDE00);
  expectException(NSRangeException, [] { NSString::string()->characterAtIndex(0); });
}

TEST(NSStringTests, UnitsAreCopiedOut) {
  forBothStorages(u"abcdef", [](const Ref<NSString>& text) {
    std::array<unichar, 4> buffer{u'-', u'-', u'-', u'-'};
    text->getCharacters_range(buffer.data(), {2, 3});
    EXPECT_EQ(std::u16string_view(buffer.data(), 4), u"cde-");
    text->getCharacters_range(buffer.data(), {6, 0});
    EXPECT_EQ(std::u16string_view(buffer.data(), 4), u"cde-");
    expectException(NSRangeException, [&] { text->getCharacters_range(buffer.data(), {4, 3}); });
  });
}

TEST(NSStringTests, TextIsToldAsUTF8AndUTF16) {
  forBothStorages(u"ab", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->UTF8String(), "ab");
    EXPECT_EQ(text->displayUTF8(), "ab");
    EXPECT_EQ(text->utf16(), u"ab");
  });
  forBothStorages(u"ä😀", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->UTF8String(), "ä😀");
    EXPECT_EQ(text->displayUTF8(), "ä😀");
    EXPECT_EQ(text->utf16(), u"ä😀");
  });
}

TEST(NSStringTests, LoneSurrogatesAreKeptAndOnlyRefusedAsUTF8) {
  const auto text = NSString::stringWithCharacters_length(kLoneHigh.data(), kLoneHigh.size());
  EXPECT_EQ(text->utf16(), kLoneHigh);
  EXPECT_EQ(text->UTF8String(), std::nullopt);
  EXPECT_EQ(text->displayUTF8(), "a\xEF\xBF\xBDz");
}

TEST(NSStringTests, EqualTextIsEqualInEveryStorage) {
  for (const std::u16string_view text : {u""sv, u"a"sv, u"abcdefgh"sv, u"ä"sv, u"a\0b"sv, u"😀"sv}) {
    forBothStorages(text, text, [](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_TRUE(a->isEqualToString(b));
      EXPECT_TRUE(a->isEqual(b));
      EXPECT_EQ(a->compare(b), NSOrderedSame);
      EXPECT_EQ(a->hash(), b->hash());
      EXPECT_EQ(std::hash<Ref<NSString>>()(a), std::hash<Ref<NSString>>()(b));
    });
  }
}

TEST(NSStringTests, OrdersByUnitsThenByLength) {
  const struct {
    std::u16string_view smaller;
    std::u16string_view greater;
  } kRows[] = {
      {u"", u"a"},   {u"a", u"b"},           {u"a", u"aa"},     {u"aa", u"b"},
      {u"Z", u"a"},  {u"a", u"ä"},           {u"az", u"aä"},    {u"aä", u"b"},
      {u"a", u"aä"}, {u"\u007F", u"\u0080"}, {u"😀", u"\uFFFD"}, {u"a\0"sv, u"a\1"sv},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.smaller, row.greater, [](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(a->compare(b), NSOrderedAscending) << a << " and " << b;
      EXPECT_EQ(b->compare(a), NSOrderedDescending) << a << " and " << b;
      EXPECT_FALSE(a->isEqualToString(b));
      EXPECT_FALSE(b->isEqual(a));
    });
  }
}

TEST(NSStringTests, NothingIsEqualToNullAndNullHasNoOrder) {
  const Ref<NSString> text = "a";
  EXPECT_FALSE(text->isEqual(nullptr));
  EXPECT_FALSE(text->isEqualToString(nullptr));
  EXPECT_FALSE(text->isEqual(NSArray::array()));
  const auto exception =
      expectException(NSInvalidArgumentException, [&] { text->compare(nullptr); });
  EXPECT_EQ(exception.reason(), "-[NSString compare:]: nil argument");
}

TEST(NSStringTests, HashesTellTextsOfEveryLengthApart) {
  std::unordered_set<NSUInteger> hashes;
  for (NSUInteger length = 0; length < 64; ++length) {
    for (NSUInteger place = 0; place <= length; ++place) {
      std::u16string text(length, u'a');
      if (place < length) {
        text[place] = u'b';
      }
      forBothStorages(text, [&](const Ref<NSString>& string) { hashes.insert(string->hash()); });
    }
  }
  // 0 … 63 units, each all "a" or with a "b" in one of its places.
  EXPECT_EQ(hashes.size(), 64U + 63U * 64U / 2U);
}

TEST(NSStringTests, PrefixesAndSuffixes) {
  const struct {
    std::u16string_view text;
    std::u16string_view part;
    bool isPrefix;
    bool isSuffix;
  } kRows[] = {
      {u"abcab", u"ab", true, true}, {u"abc", u"abc", true, true}, {u"abc", u"", true, true},
      {u"", u"", true, true},        {u"", u"a", false, false},    {u"abc", u"abcd", false, false},
      {u"abc", u"bc", false, true},  {u"abc", u"b", false, false}, {u"äbc", u"ä", true, false},
      {u"bcä", u"ä", false, true},   {u"abc", u"ä", false, false}, {u"abc", u"AB", false, false},
      {u"aäb", u"aä", true, false},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.part, [&](const Ref<NSString>& text, const Ref<NSString>& part) {
      EXPECT_EQ(text->hasPrefix(part), row.isPrefix) << text << ", " << part;
      EXPECT_EQ(text->hasSuffix(part), row.isSuffix) << text << ", " << part;
    });
  }
  EXPECT_FALSE(Ref<NSString>("a")->hasPrefix(nullptr));
  EXPECT_FALSE(Ref<NSString>("a")->hasSuffix(nullptr));
}

TEST(NSStringTests, Substrings) {
  forBothStorages(u"abcdef", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->substringWithRange({1, 3}), "bcd");
    EXPECT_EQ(text->substringWithRange({0, 6}), "abcdef");
    EXPECT_EQ(text->substringWithRange({6, 0}), "");
    EXPECT_EQ(text->substringFromIndex(4), "ef");
    EXPECT_EQ(text->substringFromIndex(6), "");
    EXPECT_EQ(text->substringToIndex(2), "ab");
    EXPECT_EQ(text->substringToIndex(0), "");
    EXPECT_EQ(text->substringToIndex(6), "abcdef");
  });
}

TEST(NSStringTests, RangesPastTheEndThrow) {
  forBothStorages(u"abc", [](const Ref<NSString>& text) {
    expectException(NSRangeException, [&] { (void)text->substringWithRange({4, 0}); });
    expectException(NSRangeException, [&] { (void)text->substringWithRange({1, 3}); });
    expectException(NSRangeException, [&] {
      (void)text->substringWithRange({1, NSNotFound * 2 + 1});
    });
    expectException(NSRangeException, [&] { (void)text->substringFromIndex(4); });
    expectException(NSRangeException, [&] { (void)text->substringToIndex(4); });
  });
  const auto exception = expectException(NSRangeException, [] {
    (void)Ref<NSString>("abc")->substringWithRange({2, 5});
  });
  EXPECT_EQ(exception.reason(),
            "-[NSString substringWithRange:]: range {2, 5} lies beyond length 3");
}

TEST(NSStringTests, ASubstringThatIsASCIIGoesBackToEightBits) {
  const Ref<NSString> text = "äbc";
  EXPECT_TRUE(text->substringFromIndex(1)->isEightBit());
  EXPECT_FALSE(text->substringToIndex(2)->isEightBit());
}

TEST(NSStringTests, ASubstringMayCutASurrogatePair) {
  EXPECT_EQ(Ref<NSString>("a😀")->substringToIndex(2)->utf16(), (std::u16string{u'a', 0xD83D}));
}

TEST(NSStringTests, FindsTheFirstPlace) {
  const struct {
    std::u16string_view text;
    std::u16string_view wanted;
    NSRange range;
  } kRows[] = {
      {u"abcabc", u"bc", {1, 2}},      {u"abc", u"abc", {0, 3}},
      {u"aab", u"ab", {1, 2}},         {u"aäaä", u"äa", {1, 2}},
      {u"abc", u"ä", {NSNotFound, 0}}, {u"abc", u"abcd", {NSNotFound, 0}},
      {u"", u"a", {NSNotFound, 0}},    {u"abc", u"", {NSNotFound, 0}},
      {u"", u"", {NSNotFound, 0}},     {u"äxyz", u"yz", {2, 2}},
      {u"a\0b"sv, u"\0"sv, {1, 1}},    {u"ABC", u"b", {NSNotFound, 0}},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.wanted,
                    [&](const Ref<NSString>& text, const Ref<NSString>& wanted) {
                      EXPECT_EQ(text->rangeOfString(wanted), row.range) << text << ", " << wanted;
                    });
  }
  expectException(NSInvalidArgumentException, [] { Ref<NSString>("a")->rangeOfString(nullptr); });
}

TEST(NSStringTests, AppendsInEveryPairOfStorages) {
  const std::u16string_view kTexts[] = {u"", u"ab", u"ä", u"😀"};
  for (const auto first : kTexts) {
    for (const auto second : kTexts) {
      forBothStorages(first, second, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
        EXPECT_EQ(a->stringByAppendingString(b)->utf16(),
                  std::u16string(first) + std::u16string(second));
      });
    }
  }
  EXPECT_TRUE(Ref<NSString>("a")->stringByAppendingString("b")->isEightBit());
  EXPECT_EQ(Ref<NSString>("a")->stringByAppendingFormat("%d%@", 1, "ä"), "a1ä");
  expectException(NSInvalidArgumentException,
                  [] { (void)Ref<NSString>("a")->stringByAppendingString(nullptr); });
}

TEST(NSStringTests, ComponentsAreOneMoreThanSeparators) {
  using Pieces = std::vector<std::u16string>;
  const struct {
    std::u16string_view text;
    std::u16string_view separator;
    Pieces pieces;
  } kRows[] = {
      {u"a,b,c", u",", {u"a", u"b", u"c"}},
      {u"abc", u",", {u"abc"}},
      {u"", u",", {u""}},
      {u",", u",", {u"", u""}},
      {u"a,,b", u",", {u"a", u"", u"b"}},
      {u",a,", u",", {u"", u"a", u""}},
      {u"a--b---c", u"--", {u"a", u"b", u"-c"}},
      {u"aäb", u"ä", {u"a", u"b"}},
      {u"äbä", u"b", {u"ä", u"ä"}},
      {u"abc", u"", {u"abc"}},
      {u"", u"", {u""}},
  };
  for (const auto& row : kRows) {
    forBothStorages(
        row.text, row.separator, [&](const Ref<NSString>& text, const Ref<NSString>& mark) {
          EXPECT_EQ(unitsOf(text->componentsSeparatedByString(mark)), row.pieces) << text;
        });
  }
  expectException(NSInvalidArgumentException,
                  [] { (void)Ref<NSString>("a")->componentsSeparatedByString(nullptr); });
}

TEST(NSStringTests, CopiesOfAnImmutableStringAreItself) {
  forBothStorages(u"ab", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->copy(), text);
    EXPECT_EQ(text->description(), text);
    EXPECT_EQ(NSString::stringWithString(text), text);
    const auto changed = cast<NSMutableString>(text->mutableCopy());
    ASSERT_NE(changed, nullptr);
    EXPECT_TRUE(changed->isEqual(text));
  });
  EXPECT_EQ(NSString::stringWithString(nullptr), nullptr);
}

TEST(NSStringTests, LiteralsCompareAsText) {
  const Ref<NSString> none;
  forBothStorages(u"ab", [](const Ref<NSString>& text) {
    EXPECT_TRUE(text == "ab");
    EXPECT_TRUE("ab" == text);
    EXPECT_TRUE(text == u"ab"sv);
    EXPECT_TRUE(text == "ab"sv);
    EXPECT_TRUE(text != "abc");
    EXPECT_TRUE(text != "\xFF");
    EXPECT_TRUE(text != "ä");
  });
  EXPECT_TRUE(Ref<NSString>("ä") == "ä");
  EXPECT_TRUE(Ref<NSString>("ä") != "\xE4");
  EXPECT_FALSE(none == "");
  EXPECT_FALSE(none == u""sv);
  EXPECT_TRUE(none == nullptr);
}

TEST(NSStringTests, PlainTextsKeepTheirOwnComparison) {
  const std::string noUTF8 = "\x9E";
  EXPECT_TRUE(noUTF8 == std::string_view(noUTF8));
  EXPECT_TRUE(std::u16string(u"\xD800") == std::u16string_view(u"\xD800"));
  EXPECT_TRUE(NSMutableString::stringWithString("ä") == "ä");
}

TEST(NSStringTests, PrintsItselfAsASubclassToo) {
  std::ostringstream stream;
  stream << NSMutableString::stringWithString("ä") << Ref<NSMutableString>();
  EXPECT_EQ(stream.str(), "ä(null)");
}

TEST(NSStringTests, PrintsItself) {
  std::ostringstream stream;
  const id object = Ref<NSString>("ö");
  stream << Ref<NSString>("ä") << Ref<NSString>() << object << id();
  EXPECT_EQ(stream.str(), "ä(null)ö(null)");
}

TEST(NSStringTests, IsAKeyOfStandardContainers) {
  std::unordered_map<id, int> byIdentity;
  byIdentity[Ref<NSString>("a")] = 1;
  EXPECT_EQ(byIdentity.size(), 1U);
  EXPECT_EQ(std::hash<Ref<NSString>>()(nullptr), 0U);
}

}  // namespace
}  // namespace kestova
