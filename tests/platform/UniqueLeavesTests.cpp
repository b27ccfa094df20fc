// SPDX-License-Identifier: Apache-2.0
#include "preferences/UniqueLeaves.h"

#include <gtest/gtest.h>

#include "RandomRun.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

namespace kestova {
namespace {

std::size_t add(UniqueLeaves& leaves, std::string_view bytes) {
  std::ranges::copy(bytes, leaves.extend(bytes.size()));
  return leaves.addLeaf();
}

TEST(UniqueLeavesTests, EqualBytesAreOneLeafAndNumbersCountAllObjects) {
  UniqueLeaves leaves;
  EXPECT_EQ(leaves.addOther(), 0U);
  EXPECT_EQ(add(leaves, "one"), 1U);
  EXPECT_EQ(add(leaves, "two"), 2U);
  EXPECT_EQ(add(leaves, "one"), 1U);
  EXPECT_EQ(leaves.addOther(), 3U);
  EXPECT_EQ(add(leaves, "three"), 4U);
  EXPECT_EQ(add(leaves, "two"), 2U);
  EXPECT_EQ(leaves.count(), 5U);
  EXPECT_EQ(leaves.bytes(), "onetwothree");
  EXPECT_EQ(leaves.placeOf(0), 0U);
  EXPECT_EQ(leaves.placeOf(2), 3U);
  EXPECT_EQ(leaves.placeOf(3), 6U);
  EXPECT_EQ(leaves.placeOf(4), 6U);
}

TEST(UniqueLeavesTests, ALeafMayBePutTogetherOfPieces) {
  UniqueLeaves leaves;
  const std::size_t whole = add(leaves, "twopieces");
  std::ranges::copy(std::string_view("two"), leaves.extend(3));
  EXPECT_EQ(add(leaves, "pieces"), whole);
  EXPECT_EQ(leaves.bytes(), "twopieces");
}

TEST(UniqueLeavesTests, WhatBeginsOrEndsAlikeIsNotOne) {
  UniqueLeaves leaves;
  for (std::size_t length = 1; length <= 40; ++length) {
    EXPECT_EQ(add(leaves, std::string(length, 'x')), 2 * (length - 1));
    EXPECT_EQ(add(leaves, std::string(length - 1, 'x') + "y"), 2 * length - 1);
  }
}

TEST(UniqueLeavesTests, LeavesAtRandomAgreeWithAPlainModel) {
  testing::RandomRun random;
  UniqueLeaves leaves;
  std::map<std::string, std::size_t> model;
  for (int step = 0; step < 20'000; ++step) {
    if (random.below(10) == 0) {
      const std::size_t next = leaves.count();
      ASSERT_EQ(leaves.addOther(), next);
      leaves.expect(random.below(300));  // changes nothing, whether they come or not
    }
    const std::string bytes(1 + random.below(12), static_cast<char>('a' + random.below(200)));
    const std::string leaf = bytes + std::to_string(random.below(20));
    const auto known = model.try_emplace(leaf, leaves.count()).first;
    ASSERT_EQ(add(leaves, leaf), known->second);
  }
  for (const auto& [leaf, number] : model) {
    EXPECT_EQ(leaves.bytes().substr(leaves.placeOf(number), leaf.size()), leaf);
  }
}

}  // namespace
}  // namespace kestova
