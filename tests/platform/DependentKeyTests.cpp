// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "ObservedNodes.h"

namespace kestova {
namespace {

using testing::ChangeRecorder;
using testing::kNewAndOld;
using testing::Lines;

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
  Ref<ChangeRecorder> recorder_ = make<ChangeRecorder>();
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

}  // namespace
}  // namespace kestova
