// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "AllocationFaults.h"
#include "CountingObject.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

std::vector<id> countedUpTo(int count) {
  std::vector<id> objects;
  for (int value = 0; value < count; ++value) {
    objects.push_back(counted(value));
  }
  return objects;
}

std::string valuesOf(const Ref<NSArray>& array) {
  std::string text;
  for (const id& object : array) {
    text += std::to_string(valueOf(object)) + ' ';
  }
  return text;
}

struct ArrayChange {
  const char* what;
  std::function<void(const Ref<NSMutableArray>&)> change;
  std::string after;
};

}  // namespace

TEST(CollectionFaults, AnArrayThatFindsNoMemoryForAChangeStaysAsItWas) {
  const std::vector<ArrayChange> changes = {
      {"adding", [](const auto& array) { array->addObject(counted(7)); }, "0 1 2 7 "},
      {"inserting", [](const auto& array) { array->insertObject_atIndex(counted(7), 1); },
       "0 7 1 2 "},
      {"adding many",
       [](const auto& array) {
         array->addObjectsFromArray(NSArray::arrayWithObjects(countedUpTo(9)));
       },
       "0 1 2 0 1 2 3 4 5 6 7 8 "},
      {"putting more in place",
       [](const auto& array) {
         array->replaceObjectsInRange_withObjectsFromArray(
             {1, 1}, NSArray::arrayWithObjects(countedUpTo(9)));
       },
       "0 0 1 2 3 4 5 6 7 8 2 "},
      {"becoming another",
       [](const auto& array) { array->setArray(NSArray::arrayWithObjects(countedUpTo(5))); },
       "0 1 2 3 4 "},
      {"removing some", [](const auto& array) { array->removeObject(counted(1)); }, "0 2 "},
      {"sorting",
       [](const auto& array) {
         array->sortUsingComparator([](const id& a, const id& b) {
           return valueOf(a) > valueOf(b) ? NSOrderedAscending : NSOrderedDescending;
         });
       },
       "2 1 0 "},
  };
  for (const auto& [what, change, after] : changes) {
    SCOPED_TRACE(what);
    Ref<NSMutableArray> array;
    const int refused = walkAllocations(
        [&] {
          array = nullptr;
          array = NSMutableArray::arrayWithObjects(countedUpTo(3));
          change(array);
        },
        [&](bool threw) {
          EXPECT_TRUE(array == nullptr || valuesOf(array) == (threw ? "0 1 2 " : after))
              << valuesOf(array);
          array = nullptr;
          EXPECT_EQ(CountingObject::alive(), 0);
        });
    EXPECT_GT(refused, 0);
  }
}

TEST(CollectionFaults, ADictionaryThatFindsNoMemoryForAKeyStaysAsItWas) {
  Ref<NSMutableDictionary> dictionary;
  int filled = 0;
  const int refused = walkAllocations(
      [&] {
        filled = 0;
        dictionary = nullptr;
        dictionary = NSMutableDictionary::dictionary();
        for (; filled < 40; ++filled) {
          dictionary->setObject_forKey(counted(filled + 100), counted(filled));
        }
      },
      [&](bool threw) {
        EXPECT_EQ(filled == 40, !threw);
        EXPECT_TRUE(dictionary == nullptr ||
                    dictionary->count() == static_cast<NSUInteger>(filled));
        for (int key = 0; dictionary && key < filled; ++key) {
          EXPECT_EQ(valueOf(dictionary->objectForKey(counted(key))), key + 100);
        }
        dictionary = nullptr;
        EXPECT_EQ(CountingObject::alive(), 0);
      });
  EXPECT_GT(refused, 80);
}

TEST(CollectionFaults, ASetHasAMemberOrThrows) {
  Ref<NSMutableSet> set;
  const int refused = walkAllocations(
      [&] {
        set = nullptr;
        set = NSMutableSet::setWithArray(NSArray::arrayWithObjects(countedUpTo(16)));
        set->addObject(counted(99));
      },
      [&](bool threw) {
        EXPECT_TRUE(set == nullptr || set->count() == (threw ? 16U : 17U));
        EXPECT_TRUE(set == nullptr || set->containsObject(counted(15)));
        set = nullptr;
        EXPECT_EQ(CountingObject::alive(), 0);
      });
  EXPECT_GT(refused, 4);
}
