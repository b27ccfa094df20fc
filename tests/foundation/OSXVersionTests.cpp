// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OSXVersion.h>
#include <KestovaPlatform/Gestalt.h>
#include <gtest/gtest.h>

#include <mutex>
#include <set>

#include "Stress.h"

namespace kestova::testing {
namespace {

// Shows: OSXVersionMake
TEST(OSXVersionTests, APackedVersionHoldsTheLowBitsOfEachPart) {
  static_assert(OSXVersionMake(10, 9, 5) == 657669);
  static_assert(OSXVersionMake(10, 9, 5) == 0x0A0905);
  static_assert(OSXVersionMake(10, 300, 1) == 666625);
  static_assert(OSXVersionMake(10, 300, 1) == 0x0A2C01);
  static_assert(OSXVersionMake(0, 0, 0) == 0);
  static_assert(OSXVersionMake(255, 255, 255) == 0xFFFFFF);
  static_assert(OSXVersionMake(256, 257, 0xFFFFFFFF) == 0x0001FF);
}

// Shows: OSXVersionMake
TEST(OSXVersionTests, LaterVersionsAreLarger) {
  EXPECT_LT(OSXVersionMake(10, 9, 5), OSXVersionMake(10, 10, 0));
  EXPECT_LT(OSXVersionMake(10, 255, 255), OSXVersionMake(11, 0, 0));
}

// Shows: OSXVersion
TEST(OSXVersionTests, TheVersionIsThatOfTheRunningSystemForEveryThread) {
  std::int32_t parts[3] = {};
  Gestalt(gestaltSystemVersionMajor, &parts[0]);
  Gestalt(gestaltSystemVersionMinor, &parts[1]);
  Gestalt(gestaltSystemVersionBugFix, &parts[2]);
  const auto part = [&](int index) { return static_cast<std::uint32_t>(parts[index]); };

  std::mutex mutex;
  std::set<std::uint32_t> versions;
  Threads threads;
  threads.start(8, [&](int) {
    const std::uint32_t version = OSXVersion();
    const std::scoped_lock lock(mutex);
    versions.insert(version);
  });
  threads.join();
  EXPECT_EQ(versions, std::set{OSXVersionMake(part(0), part(1), part(2))});
}

}  // namespace
}  // namespace kestova::testing
