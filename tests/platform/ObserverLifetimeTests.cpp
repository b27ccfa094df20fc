// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "ObservedNodes.h"
#include "Stress.h"

#include <atomic>

namespace kestova {
namespace {

using testing::ChangeRecorder;
using testing::kNewAndOld;
using testing::Lines;
using testing::ObservedNode;
using testing::Threads;

class ObserverLifetimeTests : public testing::ObservedNodeFixture {};

TEST_F(ObserverLifetimeTests, AnObserverMayRemoveItselfWhenTold) {
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

TEST_F(ObserverLifetimeTests, AnObserverMayAddAnotherWhenTold) {
  observe("value");
  const auto late = make<ChangeRecorder>();
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

TEST_F(ObserverLifetimeTests, AnObjectThatGoesTakesItsRegistrationsAlong) {
  const auto middle = make<ObservedNode>();
  node_->setNext(middle);
  observe("next.value");
  EXPECT_TRUE(middle->hasObservers());
  node_ = nullptr;
  EXPECT_FALSE(middle->hasObservers());
  middle->setValue(1);
  EXPECT_TRUE(recorder_->told.empty());
}

TEST_F(ObserverLifetimeTests, AnObserverThatGoesIsToldNothingMore) {
  observe("value");
  observe("next.value");
  EXPECT_TRUE(node_->hasObservers());
  recorder_ = nullptr;
  EXPECT_FALSE(node_->hasObservers());
  node_->setValue(1);
  recorder_ = make<ChangeRecorder>();
}

TEST_F(ObserverLifetimeTests, ChangesOfAnObjectThatGoesAreNotTold) {
  class Closing : public NSObject {
   public:
    ~Closing() override { const KeyValueChange change(*this, "open"); }
    id valueForKey(const Ref<NSString>&) const override { return true; }
  };
  auto closing = make<Closing>();
  closing->addObserver_forKeyPath_options_context(recorder_.get(), "open", 15, nullptr);
  recorder_->takeTold();
  closing = nullptr;
  EXPECT_TRUE(recorder_->told.empty());
}

TEST_F(ObserverLifetimeTests, AnObserverMayLetGoOfTheObject) {
  const auto other = make<ChangeRecorder>();
  observe("value");
  node_->addObserver_forKeyPath_options_context(other.get(), "value", 3, nullptr);
  recorder_->whenTold = [this] { node_ = nullptr; };
  const Ref<ObservedNode> node = node_;
  node->setValue(1);
  EXPECT_EQ(node->retainCount(), 1U);
  EXPECT_EQ(other->told.size(), 1U);
  node_ = node;
  recorder_->whenTold = nullptr;
  stop("value");
}

TEST_F(ObserverLifetimeTests, AnObjectMayObserveItself) {
  class Self : public ChangeRecorder {
   public:
    void change() { const KeyValueChange change(*this, "x"); }
    id valueForKey(const Ref<NSString>&) const override { return 7; }
  };
  auto object = make<Self>();
  object->addObserver_forKeyPath_options_context(object.get(), "x", 1, nullptr);
  object->change();
  EXPECT_EQ(object->told, (Lines{"x ->7"}));
  EXPECT_EQ(object->retainCount(), 1U);
  object = nullptr;
}

/// May be told by several threads at the same time, but never when it is gone.
class Silent : public NSObject {
 public:
  ~Silent() override { alive_ = false; }
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                      const Ref<NSDictionary>&, void*) override {
    EXPECT_TRUE(alive_);
  }

 private:
  std::atomic<bool> alive_{true};
};

TEST_F(ObserverLifetimeTests, AnObserverMayGoOnAnotherThreadWhileItIsTold) {
  std::atomic<bool> stopped{false};
  Threads threads;
  threads.start(2, [&](int) {
    while (!stopped) {
      node_->willChangeValueForKey("value");
      node_->didChangeValueForKey("value");
    }
  });
  for (int i = 0; i < 2000; ++i) {
    const auto silent = make<Silent>();
    node_->addObserver_forKeyPath_options_context(silent.get(), "value", 3, nullptr);
    if (i % 2 == 0) {
      node_->removeObserver_forKeyPath(silent.get(), "value");
    }
  }
  stopped = true;
  threads.join();
  EXPECT_FALSE(node_->hasObservers());
}

TEST_F(ObserverLifetimeTests, RootsMiddlesAndObserversMayGoAtTheSameTime) {
  const auto middle = make<ObservedNode>();
  std::atomic<bool> stopped{false};
  Threads threads;
  threads.start([&] {
    while (!stopped) {
      middle->setValue(middle->value() ^ 1);
    }
  });
  threads.start([&] {
    while (!stopped) {
      middle->willChangeValueForKey("next");
      middle->didChangeValueForKey("next");
    }
  });
  threads.start(2, [&](int number) {
    for (int i = 0; i < 2000; ++i) {
      auto root = make<ObservedNode>();
      auto observer = make<Silent>();
      root->setNext(middle);
      root->addObserver_forKeyPath_options_context(observer.get(), "next.value", 0, nullptr);
      root->addObserver_forKeyPath_options_context(observer.get(), "next.next.value", 0, nullptr);
      if (i % 2 == number) {
        root->setNext(nullptr);
      }
      if (i % 3 == 0) {
        root = nullptr;
      } else {
        observer = nullptr;
      }
    }
    if (number == 0) {
      stopped = true;
    }
  });
  threads.join();
  EXPECT_FALSE(middle->hasObservers());
}

}  // namespace
}  // namespace kestova
