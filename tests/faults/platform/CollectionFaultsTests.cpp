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

/// The keys and the values under them, in the order of their arrival.
std::string entriesOf(const Ref<NSDictionary>& dictionary) {
  std::string text;
  dictionary->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool*) {
    text += std::to_string(valueOf(key)) + '=' + std::to_string(valueOf(object)) + ' ';
  });
  return text;
}

/// Each of some keys and the hundredfold of it.
Ref<NSMutableDictionary> hundredfold(int first, int count) {
  const auto dictionary = NSMutableDictionary::dictionary();
  for (int key = first; key < first + count; ++key) {
    dictionary->setObject_forKey(counted(100 * key), counted(key));
  }
  return dictionary;
}

struct DictionaryChange {
  const char* what;
  std::function<void(const Ref<NSMutableDictionary>&)> change;
  std::string after;
};

struct SetChange {
  const char* what;
  std::function<void(const Ref<NSMutableSet>&)> change;
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

TEST(CollectionFaults, ADictionaryThatFindsNoMemoryForAChangeStaysAsItWas) {
  const std::string before = "0=7 1=8 ";
  const std::vector<DictionaryChange> changes = {
      {"setting", [](const auto& one) { one->setObject_forKey(counted(9), counted(2)); },
       "0=7 1=8 2=9 "},
      {"taking another's place", [](const auto& one) { one->setDictionary(hundredfold(1, 3)); },
       "1=100 2=200 3=300 "},
      {"becoming empty", [](const auto& one) { one->setDictionary(nullptr); }, ""},
      {"staying itself", [](const auto& one) { one->setDictionary(one); }, before},
      {"adding entries, some of which are there",
       [](const auto& one) { one->addEntriesFromDictionary(hundredfold(1, 9)); },
       "0=7 1=100 2=200 3=300 4=400 5=500 6=600 7=700 8=800 9=900 "},
      {"removing several",
       [](const auto& one) {
         one->removeObjectsForKeys(NSArray::arrayWithObjects({counted(0), counted(5)}));
       },
       "1=8 "},
      {"removing all", [](const auto& one) { one->removeAllObjects(); }, ""},
  };
  for (const auto& [what, change, after] : changes) {
    SCOPED_TRACE(what);
    Ref<NSMutableDictionary> dictionary;
    walkAllocations(
        [&] {
          dictionary = nullptr;
          auto made = NSMutableDictionary::dictionary();
          made->setObject_forKey(counted(7), counted(0));
          made->setObject_forKey(counted(8), counted(1));
          dictionary = std::move(made);
          change(dictionary);
        },
        [&](bool threw) {
          EXPECT_TRUE(dictionary == nullptr || entriesOf(dictionary) == (threw ? before : after))
              << entriesOf(dictionary);
          EXPECT_TRUE(dictionary == nullptr || threw || !after.starts_with("0=7 1=100") ||
                      valueOf(dictionary->objectForKey(counted(9))) == 900);
          dictionary = nullptr;
          EXPECT_EQ(CountingObject::alive(), 0);
        });
  }
}

TEST(CollectionFaults, ASetThatFindsNoMemoryForAChangeStaysAsItWas) {
  const auto setUpTo = [](int count) {
    return NSSet::setWithArray(NSArray::arrayWithObjects(countedUpTo(count)));
  };
  const std::vector<SetChange> changes = {
      {"adding", [](const auto& set) { set->addObject(counted(7)); }, "0 1 2 7 "},
      {"adding many",
       [](const auto& set) { set->addObjectsFromArray(NSArray::arrayWithObjects(countedUpTo(9))); },
       "0 1 2 3 4 5 6 7 8 "},
      {"uniting", [&](const auto& set) { set->unionSet(setUpTo(9)); }, "0 1 2 3 4 5 6 7 8 "},
      {"subtracting", [&](const auto& set) { set->minusSet(setUpTo(2)); }, "2 "},
      {"intersecting", [&](const auto& set) { set->intersectSet(setUpTo(2)); }, "0 1 "},
      {"becoming another", [&](const auto& set) { set->setSet(setUpTo(5)); }, "0 1 2 3 4 "},
      {"becoming empty", [&](const auto& set) { set->setSet(nullptr); }, ""},
      {"staying itself", [&](const auto& set) { set->setSet(set); }, "0 1 2 "},
  };
  for (const auto& [what, change, after] : changes) {
    SCOPED_TRACE(what);
    Ref<NSMutableSet> set;
    const int refused = walkAllocations(
        [&] {
          set = nullptr;
          set = NSMutableSet::setWithArray(NSArray::arrayWithObjects(countedUpTo(3)));
          change(set);
        },
        [&](bool threw) {
          EXPECT_TRUE(set == nullptr || valuesOf(set->allObjects()) == (threw ? "0 1 2 " : after))
              << valuesOf(set->allObjects());
          set = nullptr;
          EXPECT_EQ(CountingObject::alive(), 0);
        });
    EXPECT_GT(refused, 0);
  }
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

TEST(CollectionFaults, NestedCollectionsGoWithoutMemory) {
  id nested = counted(1);
  for (int depth = 0; depth < 300; ++depth) {
    nested = NSArray::arrayWithObjects({nested, counted(depth)});
  }
  const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
  nested = nullptr;
  EXPECT_TRUE(none.wasMet());
  EXPECT_EQ(CountingObject::alive(), 0);
}
