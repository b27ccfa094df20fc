// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

TEST(NSNullTests, ThereIsOne) {
  const auto null = NSNull::null();
  EXPECT_EQ(null, NSNull::null());
  EXPECT_EQ(null->copy(), null);
  EXPECT_EQ(NSClassFromString("NSNull")->make(), null);
  EXPECT_TRUE(null->isEqual(null));
  EXPECT_FALSE(null->isEqual(nullptr));
}

TEST(NSNullTests, DescribesItself) { EXPECT_EQ(NSNull::null()->description(), "<null>"); }

TEST(NSNullTests, AnswersItselfForEveryKey) {
  EXPECT_EQ(NSNull::null()->valueForKeyPath("any.path"), NSNull::null());
}

}  // namespace
}  // namespace kestova
