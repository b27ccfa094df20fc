// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"

#include <random>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;

Ref<NSMutableString> mutableOf(const Ref<NSString>& text) {
  return NSMutableString::stringWithString(text);
}

TEST(NSMutableStringTests, BeginsEmptyOrWithAText) {
  EXPECT_EQ(NSMutableString::string(), "");
  EXPECT_EQ(NSMutableString::init(), "");
  EXPECT_NE(NSMutableString::string(), NSMutableString::string());
  EXPECT_EQ(mutableOf("ä"), "ä");
  EXPECT_EQ(mutableOf(nullptr), nullptr);
}

TEST(NSMutableStringTests, EditsInEveryPairOfStorages) {
  const struct {
    std::u16string text;
    NSRange range;
    std::u16string replacement;
    std::u16string result;
  } kRows[] = {
      {u"abc", {1, 1}, u"XY", u"aXYc"}, {u"abc", {0, 3}, u"", u""},
      {u"abc", {3, 0}, u"d", u"abcd"},  {u"abc", {0, 0}, u"ä", u"äabc"},
      {u"äbc", {0, 1}, u"a", u"abc"},   {u"äbc", {1, 2}, u"😀", u"ä😀"},
      {u"", {0, 0}, u"a", u"a"},        {u"", {0, 0}, u"", u""},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.replacement,
                    [&](const Ref<NSString>& text, const Ref<NSString>& by) {
                      const auto changed = mutableOf(text);
                      changed->replaceCharactersInRange_withString(row.range, by);
                      EXPECT_EQ(changed->utf16(), row.result);
                    });
  }
}

TEST(NSMutableStringTests, AppendsInsertsDeletesAndSets) {
  const auto text = mutableOf("bc");
  text->appendString("d");
  text->appendFormat("%d%@", 5, "ä");
  text->insertString_atIndex("a", 0);
  EXPECT_EQ(text, "abcd5ä");
  text->deleteCharactersInRange({4, 2});
  EXPECT_EQ(text, "abcd");
  text->setString("ö");
  EXPECT_EQ(text, "ö");
}

TEST(NSMutableStringTests, WidensOnlyForUnitsThatNeedIt) {
  const auto text = mutableOf("a");
  text->appendString(NSString::stringWithUTF16Storage(u"b"));
  EXPECT_TRUE(text->isEightBit());
  text->appendString("ä");
  EXPECT_FALSE(text->isEightBit());
  EXPECT_EQ(text, "abä");
}

TEST(NSMutableStringTests, TakesItselfAsAnArgument) {
  for (const Ref<NSString>& start : {Ref<NSString>("abc"), Ref<NSString>("aäc")}) {
    const auto text = mutableOf(start);
    text->appendString(text);
    EXPECT_TRUE(text->isEqual(start->stringByAppendingString(start)));
    text->replaceCharactersInRange_withString({1, 1}, text);
    const auto twice = start->stringByAppendingString(start);
    EXPECT_EQ(text->length(), 11U);
    EXPECT_EQ(text->substringWithRange({1, 6}), twice->utf16());
    text->setString(text);
    EXPECT_EQ(text->length(), 11U);
  }
}

TEST(NSMutableStringTests, RefusesNullAndRangesPastTheEndAndStaysAsItWas) {
  const auto text = mutableOf("abc");
  expectException(NSInvalidArgumentException, [&] { text->appendString(nullptr); });
  expectException(NSInvalidArgumentException, [&] { text->setString(nullptr); });
  expectException(NSInvalidArgumentException, [&] { text->insertString_atIndex(nullptr, 0); });
  expectException(NSRangeException, [&] { text->insertString_atIndex("x", 4); });
  expectException(NSRangeException, [&] { text->deleteCharactersInRange({2, 2}); });
  expectException(NSRangeException, [&] {
    text->replaceCharactersInRange_withString({4, 0}, "x");
  });
  EXPECT_EQ(text, "abc");
}

TEST(NSMutableStringTests, ItsCopiesDoNotChangeWithIt) {
  const auto text = mutableOf("aä");
  const Ref<NSString> copy = copyOf<NSString>(text);
  const Ref<NSString> description = text->description();
  const auto mutableCopy = cast<NSMutableString>(text->mutableCopy());
  text->setString("x");
  EXPECT_EQ(copy, "aä");
  EXPECT_EQ(cast<NSMutableString>(copy), nullptr);
  EXPECT_EQ(description, "aä");
  EXPECT_EQ(mutableCopy, "aä");
}

TEST(NSMutableStringTests, ACopyGoesBackToEightBitsWhenItCan) {
  const auto text = mutableOf("aä");
  text->deleteCharactersInRange({1, 1});
  EXPECT_FALSE(text->isEightBit());
  EXPECT_TRUE(cast<NSString>(text->copy())->isEightBit());
}

TEST(NSMutableStringTests, EqualsAnImmutableStringOfTheSameText) {
  const id text = mutableOf("ab");
  EXPECT_TRUE(text->isEqual("ab"));
  EXPECT_TRUE(id("ab")->isEqual(text));
  EXPECT_EQ(text->hash(), id("ab")->hash());
}

TEST(NSMutableStringTests, RandomEditsAgreeWithAPlainString) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const std::u16string kPieces[] = {u"", u"a", u"xyz", u"ä", u"😀", u"longer text"};
  const auto text = NSMutableString::string();
  std::u16string model;
  for (int round = 0; round < 2000; ++round) {
    const NSUInteger location = random() % (model.size() + 1);
    const NSUInteger length = std::min<NSUInteger>(random() % 8, model.size() - location);
    const auto& piece = kPieces[random() % std::size(kPieces)];
    text->replaceCharactersInRange_withString({location, length}, piece);
    model.replace(location, length, piece);
    ASSERT_EQ(text->utf16(), model) << round;
  }
}

}  // namespace
}  // namespace kestova
