// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSObjectAdditions.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <cstdio>
#include <string>

namespace kestova {
namespace {

using testing::expectException;

class Item : public NSObject {
  KESTOVA_CLASS(Item, NSObject)

 public:
  int count() const { return 3; }
  Ref<NSString> title() const { return nullptr; }
};
KESTOVA_DEFINE_CLASS(Item, .property<&Item::count>("count").property<&Item::title>("title"))

class Book : public Item {
  KESTOVA_CLASS(Book, Item)

 public:
  Ref<NSString> title() const { return "line one\nline two"; }
  Ref<NSString> author() const { return "Ada"; }
};
KESTOVA_DEFINE_CLASS(Book, .property<&Book::title>("title").property<&Book::author>("author"))

class Plain : public NSObject {
  KESTOVA_CLASS(Plain, NSObject)
};
KESTOVA_DEFINE_CLASS(Plain)

/// Described by the root of all classes alone.
class Undescribed : public NSObject {};

std::string head(const char* name, const id& object) {
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(object.get()));
  return std::string("<") + name + ": " + address + ">";
}

// Shows: ov_descriptionUsingProperties
TEST(NSObjectAdditionsTests, AnEmptyLineStandsBeforeTheClosingBrace) {
  const id item = make<Item>();
  EXPECT_EQ(ov_descriptionUsingProperties(item, NSArray::of("count", "title")),
            head("Item", item) + " properties = {\n\tcount = 3\n\ttitle = nil\n\n}");
}

// Shows: ov_descriptionUsingAllProperties
TEST(NSObjectAdditionsTests, AllPropertiesAreDescribedNilOnesToo) {
  const id item = make<Item>();
  const auto described = ov_descriptionUsingAllProperties(item);
  EXPECT_TRUE(described->containsString("\tcount = 3\n"));
  EXPECT_TRUE(described->containsString("\ttitle = nil\n"));
  EXPECT_TRUE(described->isEqual(ov_descriptionUsingProperties(item, ov_allPropertyNames(item))));
}

// Shows: ov_descriptionUsingAllProperties, ov_descriptionUsingProperties
TEST(NSObjectAdditionsTests, WithoutPropertiesThereIsNothingBehindTheBracket) {
  const id plain = make<Plain>();
  EXPECT_EQ(ov_descriptionUsingAllProperties(plain), head("Plain", plain));
  const id item = make<Item>();
  EXPECT_EQ(ov_descriptionUsingProperties(item, nullptr), head("Item", item));
  EXPECT_EQ(ov_descriptionUsingProperties(item, NSArray::array()), head("Item", item));
}

// Shows: ov_descriptionUsingProperties
TEST(NSObjectAdditionsTests, EveryLineOfAValueIsIndented) {
  const id book = make<Book>();
  EXPECT_EQ(ov_descriptionUsingProperties(book, NSArray::of("title")),
            head("Book", book) + " properties = {\n\ttitle = line one\n\tline two\n\n}");
}

// Shows: ov_descriptionOfProperties
TEST(NSObjectAdditionsTests, LinesComeInTheOrderOfTheirNames) {
  const id item = make<Item>();
  EXPECT_EQ(ov_descriptionOfProperties(item, NSArray::of("title", "count")),
            "title = nil\ncount = 3");
  EXPECT_EQ(ov_descriptionOfProperties(item, NSArray::of("count", "count")),
            "count = 3\ncount = 3");
  EXPECT_EQ(ov_descriptionOfProperties(item, NSSet::of("count")), "count = 3");
  EXPECT_EQ(ov_descriptionOfProperties(item, NSArray::array()), "");
}

// Shows: ov_descriptionOfProperty_value
TEST(NSObjectAdditionsTests, ALineIsNameAndValue) {
  const id item = make<Item>();
  EXPECT_EQ(ov_descriptionOfProperty_value(item, "size", 2.5), "size = 2.5");
  EXPECT_EQ(ov_descriptionOfProperty_value(item, "size", nullptr), "size = nil");
  EXPECT_EQ(ov_descriptionOfProperty_value(item, "%@", "%d"), "%@ = %d");
}

// Shows: ov_propertyDescriptions
TEST(NSObjectAdditionsTests, InADictionaryTheObjectIsTheNameAndTheKeyTheValue) {
  const id item = make<Item>();
  EXPECT_TRUE(ov_propertyDescriptions(item, NSDictionary::of({{"a", 1}, {"b", "x"}}))
                  ->isEqual(NSDictionary::of({{"a", "1 = a"}, {"b", "x = b"}})));
  EXPECT_EQ(ov_propertyDescriptions(item, nullptr)->count(), 0U);
}

// Shows: ov_dictionaryOfPropertyValues, ov_descriptionUsingProperties
TEST(NSObjectAdditionsTests, OnlyValuesThatAreThereAreRead) {
  const id item = make<Item>();
  EXPECT_TRUE(ov_dictionaryOfPropertyValues(item, NSArray::of("count", "title"))
                  ->isEqual(NSDictionary::of({{"count", 3}})));
  expectException(NSUndefinedKeyException,
                  [&] { (void)ov_dictionaryOfPropertyValues(item, NSArray::of("nosuch")); });
  expectException(NSUndefinedKeyException,
                  [&] { (void)ov_descriptionUsingProperties(item, NSArray::of("nosuch")); });
  expectException(NSUndefinedKeyException,
                  [&] { (void)ov_dictionaryOfPropertyValues(item, NSArray::of(5)); });
}

// Shows: ov_allPropertyNames
TEST(NSObjectAdditionsTests, NamesOfAllClassesAreCollectedOnce) {
  EXPECT_TRUE(ov_allPropertyNames(make<Book>())->isEqual(NSSet::of("count", "title", "author")));
  EXPECT_TRUE(ov_allPropertyNames(make<Item>())->isEqual(NSSet::of("count", "title")));
  EXPECT_EQ(ov_allPropertyNames(make<Plain>())->count(), 0U);
  EXPECT_EQ(ov_allPropertyNames(make<Undescribed>())->count(), 0U);
}

}  // namespace
}  // namespace kestova
