// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "Stress.h"

#include <atomic>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::Threads;

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

TEST_F(NSKeyValueObservingTests, AnObserverThatGoesIsToldNothingMore) {
  observe("value");
  observe("next.value");
  EXPECT_TRUE(node_->hasObservers());
  recorder_ = nullptr;
  EXPECT_FALSE(node_->hasObservers());
  node_->setValue(1);
  recorder_ = make<Recorder>();
}

TEST_F(NSKeyValueObservingTests, ChangesOfAnObjectThatGoesAreNotTold) {
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

TEST_F(NSKeyValueObservingTests, AnObserverMayLetGoOfTheObject) {
  const auto other = make<Recorder>();
  observe("value");
  node_->addObserver_forKeyPath_options_context(other.get(), "value", 3, nullptr);
  recorder_->whenTold = [this] { node_ = nullptr; };
  const Ref<Node> node = node_;
  node->setValue(1);
  EXPECT_EQ(node->retainCount(), 1U);
  EXPECT_EQ(other->told.size(), 1U);
  node_ = node;
  recorder_->whenTold = nullptr;
  stop("value");
}

TEST_F(NSKeyValueObservingTests, AnObjectMayObserveItself) {
  class Self : public Recorder {
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

TEST_F(NSKeyValueObservingTests, APathThatReturnsToItsRootKeepsNothingAlive) {
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

TEST_F(NSKeyValueObservingTests, WhoWasThereWhenTheChangeBeganIsToldAndNobodyElse) {
  const auto late = make<Recorder>();
  observe("value");
  node_->willChangeValueForKey("value");
  node_->addObserver_forKeyPath_options_context(late.get(), "value", 0, nullptr);
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  EXPECT_TRUE(late->told.empty());
  node_->willChangeValueForKey(Ref<NSString>("value"));
  stop("value");
  node_->didChangeValueForKey(Ref<NSString>("value"));
  EXPECT_TRUE(recorder_->told.empty());
  EXPECT_EQ(late->told, (Lines{"value ->-"}));
}

TEST_F(NSKeyValueObservingTests, ChangesOfSeveralPropertiesMayOverlap) {
  observe("value");
  observe("next");
  node_->willChangeValueForKey("value");
  node_->willChangeValueForKey("next");
  node_->didChangeValueForKey("value");
  node_->didChangeValueForKey("next");
  node_->didChangeValueForKey("next");
  EXPECT_EQ(recorder_->told, (Lines{"value 0>0", "next null>null"}));
}

TEST_F(NSKeyValueObservingTests, AChangeThatAnObserverRefusesBeforehandIsNotMade) {
  observe("value", kNewAndOld | NSKeyValueObservingOptionPrior);
  recorder_->whenTold = [] { throw NSException(NSGenericException, "not now"); };
  expectException(NSGenericException, [&] { node_->setValue(5); });
  EXPECT_EQ(node_->value(), 0);
  recorder_->whenTold = nullptr;
  recorder_->takeTold();
  node_->setValue(6);
  EXPECT_EQ(recorder_->told, (Lines{"prior value 0>-", "value 0>6"}));
}

TEST_F(NSKeyValueObservingTests, WhoWasToldOfAChangeThatAnotherOneRefusesIsToldOfItsEnd) {
  observe("value", kNewAndOld | NSKeyValueObservingOptionPrior);
  const auto silent = make<Recorder>();
  node_->addObserver_forKeyPath_options_context(silent.get(), "value", kNewAndOld, nullptr);
  const auto refusing = make<Recorder>();
  node_->addObserver_forKeyPath_options_context(refusing.get(), "value",
                                                NSKeyValueObservingOptionPrior, nullptr);
  refusing->whenTold = [] { throw NSException(NSGenericException, "not now"); };
  expectException(NSGenericException, [&] { node_->setValue(5); });
  EXPECT_EQ(recorder_->told, (Lines{"prior value 0>-", "value 0>0"}));
  EXPECT_EQ(silent->told, Lines());
  EXPECT_EQ(refusing->told, (Lines{"prior value ->-"}));
}

TEST_F(NSKeyValueObservingTests, WhatOneThrowsWhenItIsDoneKeepsNoOtherOneFromBeingTold) {
  observe("value");
  const auto other = make<Recorder>();
  node_->addObserver_forKeyPath_options_context(other.get(), "value", kNewAndOld, nullptr);
  recorder_->whenTold = [] { throw NSException(NSGenericException, "no"); };
  expectException(NSGenericException, [&] { node_->setValue(5); });
  EXPECT_EQ(node_->value(), 5);
  EXPECT_EQ(other->told, (Lines{"value 0>5"}));
}

TEST_F(NSKeyValueObservingTests, AChangeThatAnExceptionEndsIsToldAndItsExceptionComesOut) {
  observe("value");
  recorder_->whenTold = [] { throw NSException(NSGenericException, "no"); };
  const auto other = make<Recorder>();
  node_->addObserver_forKeyPath_options_context(other.get(), "value", kNewAndOld, nullptr);
  expectException(NSRangeException, [&] {
    const KeyValueChange change(*node_, "value");
    throw NSException(NSRangeException, "no value");
  });
  EXPECT_EQ(recorder_->told, (Lines{"value 0>0"}));
  EXPECT_EQ(other->told, (Lines{"value 0>0"}));
}

TEST_F(NSKeyValueObservingTests, AChangeEndsItsOwnAndNoLaterOneOfTheSameKey) {
  observe("value", kNewAndOld);
  {
    const KeyValueChange change(*node_, Ref<NSString>("value"));
    node_->willChangeValueForKey("value");
  }
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), Lines());
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

TEST_F(NSKeyValueObservingTests, AChangeOfNothingCannotBeAnnounced) {
  const Ref<NSString> noKey;
  const char* const noText = nullptr;
  const auto expectRefusals = [&] {
    const struct {
      const char* operation;
      std::function<void()> announce;
    } rows[] = {
        {"willChangeValueForKey:", [&] { node_->willChangeValueForKey(noKey); }},
        {"willChangeValueForKey:", [&] { node_->willChangeValueForKey(noText); }},
        {"didChangeValueForKey:", [&] { node_->didChangeValueForKey(noKey); }},
        {"didChangeValueForKey:", [&] { node_->didChangeValueForKey(noText); }},
    };
    for (const auto& row : rows) {
      const auto reason = expectException(NSInvalidArgumentException, row.announce).reason();
      EXPECT_TRUE(
          reason->hasSuffix(NSString::stringWithFormat(" %s]: nil argument", row.operation)))
          << reason;
    }
  };
  expectRefusals();
  observe("value");
  expectRefusals();
  node_->willChangeValueForKey("value");
  expectRefusals();
  node_->didChangeValueForKey("value");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"value 0>0"}));
  stop("value");
}

TEST_F(NSKeyValueObservingTests, WhatCannotBeFollowedIsNotRegistered) {
  expectException(NSUndefinedKeyException, [&] { observe("nosuch.value"); });
  expectException(NSUndefinedKeyException,
                  [&] { observe("nosuch", kNewAndOld | NSKeyValueObservingOptionInitial); });
  EXPECT_FALSE(node_->hasObservers());
}

TEST_F(NSKeyValueObservingTests, KeysThatAreNotASCIIAreFound) {
  class Dictionary : public NSObject {
   public:
    id valueForKey(const Ref<NSString>&) const override { return 1; }
  };
  const auto object = make<Dictionary>();
  const char16_t surrogate[] = {0xD800};
  const auto noText = NSString::stringWithCharacters_length(surrogate, 1);
  object->addObserver_forKeyPath_options_context(recorder_.get(), "größe", 1, nullptr);
  object->addObserver_forKeyPath_options_context(recorder_.get(), noText, 0, nullptr);
  object->willChangeValueForKey("größe");
  object->didChangeValueForKey("größe");
  EXPECT_EQ(recorder_->takeTold(), (Lines{"größe ->1"}));
  object->willChangeValueForKey(NSString::stringWithUTF16Storage(u"größe"));
  object->didChangeValueForKey(NSString::stringWithUTF16Storage(u"größe"));
  EXPECT_EQ(recorder_->takeTold().size(), 1U);
  object->willChangeValueForKey(noText);
  object->didChangeValueForKey(noText);
  EXPECT_EQ(recorder_->takeTold().size(), 1U);
  object->removeObserver_forKeyPath(recorder_.get(), "größe");
  object->removeObserver_forKeyPath(recorder_.get(), noText);
  EXPECT_FALSE(object->hasObservers());
}

TEST_F(NSKeyValueObservingTests, ADictionarysKeysAreObservedWhenSetAsProperties) {
  const auto dictionary = NSMutableDictionary::dictionary();
  dictionary->addObserver_forKeyPath_options_context(recorder_.get(), "a", kNewAndOld, nullptr);
  dictionary->setValue_forKey(1, "a");
  dictionary->setValue_forKey(nullptr, "a");
  EXPECT_EQ(recorder_->told, (Lines{"a null>1", "a 1>null"}));
  dictionary->removeObserver_forKeyPath(recorder_.get(), "a");
}

TEST_F(NSKeyValueObservingTests, APathLeadsThroughADictionary) {
  const auto dictionary = NSMutableDictionary::dictionary();
  dictionary->addObserver_forKeyPath_options_context(recorder_.get(), "node.value", kNewAndOld,
                                                     nullptr);
  dictionary->setValue_forKey(node_, "node");
  node_->setValue(2);
  EXPECT_EQ(recorder_->told, (Lines{"node.value null>0", "node.value 0>2"}));
  dictionary->removeObserver_forKeyPath(recorder_.get(), "node.value");
  EXPECT_FALSE(node_->hasObservers());
}

TEST_F(NSKeyValueObservingTests, WhatIsToldIsADictionaryLikeOthers) {
  Ref<NSDictionary> told;
  class Keeper : public NSObject {
   public:
    explicit Keeper(Ref<NSDictionary>& told) : told_(told) {}
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                        const Ref<NSDictionary>& change,
                                                        void*) override {
      told_ = change;
    }

   private:
    Ref<NSDictionary>& told_;
  };
  const auto keeper = make<Keeper>(told);
  node_->addObserver_forKeyPath_options_context(keeper.get(), "value", 3, nullptr);
  node_->setValue(5);
  const auto expected = NSDictionary::of({{"kind", 1}, {"old", 0}, {"new", 5}});
  EXPECT_EQ(told->count(), 3U);
  EXPECT_TRUE(told->isEqual(expected));
  EXPECT_TRUE(expected->isEqual(told));
  EXPECT_TRUE(told->copy()->isEqual(expected));
  EXPECT_TRUE(told->mutableCopy()->isEqual(expected));
  EXPECT_TRUE(told->description()->isEqual(expected->description()));
  EXPECT_TRUE(told->objectForKey(NSMutableString::stringWithString("new"))->isEqual(5));
  EXPECT_EQ(told->objectForKey("other"), nullptr);
  EXPECT_EQ(told->objectForKey(nullptr), nullptr);
}

/// Its full name depends on two properties and its badge on the full name and on a path.
class Person : public NSObject {
  KESTOVA_CLASS(Person, NSObject)

 public:
  Ref<NSString> first() const { return first_; }
  void setFirst(const Ref<NSString>& first) {
    const KeyValueChange change(*this, "first");
    first_ = first;
  }
  Ref<NSString> last() const { return last_; }
  void setLast(const Ref<NSString>& last) {
    const KeyValueChange change(*this, "last");
    last_ = last;
  }
  Ref<Person> boss() const { return boss_; }
  void setBoss(const Ref<Person>& boss) {
    const KeyValueChange change(*this, "boss");
    boss_ = boss;
  }
  Ref<NSString> fullName() const { return NSString::stringWithFormat("%@ %@", first_, last_); }
  Ref<NSString> badge() const {
    return boss_ ? NSString::stringWithFormat("%@ of %@", fullName(), boss_->fullName())
                 : fullName();
  }
  Ref<Person> chief() const { return boss_ ? boss_ : Ref<Person>(const_cast<Person*>(this)); }

  Ref<NSSet> keyPathsForValuesAffectingValueForKey(const Ref<NSString>& key) const override {
    if (key == "fullName") {
      return NSSet::of("first", "last");
    }
    if (key == "badge") {
      return NSSet::of("fullName", "first", "boss.fullName");
    }
    if (key == "chief") {
      return NSSet::of("boss");
    }
    return key == "yin" ? NSSet::of("yang") : key == "yang" ? NSSet::of("yin", "yang") : nullptr;
  }

 private:
  Ref<NSString> first_ = "A";
  Ref<NSString> last_ = "B";
  Ref<Person> boss_;
};

KESTOVA_DEFINE_CLASS(Person, .property<&Person::first, &Person::setFirst>("first")
                                 .property<&Person::last, &Person::setLast>("last")
                                 .property<&Person::boss, &Person::setBoss>("boss")
                                 .property<&Person::fullName>("fullName")
                                 .property<&Person::badge>("badge")
                                 .property<&Person::chief>("chief")
                                 .property<&Person::first>("yin")
                                 .property<&Person::last>("yang"))

class DependentKeyTests : public ::testing::Test {
 protected:
  void observe(const char* path) {
    person_->addObserver_forKeyPath_options_context(recorder_.get(), path, kNewAndOld, nullptr);
  }
  void stop(const char* path) {
    person_->removeObserver_forKeyPath(recorder_.get(), path);
    EXPECT_FALSE(person_->hasObservers());
  }
  Lines told() { return recorder_->takeTold(); }

  Ref<Person> person_ = make<Person>();
  Ref<Recorder> recorder_ = make<Recorder>();
};

TEST_F(DependentKeyTests, AChangeOfWhatAPropertyDependsOnIsItsChange) {
  observe("fullName");
  person_->setFirst("C");
  person_->setLast("D");
  EXPECT_EQ(told(), (Lines{"fullName A B>C B", "fullName C B>C D"}));
  stop("fullName");
  person_->setFirst("E");
  EXPECT_EQ(told(), Lines());
}

TEST_F(DependentKeyTests, AChangeIsToldOnceHoweverManyWaysItTakes) {
  observe("badge");
  person_->setFirst("C");
  EXPECT_EQ(told(), (Lines{"badge A B>C B"}));
  stop("badge");
}

TEST_F(DependentKeyTests, PathsThatAPropertyDependsOnAreFollowed) {
  observe("badge");
  const auto boss = make<Person>();
  person_->setBoss(boss);
  boss->setLast("Z");
  EXPECT_EQ(told(), (Lines{"badge A B>A B of A B", "badge A B of A B>A B of A Z"}));
  person_->setBoss(nullptr);
  EXPECT_EQ(told(), (Lines{"badge A B of A Z>A B"}));
  boss->setLast("Y");
  EXPECT_EQ(told(), Lines());
  EXPECT_FALSE(boss->hasObservers());
  stop("badge");
}

TEST_F(DependentKeyTests, AMiddleThatDependsOnAnotherPropertyIsFollowed) {
  observe("chief.first");
  person_->setFirst("me");
  EXPECT_EQ(told(), (Lines{"chief.first A>me"}));
  const auto boss = make<Person>();
  person_->setBoss(boss);
  EXPECT_EQ(told(), (Lines{"chief.first me>A"}));
  person_->setFirst("not me");
  EXPECT_EQ(told(), Lines());
  boss->setFirst("C");
  EXPECT_EQ(told(), (Lines{"chief.first A>C"}));
  person_->setBoss(nullptr);
  EXPECT_EQ(told(), (Lines{"chief.first C>not me"}));
  EXPECT_FALSE(boss->hasObservers());
  stop("chief.first");
}

TEST_F(DependentKeyTests, TheEndOfAPathMayDependOnOthersToo) {
  const auto boss = make<Person>();
  person_->setBoss(boss);
  observe("boss.badge");
  const auto top = make<Person>();
  boss->setBoss(top);
  top->setFirst("T");
  EXPECT_EQ(told(), (Lines{"boss.badge A B>A B of A B", "boss.badge A B of A B>A B of T B"}));
  stop("boss.badge");
  EXPECT_FALSE(boss->hasObservers());
  EXPECT_FALSE(top->hasObservers());
}

TEST_F(DependentKeyTests, PropertiesMayDependOnEachOther) {
  observe("yin");
  person_->willChangeValueForKey("yang");
  person_->didChangeValueForKey("yang");
  person_->willChangeValueForKey("yin");
  person_->didChangeValueForKey("yin");
  EXPECT_EQ(told(), (Lines{"yin A>A", "yin A>A"}));
  stop("yin");
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

TEST_F(NSKeyValueObservingTests, AnObserverMayGoOnAnotherThreadWhileItIsTold) {
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

TEST_F(NSKeyValueObservingTests, RootsMiddlesAndObserversMayGoAtTheSameTime) {
  const auto middle = make<Node>();
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
      auto root = make<Node>();
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
