// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVGenerateAndProcess.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "CountingObject.h"

#include <atomic>
#include <chrono>
#include <latch>
#include <numeric>
#include <optional>
#include <thread>
#include <vector>

namespace kestova::testing {
namespace {

/// Hands out the numbers below an end, and then nothing.
class NumbersBelow {
 public:
  explicit NumbersBelow(int end) : end_(end) {}
  id next() { return next_ < end_ ? counted(next_++) : nullptr; }

 private:
  const int end_;
  int next_ = 0;
};

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, ProcessesEveryItemInTheOrderOfItsMaking) {
  for (const int count : {1, 2, 3, 1000}) {
    NumbersBelow numbers(count);
    int calls = 0;
    std::vector<int> processed;
    OVGenerateAndProcess(
        [&] {
          ++calls;
          return numbers.next();
        },
        [&](const id& item) { processed.push_back(valueOf(item)); });
    std::vector<int> expected(static_cast<std::size_t>(count));
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(processed, expected);
    EXPECT_EQ(calls, count + 1) << "the last call answers nothing";
  }
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, WithoutItemsNothingIsProcessed) {
  int calls = 0;
  OVGenerateAndProcess(
      [&] {
        ++calls;
        return id();
      },
      [](const id&) { FAIL(); });
  EXPECT_EQ(calls, 1);
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, MakesAnItemWhileItProcessesTheOneBefore) {
  constexpr int kItems = 20;
  NumbersBelow numbers(kItems);
  std::vector<std::optional<std::latch>> both(kItems);
  for (auto& latch : both) {
    latch.emplace(2);
  }
  int made = 0;
  // The call that makes item k + 1 and the processing of item k each wait for the other one.
  OVGenerateAndProcess(
      [&] {
        if (made++ > 0) {
          both[static_cast<std::size_t>(made - 2)]->arrive_and_wait();
        }
        return numbers.next();
      },
      [&](const id& item) { both[static_cast<std::size_t>(valueOf(item))]->arrive_and_wait(); });
  EXPECT_EQ(made, kItems + 1);
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, NeitherBlockRunsBesideItself) {
  NumbersBelow numbers(2000);
  std::atomic<int> generating{0};
  std::atomic<int> processing{0};
  OVGenerateAndProcess(
      [&] {
        EXPECT_EQ(++generating, 1);
        const id item = numbers.next();
        --generating;
        return item;
      },
      [&](const id&) {
        EXPECT_EQ(++processing, 1);
        --processing;
      });
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, NeitherBlockRunsOnTheThreadOfTheCaller) {
  NumbersBelow numbers(10);
  const auto caller = std::this_thread::get_id();
  OVGenerateAndProcess(
      [&] {
        EXPECT_NE(std::this_thread::get_id(), caller);
        return numbers.next();
      },
      [&](const id&) { EXPECT_NE(std::this_thread::get_id(), caller); });
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, LetsGoOfEachItemOnceItIsProcessed) {
  const int before = CountingObject::alive();
  NumbersBelow numbers(100);
  OVGenerateAndProcess([&] { return numbers.next(); },
                       [&](const id&) { EXPECT_LE(CountingObject::alive() - before, 2); });
  EXPECT_EQ(CountingObject::alive(), before);
}

/// Waits until no counted object is left, a minute at most.
bool areAllGone() {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (CountingObject::alive() > 0 && std::chrono::steady_clock::now() < limit) {
    std::this_thread::yield();
  }
  return CountingObject::alive() == 0;
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, AProcessedItemDoesNotWaitForTheNextOneToBeMade) {
  NumbersBelow numbers(2);
  int calls = 0;
  OVGenerateAndProcess(
      [&] {
        if (++calls == 2) {
          EXPECT_TRUE(areAllGone()) << "the first has been processed meanwhile";
        }
        return numbers.next();
      },
      [](const id&) {});
  EXPECT_EQ(calls, 3);
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessTests, CanBeUsedWithinItself) {
  NumbersBelow outer(5);
  int sum = 0;
  OVGenerateAndProcess([&] { return outer.next(); },
                       [&](const id&) {
                         NumbersBelow inner(5);
                         OVGenerateAndProcess([&] { return inner.next(); },
                                              [&](const id& item) { sum += valueOf(item); });
                       });
  EXPECT_EQ(sum, 50);
}

// Shows: OVGenerateAndProcess
TEST(OVGenerateAndProcessDeathTests, BothBlocksAreRequired) {
  const Block<void(const id&)> processor = [](const id&) {};
  EXPECT_DEATH(OVGenerateAndProcess(nullptr, processor), "generator != nil");
  EXPECT_DEATH(OVGenerateAndProcess([] { return id(); }, nullptr), "processor != nil");
}

}  // namespace
}  // namespace kestova::testing
