// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

/// How one object is written inside an array.
std::string written(const id& object) {
  const std::string text = NSArray::of(object)->description()->displayUTF8();
  return text.substr(6, text.size() - 8);
}

TEST(CollectionDescriptionTests, TextsAreQuotedWhereTheyNeedIt) {
  const std::pair<const char*, const char*> rows[] = {
      {"plain", "plain"},
      {"a/b_c.d:e$9", "a/b_c.d:e$9"},
      {"", "\"\""},
      {"two words", "\"two words\""},
      {"a-b", "\"a-b\""},
      {"say \"hi\"", "\"say \\\"hi\\\"\""},
      {"back\\slash", "\"back\\\\slash\""},
      {"line\nreturn\rtab\t", "\"line\\nreturn\\rtab\\t\""},
      {"bell\a", "\"bell\\U0007\""},
      {"Grüße", "\"Grüße\""},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(written(text), expected);
  }
}

TEST(CollectionDescriptionTests, OtherObjectsAreWrittenAsTheyDescribeThemselves) {
  EXPECT_EQ(written(-1), "-1");
  EXPECT_EQ(written(0.5), "0.5");
  EXPECT_EQ(written(true), "1");
  EXPECT_EQ(written(NSNull::null()), "<null>");
  EXPECT_EQ(written(NSMakeRange(1, 2)), "NSRange: {1, 2}");
}

TEST(CollectionDescriptionTests, CollectionsAreIndentedInCollections) {
  const auto outer = NSDictionary::of({{"list", NSArray::of("a", NSArray::of(1))},
                                       {"map", NSDictionary::of({{"k", NSSet::of("v")}})},
                                       {"empty", NSArray::array()}});
  EXPECT_EQ(outer->description(),
            "{\n"
            "    empty = (\n"
            "    );\n"
            "    list = (\n"
            "        a,\n"
            "        (\n"
            "            1\n"
            "        )\n"
            "    );\n"
            "    map = {\n"
            "        k = {(\n"
            "            v\n"
            "        )};\n"
            "    };\n"
            "}");
}

TEST(CollectionDescriptionTests, KeysThatAreNotAllTextsComeAsTheyAre) {
  EXPECT_EQ(NSDictionary::of({{"b", 1}, {2, 2}, {"a", 3}})->description(),
            "{\n    b = 1;\n    2 = 2;\n    a = 3;\n}");
}

TEST(CollectionDescriptionTests, ACollectionInsideItselfIsWrittenOnce) {
  const auto array = NSMutableArray::array();
  array->addObject(NSArray::of(array));
  EXPECT_EQ(array->description(), "(\n    (\n        (itself)\n    )\n)");
  array->removeAllObjects();
}

TEST(CollectionDescriptionTests, TheSameCollectionTwiceIsWrittenTwice) {
  const auto inner = NSArray::of(1);
  EXPECT_EQ(NSArray::of(inner, inner)->description(),
            "(\n    (\n        1\n    ),\n    (\n        1\n    )\n)");
}

TEST(CollectionDescriptionTests, WhatIsNestedVeryDeepIsLeftOut) {
  const auto nested = [](int depth) {
    Ref<NSArray> outer = NSArray::of("core");
    for (int level = 1; level < depth; ++level) {
      outer = NSArray::of(outer);
    }
    return outer->description();
  };
  EXPECT_NE(nested(100)->rangeOfString("core").location, NSNotFound);
  EXPECT_EQ(nested(101)->rangeOfString("core").location, NSNotFound);
  EXPECT_NE(nested(101)->rangeOfString("(...)").location, NSNotFound);
  EXPECT_TRUE(nested(50'000)->isEqual(nested(101)));
}

}  // namespace
}  // namespace kestova
