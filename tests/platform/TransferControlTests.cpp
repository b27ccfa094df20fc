// SPDX-License-Identifier: Apache-2.0
#include "files/TransferControl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <latch>
#include <thread>
#include <vector>

namespace kestova {
namespace {

TEST(TransferControlTest, GoesOnUntilSomethingFails) {
  TransferControl control;
  EXPECT_FALSE(control.stopped());
  EXPECT_EQ(control.error(), 0);
  EXPECT_EQ(control.failedItem(), "");
  control.fail(EIO, "item");
  EXPECT_TRUE(control.stopped());
}

TEST(TransferControlTest, TheFirstFailureWins) {
  TransferControl control;
  control.fail(EIO, "first");
  control.fail(ENOSPC, "second");
  control.cancel();
  EXPECT_EQ(control.error(), EIO);
  EXPECT_EQ(control.failedItem(), "first");
}

TEST(TransferControlTest, CancellingIsAFailureWithoutAnItem) {
  TransferControl control;
  control.cancel();
  EXPECT_EQ(control.error(), ECANCELED);
  EXPECT_EQ(control.failedItem(), "");
}

TEST(TransferControlTest, AsksForTheItemOnlyWhenAReportIsDue) {
  std::vector<std::string> reported;
  TransferControl control([&](const std::string& item) { reported.push_back(item); });
  std::size_t asked = 0;
  for (int each = 0; each < 100000; ++each) {
    control.report([&] {
      ++asked;
      return std::string("item");
    });
  }
  EXPECT_GE(reported.size(), 1u);
  EXPECT_EQ(reported.size(), asked);
  EXPECT_LT(reported.size(), 50000u);
}

TEST(TransferControlTest, AsksForNothingWithoutAReporter) {
  TransferControl control;
  control.report([]() -> std::string {
    ADD_FAILURE() << "asked";
    return "";
  });
}

TEST(TransferControlTest, ReportsFromOneThreadAtATime) {
  std::atomic<int> inside = 0;
  TransferControl control([&](const std::string&) {
    EXPECT_EQ(++inside, 1);
    std::this_thread::yield();
    --inside;
  });
  std::latch together(4);
  std::vector<std::thread> threads;
  for (int each = 0; each < 4; ++each) {
    threads.emplace_back([&] {
      together.arrive_and_wait();
      for (int turn = 0; turn < 200000; ++turn) control.report([] { return std::string(); });
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace kestova
