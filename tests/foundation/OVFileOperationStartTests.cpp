// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <gtest/gtest.h>

#include "OVFileOperationFixture.h"

namespace kestova {
namespace {

using testing::expectFlags;
using testing::kFirstFigures;

class OVFileOperationStartTests : public testing::OVFileOperationReportFixture {};

// Shows: init
TEST_F(OVFileOperationStartTests, WithoutAServiceOperationThereIsNoOperation) {
  service_.creates = false;
  EXPECT_EQ(OVFileOperation::init(), nullptr);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationStartTests, EachItemsRequestNamesItsFolderItsNameAndItsContext) {
  beginTwo();
  ASSERT_EQ(service_.started.size(), 2U);
  const auto& second = service_.started[1];
  EXPECT_TRUE(second.isCopy);
  EXPECT_EQ(second.request.source, "/from/b");
  EXPECT_EQ(second.request.destinationFolder, folder_.at("to"));
  EXPECT_EQ(second.request.destinationName, "b");
  EXPECT_EQ(second.request.statusChangeInterval, 0.0);
  EXPECT_EQ(second.context.version, 0);
  const auto info = cast<NSDictionary>(id(static_cast<NSObject*>(second.context.info)));
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->count(), 5U);
  EXPECT_EQ(info->objectForKey("OVFileOperation"), operation_);
  EXPECT_TRUE(info->objectForKey("fromPath")->isEqual("/from/b"));
  EXPECT_TRUE(info->objectForKey("intoPath")->isEqual(folder_.at("to")));
  EXPECT_TRUE(info->objectForKey("fileName")->isEqual("b"));
  EXPECT_TRUE(info->objectForKey("index")->isEqual(1));
}

// Shows: beginMoveItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationStartTests, TheOptionsGoToEveryItem) {
  makeTargetFolder();
  ASSERT_TRUE(operation_->beginMoveItemsAtPaths_toPaths_options_error(
      NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b")), 9));
  ASSERT_EQ(service_.started.size(), 2U);
  for (const auto& item : service_.started) {
    EXPECT_FALSE(item.isCopy);
    EXPECT_EQ(item.request.options, 9U);
  }
}

// Shows: fromPath, toPath
TEST_F(OVFileOperationStartTests, APathThatChangesAfterTheStartIsKeptAsItWas) {
  const auto from = NSMutableString::stringWithString("/from/a");
  const auto to = NSMutableString::stringWithString("/to/a");
  ASSERT_EQ(operation_->beginCopyFromPath_toPath_options(from, to, 0), 0);
  from->appendString("b");
  to->appendString("b");
  EXPECT_EQ(operation_->fromPath(), "/from/a");
  EXPECT_EQ(operation_->toPath(), "/to/a");
}

// Shows: fromPaths, toPaths
TEST_F(OVFileOperationStartTests, ListsOfPathsThatChangeAfterTheStartAreKeptAsTheyWere) {
  makeTargetFolder();
  const auto from = NSMutableArray::array();
  const auto to = NSMutableArray::array();
  from->addObject("/from/a");
  to->addObject(target("a"));
  ASSERT_TRUE(copyItems(from, to));
  from->removeAllObjects();
  to->removeAllObjects();
  EXPECT_TRUE(operation_->fromPaths()->isEqual(NSArray::of("/from/a")));
  EXPECT_TRUE(operation_->toPaths()->isEqual(NSArray::of(target("a"))));
}

// Shows: beginCopyFromPath_toPath_options, totalBytes, currentFile
TEST_F(OVFileOperationStartTests, ASingleItemsContextIsTheOperationItself) {
  beginSingle();
  const auto& item = service_.started[0];
  EXPECT_EQ(item.context.info, static_cast<NSObject*>(operation_.get()));
  EXPECT_EQ(item.context.retain, nullptr);
  EXPECT_EQ(item.request.options, 9U);
  service_.report(0, kFirstFigures);
  EXPECT_EQ(operation_->totalBytes(), 100U);
  EXPECT_EQ(operation_->currentFile(), "/from/item");
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationStartTests, AFailedSchedulingIsToldWithItsOwnText) {
  service_.scheduleStatuses = {noErr, -50};
  makeTargetFolder();
  Ref<NSError> error;
  EXPECT_FALSE(
      copyItems(NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b")), &error));
  EXPECT_EQ(error->code(), -50);
  EXPECT_EQ(error->localizedDescription(),
            "FSFileOperationScheduleWithRunLoop failed with paramErr on the file /from/b.");
  expectFlags(*operation_, false, false, false);
  EXPECT_EQ(service_.cancelled.size(), 3U);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationStartTests, AnItemThatCannotStartCancelsThoseThatHaveStarted) {
  service_.startStatuses = {noErr, -43};
  makeTargetFolder();
  EXPECT_FALSE(copyItems(NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b"))));
  ASSERT_EQ(service_.started.size(), 1U);
  ASSERT_EQ(service_.cancelled.size(), 2U);  // the one for single items as well
  EXPECT_TRUE(service_.cancelled[1] == service_.started[0].operation);
  EXPECT_TRUE(service_.unscheduled.at(1) == service_.started[0].operation);
}

// Shows: beginMoveItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationStartTests, AMoveThatCannotStartHasTheErrorTextOfACopy) {
  service_.startStatuses = {-5000};
  makeTargetFolder();
  Ref<NSError> error;
  EXPECT_FALSE(operation_->beginMoveItemsAtPaths_toPaths_options_error(
      NSArray::of("/from/a"), NSArray::of(target("a")), 0, &error));
  EXPECT_EQ(error->localizedDescription(),
            "FSPathMoveObjectAsync failed with afpAccessDenied on the file /from/a.");
  EXPECT_EQ(error->localizedFailureReason(), "Permission denied");
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationStartTests, AFailedStartNeedsNoErrorPointer) {
  service_.startStatuses = {-5000};
  makeTargetFolder();
  EXPECT_FALSE(copyItems(NSArray::of("/from/a"), NSArray::of(target("a"))));
}

// Shows: beginCopyFromPath_toPath_options, beginMoveFromPath_toPath_options
TEST_F(OVFileOperationStartTests, TheStatusOfStartingOrSchedulingOneItemIsAnswered) {
  service_.startStatuses = {-120, noErr};
  EXPECT_EQ(operation_->beginCopyFromPath_toPath_options("/from/a", target("a"), 0), -120);
  service_.scheduleStatuses = {-50};
  EXPECT_EQ(operation_->beginMoveFromPath_toPath_options("/from/a", target("a"), 0), -50);
}

}  // namespace
}  // namespace kestova
