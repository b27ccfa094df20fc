// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

namespace kestova {
namespace {

constinit const StringConstant kName{"Näme"};

TEST(StringConstantTests, IsTheSameStringEveryTime) {
  EXPECT_EQ(kName.string(), "Näme");
  EXPECT_EQ(kName.string().get(), kName.string().get());
  EXPECT_EQ(Ref<NSString>(kName).get(), kName.string().get());
  EXPECT_EQ(id(kName).get(), kName.string().get());
  EXPECT_EQ(kName->length(), 4U);
  EXPECT_STREQ(kName.utf8(), "Näme");
}

TEST(StringConstantTests, ComparesAsText) {
  EXPECT_TRUE(Ref<NSString>("Näme") == kName);
  EXPECT_FALSE(Ref<NSString>("Name") == kName);
  EXPECT_FALSE(Ref<NSString>() == kName);
}

TEST(StringConstantTests, FormatsAsItsText) {
  EXPECT_EQ(NSString::stringWithFormat("<%@>", kName), "<Näme>");
}

TEST(StringConstantTests, ThreadsThatMeetOnFirstUseGetOneString) {
  for (int round = 0; round < 50; ++round) {
    const StringConstant constant{"fresh"};
    std::latch start(4);
    std::vector<Ref<NSString>> seen(4);
    std::vector<std::thread> threads;
    for (auto& place : seen) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        place = constant.string();
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
    for (const auto& string : seen) {
      EXPECT_EQ(string.get(), seen.front().get());
    }
    // A constant's string is never destroyed; this one's constant is none of the static ones.
    seen.front()->release();
  }
}

TEST(StringConstantDeathTests, IllFormedTextIsABrokenContract) {
  const StringConstant bad{"\xFF"};
  EXPECT_DEATH((void)bad.string(), "a string constant is well-formed UTF-8");
}

}  // namespace
}  // namespace kestova
