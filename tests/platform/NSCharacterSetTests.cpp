// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>

#include <bitset>
#include <set>
#include <thread>
#include <vector>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::RandomRun;

constexpr std::uint32_t kEnd = 0x110000;

Ref<NSCharacterSet> setOf(const Ref<NSString>& characters) {
  return NSCharacterSet::characterSetWithCharactersInString(characters);
}

Ref<NSMutableCharacterSet> mutableSetOf(const Ref<NSString>& characters) {
  return NSMutableCharacterSet::characterSetWithCharactersInString(characters);
}

/// Compares a set with a predicate over all characters there are.
template <class Predicate>
void expectMembers(const Ref<NSCharacterSet>& set, Predicate&& isExpected) {
  for (std::uint32_t character = 0; character < kEnd; ++character) {
    ASSERT_EQ(set->longCharacterIsMember(character), isExpected(character))
        << std::hex << "U+" << character;
  }
}

bool isOfCategory(std::uint32_t character, std::uint32_t mask) {
  return (U_GET_GC_MASK(static_cast<UChar32>(character)) & mask) != 0;
}

TEST(NSCharacterSetTests, TheNamedSetsAreThoseOfTheirCategories) {
  struct {
    const char* name;
    Ref<NSCharacterSet> set;
    std::uint32_t categories;
    std::u32string_view more;
  } const kRows[] = {
      {"control", NSCharacterSet::controlCharacterSet(), U_GC_CC_MASK | U_GC_CF_MASK, U""},
      {"whitespace", NSCharacterSet::whitespaceCharacterSet(), U_GC_ZS_MASK, U"\t"},
      {"whitespaceAndNewline", NSCharacterSet::whitespaceAndNewlineCharacterSet(), U_GC_Z_MASK,
       U"\t\n\v\f\r\u0085"},
      {"newline", NSCharacterSet::newlineCharacterSet(), 0, U"\n\v\f\r\u0085\u2028\u2029"},
      {"decimalDigit", NSCharacterSet::decimalDigitCharacterSet(), U_GC_ND_MASK, U""},
      {"letter", NSCharacterSet::letterCharacterSet(), U_GC_L_MASK | U_GC_M_MASK, U""},
      {"lowercase", NSCharacterSet::lowercaseLetterCharacterSet(), U_GC_LL_MASK, U""},
      {"uppercase", NSCharacterSet::uppercaseLetterCharacterSet(), U_GC_LU_MASK | U_GC_LT_MASK,
       U""},
      {"capitalized", NSCharacterSet::capitalizedLetterCharacterSet(), U_GC_LT_MASK, U""},
      {"nonBase", NSCharacterSet::nonBaseCharacterSet(), U_GC_M_MASK, U""},
      {"alphanumeric", NSCharacterSet::alphanumericCharacterSet(),
       U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK, U""},
      {"illegal", NSCharacterSet::illegalCharacterSet(), U_GC_CN_MASK, U""},
      {"punctuation", NSCharacterSet::punctuationCharacterSet(), U_GC_P_MASK, U""},
      {"symbol", NSCharacterSet::symbolCharacterSet(), U_GC_S_MASK, U""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    expectMembers(row.set, [&](std::uint32_t character) {
      return isOfCategory(character, row.categories) || row.more.find(character) != row.more.npos;
    });
  }
}

TEST(NSCharacterSetTests, DecomposableCharactersHaveACanonicalDecomposition) {
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
  expectMembers(NSCharacterSet::decomposableCharacterSet(), [&](std::uint32_t character) {
    UChar buffer[32];
    UErrorCode ignored = U_ZERO_ERROR;
    return unorm2_getDecomposition(nfc, static_cast<UChar32>(character), buffer, 32, &ignored) >= 0;
  });
}

TEST(NSCharacterSetTests, NamedSetsHoldWhatTheyAreKnownFor) {
  struct {
    Ref<NSCharacterSet> set;
    std::u32string_view members;
    std::u32string_view others;
  } const kRows[] = {
      {NSCharacterSet::controlCharacterSet(), U"\x01\x1f\x7f\u00ad\u200b\ufeff", U" a\u2028"},
      {NSCharacterSet::whitespaceCharacterSet(), U" \t\u00a0\u3000", U"\n\r\u0085\u2028\u200b"},
      {NSCharacterSet::whitespaceAndNewlineCharacterSet(), U" \t\n\v\f\r\u0085\u00a0\u2028\u2029",
       U"\u200ba\b\x0e"},
      {NSCharacterSet::newlineCharacterSet(), U"\n\v\f\r\u0085\u2028\u2029", U" \t"},
      {NSCharacterSet::decimalDigitCharacterSet(), U"09\u0660\uff19\U0001d7d8", U"a\u00b2\u2160"},
      {NSCharacterSet::letterCharacterSet(), U"azÄß\u0301漢\U00010400", U"0 _"},
      {NSCharacterSet::uppercaseLetterCharacterSet(), U"AÄ\u01c5", U"aß1"},
      {NSCharacterSet::capitalizedLetterCharacterSet(), U"\u01c5", U"Aa"},
      {NSCharacterSet::decomposableCharacterSet(), U"é\uac00\u212b", U"eß\ufb01"},
      {NSCharacterSet::illegalCharacterSet(), U"\uffff\ufdd0\U0010ffff\u0378", U"a\ue000\ufeff"},
      {NSCharacterSet::punctuationCharacterSet(), U"!-_(«", U"$+a"},
      {NSCharacterSet::symbolCharacterSet(), U"$+<^`|~€\U0001f600", U"!a"},
  };
  for (const auto& row : kRows) {
    for (const char32_t member : row.members) {
      EXPECT_TRUE(row.set->longCharacterIsMember(member)) << std::hex << std::uint32_t{member};
    }
    for (const char32_t other : row.others) {
      EXPECT_FALSE(row.set->longCharacterIsMember(other)) << std::hex << std::uint32_t{other};
    }
  }
}

TEST(NSCharacterSetTests, ANamedSetIsTheSameObjectEveryTime) {
  EXPECT_EQ(NSCharacterSet::letterCharacterSet(), NSCharacterSet::letterCharacterSet());
}

TEST(NSCharacterSetTests, ARangeHoldsItsCharacters) {
  expectMembers(NSCharacterSet::characterSetWithRange({0xFFF0, 0x20}),
                [](auto character) { return character >= 0xFFF0 && character < 0x10010; });
  expectMembers(NSCharacterSet::characterSetWithRange({0, kEnd}), [](auto) { return true; });
  expectMembers(NSCharacterSet::characterSetWithRange({kEnd, 0}), [](auto) { return false; });
}

TEST(NSCharacterSetTests, NoRangeGoesBeyondTheLastCharacter) {
  for (const NSRange range : {NSRange{kEnd, 1}, NSRange{0, kEnd + 1}, NSRange{kEnd + 1, 0},
                              NSRange{1, ~NSUInteger{0}}, NSRange{NSNotFound, 0}}) {
    expectException(NSInvalidArgumentException,
                    [&] { (void)NSCharacterSet::characterSetWithRange(range); });
  }
}

TEST(NSCharacterSetTests, AStringGivesItsCharacters) {
  forBothStorages(u"abba", [](const Ref<NSString>& text) {
    expectMembers(setOf(text), [](auto character) { return character == 'a' || character == 'b'; });
  });
  expectMembers(setOf(""), [](auto) { return false; });
}

TEST(NSCharacterSetTests, APairOfSurrogatesIsOneCharacterAndAHalfIsItself) {
  const auto pair = setOf(u"\U0001F600");
  EXPECT_TRUE(pair->longCharacterIsMember(0x1F600));
  EXPECT_FALSE(pair->characterIsMember(0xD83D));
  EXPECT_FALSE(pair->characterIsMember(0xDE00));
  const std::u16string reversed{0xDE00, 0xD83D};
  const auto halves = setOf(reversed);
  EXPECT_FALSE(halves->longCharacterIsMember(0x1F600));
  EXPECT_TRUE(halves->characterIsMember(0xD83D));
  EXPECT_TRUE(halves->characterIsMember(0xDE00));
}

TEST(NSCharacterSetTests, BeyondTheLastCharacterThereIsNoMember) {
  const auto all = setOf("")->invertedSet();
  EXPECT_TRUE(all->longCharacterIsMember(kEnd - 1));
  EXPECT_FALSE(all->longCharacterIsMember(kEnd));
  EXPECT_FALSE(all->longCharacterIsMember(0xFFFFFFFF));
}

TEST(NSCharacterSetTests, TheInvertedSetHoldsAllOthers) {
  const auto letters = NSCharacterSet::letterCharacterSet();
  expectMembers(letters->invertedSet(),
                [&](auto character) { return !letters->longCharacterIsMember(character); });
  EXPECT_TRUE(letters->invertedSet()->invertedSet()->isEqual(letters));
}

TEST(NSCharacterSetTests, ASupersetHoldsEveryMember) {
  EXPECT_TRUE(setOf("abc")->isSupersetOfSet(setOf("ca")));
  EXPECT_TRUE(setOf("abc")->isSupersetOfSet(setOf("abc")));
  EXPECT_TRUE(setOf("")->isSupersetOfSet(setOf("")));
  EXPECT_FALSE(setOf("abc")->isSupersetOfSet(setOf("ad")));
  EXPECT_TRUE(NSCharacterSet::alphanumericCharacterSet()->isSupersetOfSet(
      NSCharacterSet::decimalDigitCharacterSet()));
}

TEST(NSCharacterSetTests, PlanesWithMembersAreKnown) {
  const auto set = setOf(u"a\U0001F600\U0010FFFF");
  std::set<int> planes;
  for (int plane = 0; plane < 256; ++plane) {
    if (set->hasMemberInPlane(static_cast<std::uint8_t>(plane))) planes.insert(plane);
  }
  EXPECT_EQ(planes, (std::set{0, 1, 16}));
}

TEST(NSCharacterSetTests, ANullArgumentThrows) {
  const auto set = mutableSetOf("a");
  const auto expectRefusal = [](auto&& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  expectRefusal([&] { (void)setOf(nullptr); });
  expectRefusal([&] { (void)NSCharacterSet::characterSetWithBitmapRepresentation(nullptr); });
  expectRefusal([&] { (void)set->isSupersetOfSet(nullptr); });
  expectRefusal([&] { set->addCharactersInString(nullptr); });
  expectRefusal([&] { set->removeCharactersInString(nullptr); });
  expectRefusal([&] { set->formUnionWithCharacterSet(nullptr); });
  expectRefusal([&] { set->formIntersectionWithCharacterSet(nullptr); });
  expectRefusal([&] { set->addCharactersInRange({kEnd, 1}); });
  expectRefusal([&] { set->removeCharactersInRange({kEnd, 1}); });
  EXPECT_TRUE(set->isEqual(setOf("a")));
}

TEST(NSCharacterSetTests, EqualSetsHaveTheSameMembersAndHash) {
  const auto fromRange = NSCharacterSet::characterSetWithRange({'a', 3});
  EXPECT_TRUE(fromRange->isEqual(setOf("cba")));
  EXPECT_EQ(fromRange->hash(), setOf("cba")->hash());
  EXPECT_TRUE(fromRange->isEqual(mutableSetOf("abc")));
  EXPECT_FALSE(fromRange->isEqual(setOf("ab")));
  EXPECT_FALSE(fromRange->isEqual(nullptr));
  EXPECT_FALSE(fromRange->isEqual("abc"));
}

TEST(NSCharacterSetTests, AnImmutableCopyIsItself) {
  const auto set = setOf("a");
  EXPECT_EQ(copyOf(set), set);
}

TEST(NSCharacterSetTests, ACopyOfAMutableSetStaysAsItIs) {
  const auto set = mutableSetOf("a");
  const auto copy = copyOf<NSCharacterSet>(set);
  const auto other = cast<NSMutableCharacterSet>(copy->mutableCopy());
  set->addCharactersInString("b");
  other->addCharactersInString("c");
  EXPECT_TRUE(copy->isEqual(setOf("a")));
  EXPECT_TRUE(set->isEqual(setOf("ab")));
  EXPECT_TRUE(other->isEqual(setOf("ac")));
  EXPECT_FALSE(cast<NSMutableCharacterSet>(copy));
}

TEST(NSCharacterSetTests, AChangeIsSeenAfterAnAnswer) {
  const auto set = NSMutableCharacterSet::init();
  EXPECT_FALSE(set->characterIsMember('a'));
  set->addCharactersInRange({'a', 26});
  EXPECT_TRUE(set->characterIsMember('a'));
  set->removeCharactersInRange({'a', 1});
  EXPECT_FALSE(set->characterIsMember('a'));
  set->invert();
  EXPECT_TRUE(set->characterIsMember('a'));
  EXPECT_FALSE(set->characterIsMember('b'));
}

TEST(NSCharacterSetTests, ASetMayBeJoinedWithItself) {
  const auto set = mutableSetOf("abc");
  set->formUnionWithCharacterSet(set);
  set->formIntersectionWithCharacterSet(set);
  EXPECT_TRUE(set->isEqual(setOf("abc")));
}

/// Random changes, beside a table with one truth value for each character of a few planes' edges.
TEST(NSCharacterSetTests, AnyChangesGiveWhatAPlainTableGives) {
  constexpr NSUInteger kBase = 0xFF80;  // half below and half above U+FFFF
  constexpr NSUInteger kSize = 256;
  using Table = std::bitset<kSize>;
  RandomRun random;
  const auto set = NSMutableCharacterSet::init();
  Table table;
  const auto randomRange = [&](Table& range) {
    const NSUInteger start = random.below(kSize);
    const NSUInteger length = random.below(kSize - start + 1);
    for (NSUInteger i = 0; i < length; ++i) range.set(start + i);
    return NSRange{kBase + start, length};
  };
  for (int step = 0; step < 500; ++step) {
    Table range;
    const NSRange where = randomRange(range);
    switch (random.below(5)) {
      case 0:
        set->addCharactersInRange(where);
        table |= range;
        break;
      case 1:
        set->removeCharactersInRange(where);
        table &= ~range;
        break;
      case 2:
        set->formUnionWithCharacterSet(NSCharacterSet::characterSetWithRange(where));
        table |= range;
        break;
      case 3:
        set->formIntersectionWithCharacterSet(
            NSCharacterSet::characterSetWithRange(where)->invertedSet());
        table &= ~range;
        break;
      default:
        set->invert();
        table.flip();
    }
    for (NSUInteger i = 0; i < kSize; ++i) {
      ASSERT_EQ(set->longCharacterIsMember(static_cast<std::uint32_t>(kBase + i)), table[i])
          << "step " << step << ", offset " << i;
    }
  }
}

TEST(NSCharacterSetTests, TheBitmapHasABitForEachCharacterAndOnlyPlanesWithMembers) {
  const auto data = setOf(u"A\uFFFF\U00010009\U0010FFFF")->bitmapRepresentation();
  ASSERT_EQ(data->length(), 3 * 8192U + 2);
  const auto byteAt = [&](NSUInteger index) { return std::to_integer<int>(data->span()[index]); };
  EXPECT_EQ(byteAt('A' / 8), 1 << 'A' % 8);
  EXPECT_EQ(byteAt(8191), 0x80);
  EXPECT_EQ(byteAt(8192), 1);
  EXPECT_EQ(byteAt(8193 + 1), 2);
  EXPECT_EQ(byteAt(8193 + 8192), 16);
  EXPECT_EQ(byteAt(data->length() - 1), 0x80);
  EXPECT_EQ(setOf("")->bitmapRepresentation()->length(), 8192U);
}

TEST(NSCharacterSetTests, ABitmapGivesItsSetAgain) {
  for (const auto& set :
       {setOf(""), setOf(u"a\U0001F600"), NSCharacterSet::letterCharacterSet(),
        NSCharacterSet::illegalCharacterSet(), NSCharacterSet::characterSetWithRange({0, kEnd})}) {
    const auto again =
        NSCharacterSet::characterSetWithBitmapRepresentation(set->bitmapRepresentation());
    EXPECT_TRUE(set->isEqual(again));
  }
}

TEST(NSCharacterSetTests, DataOfAnotherShapeIsNoBitmap) {
  const auto setFrom = [](NSUInteger length, int plane) {
    const auto data = NSMutableData::dataWithLength(length);
    if (length > 8192) data->mutableBytes()[8192] = static_cast<std::byte>(plane);
    return NSCharacterSet::characterSetWithBitmapRepresentation(data);
  };
  EXPECT_TRUE(setFrom(8192, 0));
  EXPECT_TRUE(setFrom(2 * 8192 + 1, 16));
  for (const NSUInteger length : {0U, 1U, 8191U, 8193U, 16384U, 16386U}) {
    EXPECT_FALSE(setFrom(length, 1)) << length;
  }
  EXPECT_FALSE(setFrom(2 * 8192 + 1, 0));
  EXPECT_FALSE(setFrom(2 * 8192 + 1, 17));
}

TEST(NSCharacterSetTests, ManyThreadsMayAskFirst) {
  const auto set = NSCharacterSet::letterCharacterSet()->invertedSet();
  std::atomic<int> members{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (unichar c = 0; c < 128; ++c) members += set->characterIsMember(c) ? 1 : 0;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(members, 8 * (128 - 52));
}

}  // namespace
}  // namespace kestova
