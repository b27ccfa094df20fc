// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

namespace kestova {
namespace {

using testing::expectException;

class Person : public NSObject {
  KESTOVA_CLASS(Person, NSObject)

 public:
  Ref<NSString> name() const { return name_; }
  void setName(const Ref<NSString>& name) { name_ = copyOf(name); }
  int age() const { return age_; }
  void setAge(int age) { age_ = age; }
  bool isReady() const { return ready_; }
  void setReady(bool ready) { ready_ = ready; }
  NSRect frame() const { return frame_; }
  void setFrame(NSRect frame) { frame_ = frame; }
  Ref<Person> friendOfMine() const { return friend_; }
  void setFriendOfMine(const Ref<Person>& other) { friend_ = other; }
  double height() const { return 1.75; }

 private:
  Ref<NSString> name_;
  int age_ = 0;
  bool ready_ = false;
  NSRect frame_;
  Ref<Person> friend_;
};

KESTOVA_DEFINE_CLASS(Person,
                     .property<&Person::name, &Person::setName>("name")
                         .property<&Person::age, &Person::setAge>("age")
                         .property<&Person::isReady, &Person::setReady>("isReady")
                         .property<&Person::frame, &Person::setFrame>("frame")
                         .property<&Person::friendOfMine, &Person::setFriendOfMine>("friend")
                         .property<&Person::height>("height"))

class Employee : public Person {
  KESTOVA_CLASS(Employee, Person)

 public:
  Ref<NSString> company() const { return "Kestova"; }
  id valueForUndefinedKey(const Ref<NSString>& key) const override {
    return NSString::stringWithFormat("no %@", key);
  }
};

KESTOVA_DEFINE_CLASS(Employee, .property<&Employee::company>("company"))

TEST(NSKeyValueCodingTests, PropertiesAreReadByName) {
  const auto person = make<Person>();
  person->setName("Ada");
  person->setAge(36);
  EXPECT_TRUE(person->valueForKey("name")->isEqual("Ada"));
  EXPECT_TRUE(person->valueForKey("age")->isEqual(36));
  EXPECT_TRUE(person->valueForKey("height")->isEqual(1.75));
  EXPECT_EQ(person->valueForKey("friend"), nullptr);
}

TEST(NSKeyValueCodingTests, PropertiesAreSetByName) {
  const auto person = make<Person>();
  person->setValue_forKey("Ada", "name");
  person->setValue_forKey(36, "age");
  person->setValue_forKey(true, "isReady");
  person->setValue_forKey(NSMakeRect(1, 2, 3, 4), "frame");
  EXPECT_EQ(person->name(), "Ada");
  EXPECT_EQ(person->age(), 36);
  EXPECT_TRUE(person->isReady());
  EXPECT_EQ(person->frame(), NSMakeRect(1, 2, 3, 4));
  person->setValue_forKey(nullptr, "name");
  EXPECT_EQ(person->name(), nullptr);
}

TEST(NSKeyValueCodingTests, AQuestionMayBeAskedWithoutItsIs) {
  const auto person = make<Person>();
  person->setValue_forKey(true, "ready");
  EXPECT_TRUE(person->valueForKey("ready")->isEqual(true));
  EXPECT_TRUE(person->valueForKey("isReady")->isEqual(true));
}

TEST(NSKeyValueCodingTests, PropertiesOfSuperclassesAreFound) {
  const auto employee = make<Employee>();
  employee->setValue_forKey("Ada", "name");
  EXPECT_TRUE(employee->valueForKey("name")->isEqual("Ada"));
  EXPECT_TRUE(employee->valueForKey("company")->isEqual("Kestova"));
}

TEST(NSKeyValueCodingTests, AnUnknownKeyThrowsUnlessTheClassAnswersForIt) {
  const auto person = make<Person>();
  for (const char* key : {"nosuch", "", ".", "näme", "Name"}) {
    expectException(NSUndefinedKeyException, [&] { (void)person->valueForKey(key); });
    expectException(NSUndefinedKeyException, [&] { person->setValue_forKey(1, key); });
  }
  EXPECT_TRUE(make<Employee>()->valueForKey("nosuch")->isEqual("no nosuch"));
}

TEST(NSKeyValueCodingTests, NullIsAnUnknownKey) {
  const auto person = make<Person>();
  expectException(NSUndefinedKeyException, [&] { (void)person->valueForKey(nullptr); });
  expectException(NSUndefinedKeyException, [&] { person->setValue_forKey(1, nullptr); });
  expectException(NSUndefinedKeyException, [&] { (void)person->valueForKeyPath(nullptr); });
  expectException(NSUndefinedKeyException, [&] { person->setValue_forKeyPath(1, nullptr); });
  EXPECT_TRUE(make<Employee>()->valueForKey(nullptr)->isEqual("no (null)"));
}

TEST(NSKeyValueCodingTests, AReadOnlyPropertyCannotBeSet) {
  const auto person = make<Person>();
  expectException(NSUndefinedKeyException, [&] { person->setValue_forKey(2.0, "height"); });
}

TEST(NSKeyValueCodingTests, APlainPropertyCannotBeNothing) {
  const auto person = make<Person>();
  expectException(NSInvalidArgumentException, [&] { person->setValue_forKey(nullptr, "age"); });
}

TEST(NSKeyValueCodingTests, PathsGoFromObjectToObject) {
  const auto person = make<Person>();
  const auto middle = make<Person>();
  const auto last = make<Person>();
  person->setFriendOfMine(middle);
  middle->setFriendOfMine(last);
  person->setValue_forKeyPath("Grace", "friend.friend.name");
  EXPECT_EQ(last->name(), "Grace");
  EXPECT_TRUE(person->valueForKeyPath("friend.friend.name")->isEqual("Grace"));
  EXPECT_TRUE(person->valueForKeyPath("friend.age")->isEqual(0));
}

TEST(NSKeyValueCodingTests, APathEndsWhereNothingIs) {
  const auto person = make<Person>();
  EXPECT_EQ(person->valueForKeyPath("friend.friend.name"), nullptr);
  person->setValue_forKeyPath("Grace", "friend.name");
  EXPECT_EQ(person->friendOfMine(), nullptr);
}

}  // namespace
}  // namespace kestova
