// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Block.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace kestova {
namespace {

TEST(BlockTests, CopiesAreTheSameBlock) {
  const Block<int()> block = [] { return 1; };
  const Block<int()> copy = block;
  const Block<int()> other = [] { return 1; };
  EXPECT_EQ(block, copy);
  EXPECT_FALSE(block == other);
  EXPECT_EQ(copy(), 1);
}

TEST(BlockTests, CopiesShareTheirState) {
  const Block<int()> block = [count = 0]() mutable { return ++count; };
  const Block<int()> copy = block;
  EXPECT_EQ(block(), 1);
  EXPECT_EQ(copy(), 2);
}

TEST(BlockTests, NothingIsAnEmptyBlock) {
  EXPECT_FALSE(Block<void()>());
  EXPECT_FALSE(Block<void()>(nullptr));
  EXPECT_FALSE(Block<void()>(std::function<void()>()));
  EXPECT_FALSE(Block<void()>(static_cast<void (*)()>(nullptr)));
  EXPECT_EQ(Block<void()>(), Block<void()>());
  EXPECT_TRUE(Block<void()>([] {}));
}

TEST(BlockDeathTest, CallingNothingEndsTheProcess) {
  EXPECT_DEATH(Block<void()>()(), "block != nil");
}

TEST(BlockTests, TheCallableGoesWithTheLastCopy) {
  const auto token = std::make_shared<int>(1);
  {
    const Block<void()> block = [token] {};
    const Block<void()> copy = block;
    EXPECT_EQ(token.use_count(), 2);
  }
  EXPECT_EQ(token.use_count(), 1);
}

TEST(BlockTests, ArgumentsAndResultsPassThrough) {
  const Block<std::string(std::unique_ptr<int>, const std::string&)> block =
      [](std::unique_ptr<int> number, const std::string& text) {
        return text + std::to_string(*number);
      };
  EXPECT_EQ(block(std::make_unique<int>(7), "n"), "n7");
}

TEST(BlockTests, ABlockIsAnObjectAndBack) {
  const Block<int()> block = [] { return 3; };
  EXPECT_EQ(Block<int()>::fromObject(block.object()), block);
  EXPECT_FALSE(Block<void()>::fromObject(block.object()));
  EXPECT_EQ(Block<int()>().object(), nullptr);
}

}  // namespace
}  // namespace kestova
