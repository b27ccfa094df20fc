// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <thread>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;

class Counted : public NSObject {
  KESTOVA_CLASS(Counted, NSObject)

 public:
  static inline int alive = 0;

 protected:
  Counted() { ++alive; }
  ~Counted() override { --alive; }
};

class SpeciallyCounted : public Counted {
  KESTOVA_CLASS(SpeciallyCounted, Counted)
};

/// A class that does not describe itself.
class Undescribed : public Counted {
 public:
  Undescribed() = default;
};

KESTOVA_DEFINE_CLASS(Counted)
KESTOVA_DEFINE_CLASS(SpeciallyCounted)

TEST(NSObjectTests, AnObjectGoesWithItsLastReference) {
  {
    auto first = make<Counted>();
    EXPECT_EQ(first->retainCount(), 1U);
    const Ref<Counted> second = first;
    EXPECT_EQ(first->retainCount(), 2U);
    first = nullptr;
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(second->retainCount(), 1U);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(NSObjectTests, MovingAReferenceCountsNothing) {
  auto first = make<Counted>();
  const Ref<NSObject> second = std::move(first);
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(second->retainCount(), 1U);
}

TEST(NSObjectTests, AReferenceMayBeAssignedToItself) {
  auto object = make<Counted>();
  auto& same = object;
  object = same;
  EXPECT_EQ(object->retainCount(), 1U);
  object = std::move(same);
  EXPECT_EQ(object->retainCount(), 1U);
}

TEST(NSObjectTests, AGivenUpCountCanBeTakenBack) {
  auto object = make<Counted>();
  Counted* plain = object.leak();
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(Counted::alive, 1);
  object = Ref<Counted>::adopt(plain);
  EXPECT_EQ(object->retainCount(), 1U);
}

TEST(NSObjectTests, AReferenceIsAsLargeAsAPointer) { EXPECT_EQ(sizeof(id), sizeof(void*)); }

TEST(NSObjectTests, CountingIsSafeOnManyThreads) {
  const auto object = make<Counted>();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([object] {
      for (int j = 0; j < 10'000; ++j) {
        const Ref<NSObject> copy = object;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(object->retainCount(), 1U);
}

TEST(NSObjectTests, CastingDownAnswersNothingForOtherClasses) {
  const id object = make<SpeciallyCounted>();
  EXPECT_EQ(cast<Counted>(object), object);
  EXPECT_EQ(cast<SpeciallyCounted>(object), object);
  EXPECT_EQ(cast<NSString>(object), nullptr);
  EXPECT_EQ(cast<Counted>(id()), nullptr);
}

TEST(NSObjectTests, EqualityIsIdentity) {
  const auto a = make<Counted>();
  const auto b = make<Counted>();
  EXPECT_TRUE(a->isEqual(a));
  EXPECT_FALSE(a->isEqual(b));
  EXPECT_FALSE(a->isEqual(nullptr));
  EXPECT_EQ(a->hash(), a->hash());
}

TEST(NSObjectTests, NothingIsOnlyEqualToNothing) {
  EXPECT_TRUE(isEqualOrBothNull(nullptr, nullptr));
  EXPECT_FALSE(isEqualOrBothNull(nullptr, "a"));
  EXPECT_FALSE(isEqualOrBothNull("a", nullptr));
  EXPECT_TRUE(isEqualOrBothNull("a", u"a"));
}

TEST(NSObjectTests, ADescriptionNamesTheClass) {
  EXPECT_TRUE(make<SpeciallyCounted>()->description()->hasPrefix("<SpeciallyCounted: 0x"));
  EXPECT_TRUE(make<Undescribed>()->description()->hasPrefix("<Counted: 0x"));
}

TEST(NSObjectTests, AClassThatCannotBeCopiedSaysSo) {
  const auto object = make<Counted>();
  expectException(NSInvalidArgumentException, [&] { (void)object->copy(); });
  expectException(NSInvalidArgumentException, [&] { (void)object->mutableCopy(); });
}

TEST(NSObjectTests, PlainValuesBoxThemselves) {
  EXPECT_TRUE(id("text")->isEqual(id(u"text")));
  EXPECT_TRUE(id(42)->isEqual(id(42.0)));
  EXPECT_EQ(id(static_cast<const char*>(nullptr)), nullptr);
  EXPECT_EQ(id("\xFF"), nullptr);
}

TEST(ClassTests, AClassKnowsItsNameAndItsPlace) {
  const Class& described = SpeciallyCounted::staticClass();
  EXPECT_EQ(described.name(), "SpeciallyCounted");
  EXPECT_EQ(described.superclass(), &Counted::staticClass());
  EXPECT_TRUE(described.isSubclassOfClass(NSObject::staticClass()));
  EXPECT_TRUE(described.isSubclassOfClass(described));
  EXPECT_FALSE(Counted::staticClass().isSubclassOfClass(described));
  EXPECT_EQ(NSObject::staticClass().superclass(), nullptr);
}

TEST(ClassTests, AnObjectKnowsItsClass) {
  const id object = make<SpeciallyCounted>();
  EXPECT_EQ(&object->classDescriptor(), &SpeciallyCounted::staticClass());
  EXPECT_TRUE(object->isKindOfClass(Counted::staticClass()));
  EXPECT_FALSE(object->isKindOfClass(NSString::staticClass()));
}

TEST(ClassTests, ClassesAreFoundByName) {
  EXPECT_EQ(Class::named("SpeciallyCounted"), &SpeciallyCounted::staticClass());
  EXPECT_EQ(NSClassFromString("NSObject"), &NSObject::staticClass());
  EXPECT_EQ(NSClassFromString("NoSuchClass"), nullptr);
  EXPECT_EQ(NSClassFromString(nullptr), nullptr);
  EXPECT_EQ(NSStringFromClass(Counted::staticClass()), "Counted");
}

TEST(ClassTests, AnObjectIsMadeByClass) {
  EXPECT_NE(cast<NSMutableString>(Class::named("NSMutableString")->make()), nullptr);
  EXPECT_EQ(NSObject::staticClass().make(), nullptr);
}

TEST(ClassTests, ARegistrationEndsWithItsLibrary) {
  {
    const ClassRegistration registration("ShortLived", &Counted::staticClass);
    EXPECT_EQ(Class::named("ShortLived"), &Counted::staticClass());
  }
  EXPECT_EQ(Class::named("ShortLived"), nullptr);
}

}  // namespace
}  // namespace kestova
