// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSValue.h>
#include <gtest/gtest.h>

#include "PropertyLists.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::kPropertyListFormats;
using testing::readPropertyList;
using testing::textOfData;
using testing::writePropertyList;

/// An object of no property list and how it is told.
struct UnwritableRow {
  id list;
  const char* problem;
};

class Unlisted : public NSObject {
  KESTOVA_CLASS(Unlisted, NSObject)
};
KESTOVA_DEFINE_CLASS(Unlisted)

TEST(PropertyListWriterTests, WhatIsNoPropertyListIsRefusedWithClassAndPlace) {
  const auto unlisted = make<Unlisted>();
  id deep = NSSet::set();
  for (int level = 0; level < 10; ++level) {
    deep = NSArray::of(deep);
  }
  const UnwritableRow rows[] = {
      {nullptr, "A value of class null is no property list, at the top."},
      {unlisted, "A value of class Unlisted is no property list, at the top."},
      {NSNull::null(), "A value of class NSNull is no property list, at the top."},
      {NSArray::of(1, NSSet::set()), "A value of class NSSet is no property list, at [1]."},
      {NSDictionary::of({{"a", NSArray::of("x", NSDictionary::of({{"b c", unlisted}}))}}),
       "A value of class Unlisted is no property list, at [\"a\"][1][\"b c\"]."},
      {NSDictionary::of({{std::string(100, 'k'), unlisted}}),
       "A value of class Unlisted is no property list, at "
       "[\"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk\"]."},
      {deep, "A value of class NSSet is no property list, at [0][0][0][0][0][0][0][0]…."},
      {NSDictionary::of({{1, "one"}}), "A key of class NSNumber is no string, at the top."},
      {NSArray::of(NSDictionary::of({{NSNull::null(), 1}})),
       "A key of class NSNull is no string, at [0]."},
      {NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(HUGE_VAL)),
       "A date is no moment, at [0]."},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(std::nan("")),
       "A date is no moment, at the top."},
      {NSValue::valueWithRange({1, 2}), nullptr},
  };
  for (const auto format : kPropertyListFormats) {
    for (const auto& [list, problem] : rows) {
      const auto outcome = writePropertyList(list, format);
      EXPECT_EQ(outcome.value, nullptr);
      EXPECT_EQ(outcome.code, 3852);
      if (problem != nullptr) {
        EXPECT_EQ(outcome.problem, problem) << format;
      }
    }
  }
}

TEST(PropertyListWriterTests, OnlyKnownFormatsAreWritten) {
  for (const NSUInteger format : {0, 1, 99, 101, 201}) {
    const auto outcome = writePropertyList("text", static_cast<NSPropertyListFormat>(format));
    EXPECT_EQ(outcome.problem,
              "There is no property list format " + std::to_string(format) + " to write.");
    EXPECT_EQ(outcome.code, 3852);
  }
}

/// Collections that hold nothing, and make their members whenever they are asked for them.
class MadeArray final : public NSArray {
 public:
  NSUInteger count() const override { return 20; }
  id objectAtIndex(NSUInteger index) const override {
    return NSString::stringWithFormat("member %lu of an array", index);
  }
};

class MadeDictionary final : public NSDictionary {
 public:
  NSUInteger count() const override { return 50; }
  id objectForKey(const id& key) const override {
    const auto text = cast<NSString>(key);
    const bool isLeaf = text->hasSuffix("0");
    return isLeaf ? id(text->stringByAppendingString("'s value")) : id(make<MadeArray>());
  }
  Ref<NSEnumerator> keyEnumerator() const override {
    class Keys final : public NSEnumerator {
     public:
      id nextObject() override {
        return next_ < 50 ? NSString::stringWithFormat("key %d", next_++) : nullptr;
      }

     private:
      int next_ = 0;
    };
    return make<Keys>();
  }
};

TEST(PropertyListWriterTests, WhatCollectionsMakeWhenTheyAreAskedIsWrittenAsWhatTheyHold) {
  const auto made = make<MadeDictionary>();
  const auto held = NSMutableDictionary::dictionary();
  for (const id& key : made) {
    const id value = made->objectForKey(key);
    const auto array = cast<NSArray>(value);
    held->setObject_forKey(array ? NSMutableArray::arrayWithArray(array) : value, key);
  }
  for (const auto format : kPropertyListFormats) {
    const auto written = writePropertyList(made, format);
    EXPECT_EQ(written.problem, "");
    EXPECT_EQ(textOfData(written.value), textOfData(writePropertyList(held, format).value));
  }
}

TEST(PropertyListWriterTests, ContainersThatHoldThemselvesAreRefused) {
  const auto array = NSMutableArray::array();
  array->addObject(array);
  const auto dictionary = NSMutableDictionary::dictionary();
  dictionary->setObject_forKey(NSArray::of("x", dictionary), "self");
  for (const auto format : kPropertyListFormats) {
    EXPECT_EQ(writePropertyList(array, format).problem, "A container holds itself, at [0].");
    EXPECT_EQ(writePropertyList(dictionary, format).problem,
              "A container holds itself, at [\"self\"][1].");
  }
  array->removeAllObjects();
  dictionary->removeAllObjects();
}

TEST(PropertyListWriterTests, AContainerMayBeThereSeveralTimes) {
  const auto shared = NSArray::of("a");
  const auto list = NSArray::of(shared, shared, NSDictionary::of({{"k", shared}}));
  for (const auto format : kPropertyListFormats) {
    const auto bytes = textOfData(writePropertyList(list, format).value);
    EXPECT_TRUE(list->isEqual(readPropertyList(bytes).value)) << format;
  }
}

/// An array of an array of an array …, which is taken apart from the outside in: its end would
/// recurse otherwise.
class DeepList {
 public:
  explicit DeepList(std::size_t depth) {
    for (; depth > 0; --depth) {
      const auto outer = NSMutableArray::array();
      if (!levels_.empty()) {
        outer->addObject(levels_.back());
      }
      levels_.push_back(outer);
    }
  }
  ~DeepList() {
    for (const auto& level : levels_) {
      level->removeAllObjects();
    }
  }

  const Ref<NSMutableArray>& outermost() const { return levels_.back(); }

 private:
  std::vector<Ref<NSMutableArray>> levels_;
};

TEST(PropertyListWriterTests, WhatIsWrittenNestsAsDeepAsCanBeRead) {
  for (const auto format : kPropertyListFormats) {
    const auto bytes = textOfData(writePropertyList(DeepList(512).outermost(), format).value);
    EXPECT_EQ(readPropertyList(bytes).problem, "") << format;
    for (const std::size_t depth : {513, 100000}) {
      EXPECT_EQ(writePropertyList(DeepList(depth).outermost(), format).problem,
                "Containers nest more than 512 deep, at [0][0][0][0][0][0][0][0]….");
    }
  }
}

TEST(PropertyListWriterTests, WhatIsSharedCountsWithItsDepthWhereverItIs) {
  const DeepList deep(511);
  const auto& shared = deep.outermost();
  for (const auto format : kPropertyListFormats) {
    EXPECT_EQ(writePropertyList(NSArray::of(shared, shared), format).problem, "");
    EXPECT_EQ(
        writePropertyList(NSArray::of(shared, NSArray::of(shared)), format).problem.substr(0, 36),
        "Containers nest more than 512 deep, ");
  }
}

/// Arrays of which each holds the next one twice: 2^levels ways lead to the innermost one.
Ref<NSArray> bomb(int levels) {
  Ref<NSArray> list = NSArray::array();
  for (int level = 1; level < levels; ++level) {
    list = NSArray::of(list, list);
  }
  return list;
}

TEST(PropertyListWriterTests, ListsThatUnfoldWithoutEndAreNotWritten) {
  for (const auto format : kPropertyListFormats) {
    const auto most = textOfData(writePropertyList(bomb(16), format).value);
    EXPECT_TRUE(bomb(16)->isEqual(readPropertyList(most).value)) << format;
    EXPECT_EQ(writePropertyList(bomb(17), format).problem,
              "The list unfolds to more than 66048 objects, at the top.");
    EXPECT_EQ(writePropertyList(bomb(40), format).problem,
              "The list unfolds to more than 66784 objects, at the top.");
    EXPECT_EQ(writePropertyList(bomb(512), format).problem,
              "The list unfolds to more than 81888 objects, at the top.");
  }
}

TEST(PropertyListWriterTests, AListMayShareMoreTheMoreThereIsInItWhateverComesFirst) {
  std::vector<id> numbers(10'000, id(1));
  const auto many = NSArray::arrayWithObjects(std::move(numbers));
  for (const auto format : kPropertyListFormats) {
    for (const auto& list : {NSArray::of(bomb(17), many), NSArray::of(many, bomb(17))}) {
      const auto bytes = textOfData(writePropertyList(list, format).value);
      EXPECT_EQ(readPropertyList(bytes).problem, "") << format;
      EXPECT_EQ(readPropertyList(bytes, NSPropertyListMutableContainersAndLeaves).problem, "")
          << format;
    }
  }
}

TEST(PropertyListWriterTests, AFaultBehindSomethingSharedIsToldAtItsPlace) {
  for (const auto format : kPropertyListFormats) {
    const auto list = NSArray::of(bomb(60), NSDictionary::of({{"k", NSNull::null()}}));
    EXPECT_EQ(writePropertyList(list, format).problem,
              "A value of class NSNull is no property list, at [1][\"k\"].");
  }
}

}  // namespace
}  // namespace kestova
