// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringIdentifiers.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

namespace kestova::testing {
namespace {

// Shows: OVStringForOSType
TEST(NSStringIdentifiersTests, ACodeReadsFromItsHighestByte) {
  EXPECT_EQ(OVStringForOSType(0x54455854), "TEXT");
  EXPECT_EQ(OVStringForOSType(0x20202020), "    ");
  EXPECT_EQ(OVStringForOSType(gestaltSystemVersionMajor), "sys1");
}

// Shows: OVStringForOSType
TEST(NSStringIdentifiersTests, AZeroByteEndsACode) {
  EXPECT_EQ(OVStringForOSType(0x41420000), "AB");
  EXPECT_EQ(OVStringForOSType(0x41004243), "A");
  EXPECT_EQ(OVStringForOSType(0x00414243), "");
  EXPECT_EQ(OVStringForOSType(0), "");
}

// Shows: OVStringForOSType
TEST(NSStringIdentifiersTests, BytesThatAreNoUTF8ShowAsReplacementCharactersInACode) {
  EXPECT_EQ(OVStringForOSType(0xC3BC4142), "üAB");
  EXPECT_EQ(OVStringForOSType(0xA96E616D), "\uFFFDnam");
}

// Shows: NSStringUUID
TEST(NSStringIdentifiersTests, EachUUIDIsNewAndHasTheCanonicalForm) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const auto uuid = NSStringUUID();
    EXPECT_EQ(uuid->length(), 36U);
    EXPECT_TRUE(std::regex_match(uuid->displayUTF8(), form)) << uuid;
    EXPECT_TRUE(seen.insert(uuid->displayUTF8()).second);
  }
}

}  // namespace
}  // namespace kestova::testing
