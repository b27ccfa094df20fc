// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;

class Node : public NSObject {
  KESTOVA_CLASS(Node, NSObject)

 public:
  int value() const { return value_; }
  void setValue(int value) {
    KeyValueChange change(*this, "value");
    value_ = value;
  }
  Ref<Node> next() const { return next_; }
  void setNext(const Ref<Node>& next) {
    KeyValueChange change(*this, "next");
    next_ = next;
  }

 private:
  int value_ = 0;
  Ref<Node> next_;
};

KESTOVA_DEFINE_CLASS(Node, .property<&Node::value, &Node::setValue>("value")
                               .property<&Node::next, &Node::setNext>("next"))

std::string textOf(const id& value) {
  if (!value) {
    return "-";
  }
  return value == NSNull::null() ? "null" : value->description()->displayUTF8();
}

/// Writes down what it is told: "path old>new", "prior path old".
class Recorder : public NSObject {
 public:
  std::vector<std::string> told;
  std::vector<void*> contexts;
  std::function<void()> whenTold;

  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                      const Ref<NSDictionary>& change,
                                                      void* context) override {
    const bool isPrior = change->objectForKey(NSKeyValueChangeNotificationIsPriorKey) != nullptr;
    EXPECT_TRUE(change->objectForKey(NSKeyValueChangeKindKey)->isEqual(1));
    const std::string line = keyPath->displayUTF8() + " " +
                             textOf(change->objectForKey(NSKeyValueChangeOldKey)) + ">" +
                             textOf(change->objectForKey(NSKeyValueChangeNewKey));
    told.push_back(isPrior ? "prior " + line : line);
    contexts.push_back(context);
    if (whenTold) {
      whenTold();
    }
  }

  std::vector<std::string> takeTold() { return std::exchange(told, {}); }
};

using Lines = std::vector<std::string>;
constexpr NSUInteger kNewAndOld = NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld;

class NSKeyValueObservingTests : public ::testing::Test {
 protected:
  void observe(const char* path, NSUInteger options = kNewAndOld, void* context = nullptr) {
    node_->addObserver_forKeyPath_options_context(recorder_.get(), path, options, context);
  }
  void stop(const char* path) { node_->removeObserver_forKeyPath(recorder_.get(), path); }

  Ref<Node> node_ = make<Node>();
  Ref<Recorder> recorder_ = make<Recorder>();
};

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

TEST_F(NSKeyValueObservingTests, APathIsFollowedToItsEnd) {
  const auto last = make<Node>();
  node_->setNext(last);
  observe("next.value");
  last->setValue(4);
  EXPECT_EQ(recorder_->told, (Lines{"next.value 0>4"}));
  stop("next.value");
  EXPECT_FALSE(last->hasObservers());
}

TEST_F(NSKeyValueObservingTests, APathAttachesToANewMiddle) {
  const auto before = make<Node>();
  const auto after = make<Node>();
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

TEST_F(NSKeyValueObservingTests, ALongPathSurvivesChangesAnywhere) {
  const auto second = make<Node>();
  const auto third = make<Node>();
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

TEST_F(NSKeyValueObservingTests, AnObserverMayRemoveItselfWhenTold) {
  observe("value");
  observe("value");
  recorder_->whenTold = [this] {
    if (recorder_->told.size() == 1) {
      stop("value");
      stop("value");
    }
  };
  node_->setValue(1);
  node_->setValue(2);
  EXPECT_EQ(recorder_->told, (Lines{"value 0>1"}));
}

TEST_F(NSKeyValueObservingTests, AnObserverMayAddAnotherWhenTold) {
  observe("value");
  const auto late = make<Recorder>();
  recorder_->whenTold = [&] {
    if (recorder_->told.size() == 1) {
      node_->addObserver_forKeyPath_options_context(late.get(), "value", kNewAndOld, nullptr);
    }
  };
  node_->setValue(1);
  EXPECT_TRUE(late->told.empty());
  node_->setValue(2);
  EXPECT_EQ(late->told, (Lines{"value 1>2"}));
  node_->removeObserver_forKeyPath(late.get(), "value");
  stop("value");
}

TEST_F(NSKeyValueObservingTests, ChangesMayNest) {
  observe("value");
  recorder_->whenTold = [this] {
    if (node_->value() < 3) {
      node_->setValue(node_->value() + 1);
    }
  };
  node_->setValue(1);
  EXPECT_EQ(recorder_->told, (Lines{"value 0>1", "value 1>2", "value 2>3"}));
  recorder_->whenTold = nullptr;
  stop("value");
}

TEST_F(NSKeyValueObservingTests, AnObjectThatGoesTakesItsRegistrationsAlong) {
  const auto middle = make<Node>();
  node_->setNext(middle);
  observe("next.value");
  EXPECT_TRUE(middle->hasObservers());
  node_ = nullptr;
  EXPECT_FALSE(middle->hasObservers());
  middle->setValue(1);
  EXPECT_TRUE(recorder_->told.empty());
}

TEST_F(NSKeyValueObservingTests, AnObserverThatDoesNotHandleChangesIsTold) {
  const auto plain = make<Node>();
  node_->addObserver_forKeyPath_options_context(plain.get(), "value", 0, nullptr);
  expectException(NSInternalInconsistencyException, [&] { node_->setValue(1); });
  node_->removeObserver_forKeyPath(plain.get(), "value");
}

TEST_F(NSKeyValueObservingTests, ThreadsMayChangeWhileOthersRegister) {
  std::thread changing([this] {
    for (int i = 0; i < 2000; ++i) {
      node_->willChangeValueForKey("value");
      node_->didChangeValueForKey("value");
    }
  });
  class Silent : public NSObject {
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                        const Ref<NSDictionary>&, void*) override {}
  };
  for (int i = 0; i < 500; ++i) {
    const auto silent = make<Silent>();
    node_->addObserver_forKeyPath_options_context(silent.get(), "value", 0, nullptr);
    node_->removeObserver_forKeyPath(silent.get(), "value");
    // The other thread may still be in a delivery: the observer must outlive that.
    static std::vector<Ref<NSObject>> kept;
    kept.push_back(silent);
  }
  changing.join();
  EXPECT_FALSE(node_->hasObservers());
}

}  // namespace
}  // namespace kestova
