// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSSortDescriptor.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

#include <typeinfo>

namespace kestova {
namespace {

using testing::counted;
using testing::expectException;
using testing::valueOf;

Ref<NSSortDescriptor> by(const Ref<NSString>& key, bool ascending = true) {
  return NSSortDescriptor::sortDescriptorWithKey_ascending(key, ascending);
}

Ref<NSDictionary> person(const Ref<NSString>& name, int age) {
  return NSDictionary::of({{"name", name}, {"age", age}});
}

TEST(NSSortDescriptorTests, EachClassComparesByItsOwnComparison) {
  const auto values = by(nullptr);
  EXPECT_EQ(values->compareObject_toObject("a", "b"), NSOrderedAscending);
  EXPECT_EQ(values->compareObject_toObject(10, 9), NSOrderedDescending);
  EXPECT_EQ(values->compareObject_toObject(1, 1.0), NSOrderedSame);
  EXPECT_EQ(values->compareObject_toObject(NSDate::distantPast(), NSDate::distantFuture()),
            NSOrderedAscending);
}

TEST(NSSortDescriptorTests, DescendingIsTheReverse) {
  EXPECT_EQ(by(nullptr, false)->compareObject_toObject(1, 2), NSOrderedDescending);
  EXPECT_EQ(by(nullptr, false)->compareObject_toObject(2, 2), NSOrderedSame);
  EXPECT_EQ(by(nullptr)->reversedSortDescriptor()->compareObject_toObject(1, 2),
            NSOrderedDescending);
}

TEST(NSSortDescriptorTests, AKeyIsAPath) {
  const auto first = NSDictionary::of({{"owner", person("Ada", 36)}});
  const auto second = NSDictionary::of({{"owner", person("Bob", 20)}});
  EXPECT_EQ(by("owner.name")->compareObject_toObject(first, second), NSOrderedAscending);
  EXPECT_EQ(by("owner.age")->compareObject_toObject(first, second), NSOrderedDescending);
}

TEST(NSSortDescriptorTests, NothingComesFirstAndIsNeverComparedByTheValues) {
  const auto nameless = NSDictionary::dictionary();
  const auto named = person("Ada", 36);
  EXPECT_EQ(by("name")->compareObject_toObject(nameless, named), NSOrderedAscending);
  EXPECT_EQ(by("name")->compareObject_toObject(named, nameless), NSOrderedDescending);
  EXPECT_EQ(by("name")->compareObject_toObject(nameless, nameless), NSOrderedSame);
  EXPECT_EQ(by("name", false)->compareObject_toObject(nameless, named), NSOrderedDescending);
  EXPECT_EQ(by("name")->compareObject_toObject(nullptr, named), NSOrderedAscending);
  const auto never = NSSortDescriptor::sortDescriptorWithKey_ascending_comparator(
      nullptr, true, [](const id&, const id&) -> NSComparisonResult { throw std::bad_alloc(); });
  EXPECT_EQ(never->compareObject_toObject(nullptr, 1), NSOrderedAscending);
  EXPECT_THROW((void)never->compareObject_toObject(1, 1), std::bad_alloc);
}

TEST(NSSortDescriptorTests, AGivenSelectorOrComparatorDecides) {
  const auto texts = NSSortDescriptor::sortDescriptorWithKey_ascending_selector(
      nullptr, true, sel<&NSString::compare>());
  EXPECT_EQ(texts->compareObject_toObject("b", "a"), NSOrderedDescending);
  EXPECT_EQ(texts->selector(), sel<&NSString::compare>());
  EXPECT_THROW((void)texts->compareObject_toObject(1, 2), std::bad_cast);
  const NSComparator lastDigit = [](const id& a, const id& b) {
    return Unboxing<NSComparisonResult>::unbox(
        NSNumber::numberWithInt(valueOf(a) % 10)->compare(valueOf(b) % 10));
  };
  const auto digits =
      NSSortDescriptor::sortDescriptorWithKey_ascending_comparator(nullptr, true, lastDigit);
  EXPECT_EQ(digits->compareObject_toObject(counted(21), counted(12)), NSOrderedAscending);
  EXPECT_EQ(digits->selector(), nullptr);
  EXPECT_EQ(digits->comparator(), lastDigit);
  EXPECT_EQ(digits->reversedSortDescriptor()->compareObject_toObject(counted(21), counted(12)),
            NSOrderedDescending);
}

TEST(NSSortDescriptorTests, ItsOwnSelectorIsTheComparisonOfEachClass) {
  const SEL compare = by(nullptr)->selector();
  EXPECT_TRUE(compare->isAnsweredBy(*Ref<NSString>("a")));
  EXPECT_FALSE(compare->isAnsweredBy(*NSNull::null()));
  EXPECT_EQ(compare->arity, 1U);
}

TEST(NSSortDescriptorTests, WhatDoesNotCompareThrows) {
  EXPECT_THROW((void)by(nullptr)->compareObject_toObject(NSNull::null(), 1), std::bad_cast);
  expectException(NSInvalidArgumentException,
                  [] { (void)by(nullptr)->compareObject_toObject(1, "one"); });
}

TEST(NSSortDescriptorTests, LaterDescriptorsDecideWhatIsTheSameToEarlierOnes) {
  const auto ada = person("Ada", 36);
  const auto bob = person("Bob", 20);
  const auto eve = person("Eve", 36);
  const auto sorted = NSArray::of(eve, bob, ada)
                          ->sortedArrayUsingDescriptors(NSArray::of(by("age", false), by("name")));
  EXPECT_TRUE(sorted->isEqualToArray(NSArray::of(ada, eve, bob)));
}

TEST(NSSortDescriptorTests, SortingKeepsTheOrderOfWhatIsTheSame) {
  const auto first = person("Ada", 1);
  const auto second = person("Bob", 1);
  const auto people = NSArray::of(second, first);
  EXPECT_TRUE(people->sortedArrayUsingDescriptors(NSArray::of(by("age")))->isEqualToArray(people));
  EXPECT_TRUE(
      people->sortedArrayUsingDescriptors(NSArray::of(by("age", false)))->isEqualToArray(people));
  EXPECT_TRUE(people->sortedArrayUsingDescriptors(nullptr)->isEqualToArray(people));
}

TEST(NSSortDescriptorTests, WhatIsNoDescriptorIsRefused) {
  expectException(NSInvalidArgumentException, [] {
    (void)NSArray::of(2, 1)->sortedArrayUsingDescriptors(NSArray::of("name"));
  });
}

TEST(NSSortDescriptorTests, EqualityIsThatOfKeyDirectionAndComparison) {
  EXPECT_TRUE(by("name")->isEqual(by("name")));
  EXPECT_EQ(by("name")->hash(), by("name")->hash());
  EXPECT_TRUE(by(nullptr)->isEqual(by(nullptr)));
  EXPECT_FALSE(by("name")->isEqual(by("name", false)));
  EXPECT_FALSE(by("name")->isEqual(by("age")));
  EXPECT_FALSE(by("name")->isEqual(NSSortDescriptor::sortDescriptorWithKey_ascending_selector(
      "name", true, sel<&NSString::compare>())));
  EXPECT_FALSE(by("name")->isEqual("name"));
  EXPECT_FALSE(by("name")->isEqual(nullptr));
}

TEST(NSSortDescriptorTests, KeepsItsKeyAsItWas) {
  const auto key = NSMutableString::stringWithString("name");
  const auto descriptor = by(key);
  key->setString("age");
  EXPECT_EQ(descriptor->key(), "name");
  EXPECT_TRUE(descriptor->ascending());
  EXPECT_EQ(descriptor->copy(), descriptor);
  EXPECT_TRUE(descriptor->description()->hasSuffix("(name, ascending)"));
}

}  // namespace
}  // namespace kestova
