// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <gtest/gtest.h>

#include "OVFileOperationFixture.h"

#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::kFirstFigures;
using testing::kSecondFigures;

using Names = std::vector<std::string>;

/// Writes down the keys of the changes in their order.
class KeyRecorder : public NSObject {
 public:
  Names keys;
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                      const Ref<NSDictionary>&, void*) override {
    keys.push_back(keyPath->displayUTF8());
  }
};

const Names kFigureKeys = {"totalBytes",
                           "bytesComplete",
                           "bytesRemaining",
                           "totalObjects",
                           "objectsComplete",
                           "objectsRemaining",
                           "totalUserVisibleObjects",
                           "userVisibleObjectsComplete",
                           "userVisibleObjectsRemaining"};

class OVFileOperationPropertiesTests : public testing::OVFileOperationReportFixture {
 protected:
  void observe(const Names& keys) {
    for (const auto& key : keys) {
      operation_->addObserver_forKeyPath_options_context(recorder_.get(), key, 0, nullptr);
    }
  }

  Ref<KeyRecorder> recorder_ = make<KeyRecorder>();
};

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsComplete, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationPropertiesTests, ASingleItemsFiguresAreItsOwn) {
  beginSingle();
  service_.report(0, kFirstFigures);
  EXPECT_EQ(operation_->totalBytes(), 100U);
  EXPECT_EQ(operation_->bytesComplete(), 40U);
  EXPECT_EQ(operation_->bytesRemaining(), 60U);
  EXPECT_EQ(operation_->totalObjects(), 10U);
  EXPECT_EQ(operation_->objectsComplete(), 4U);
  EXPECT_EQ(operation_->objectsRemaining(), 6U);
  EXPECT_EQ(operation_->totalUserVisibleObjects(), 8U);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 3U);
  EXPECT_EQ(operation_->userVisibleObjectsRemaining(), 5U);
  EXPECT_EQ(operation_->throughput(), 1.5);
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationPropertiesTests, TheFiguresOfManyAreTheSumAtEveryReport) {
  beginTwo();
  service_.report(0, kFirstFigures);
  EXPECT_EQ(operation_->totalBytes(), 100U);
  service_.report(1, kSecondFigures);
  EXPECT_EQ(operation_->totalBytes(), 107U);
  EXPECT_EQ(operation_->bytesComplete(), 41U);
  EXPECT_EQ(operation_->bytesRemaining(), 66U);
  EXPECT_EQ(operation_->totalObjects(), 13U);
  EXPECT_EQ(operation_->objectsComplete(), 5U);
  EXPECT_EQ(operation_->objectsRemaining(), 8U);
  EXPECT_EQ(operation_->totalUserVisibleObjects(), 10U);
  EXPECT_EQ(operation_->userVisibleObjectsRemaining(), 6U);
  EXPECT_EQ(operation_->throughput(), 3.5);
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 107U);
  service_.report(1, kSecondFigures);
  EXPECT_EQ(operation_->totalBytes(), 107U);
}

// Shows: userVisibleObjectsComplete
TEST_F(OVFileOperationPropertiesTests, UserVisibleObjectsOfManyCountAsCompleteFromTheStart) {
  beginTwo();
  service_.report(0, kFirstFigures);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 8U);
  service_.report(1, kSecondFigures);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 10U);
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsComplete, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationPropertiesTests, FiguresAreAnnouncedInOrderAndThroughputIsNot) {
  Names observed = kFigureKeys;
  observed.emplace_back("throughput");
  observe(observed);
  beginSingle();
  service_.report(0, kFirstFigures);
  EXPECT_EQ(recorder_->keys, kFigureKeys);
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsComplete, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationPropertiesTests, TheFiguresOfManyAreAnnouncedInTheSameOrder) {
  Names observed = kFigureKeys;
  observed.emplace_back("throughput");
  observe(observed);
  beginTwo();
  service_.report(1, kSecondFigures);
  EXPECT_EQ(recorder_->keys, kFigureKeys);
}

// Shows: totalBytes, bytesComplete
TEST_F(OVFileOperationPropertiesTests, AnObserverThatThrowsKeepsNoFigureFromBeingAnnounced) {
  class Refusing final : public NSObject {
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                        const Ref<NSDictionary>&, void*) override {
      throw NSException(NSGenericException, "no");
    }
  };
  for (const bool beforehand : {true, false}) {
    const auto recorder = make<KeyRecorder>();
    const auto refusing = make<Refusing>();
    for (const auto& key : kFigureKeys) {
      operation_->addObserver_forKeyPath_options_context(recorder.get(), key,
                                                         NSKeyValueObservingOptionPrior, nullptr);
    }
    const NSUInteger options = beforehand ? NSUInteger(NSKeyValueObservingOptionPrior) : 0;
    operation_->addObserver_forKeyPath_options_context(refusing.get(), "bytesComplete", options,
                                                       nullptr);
    beginSingle();
    EXPECT_THROW(service_.report(0, kFirstFigures), NSException);
    Names told = kFigureKeys;
    told.insert(told.end(), kFigureKeys.begin(), kFigureKeys.end());
    if (beforehand) {
      told = {"totalBytes", "bytesComplete", "bytesComplete", "totalBytes"};
    }
    EXPECT_EQ(recorder->keys, told);
  }
}

// Shows: isCancelled, isExecuting, isFinished, fromPath, toPath, currentFile
TEST_F(OVFileOperationPropertiesTests, FlagsPathsAndCurrentFileCanBeObserved) {
  observe({"isCancelled", "isExecuting", "isFinished", "fromPath", "toPath", "currentFile"});
  beginSingle();
  EXPECT_EQ(recorder_->keys,
            (Names{"fromPath", "toPath", "isCancelled", "isExecuting", "isFinished"}));
  recorder_->keys.clear();
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
  EXPECT_EQ(recorder_->keys, (Names{"currentFile", "isExecuting", "isFinished"}));
}

// Shows: fromPaths, toPaths, isCancelled, isExecuting, isFinished
TEST_F(OVFileOperationPropertiesTests, ThePathsOfManyCanBeObserved) {
  const Names observed = {"fromPaths", "toPaths", "isCancelled", "isExecuting", "isFinished"};
  observe(observed);
  beginTwo();
  EXPECT_EQ(recorder_->keys, observed);
}

// Shows: OVFileOperation
TEST_F(OVFileOperationPropertiesTests, TheClassNamesItsPropertiesInTheirOrder) {
  Names names;
  for (const Property& property : OVFileOperation::staticClass().properties()) {
    names.emplace_back(property.name);
  }
  EXPECT_EQ(
      names,
      (Names{"delegate", "isCancelled", "isExecuting", "isFinished", "fromPath", "toPath",
             "currentFile", "fromPaths", "toPaths", "totalBytes", "bytesComplete", "bytesRemaining",
             "totalObjects", "objectsComplete", "objectsRemaining", "totalUserVisibleObjects",
             "userVisibleObjectsComplete", "userVisibleObjectsRemaining", "throughput"}));
}

}  // namespace
}  // namespace kestova
