// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "ObservedNodes.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::kNewAndOld;
using testing::Lines;
using testing::ObservedNode;

class ObservedKeyPathTests : public testing::ObservedNodeFixture {};

TEST_F(ObservedKeyPathTests, APathIsFollowedToItsEnd) {
  const auto last = make<ObservedNode>();
  node_->setNext(last);
  observe("next.value");
  last->setValue(4);
  EXPECT_EQ(recorder_->told, (Lines{"next.value 0>4"}));
  stop("next.value");
  EXPECT_FALSE(last->hasObservers());
}

TEST_F(ObservedKeyPathTests, APathAttachesToANewMiddle) {
  const auto before = make<ObservedNode>();
  const auto after = make<ObservedNode>();
  after->setValue(9);
  node_->setNext(before);
  observe("next.value");
  node_->setNext(after);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"next.value 0>9"}));
  before->setValue(1);
  EXPECT_TRUE(recorder_->told.empty());
  EXPECT_FALSE(before->hasObservers());
  after->setValue(10);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"next.value 9>10"}));
  node_->setNext(nullptr);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"next.value 10>null"}));
  node_->setNext(after);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"next.value null>10"}));
  stop("next.value");
}

TEST_F(ObservedKeyPathTests, ALongPathSurvivesChangesAnywhere) {
  const auto second = make<ObservedNode>();
  const auto third = make<ObservedNode>();
  observe("next.next.value");
  node_->setNext(second);
  second->setNext(third);
  third->setValue(7);
  second->setNext(nullptr);
  EXPECT_EQ(recorder_->told, (Lines{"next.next.value null>null", "next.next.value null>0",
                                    "next.next.value 0>7", "next.next.value 7>null"}));
  stop("next.next.value");
  EXPECT_FALSE(second->hasObservers());
  EXPECT_FALSE(third->hasObservers());
}

TEST_F(ObservedKeyPathTests, APathThatReturnsToItsRootKeepsNothingAlive) {
  node_->setNext(node_);
  observe("next.next.value");
  const NSUInteger heldByItself = node_->retainCount();
  EXPECT_EQ(heldByItself, 2U);
  node_->setValue(3);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"next.next.value 0>3"}));
  node_->setNext(nullptr);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"next.next.value 3>null"}));
  EXPECT_EQ(node_->retainCount(), 1U);
  stop("next.next.value");
  EXPECT_FALSE(node_->hasObservers());
}

TEST_F(ObservedKeyPathTests, APathLeadsThroughADictionary) {
  const auto dictionary = NSMutableDictionary::dictionary();
  dictionary->addObserver_forKeyPath_options_context(recorder_.get(), "node.value", kNewAndOld,
                                                     nullptr);
  dictionary->setValue_forKey(node_, "node");
  node_->setValue(2);
  EXPECT_EQ(recorder_->told, (Lines{"node.value null>0", "node.value 0>2"}));
  dictionary->removeObserver_forKeyPath(recorder_.get(), "node.value");
  EXPECT_FALSE(node_->hasObservers());
}

TEST_F(ObservedKeyPathTests, WhatCannotBeFollowedIsNotRegistered) {
  expectException(NSUndefinedKeyException, [&] { observe("nosuch.value"); });
  expectException(NSUndefinedKeyException,
                  [&] { observe("nosuch", kNewAndOld | NSKeyValueObservingOptionInitial); });
  EXPECT_FALSE(node_->hasObservers());
}

}  // namespace
}  // namespace kestova
