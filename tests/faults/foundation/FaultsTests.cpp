// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"

#include <KestovaPlatform/KestovaPlatform.h>
#include <gtest/gtest.h>

#include <new>

#include "TemporaryFolder.h"

namespace kestova::testing {
namespace {

TEST(FaultsTests, MeetsTheCallsOfTheLibraries) {
  const TemporaryFolder folder;
  const ArmedFault fault(FaultyCall::write, 1, Fault::failing(ENOSPC));
  EXPECT_FALSE(
      NSData::dataWithBytes_length("text", 4)->writeToFile_atomically(folder.at("f"), true));
  EXPECT_TRUE(fault.wasMet());
}

TEST(FaultsTests, MeetsTheAllocationsOfTheLibraries) {
  const ArmedFault fault(FaultyCall::allocation, 1, Fault::failing(ENOMEM));
  EXPECT_THROW((void)NSMutableArray::array(), std::bad_alloc);
}

}  // namespace
}  // namespace kestova::testing
