// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/AssociatedObjects.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "Stress.h"

#include <array>
#include <functional>
#include <utility>

namespace kestova::testing {
namespace {

const char firstKey = 0;
const char secondKey = 0;

/// Runs something as it goes.
class LastWords final : public NSObject {
 public:
  explicit LastWords(std::function<void()> say) : say_(std::move(say)) {}
  ~LastWords() override { say_(); }

 private:
  std::function<void()> say_;
};

TEST(AssociatedObjects, AnObjectHasNoneUntilOneIsAttached) {
  const id object = counted(1);
  EXPECT_EQ(associatedObject(object, &firstKey), nullptr);
  setAssociatedObject(object, &firstKey, nullptr, AssociationRetain);
  removeAssociatedObjects(object);
  EXPECT_EQ(associatedObject(object, &firstKey), nullptr);
}

TEST(AssociatedObjects, KeysAreToldApartByTheirAddresses) {
  const id object = counted(1);
  setAssociatedObject(object, &firstKey, counted(2), AssociationRetain);
  setAssociatedObject(object, &secondKey, counted(3), AssociationRetain);
  EXPECT_EQ(valueOf(associatedObject(object, &firstKey)), 2);
  EXPECT_EQ(valueOf(associatedObject(object, &secondKey)), 3);
  EXPECT_EQ(associatedObject(counted(1), &firstKey), nullptr);
}

TEST(AssociatedObjects, PoliciesHaveTheirNumbers) {
  EXPECT_EQ(AssociationAssign, 0U);
  EXPECT_EQ(AssociationRetainNonatomic, 1U);
  EXPECT_EQ(AssociationCopyNonatomic, 3U);
  EXPECT_EQ(AssociationRetain, 0x301U);
  EXPECT_EQ(AssociationCopy, 0x303U);
}

TEST(AssociatedObjects, ValuesAreHeldUnlessAssigned) {
  for (const auto& [policy, count] :
       {std::pair(AssociationAssign, 1U), std::pair(AssociationRetainNonatomic, 2U),
        std::pair(AssociationRetain, 2U)}) {
    const id object = counted(1);
    const id value = counted(2);
    setAssociatedObject(object, &firstKey, value, policy);
    EXPECT_EQ(value->retainCount(), count) << policy;
    EXPECT_EQ(associatedObject(object, &firstKey), value) << policy;
  }
}

TEST(AssociatedObjects, CopyingPoliciesAttachACopy) {
  for (const AssociationPolicy policy : {AssociationCopyNonatomic, AssociationCopy}) {
    const id object = counted(1);
    const auto text = NSMutableString::stringWithString("before");
    setAssociatedObject(object, &firstKey, text, policy);
    text->appendString(" and after");
    EXPECT_EQ(cast<NSString>(associatedObject(object, &firstKey)), "before") << policy;
  }
}

TEST(AssociatedObjects, WhatIsReplacedOrTakenAwayIsLetGoOf) {
  const int before = CountingObject::alive();
  const id object = counted(1);
  setAssociatedObject(object, &firstKey, counted(2), AssociationRetain);
  setAssociatedObject(object, &firstKey, counted(3), AssociationRetain);
  EXPECT_EQ(CountingObject::alive(), before + 2);
  setAssociatedObject(object, &firstKey, nullptr, AssociationAssign);
  EXPECT_EQ(CountingObject::alive(), before + 1);
  setAssociatedObject(object, &firstKey, counted(4), AssociationCopy);
  setAssociatedObject(object, &secondKey, counted(5), AssociationRetain);
  removeAssociatedObjects(object);
  EXPECT_EQ(CountingObject::alive(), before + 1);
  EXPECT_EQ(associatedObject(object, &secondKey), nullptr);
}

TEST(AssociatedObjects, WhatIsAttachedGoesWithTheObject) {
  const int before = CountingObject::alive();
  {
    const id object = counted(1);
    setAssociatedObject(object, &firstKey, counted(2), AssociationRetain);
    setAssociatedObject(object, &secondKey, 42, AssociationCopy);
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TEST(AssociatedObjects, AValueMayUseTheTableAsItGoes) {
  const id object = counted(1);
  setAssociatedObject(object, &firstKey, make<LastWords>([&] {
                        setAssociatedObject(object, &secondKey, counted(2), AssociationRetain);
                      }),
                      AssociationRetain);
  setAssociatedObject(object, &firstKey, nullptr, AssociationRetain);
  EXPECT_EQ(valueOf(associatedObject(object, &secondKey)), 2);
}

TEST(AssociatedObjects, AnAttachedObserverMayEndItsObservationAsItGoes) {
  const id observer = counted(1);
  bool ended = false;
  {
    const id object = counted(2);
    NSObject* observed = object.get();
    observed->addObserver_forKeyPath_options_context(observer.get(), "description", 0, nullptr);
    setAssociatedObject(object, &firstKey, make<LastWords>([&, observed] {
                          observed->removeObserver_forKeyPath(observer.get(), "description");
                          ended = true;
                        }),
                        AssociationRetain);
  }
  EXPECT_TRUE(ended);
}

TEST(AssociatedObjects, ManyThreadsShareOneObject) {
  const int before = CountingObject::alive();
  {
    const id object = counted(1);
    static const std::array<char, 4> keys{};
    const StressTime time;
    Threads threads;
    threads.start(8, [&](int number) {
      while (!time.isOver()) {
        const auto key = &keys[static_cast<std::size_t>(number) % keys.size()];
        setAssociatedObject(object, key, counted(number), AssociationRetain);
        const int found = valueOf(associatedObject(object, key));
        EXPECT_TRUE(found == -1 || found % 4 == number % 4) << found;
        if (number == 7) {
          removeAssociatedObjects(object);
        }
      }
    });
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TEST(AssociatedObjectsDeathTest, NothingIsAttachedToNothing) {
  EXPECT_DEATH(setAssociatedObject(nullptr, &firstKey, 1, AssociationRetain), "object != nil");
  EXPECT_DEATH((void)associatedObject(nullptr, &firstKey), "object != nil");
  EXPECT_DEATH(removeAssociatedObjects(nullptr), "object != nil");
}

}  // namespace
}  // namespace kestova::testing
