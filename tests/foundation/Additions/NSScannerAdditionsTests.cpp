// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSScannerAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::RandomRun;

Ref<NSScanner> scannerOf(const Ref<NSString>& text) { return NSScanner::scannerWithString(text); }

Ref<NSCharacterSet> setOf(const Ref<NSString>& characters) {
  return NSCharacterSet::characterSetWithCharactersInString(characters);
}

/// Peeks and scans with the same arguments: both must answer and store the same, and only the scan
/// may move.
template <class Value, class Peek, class Scan>
void expectSame(const Ref<NSScanner>& scanner, Value untouched, Peek&& peek, Scan&& scan) {
  const NSUInteger location = scanner->scanLocation();
  Value peeked = untouched;
  const bool peekSucceeded = peek(&peeked);
  EXPECT_EQ(scanner->scanLocation(), location);
  EXPECT_EQ(peek(static_cast<Value*>(nullptr)), peekSucceeded);
  EXPECT_EQ(scanner->scanLocation(), location);
  Value scanned = untouched;
  EXPECT_EQ(scan(&scanned), peekSucceeded);
  EXPECT_EQ(scanner->scanLocation() > location, peekSucceeded);
  if constexpr (std::is_arithmetic_v<Value>) {
    EXPECT_EQ(peeked, scanned);
  } else {
    EXPECT_TRUE(peeked->isEqualToString(scanned));
  }
  scanner->setScanLocation(location);
}

template <class Value>
void expectSameNumber(const Ref<NSScanner>& scanner, bool (*peek)(const Ref<NSScanner>&, Value*),
                      bool (NSScanner::*scan)(Value*)) {
  expectSame(
      scanner, Value{77}, [&](Value* value) { return peek(scanner, value); },
      [&](Value* value) { return (*scanner.*scan)(value); });
}

template <class Argument>
void expectSameText(const Ref<NSScanner>& scanner, const Ref<Argument>& argument,
                    bool (*peek)(const Ref<NSScanner>&, const Ref<Argument>&, Ref<NSString>*),
                    bool (NSScanner::*scan)(const Ref<Argument>&, Ref<NSString>*)) {
  expectSame(
      scanner, Ref<NSString>("untouched"),
      [&](Ref<NSString>* value) { return peek(scanner, argument, value); },
      [&](Ref<NSString>* value) { return (*scanner.*scan)(argument, value); });
}

void expectEveryPeekMirrorsItsScan(const Ref<NSScanner>& scanner, const Ref<NSString>& argument) {
  expectSameNumber(scanner, peekInt, &NSScanner::scanInt);
  expectSameNumber(scanner, peekInteger, &NSScanner::scanInteger);
  expectSameNumber(scanner, peekLongLong, &NSScanner::scanLongLong);
  expectSameNumber(scanner, peekHexInt, &NSScanner::scanHexInt);
  expectSameNumber(scanner, peekHexLongLong, &NSScanner::scanHexLongLong);
  expectSameNumber(scanner, peekFloat, &NSScanner::scanFloat);
  expectSameNumber(scanner, peekDouble, &NSScanner::scanDouble);
  expectSameNumber(scanner, peekHexFloat, &NSScanner::scanHexFloat);
  expectSameNumber(scanner, peekHexDouble, &NSScanner::scanHexDouble);
  expectSameText(scanner, argument, peekString_intoString, &NSScanner::scanString_intoString);
  expectSameText(scanner, argument, peekUpToString_intoString,
                 &NSScanner::scanUpToString_intoString);
  expectSameText(scanner, setOf(argument), peekCharactersFromSet_intoString,
                 &NSScanner::scanCharactersFromSet_intoString);
  expectSameText(scanner, setOf(argument), peekUpToCharactersFromSet_intoString,
                 &NSScanner::scanUpToCharactersFromSet_intoString);
}

// Shows: peekInt
TEST(NSScannerAdditionsTests, APeekFindsWhatTheNextScanFinds) {
  forBothStorages(u"42abc", [](const Ref<NSString>& text) {
    const auto scanner = scannerOf(text);
    int value = 0;
    EXPECT_TRUE(peekInt(scanner, &value));
    EXPECT_EQ(value, 42);
    EXPECT_EQ(scanner->scanLocation(), 0U);
    value = 0;
    EXPECT_TRUE(scanner->scanInt(&value));
    EXPECT_EQ(value, 42);
    EXPECT_EQ(scanner->scanLocation(), 2U);
  });
}

/// What a peek delivers for a text that it reads.
template <class Value>
Value peekedIn(const char* text, bool (*peek)(const Ref<NSScanner>&, Value*)) {
  const auto scanner = scannerOf(text);
  Value value{};
  EXPECT_TRUE(peek(scanner, &value)) << text;
  EXPECT_EQ(scanner->scanLocation(), 0U);
  return value;
}

// Shows: peekInt, peekInteger, peekLongLong, peekHexInt, peekHexLongLong
TEST(NSScannerAdditionsTests, WholeNumbersAreDeliveredInTheSizeThatAPeekNames) {
  EXPECT_EQ(peekedIn("-7 ", peekInt), -7);
  EXPECT_EQ(peekedIn("-9223372036854775808", peekInteger), INT64_MIN);
  EXPECT_EQ(peekedIn("9223372036854775807", peekLongLong), INT64_MAX);
  EXPECT_EQ(peekedIn("0xff", peekHexInt), 255U);
  EXPECT_EQ(peekedIn("ffffffffffffffff", peekHexLongLong), UINT64_MAX);
}

// Shows: peekFloat, peekDouble, peekHexFloat, peekHexDouble
TEST(NSScannerAdditionsTests, FractionsAreDeliveredInThePrecisionThatAPeekNames) {
  EXPECT_EQ(peekedIn("1.5", peekFloat), 1.5F);
  EXPECT_EQ(peekedIn("-1e300", peekDouble), -1e300);
  EXPECT_EQ(peekedIn("0x1.8p1", peekHexFloat), 3.F);
  EXPECT_EQ(peekedIn("0x1p-2", peekHexDouble), .25);
}

// Shows: peekString_intoString, peekCharactersFromSet_intoString
TEST(NSScannerAdditionsTests, TextThatMatchesIsDeliveredAsItStands) {
  const auto scanner = scannerOf("  abc;");
  Ref<NSString> text;
  EXPECT_TRUE(peekString_intoString(scanner, "AB", &text));
  EXPECT_EQ(text, "ab");
  EXPECT_TRUE(peekCharactersFromSet_intoString(scanner, setOf("abcd"), &text));
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(scanner->scanLocation(), 0U);
}

// Shows: peekUpToString_intoString, peekUpToCharactersFromSet_intoString
TEST(NSScannerAdditionsTests, TextBeforeAMarkIsDelivered) {
  const auto scanner = scannerOf("  abc;");
  Ref<NSString> text;
  EXPECT_TRUE(peekUpToString_intoString(scanner, "c", &text));
  EXPECT_EQ(text, "ab");
  EXPECT_TRUE(peekUpToCharactersFromSet_intoString(scanner, setOf(";"), &text));
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(scanner->scanLocation(), 0U);
}

// Shows: peekInt, peekString_intoString
TEST(NSScannerAdditionsTests, APeekThatFailsStoresNothing) {
  const auto scanner = scannerOf(" +x");
  int number = 5;
  EXPECT_FALSE(peekInt(scanner, &number));
  EXPECT_EQ(number, 5);
  Ref<NSString> text = "untouched";
  EXPECT_FALSE(peekString_intoString(scanner, "x", &text));
  EXPECT_EQ(text, "untouched");
  EXPECT_EQ(scanner->scanLocation(), 0U);
}

// Shows: peekInt
TEST(NSScannerAdditionsTests, PeeksSkipAsScansDoAndComeBackToBeforeWhatWasSkipped) {
  const auto scanner = scannerOf("a--7");
  scanner->setCharactersToBeSkipped(setOf("-"));
  scanner->setScanLocation(1);
  int value = 0;
  EXPECT_TRUE(peekInt(scanner, &value));
  EXPECT_EQ(value, 7);
  EXPECT_EQ(scanner->scanLocation(), 1U);
  scanner->setCharactersToBeSkipped(nullptr);
  EXPECT_FALSE(peekInt(scanner, &value));
  EXPECT_EQ(scanner->scanLocation(), 1U);
}

// Shows: NSScannerAdditions
TEST(NSScannerAdditionsTests, EveryPeekMirrorsItsScanOnRandomTexts) {
  RandomRun random;
  const auto randomText = [&](std::size_t length) {
    std::u16string units;
    for (std::size_t count = random.below(length); count-- > 0;) {
      units += u"0123 .xXaAeEpPfF+-;\u00e9\u0301\U0001F600"[random.below(24)];
    }
    return units;
  };
  for (int round = 0; round < 2000; ++round) {
    const auto argument = Ref<NSString>(randomText(4));
    forBothStorages(randomText(12), [&](const Ref<NSString>& text) {
      const auto scanner = scannerOf(text);
      if (random.below(2) == 0) scanner->setCharactersToBeSkipped(setOf(randomText(4)));
      scanner->setScanLocation(random.below(text->length() + 1));
      SCOPED_TRACE(text->displayUTF8() + " | " + argument->displayUTF8());
      expectEveryPeekMirrorsItsScan(scanner, argument);
    });
  }
}

using OfLength = bool (*)(const Ref<NSScanner>&, NSUInteger, Ref<NSString>*);

// Shows: scanStringOfLength_intoString, peekStringOfLength_intoString
TEST(NSScannerAdditionsTests, TextOfALengthIsReadOnlyWhereItEndsWithTheText) {
  for (const OfLength read :
       {OfLength{scanStringOfLength_intoString}, OfLength{peekStringOfLength_intoString}}) {
    forBothStorages(u"abc", [&](const Ref<NSString>& text) {
      const auto scanner = scannerOf(text);
      Ref<NSString> value = "untouched";
      EXPECT_FALSE(read(scanner, 2, &value));
      EXPECT_FALSE(read(scanner, 0, &value));
      EXPECT_EQ(value, "untouched");
      EXPECT_TRUE(read(scanner, 3, &value));
      EXPECT_EQ(value, "abc");
      expectException(NSRangeException, [&] { (void)read(scanner, 4, &value); });
      EXPECT_EQ(value, "abc");
      EXPECT_EQ(scanner->scanLocation(), 0U);
    });
  }
}

// Shows: scanStringOfLength_intoString, peekStringOfLength_intoString
TEST(NSScannerAdditionsTests, TextOfALengthBeginsAtTheLocationItself) {
  const auto scanner = scannerOf(" a b");
  Ref<NSString> value;
  scanner->setScanLocation(2);
  EXPECT_TRUE(scanStringOfLength_intoString(scanner, 2, &value));
  EXPECT_EQ(value, " b");
  EXPECT_EQ(scanner->scanLocation(), 2U);
  scanner->setScanLocation(4);
  EXPECT_TRUE(scanStringOfLength_intoString(scanner, 0, &value));
  EXPECT_EQ(value, "");
  expectException(NSRangeException,
                  [&] { (void)peekStringOfLength_intoString(scanner, 1, &value); });
  EXPECT_EQ(scanner->scanLocation(), 4U);
}

// Shows: scanStringOfLength_intoString
TEST(NSScannerAdditionsTests, ALengthWhoseEndLeavesTheIntegersCountsAsItWraps) {
  const auto scanner = scannerOf("abc");
  Ref<NSString> value;
  expectException(NSRangeException,
                  [&] { (void)scanStringOfLength_intoString(scanner, UINT64_MAX, &value); });
  scanner->setScanLocation(1);
  EXPECT_FALSE(scanStringOfLength_intoString(scanner, UINT64_MAX, &value));
}

// Shows: NSScannerAdditions
TEST(NSScannerAdditionsTests, MissingArgumentsThrow) {
  const auto scanner = scannerOf("a");
  const auto expectRefusal = [](auto&& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  expectRefusal([&] { peekString_intoString(scanner, nullptr); });
  expectRefusal([&] { peekUpToString_intoString(scanner, nullptr); });
  expectRefusal([&] { peekCharactersFromSet_intoString(scanner, nullptr); });
  expectRefusal([&] { peekUpToCharactersFromSet_intoString(scanner, nullptr); });
}

}  // namespace
}  // namespace kestova
