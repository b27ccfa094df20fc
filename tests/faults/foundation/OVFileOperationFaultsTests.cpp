// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSArray.h>
#include <gtest/gtest.h>

#include "AllocationFaults.h"
#include "ScriptedFileOperations.h"
#include "TemporaryFolder.h"

using namespace kestova;
using namespace kestova::testing;

TEST(OVFileOperationFaults, ARunThatFindsNoMemoryIsTakenBack) {
  ScriptedFileOperations service;
  const TemporaryFolder folder;
  const auto sources = NSArray::of(folder.at("a"), folder.at("b"));
  const auto destinations = NSArray::of(folder.at("c"), folder.at("d"));
  Ref<OVFileOperation> operation;
  bool isBegun = false;
  const int refused = walkAllocations(
      [&] {
        operation = OVFileOperation::init();
        isBegun = operation->beginCopyItemsAtPaths_toPaths_options_error(sources, destinations, 0,
                                                                         nullptr);
      },
      [&](bool threw) {
        if (operation) {
          EXPECT_EQ(operation->isExecuting(), !threw);
          EXPECT_TRUE(threw || isBegun);
        }
        operation = nullptr;
      });
  EXPECT_GT(refused, 10);
}
