// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "ObservedNodes.h"

#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::kNewAndOld;
using testing::Lines;
using testing::ObservedNode;

class NSKeyValueObservingTests : public testing::ObservedNodeFixture {};

TEST_F(NSKeyValueObservingTests, AChangeIsToldWithOldAndNewValue) {
  observe("value");
  node_->setValue(5);
  node_->setValue_forKey(6, "value");
  EXPECT_EQ(recorder_->told, (Lines{"value 0>5", "value 5>6"}));
  stop("value");
}

TEST_F(NSKeyValueObservingTests, OnlyWhatWasAskedForIsTold) {
  observe("value", 0);
  node_->setValue(5);
  stop("value");
  observe("value", NSKeyValueObservingOptionNew);
  node_->setValue(6);
  stop("value");
  observe("value", NSKeyValueObservingOptionOld);
  node_->setValue(7);
  stop("value");
  EXPECT_EQ(recorder_->told, (Lines{"value ->-", "value ->6", "value 6>-"}));
}

TEST_F(NSKeyValueObservingTests, NothingIsToldAsNull) {
  observe("next");
  node_->setNext(nullptr);
  EXPECT_EQ(recorder_->told, (Lines{"next null>null"}));
  stop("next");
}

TEST_F(NSKeyValueObservingTests, TheInitialValueIsToldAtOnce) {
  node_->setValue(3);
  observe("value", NSKeyValueObservingOptionNew | NSKeyValueObservingOptionInitial);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value ->3"}));
  stop("value");
  observe("value", NSKeyValueObservingOptionInitial);
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value ->-"}));
  stop("value");
}

TEST_F(NSKeyValueObservingTests, APriorNoticeComesBeforeTheChange) {
  observe("value", kNewAndOld | NSKeyValueObservingOptionPrior);
  int seen = -1;
  recorder_->whenTold = [&] { seen = seen == -1 ? node_->value() : seen; };
  node_->setValue(5);
  EXPECT_EQ(seen, 0);
  EXPECT_EQ(recorder_->told, (Lines{"prior value 0>-", "value 0>5"}));
  stop("value");
}

TEST_F(NSKeyValueObservingTests, OtherPropertiesAreNotTold) {
  observe("next", 0);
  node_->setValue(5);
  EXPECT_TRUE(recorder_->told.empty());
  stop("next");
}

TEST_F(NSKeyValueObservingTests, RegistrationsAreToldInTheirOrderWithTheirContexts) {
  int a = 0;
  int b = 0;
  observe("value", 0, &a);
  observe("value", 0, &b);
  node_->setValue(1);
  EXPECT_EQ(recorder_->contexts, (std::vector<void*>{&a, &b}));
  node_->removeObserver_forKeyPath_context(recorder_.get(), "value", &a);
  recorder_->contexts.clear();
  node_->setValue(2);
  EXPECT_EQ(recorder_->contexts, (std::vector<void*>{&b}));
  stop("value");
}

TEST_F(NSKeyValueObservingTests, RemovingWhatIsNotRegisteredThrows) {
  expectException(NSRangeException, [&] { stop("value"); });
  observe("value");
  expectException(NSRangeException, [&] { stop("next"); });
  int other = 0;
  expectException(NSRangeException, [&] {
    node_->removeObserver_forKeyPath_context(recorder_.get(), "value", &other);
  });
  stop("value");
  EXPECT_FALSE(node_->hasObservers());
}

TEST_F(NSKeyValueObservingTests, AnObserverThatDoesNotHandleChangesIsTold) {
  const auto plain = make<ObservedNode>();
  node_->addObserver_forKeyPath_options_context(plain.get(), "value", 0, nullptr);
  expectException(NSInternalInconsistencyException, [&] { node_->setValue(1); });
  node_->removeObserver_forKeyPath(plain.get(), "value");
}

TEST_F(NSKeyValueObservingTests, NothingAndNobodyCannotBeRegistered) {
  expectException(NSInvalidArgumentException, [&] {
    node_->addObserver_forKeyPath_options_context(nullptr, "value", 0, nullptr);
  });
  expectException(NSInvalidArgumentException, [&] {
    node_->addObserver_forKeyPath_options_context(recorder_.get(), nullptr, 0, nullptr);
  });
  expectException(NSRangeException,
                  [&] { node_->removeObserver_forKeyPath(recorder_.get(), nullptr); });
}

TEST_F(NSKeyValueObservingTests, ADictionarysKeysAreObservedWhenSetAsProperties) {
  const auto dictionary = NSMutableDictionary::dictionary();
  dictionary->addObserver_forKeyPath_options_context(recorder_.get(), "a", kNewAndOld, nullptr);
  dictionary->setValue_forKey(1, "a");
  dictionary->setValue_forKey(nullptr, "a");
  EXPECT_EQ(recorder_->told, (Lines{"a null>1", "a 1>null"}));
  dictionary->removeObserver_forKeyPath(recorder_.get(), "a");
}

}  // namespace
}  // namespace kestova
