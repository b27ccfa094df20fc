// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSObject.h>
#include <gtest/gtest.h>

#include "object/ExtrasTable.h"
#include "object/ObjectExtras.h"

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace kestova {
namespace {

class Plain final : public NSObject {};

TEST(ExtrasTableTests, NumbersBeginWithOneAndZeroStandsForNone) {
  ExtrasTable table;
  EXPECT_EQ(table.at(0), nullptr);
  const std::uint32_t number = table.add(std::make_unique<ObjectExtras>());
  EXPECT_EQ(number, 1U);
  table.remove(number);
}

TEST(ExtrasTableTests, AnObjectThatMayBeSharedHasNoExtrasUntilTheyAreNeeded) {
  const auto object = make<Plain>();
  ObjectExtras::letShare(*object);
  EXPECT_EQ(ObjectExtras::existing(*object), nullptr);
  EXPECT_FALSE(object->hasObservers());
  EXPECT_EQ(ObjectExtras::share(*object).get(), object.get());
  ObjectExtras& extras = ObjectExtras::of(*object);
  EXPECT_EQ(ObjectExtras::existing(*object), &extras);
  ObjectExtras::letShare(*object);
  EXPECT_EQ(&ObjectExtras::of(*object), &extras);
}

TEST(ExtrasTableTests, EveryNumberKeepsItsExtrasWhileTheTableGrows) {
  ExtrasTable table;
  std::vector<ObjectExtras*> added;
  for (std::uint32_t number = 1; number <= 1000; ++number) {
    auto extras = std::make_unique<ObjectExtras>();
    added.push_back(extras.get());
    ASSERT_EQ(table.add(std::move(extras)), number);
  }
  for (std::uint32_t number = 1; number <= 1000; ++number) {
    ASSERT_EQ(table.at(number), added[number - 1]);
    table.remove(number);
  }
}

TEST(ExtrasTableTests, NumbersThatWereRemovedAreUsedAgain) {
  ExtrasTable table;
  const std::uint32_t first = table.add(std::make_unique<ObjectExtras>());
  const std::uint32_t second = table.add(std::make_unique<ObjectExtras>());
  table.remove(first);
  EXPECT_EQ(table.add(std::make_unique<ObjectExtras>()), first);
  EXPECT_EQ(table.add(std::make_unique<ObjectExtras>()), second + 1);
  for (std::uint32_t number = 1; number <= second + 1; ++number) {
    table.remove(number);
  }
}

TEST(ExtrasTableTests, ThreadsShareOneTable) {
  ExtrasTable table;
  const auto work = [&] {
    for (int round = 0; round < 2000; ++round) {
      auto extras = std::make_unique<ObjectExtras>();
      ObjectExtras* const own = extras.get();
      const std::uint32_t number = table.add(std::move(extras));
      ASSERT_EQ(table.at(number), own);
      table.remove(number);
    }
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back(work);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(ExtrasTableTests, AnObjectIsSixteenBytesWithItsCountAndExtras) {
  EXPECT_EQ(sizeof(NSObject), 16U);
}

}  // namespace
}  // namespace kestova
