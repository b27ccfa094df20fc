// SPDX-License-Identifier: Apache-2.0
#include "files/TransferProgress.h"

#include <gtest/gtest.h>

namespace kestova {
namespace {

class TransferProgressTest : public ::testing::Test {
 protected:
  TransferFigures figures(int seconds = 0) { return progress_.figures(at(seconds)); }
  static TransferProgress::Time at(int seconds) {
    return TransferProgress::Time{std::chrono::hours(1) + std::chrono::seconds(seconds)};
  }
  static void expectCount(const TransferCount& count, std::uint64_t total, std::uint64_t complete) {
    EXPECT_EQ(count.total, total);
    EXPECT_EQ(count.complete, complete);
    EXPECT_EQ(count.remaining, total - complete);
  }

  TransferProgress progress_;
};

TEST_F(TransferProgressTest, BeginsWithNothing) {
  expectCount(figures().bytes, 0, 0);
  expectCount(figures().objects, 0, 0);
  expectCount(figures().userVisibleObjects, 0, 0);
  EXPECT_EQ(figures().throughput, 0);
}

TEST_F(TransferProgressTest, CountsWhatIsExpectedAndWhatIsDone) {
  progress_.expect(100, true);
  progress_.expect(20, false);
  progress_.addBytes(100);
  progress_.addObject(true);
  expectCount(figures().bytes, 120, 100);
  expectCount(figures().objects, 2, 1);
  expectCount(figures().userVisibleObjects, 1, 1);
}

TEST_F(TransferProgressTest, TotalsGrowWithWhatIsDoneBeyondThem) {
  progress_.expect(10, true);
  progress_.addBytes(15);
  progress_.addObject(true);
  progress_.addObject(true);
  expectCount(figures().bytes, 15, 15);
  expectCount(figures().objects, 2, 2);
}

TEST_F(TransferProgressTest, SettlingCorrectsTotalsThatWereNotReached) {
  progress_.expect(100, true);
  progress_.expect(100, true);
  progress_.addBytes(90);
  progress_.addObject(true);
  progress_.settle(at(1));
  expectCount(figures().bytes, 90, 90);
  expectCount(figures().objects, 1, 1);
  expectCount(figures().userVisibleObjects, 1, 1);
}

TEST_F(TransferProgressTest, ThroughputCountsFromTheBeginning) {
  progress_.begin(at(0));
  progress_.addBytes(3000);
  EXPECT_DOUBLE_EQ(figures(2).throughput, 1500);
}

TEST_F(TransferProgressTest, ThroughputStaysAfterTheEnd) {
  progress_.begin(at(0));
  progress_.addBytes(3000);
  progress_.settle(at(2));
  EXPECT_DOUBLE_EQ(figures(2000).throughput, 1500);
}

TEST_F(TransferProgressTest, NamesWithALeadingFullStopAreHidden) {
  EXPECT_FALSE(isUserVisible(".git"));
  EXPECT_TRUE(isUserVisible("a.git"));
  EXPECT_TRUE(isUserVisible(""));
}

}  // namespace
}  // namespace kestova
