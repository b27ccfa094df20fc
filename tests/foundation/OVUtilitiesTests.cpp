// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVUtilities.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "SettableClock.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

const Ref<NSString> nothing;

/// Both dictionaries of a list, which must be the same.
template <class... KeysAndValues>
Ref<NSDictionary> dictionaryWith(const KeysAndValues&... keysAndValues) {
  const auto dictionary = NSDictionaryWithKeysAndValues(keysAndValues...);
  const auto changing = NSMutableDictionaryWithKeysAndValues(keysAndValues...);
  EXPECT_TRUE(changing->isEqual(dictionary));
  EXPECT_EQ(dictionary->copy(), dictionary) << "immutable";
  return dictionary;
}

// Shows: NSDictionaryWithKeysAndValues, NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, KeysStandBeforeTheirValues) {
  EXPECT_TRUE(dictionaryWith("a", 1)->isEqual(NSDictionary::of({{"a", 1}})));
  EXPECT_TRUE(dictionaryWith("a", 1, "b", "two", nullptr)
                  ->isEqual(NSDictionary::of({{"a", 1}, {"b", "two"}})));
}

// Shows: NSDictionaryWithKeysAndValues, NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, APairWithoutAValueIsLeftOut) {
  EXPECT_TRUE(dictionaryWith("a", 1, "b", nullptr, "c", 3, nullptr)
                  ->isEqual(NSDictionary::of({{"a", 1}, {"c", 3}})));
  EXPECT_EQ(dictionaryWith("a", nothing)->count(), 0U);
  EXPECT_TRUE(dictionaryWith("a", 1, "b")->isEqual(NSDictionary::of({{"a", 1}})));
}

// Shows: NSDictionaryWithKeysAndValues, NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, TheFirstNullInThePlaceOfAKeyEndsTheList) {
  EXPECT_TRUE(dictionaryWith("a", 1, nothing, 2, "c", 3)->isEqual(NSDictionary::of({{"a", 1}})));
}

// Shows: NSDictionaryWithKeysAndValues, NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, TheFirstArgumentIsAKeyInAnyCase) {
  EXPECT_TRUE(dictionaryWith(nullptr, nullptr, "a", 1)->isEqual(NSDictionary::of({{"a", 1}})));
  expectException(NSInvalidArgumentException,
                  [] { (void)NSDictionaryWithKeysAndValues(nullptr, 1); });
  expectException(NSInvalidArgumentException,
                  [] { (void)NSMutableDictionaryWithKeysAndValues(nullptr, 1); });
}

// Shows: NSDictionaryWithKeysAndValues, NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, ALaterPairReplacesAnEarlierOneWithAnEqualKey) {
  EXPECT_TRUE(
      dictionaryWith("a", 1, "b", 2, "a", 3)->isEqual(NSDictionary::of({{"a", 3}, {"b", 2}})));
}

template <std::size_t... Places>
Ref<NSDictionary> dictionaryOfPairs(std::index_sequence<Places...>) {
  // Even places hold keys, odd ones the values that belong to them.
  return dictionaryWith((Places % 2 == 0 ? id("key " + std::to_string(Places / 2))
                                         : id(static_cast<int>(Places / 2)))...,
                        nullptr);
}

template <std::size_t Count>
void expectPairs() {
  const auto dictionary = dictionaryOfPairs(std::make_index_sequence<2 * Count>());
  EXPECT_EQ(dictionary->count(), Count);
  for (std::size_t i = 0; i < Count; ++i) {
    EXPECT_TRUE(dictionary->objectForKey("key " + std::to_string(i))->isEqual(i));
  }
}

// Shows: NSDictionaryWithKeysAndValues, NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, AListMayHaveManyPairs) {
  expectPairs<15>();
  expectPairs<16>();
  expectPairs<17>();
  expectPairs<40>();
}

// Shows: NSMutableDictionaryWithKeysAndValues
TEST(OVUtilitiesTests, TheMutableDictionaryIsANewOne) {
  const auto dictionary = NSMutableDictionaryWithKeysAndValues("a", 1);
  dictionary->setObject_forKey(2, "b");
  EXPECT_EQ(dictionary->count(), 2U);
  EXPECT_EQ(NSMutableDictionaryWithKeysAndValues("a", 1)->count(), 1U);
}

// Shows: _NSFIRST
TEST(OVUtilitiesTests, TheFirstPresentValueCounts) {
  const id x = counted(1);
  const id y = counted(2);
  const auto end = NSNull::null();
  EXPECT_EQ(_NSFIRST(nullptr, nothing, x, y, end), x);
  EXPECT_EQ(_NSFIRST(x, end), x);
  EXPECT_EQ(_NSFIRST(nullptr, end), nullptr);
  EXPECT_EQ(_NSFIRST(end), nullptr);
  EXPECT_EQ(_NSFIRST(nullptr, end, x), nullptr) << "nothing counts behind the end";
  EXPECT_EQ(_NSFIRST(nullptr, x), x) << "the arguments end as well";
  EXPECT_TRUE(_NSFIRST(nothing, "text", end)->isEqual("text"));
}

/// When the block ran of calls at these times.
std::vector<double> runsAt(const std::vector<double>& times, NSTimeInterval interval) {
  SettableClock clock;
  std::vector<double> runs;
  CFAbsoluteTime last = 0;
  for (const double time : times) {
    clock.setAbsoluteTime(time);
    __AllowOnceEvery(
        [&] {
          EXPECT_EQ(last, time) << "the time is set before the block runs";
          runs.push_back(time);
        },
        &last, interval);
  }
  return runs;
}

// Shows: __AllowOnceEvery
TEST(OVUtilitiesTests, ABlockRunsOnceInAnInterval) {
  EXPECT_EQ(runsAt({10, 14, 16}, 5), (std::vector<double>{10, 16}));
  EXPECT_EQ(runsAt({10, 15, 15.0001}, 5), (std::vector<double>{10, 15.0001}));
  EXPECT_EQ(runsAt({5, 5.5, 6}, 5), (std::vector<double>{5.5}));
  EXPECT_EQ(runsAt({10, 10, 11}, 0), (std::vector<double>{10, 11}));
  EXPECT_EQ(runsAt({10, 3, 16}, 5), (std::vector<double>{10, 16})) << "a clock that was set back";
  EXPECT_EQ(runsAt({10, 20}, NAN), std::vector<double>());
  EXPECT_EQ(runsAt({10, 3}, -100), (std::vector<double>{10, 3}));
}

// Shows: __AllowOnceEvery
TEST(OVUtilitiesTests, TheLastTimeStaysWhenTheBlockDoesNotRun) {
  const SettableClock clock(100);
  CFAbsoluteTime last = 99;
  __AllowOnceEvery([] { FAIL(); }, &last, 1);
  EXPECT_EQ(last, 99);
}

// Shows: __AllowOnceEvery
TEST(OVUtilitiesDeathTests, TheLastTimeIsRequired) {
  EXPECT_DEATH(__AllowOnceEvery([] {}, nullptr, 1), "lastTime != nil");
}

// Shows: EnforceSubclassesImplement, EnforceSubclassImplementationsNow
TEST(OVUtilitiesTests, MarksForSubclassesCheckNothing) {
  EnforceSubclassesImplement();
  EnforceSubclassesImplement("Shape", "area", nullptr);
  EnforceSubclassImplementationsNow();
}

}  // namespace
}  // namespace kestova::testing
