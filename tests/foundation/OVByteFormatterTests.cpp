// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "BothStorages.h"
#include "ChildProcess.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

Ref<NSString> separator() {
  return cast<NSString>(NSLocale::currentLocale()->objectForKey(NSLocaleDecimalSeparator));
}

/// A text with the decimal separator of the current locale where it has a point.
std::string here(const std::string& text) {
  return Ref<NSString>(text)
      ->stringByReplacingOccurrencesOfString_withString(".", separator())
      ->displayUTF8();
}

std::string textBy(const Ref<OVByteFormatter>& formatter, const id& object) {
  return formatter->stringForObjectValue(object)->displayUTF8();
}

std::string text(const id& object) { return textBy(OVByteFormatter::init(), object); }

std::uint64_t count(const Ref<NSString>& string) {
  id object;
  Ref<NSString> error;
  EXPECT_TRUE(
      OVByteFormatter::init()->getObjectValue_forString_errorDescription(&object, string, &error))
      << string;
  EXPECT_FALSE(error);
  const auto number = cast<NSNumber>(object);
  EXPECT_STREQ(number->objCType(), "Q");
  return number->unsignedLongLongValue();
}

// Shows: stringForObjectValue
TEST(OVByteFormatterTests, CountsHaveTheUnitOfTheirSize) {
  EXPECT_EQ(text(0), "0 Bytes");
  EXPECT_EQ(text(1), "1 Bytes");
  EXPECT_EQ(text(1536), here("1.5 KB"));
  EXPECT_EQ(text(1048576), "1024 KB");
  EXPECT_EQ(text(5 * 1073741824LL), "5 GB");
  EXPECT_EQ(text(5 * 1099511627776LL), "5120 GB");
  EXPECT_EQ(text(kMost), "17179869184 GB");
}

// Shows: stringForObjectValue
TEST(OVByteFormatterTests, AUnitReachesTo1024OfIt) {
  EXPECT_EQ(text(1024), "1024 Bytes");
  EXPECT_EQ(text(1025), "1 KB");
  EXPECT_EQ(text(1048577), "1 MB");
  EXPECT_EQ(text(1073741824), "1024 MB");
  EXPECT_EQ(text(1073741825), "1 GB");
}

// Shows: stringForObjectValue
TEST(OVByteFormatterTests, ObjectsAreReadAsTheCountThatTheyAnswer) {
  EXPECT_EQ(text(nullptr), "0 Bytes");
  EXPECT_EQ(text(NSArray::array()), "0 Bytes");
  EXPECT_EQ(text("1536 of them"), here("1.5 KB"));
  EXPECT_EQ(text("-1"), "17179869184 GB");
  EXPECT_EQ(text(-1), "17179869184 GB");
  EXPECT_EQ(text(std::nan("")), "0 Bytes");
  EXPECT_EQ(text(std::numeric_limits<double>::infinity()), "17179869184 GB");
}

// Shows: stringForObjectValue
TEST(OVByteFormatterTests, HalvesOfATenthAreRoundedToTheEvenOne) {
  EXPECT_EQ(text(1280), here("1.2 KB"));
  EXPECT_EQ(text(1792), here("1.8 KB"));
}

// Shows: setNumberFormat, numberFormat, init
TEST(OVByteFormatterTests, ThePatternOfTheNumberCanBeSet) {
  const auto formatter = OVByteFormatter::init();
  EXPECT_FALSE(formatter->numberFormat());
  formatter->setNumberFormat("###0.#");
  EXPECT_EQ(textBy(formatter, 1536), here("1.5 KB"));
  formatter->setNumberFormat("0.000");
  EXPECT_EQ(textBy(formatter, 1536), here("1.500 KB"));
  formatter->setNumberFormat("0.#.#");
  EXPECT_EQ(textBy(formatter, 1536), "2 KB");
  formatter->setNumberFormat(nullptr);
  EXPECT_EQ(textBy(formatter, 1536), here("1.5 KB"));
}

// Shows: setNumberFormat
TEST(OVByteFormatterTests, ItKeepsACopyOfThePattern) {
  const auto pattern = NSMutableString::stringWithString("0.0");
  const auto formatter = OVByteFormatter::init();
  formatter->setNumberFormat(pattern);
  pattern->setString("0.000");
  EXPECT_EQ(textBy(formatter, 1), here("1.0 Bytes"));
}

// Shows: attributedStringForObjectValue_withDefaultAttributes
TEST(OVByteFormatterTests, NoStyledTextIsOffered) {
  EXPECT_FALSE(OVByteFormatter::init()->attributedStringForObjectValue_withDefaultAttributes(
      1, NSDictionary::dictionary()));
}

// Shows: getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, TextsWithAUnitAreRead) {
  for (const auto& [text, bytes] : std::vector<std::pair<const char16_t*, std::uint64_t>>{
           {u"1.5 KB", 1536},
           {u"2 mb", 2097152},
           {u"10 B", 10},
           {u"10 bytes", 10},
           {u"7BYTES", 7},
           {u" 3 GB", 3221225472},
           {u"\t\n3\u00a0gb", 3221225472},
           {u"1.5KB of it", 1536},
           {u"1e3 B", 1000},
           {u".5 kb", 512},
           {u"1.9 B", 1},
       }) {
    testing::forBothStorages(text, [&, bytes = bytes](const Ref<NSString>& string) {
      EXPECT_EQ(count(string), bytes) << string;
    });
  }
}

// Shows: getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, WithoutAUnitANumberCountsMegabytes) {
  EXPECT_EQ(count("10"), 10485760U);
  EXPECT_EQ(count("10 TB"), 10485760U);
  EXPECT_EQ(count("10 apples"), 10485760U);
  EXPECT_EQ(count("0.5"), 524288U);
}

// Shows: getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, CountsStayWithin64Bits) {
  EXPECT_EQ(count("9223372036854775808 B"), 9223372036854775808U);
  EXPECT_EQ(count("12884901888 GB"), 13835058055282163712U);
  EXPECT_EQ(count("17179869184 GB"), kMost);
  EXPECT_EQ(count("1e999 KB"), kMost);
  EXPECT_EQ(count("-5 KB"), 0U);
}

// Shows: getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, TextThatDoesNotBeginWithANumberIsRefused) {
  for (const char* string : {"abc", "", "  ", "KB 5", "-", "+", ".", "nan", "inf"}) {
    id object = NSArray::array();
    const id before = object;
    Ref<NSString> error;
    const auto formatter = OVByteFormatter::init();
    EXPECT_FALSE(formatter->getObjectValue_forString_errorDescription(&object, string, &error));
    EXPECT_EQ(error, "Couldn't convert to bytes") << string;
    EXPECT_EQ(object, before);
    EXPECT_FALSE(formatter->getObjectValue_forString_errorDescription(nullptr, string));
  }
  EXPECT_FALSE(
      OVByteFormatter::init()->getObjectValue_forString_errorDescription(nullptr, nullptr));
}

/// Runs the present test once more, in a copy of this program in the folder. Answers its exit
/// status.
int runPresentTestIn(const testing::TemporaryFolder& folder) {
  const std::string program = folder.at("program");
  std::filesystem::copy_file("/proc/self/exe", program);
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::string filter =
      std::string("--gtest_filter=") + test->test_suite_name() + "." + test->name();
  const int status = testing::runInChild(
      [&] { return ::execl(program.c_str(), program.c_str(), filter.c_str(), nullptr); });
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Shows: getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, TheRefusalIsTheTextOfTheMainBundle) {
  if (NSBundle::mainBundle()->pathForResource_ofType("Localizable", "strings")) {
    Ref<NSString> error;
    OVByteFormatter::init()->getObjectValue_forString_errorDescription(nullptr, "abc", &error);
    EXPECT_EQ(error, "Keine Zahl");
    return;
  }
  const testing::TemporaryFolder folder;
  folder.write("Localizable.strings",
               "<plist><dict><key>Couldn't convert to bytes</key><string>Keine Zahl</string>"
               "</dict></plist>");
  EXPECT_EQ(runPresentTestIn(folder), 0);
}

// Shows: getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, TheCountNeedNotBeAskedFor) {
  EXPECT_TRUE(OVByteFormatter::init()->getObjectValue_forString_errorDescription(nullptr, "1 KB"));
}

/// Whole tenths, rounded half to even; for counts that a double holds exactly.
std::string plainText(std::uint64_t count) {
  std::uint64_t unit = 1;
  const char* label = " Bytes";
  for (const char* larger : {" KB", " MB", " GB"}) {
    if (count <= unit * 1024) break;
    unit *= 1024;
    label = larger;
  }
  std::uint64_t tenths = count / unit * 10 + count % unit * 10 / unit;
  const std::uint64_t rest = count % unit * 10 % unit;
  tenths += rest * 2 > unit || (rest * 2 == unit && tenths % 2 == 1) ? 1 : 0;
  const std::string decimals = tenths % 10 == 0 ? "" : "." + std::to_string(tenths % 10);
  return here(std::to_string(tenths / 10) + decimals + label);
}

double unitOf(const std::string& text) {
  return text.ends_with("GB")   ? 0x1p30
         : text.ends_with("MB") ? 0x1p20
         : text.ends_with("KB") ? 0x1p10
                                : 1;
}

// Shows: stringForObjectValue, getObjectValue_forString_errorDescription
TEST(OVByteFormatterTests, CountsAroundEveryBoundaryAreAsInPlainSteps) {
  const auto formatter = OVByteFormatter::init();
  for (const std::uint64_t boundary :
       {std::uint64_t{0}, std::uint64_t{1} << 10, std::uint64_t{1} << 20, std::uint64_t{1} << 30,
        std::uint64_t{1} << 40, std::uint64_t{1} << 50}) {
    for (std::uint64_t count = boundary - std::min<std::uint64_t>(boundary, 3000);
         count < boundary + 3000; ++count) {
      const std::string text = textBy(formatter, count);
      ASSERT_EQ(text, plainText(count));
      id read;
      const auto withPoint =
          Ref<NSString>(text)->stringByReplacingOccurrencesOfString_withString(separator(), ".");
      ASSERT_TRUE(formatter->getObjectValue_forString_errorDescription(&read, withPoint));
      const double difference = cast<NSNumber>(read)->doubleValue() - static_cast<double>(count);
      ASSERT_LE(std::abs(difference), unitOf(text) * 0.05 + 1) << text;
    }
  }
}

}  // namespace
}  // namespace kestova
