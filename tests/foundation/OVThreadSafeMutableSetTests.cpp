// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThreadSafeMutableSet.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "Stress.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <set>
#include <utility>

namespace kestova::testing {
namespace {

Ref<OVThreadSafeMutableSet> setOfNumbersBelow(int end) {
  const auto set = OVThreadSafeMutableSet::init();
  for (int value = 0; value < end; ++value) {
    set->addObject(counted(value));
  }
  return set;
}

/// An object whose equality and end do what a test wants.
class Telltale final : public NSObject {
 public:
  std::function<void()> onCompare = [] {};
  std::function<void()> onEnd = [] {};
  ~Telltale() override { onEnd(); }

  bool isEqual(const id& other) const override {
    onCompare();
    return NSObject::isEqual(other);
  }
  NSUInteger hash() const override { return 1; }
};

// Shows: OVThreadSafeMutableSet
TEST(OVThreadSafeMutableSetTests, IsAMutableSetMadeByItsClass) {
  const id made = OVThreadSafeMutableSet::staticClass().make();
  EXPECT_TRUE(cast<OVThreadSafeMutableSet>(made));
  EXPECT_TRUE(made->isKindOfClass(NSMutableSet::staticClass()));
}

// Shows: addObject, member, containsObject, count, init
TEST(OVThreadSafeMutableSetTests, AnEqualObjectIsAddedOnlyOnce) {
  const auto set = OVThreadSafeMutableSet::init();
  EXPECT_EQ(set->count(), 0U);
  const id first = counted(1);
  set->addObject(first);
  set->addObject(counted(1));
  EXPECT_EQ(set->count(), 1U);
  EXPECT_EQ(set->member(counted(1)), first);
  EXPECT_TRUE(set->containsObject(counted(1)));
  EXPECT_EQ(set->member(counted(2)), nullptr);
  EXPECT_FALSE(set->containsObject(counted(2)));
}

// Shows: removeObject, removeAllObjects, containsObject, count
TEST(OVThreadSafeMutableSetTests, RemovesTheEqualObjectAndNoOther) {
  const auto set = setOfNumbersBelow(3);
  set->removeObject(counted(1));
  set->removeObject(counted(7));
  EXPECT_EQ(set->count(), 2U);
  EXPECT_FALSE(set->containsObject(counted(1)));
  EXPECT_TRUE(set->containsObject(counted(2)));
  set->removeAllObjects();
  EXPECT_EQ(set->count(), 0U);
}

// Shows: OVThreadSafeMutableSet
TEST(OVThreadSafeMutableSetTests, JoinsAndIntersectsAsEveryMutableSetDoes) {
  const auto set = OVThreadSafeMutableSet::init();
  set->unionSet(NSSet::of("a", "b", "c"));
  set->minusSet(NSSet::of("a"));
  EXPECT_TRUE(set->isEqual(NSSet::of("b", "c")));
  set->intersectSet(NSSet::of("a", "b"));
  EXPECT_TRUE(set->isEqual(NSSet::of("b")));
}

// Shows: objectEnumerator
TEST(OVThreadSafeMutableSetTests, AnEnumeratorGoesOnWithItsSnapshot) {
  const auto set = setOfNumbersBelow(100);
  const auto enumerator = set->objectEnumerator();
  std::set<int> seen{valueOf(enumerator->nextObject())};
  Threads changes;
  changes.start(4, [&](int number) {
    for (int value = 0; value < 100; ++value) {
      set->removeObject(counted(value));
      set->addObject(counted(1000 + number));
    }
  });
  while (const id member = enumerator->nextObject()) {
    EXPECT_TRUE(seen.insert(valueOf(member)).second);
  }
  changes.join();
  EXPECT_EQ(seen.size(), 100U);
  EXPECT_EQ(*seen.rbegin(), 99);
  EXPECT_EQ(set->count(), 4U);
}

// Shows: allObjects
TEST(OVThreadSafeMutableSetTests, AllObjectsIsACopyOfOneMoment) {
  const auto set = setOfNumbersBelow(2);
  const auto objects = set->allObjects();
  EXPECT_EQ(objects->copy(), objects) << "immutable";
  set->removeAllObjects();
  EXPECT_EQ(objects->count(), 2U);
}

// Shows: member
TEST(OVThreadSafeMutableSetTests, AMemberStaysWithWhoGotItWhenItIsRemoved) {
  const auto set = setOfNumbersBelow(1);
  const id member = set->member(counted(0));
  set->removeAllObjects();
  EXPECT_EQ(member->retainCount(), 1U);
  EXPECT_EQ(valueOf(member), 0);
}

// Shows: removeObject, removeAllObjects
TEST(OVThreadSafeMutableSetTests, AMemberThatGoesMayUseTheSet) {
  const auto set = OVThreadSafeMutableSet::init();
  const auto addTelltale = [&](int farewell) {
    auto object = make<Telltale>();
    object->onEnd = [&set = *set, farewell] { set.addObject(farewell); };
    set->addObject(object);
    return object.get();
  };
  set->removeObject(id(addTelltale(1)));
  EXPECT_TRUE(set->isEqual(NSSet::of(1)));
  addTelltale(2);
  set->removeAllObjects();
  EXPECT_TRUE(set->isEqual(NSSet::of(2)));
}

// Shows: containsObject, member, addObject, removeObject
TEST(OVThreadSafeMutableSetTests, WhatAMemberThrowsArrivesAtTheCaller) {
  const auto set = OVThreadSafeMutableSet::init();
  const auto member = make<Telltale>();
  set->addObject(member);
  const auto key = make<Telltale>();
  key->onCompare = member->onCompare = [] { throw NSException("Refusal", "no comparison"); };
  const StringConstant refusal("Refusal");
  expectException(refusal, [&] { (void)set->containsObject(key); });
  expectException(refusal, [&] { (void)set->member(key); });
  expectException(refusal, [&] { set->addObject(key); });
  expectException(refusal, [&] { set->removeObject(key); });
  EXPECT_EQ(set->count(), 1U);
}

// Shows: OVThreadSafeMutableSet, containsObject
TEST(OVThreadSafeMutableSetDeathTests, AMemberThatUsesTheSetToCompareEndsTheProcess) {
  const auto set = OVThreadSafeMutableSet::init();
  const auto member = make<Telltale>();
  set->addObject(member);
  const auto key = make<Telltale>();
  key->onCompare = member->onCompare = [&] { (void)set->count(); };
  EXPECT_DEATH((void)set->containsObject(key), "a member do not use the set");
}

// Shows: OVThreadSafeMutableSet, addObject, removeObject, member, containsObject, count
TEST(OVThreadSafeMutableSetTests, ManyThreadsAddAndRemoveEachTheirOwn) {
  const int before = CountingObject::alive();
  {
    constexpr int kThreads = 8;
    constexpr int kEach = 50;
    const auto set = OVThreadSafeMutableSet::init();
    const StressTime time;
    Threads threads;
    threads.start(kThreads, [&](int number) {
      const auto own = [=](int value) { return counted(number * kEach + value); };
      do {
        for (int value = 0; value < kEach; ++value) {
          set->addObject(own(value));
          ASSERT_EQ(valueOf(set->member(own(value))), number * kEach + value);
        }
        for (int value = 0; value < kEach; value += 2) {
          set->removeObject(own(value));
          ASSERT_FALSE(set->containsObject(own(value)));
        }
      } while (!time.isOver());
    });
    threads.start([&] {
      while (!time.isOver()) {
        std::set<int> seen;
        for (const id& member : set) {
          ASSERT_TRUE(seen.insert(valueOf(member)).second);
        }
        ASSERT_LE(set->count(), NSUInteger{kThreads * kEach});
      }
    });
    threads.join();
    EXPECT_EQ(set->count(), NSUInteger{kThreads * kEach / 2});
    for (int value = 0; value < kThreads * kEach; ++value) {
      EXPECT_EQ(set->containsObject(counted(value)), value % kEach % 2 == 1);
    }
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: addObject, member, count
TEST(OVThreadSafeMutableSetTests, OneOfSeveralThreadsAddsAnObject) {
  constexpr int kThreads = 8;
  const auto set = OVThreadSafeMutableSet::init();
  std::atomic<int> mine{0};
  Threads threads;
  threads.start(kThreads, [&](int) {
    for (int value = 0; value < 200; ++value) {
      const id object = counted(value);
      set->addObject(object);
      mine += set->member(object) == object ? 1 : 0;
    }
  });
  threads.join();
  EXPECT_EQ(set->count(), 200U);
  EXPECT_EQ(mine, 200);
}

}  // namespace
}  // namespace kestova::testing
