// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSMutableArrayAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <string>

namespace kestova {
namespace {

using testing::expectException;

Ref<NSMutableArray> letters() { return NSMutableArray::of("A", "B", "C", "D", "E"); }

std::string moved(std::initializer_list<NSUInteger> indexes, NSUInteger index) {
  const auto array = letters();
  moveObjectsAtIndexes_toIndex(array, NSIndexSet::of(indexes), index);
  return array->componentsJoinedByString("")->displayUTF8();
}

// Shows: moveObjectsAtIndexes_toIndex
TEST(NSMutableArrayAdditionsTests, ObjectsMoveSideBySide) {
  EXPECT_EQ(moved({0, 1}, 4), "CDABE");
  EXPECT_EQ(moved({0, 1}, 5), "CDEAB");
  EXPECT_EQ(moved({3, 4}, 0), "DEABC");
  EXPECT_EQ(moved({0, 2, 4}, 2), "BACED");
  EXPECT_EQ(moved({0, 2, 4}, 3), "BACED");
  EXPECT_EQ(moved({1}, 1), "ABCDE");
  EXPECT_EQ(moved({}, 3), "ABCDE");
  EXPECT_EQ(moved({0, 1, 2, 3, 4}, 0), "ABCDE");
}

/// Every choice of indexes and every place to move them to, against the plain meaning: what is
/// chosen comes to stand before what was at the index.
// Shows: moveObjectsAtIndexes_toIndex
TEST(NSMutableArrayAdditionsTests, EveryMovePutsTheChosenBeforeWhatStoodAtTheIndex) {
  for (unsigned chosen = 0; chosen < 32; ++chosen) {
    for (NSUInteger index = 0; index <= 5; ++index) {
      const auto indexes = NSMutableIndexSet::indexSet();
      std::string before;
      std::string run;
      std::string behind;
      for (NSUInteger i = 0; i < 5; ++i) {
        const bool isChosen = (chosen >> i & 1) != 0;
        (isChosen ? run : i < index ? before : behind) += static_cast<char>('A' + i);
        if (isChosen) {
          indexes->addIndex(i);
        }
      }
      const auto array = letters();
      moveObjectsAtIndexes_toIndex(array, indexes, index);
      EXPECT_EQ(array->componentsJoinedByString("")->displayUTF8(), before + run + behind)
          << chosen << " to " << index;
    }
  }
}

// Shows: moveObjectsAtIndexes_toIndex
TEST(NSMutableArrayAdditionsTests, AMoveThatFailsLeavesTheArray) {
  const auto array = letters();
  expectException(NSRangeException,
                  [&] { moveObjectsAtIndexes_toIndex(array, NSIndexSet::of({5}), 0); });
  expectException(NSRangeException, [&] {
    moveObjectsAtIndexes_toIndex(array, NSIndexSet::of({0, 2}), 6);
  });
  EXPECT_TRUE(array->isEqual(letters()));
}

// Shows: insertObjects_atIndex
TEST(NSMutableArrayAdditionsTests, ObjectsAreInsertedAsARun) {
  const auto array = NSMutableArray::of("a", "b");
  insertObjects_atIndex(array, NSArray::of("x", "y"), 1);
  EXPECT_TRUE(array->isEqual(NSArray::of("a", "x", "y", "b")));
  insertObjects_atIndex(array, NSArray::of("z"), 4);
  EXPECT_TRUE(array->isEqual(NSArray::of("a", "x", "y", "b", "z")));
  insertObjects_atIndex(array, NSArray::array(), 99);
  insertObjects_atIndex(array, nullptr, 0);
  EXPECT_EQ(array->count(), 5U);
  expectException(NSRangeException, [&] { insertObjects_atIndex(array, NSArray::of("x"), 6); });
}

// Shows: ov_popFirstObject, ov_popObject, ov_pushObject
TEST(NSMutableArrayAdditionsTests, AnArrayIsAQueueAndAStack) {
  const auto array = NSMutableArray::array();
  EXPECT_EQ(ov_popFirstObject(array), nullptr);
  EXPECT_EQ(ov_popObject(array), nullptr);
  ov_pushObject(array, 1);
  ov_pushObject(array, 2);
  ov_pushObject(array, 3);
  EXPECT_TRUE(ov_popFirstObject(array)->isEqual(1));
  EXPECT_TRUE(ov_popObject(array)->isEqual(3));
  EXPECT_TRUE(array->isEqual(NSArray::of(2)));
  expectException(NSInvalidArgumentException, [&] { ov_pushObject(array, nullptr); });
}

}  // namespace
}  // namespace kestova
