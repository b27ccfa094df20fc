// SPDX-License-Identifier: Apache-2.0
#include "files/ThroughputWindow.h"

#include <gtest/gtest.h>

namespace kestova {
namespace {

class ThroughputWindowTest : public ::testing::Test {
 protected:
  void add(int milliseconds, std::uint64_t bytes) {
    window_.add(start_ + std::chrono::milliseconds(milliseconds), bytes);
  }
  double rate() const { return window_.rate(); }

 private:
  ThroughputWindow::Time start_{std::chrono::hours(1)};
  ThroughputWindow window_;
};

TEST_F(ThroughputWindowTest, IsZeroWithoutTwoSamples) {
  EXPECT_EQ(rate(), 0);
  add(0, 500);
  EXPECT_EQ(rate(), 0);
}

TEST_F(ThroughputWindowTest, IsZeroWhileNoTimeHasPassed) {
  add(0, 0);
  add(0, 500);
  EXPECT_EQ(rate(), 0);
}

TEST_F(ThroughputWindowTest, CountsFromTheFirstSample) {
  add(0, 100);
  add(500, 1100);
  EXPECT_DOUBLE_EQ(rate(), 2000);
}

TEST_F(ThroughputWindowTest, CountsSamplesTooCloseToBeKept) {
  add(0, 0);
  add(10, 100);
  EXPECT_DOUBLE_EQ(rate(), 10000);
  add(20, 400);
  EXPECT_DOUBLE_EQ(rate(), 20000);
}

TEST_F(ThroughputWindowTest, ForgetsWhatIsOlderThanItsThreeSeconds) {
  for (int second = 0; second <= 10; ++second) add(second * 1000, second * 1000);
  for (int second = 11; second <= 14; ++second) add(second * 1000, 10000 + (second - 10) * 7000);
  EXPECT_DOUBLE_EQ(rate(), 7000);
}

TEST_F(ThroughputWindowTest, FallsToZeroWhenNothingMoves) {
  add(0, 0);
  add(1000, 5000);
  add(5000, 5000);
  EXPECT_EQ(rate(), 0);
}

}  // namespace
}  // namespace kestova
