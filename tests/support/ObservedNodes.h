// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNull.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kestova::testing {

/// An object with a value and a next one, so that paths of any length lead from it.
class ObservedNode : public NSObject {
 public:
  using super = NSObject;
  static const Class& staticClass() {
    static const Class& description =
        *new Class(ClassBuilder<ObservedNode>("ObservedNode", &NSObject::staticClass())
                       .property<&ObservedNode::value, &ObservedNode::setValue>("value")
                       .property<&ObservedNode::next, &ObservedNode::setNext>("next")
                       .build());
    return description;
  }
  const Class& classDescriptor() const override { return staticClass(); }

  int value() const { return value_; }
  void setValue(int value) {
    const KeyValueChange change(*this, "value");
    value_ = value;
  }
  Ref<ObservedNode> next() const { return next_; }
  void setNext(const Ref<ObservedNode>& next) {
    const KeyValueChange change(*this, "next");
    next_ = next;
  }

 private:
  int value_ = 0;
  Ref<ObservedNode> next_;
};

using Lines = std::vector<std::string>;

/// Writes down what it is told: "path old>new", "prior path old".
class ChangeRecorder : public NSObject {
 public:
  Lines told;
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

  Lines takeTold() { return std::exchange(told, {}); }

 private:
  static std::string textOf(const id& value) {
    if (!value) {
      return "-";
    }
    return value == NSNull::null() ? "null" : value->description()->displayUTF8();
  }
};

inline constexpr NSUInteger kNewAndOld =
    NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld;

/// The verbs of tests about one node and its observer.
class ObservedNodeFixture : public ::testing::Test {
 protected:
  void observe(const char* path, NSUInteger options = kNewAndOld, void* context = nullptr) {
    node_->addObserver_forKeyPath_options_context(recorder_.get(), path, options, context);
  }
  void stop(const char* path) { node_->removeObserver_forKeyPath(recorder_.get(), path); }

  Ref<ObservedNode> node_ = make<ObservedNode>();
  Ref<ChangeRecorder> recorder_ = make<ChangeRecorder>();
};

}  // namespace kestova::testing
