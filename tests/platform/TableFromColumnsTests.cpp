// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "RandomRun.h"
#include "collections/TableFromColumns.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace kestova {
namespace {

/// A key whose hash is chosen: few of them, and all keys get into each other's way.
class ChosenHash final : public NSObject {
 public:
  ChosenHash(std::uint64_t value, NSUInteger hash) : value_(value), hash_(hash) {}

  bool isEqual(const id& other) const override {
    const auto key = cast<ChosenHash>(other);
    return key && key->value_ == value_;
  }
  NSUInteger hash() const override { return hash_; }

 private:
  std::uint64_t value_;
  NSUInteger hash_;
};

id keyOf(std::uint64_t value, NSUInteger hashes) {
  return hashes == 0 ? id("key " + std::to_string(value))
                     : id(make<ChosenHash>(value, value % hashes));
}

HashedKeys hashed(std::initializer_list<id> keys) {
  HashedKeys all;
  for (const id& key : keys) {
    all.add(key);
  }
  return all;
}

using Model = std::map<std::uint64_t, std::int64_t>;

void expectSame(const ObjectMap& table, const Model& model, NSUInteger hashes,
                std::uint64_t limit) {
  ASSERT_EQ(table.size(), model.size());
  for (std::uint64_t value = 0; value < limit; ++value) {
    const auto found = table.find(keyOf(value, hashes));
    const auto expected = model.find(value);
    ASSERT_EQ(found != table.end(), expected != model.end()) << value;
    if (found != table.end()) {
      ASSERT_TRUE(found->second->isEqual(id(expected->second))) << value;
    }
  }
}

/// Puts in and takes out as whoever owns a table does, which holds only if all buckets are right.
void changeBoth(ObjectMap& table, Model& model, NSUInteger hashes, std::uint64_t limit,
                testing::RandomRun& random) {
  const std::uint64_t value = random.below(limit);
  const auto found = table.find(keyOf(value, hashes));
  if (found != table.end()) {
    table.unordered_erase(found);
    model.erase(value);
  } else {
    const auto object = static_cast<std::int64_t>(random.below(1000));
    table.emplace(keyOf(value, hashes), object);
    model[value] = object;
  }
}

TEST(TableFromColumnsTests, EveryKeyIsFoundInATableOfAnySizeAndTheOrderStays) {
  for (std::int64_t size = 0; size <= 300; ++size) {
    HashedKeys keys;
    std::vector<id> objects;
    for (std::int64_t index = 0; index < size; ++index) {
      keys.add("key " + std::to_string(index));
      objects.emplace_back(index);
    }
    const ObjectMap table = tableFromColumns(keys, objects);
    ASSERT_EQ(table.size(), static_cast<std::size_t>(size));
    for (std::int64_t index = 0; index < size; ++index) {
      const auto found = table.find(id("key " + std::to_string(index)));
      ASSERT_TRUE(found == table.begin() + index) << size;
      ASSERT_TRUE(found->second->isEqual(id(index))) << size;
    }
    EXPECT_TRUE(table.find(id("none")) == table.end()) << size;
    EXPECT_EQ(keys.size() + objects.size(), 0U) << size;
  }
}

TEST(TableFromColumnsTests, OfEqualKeysTheFirstOneStaysWithTheLastObject) {
  const id a = "a";
  const id b = "b";
  HashedKeys keys = hashed({a, b, "a", "c", "b", "a"});
  std::vector<id> objects = {1, 2, 3, 4, 5, 6};
  const ObjectMap table = tableFromColumns(keys, objects);
  ASSERT_EQ(table.size(), 3U);
  const auto& entries = table.values_container();
  EXPECT_EQ(entries[0].first, a);
  EXPECT_TRUE(entries[0].second->isEqual(id(6)));
  EXPECT_EQ(entries[1].first, b);
  EXPECT_TRUE(entries[1].second->isEqual(id(5)));
  EXPECT_TRUE(entries[2].first->isEqual(id("c")));
  EXPECT_TRUE(entries[2].second->isEqual(id(4)));
}

TEST(TableFromColumnsTests, OnlyWhatHasNoPlaceIsLeft) {
  HashedKeys keys = hashed({"a", "a", "b", "a"});
  std::vector<id> objects = {1, 2, 3, 4};
  const ObjectMap table = tableFromColumns(keys, objects);
  EXPECT_EQ(table.size(), 2U);
  EXPECT_EQ(keys.keys().size(), 2U);
  std::vector<std::int64_t> left;
  for (const id& object : objects) {
    left.push_back(cast<NSNumber>(object)->longLongValue());
  }
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::int64_t>{1, 2}));
}

TEST(TableFromColumnsTests, ATableIsAsOneThatWasMadeKeyByKeyAlsoWhereHashesCollide) {
  constexpr std::uint64_t kLimit = 400;
  testing::RandomRun random;
  for (const NSUInteger hashes : {0U, 1U, 2U, 7U, 64U, 100'000U}) {
    for (int round = 0; round < 12; ++round) {
      Model model;
      HashedKeys keys;
      std::vector<id> objects;
      for (std::uint64_t left = random.below(kLimit); left > 0; --left) {
        const std::uint64_t value = random.below(kLimit);
        model[value] = static_cast<std::int64_t>(left);
        keys.add(keyOf(value, hashes));
        objects.emplace_back(static_cast<std::int64_t>(left));
      }
      ObjectMap table = tableFromColumns(keys, objects);
      expectSame(table, model, hashes, kLimit);
      for (int change = 0; change < 300; ++change) {
        changeBoth(table, model, hashes, kLimit, random);
      }
      expectSame(table, model, hashes, kLimit);
    }
  }
}

}  // namespace
}  // namespace kestova
