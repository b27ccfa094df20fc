// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/CFUUID.h>
#include <gtest/gtest.h>

#include <set>

namespace kestova::testing {
namespace {

TEST(CFUUIDTests, IsWrittenInUpperCaseGroups) {
  EXPECT_EQ(CFUUIDCreateString({0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x46, 0x07, 0x88, 0x09, 0xAA,
                                0xBB, 0xCC, 0xDD, 0xEE, 0xFF}),
            "00010203-0405-4607-8809-AABBCCDDEEFF");
}

TEST(CFUUIDTests, NewOnesAreRandomOnesAndDiffer) {
  std::set<CFUUIDBytes> seen;
  for (int i = 0; i < 1000; ++i) {
    const CFUUIDBytes uuid = CFUUIDCreate();
    EXPECT_EQ(uuid[6] >> 4, 4) << "version";
    EXPECT_EQ(uuid[8] >> 6, 2) << "variant";
    EXPECT_TRUE(seen.insert(uuid).second);
  }
}

}  // namespace
}  // namespace kestova::testing
