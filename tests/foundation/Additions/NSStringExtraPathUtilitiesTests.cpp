// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringExtraPathUtilities.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::RandomRun;

/// What an operation makes of a path and an argument.
struct Row {
  const char16_t* path;
  const char16_t* argument;
  const char16_t* expected;
};

template <std::size_t count>
void expectResults(const Row (&rows)[count],
                   Ref<NSString> (*operation)(const Ref<NSString>&, const Ref<NSString>&)) {
  for (const Row& row : rows) {
    forBothStorages(row.path, row.argument,
                    [&](const Ref<NSString>& path, const Ref<NSString>& argument) {
                      EXPECT_EQ(operation(path, argument), row.expected) << path << " " << argument;
                    });
  }
}

template <std::size_t count>
void expectResults(const std::pair<const char16_t*, const char16_t*> (&rows)[count],
                   Ref<NSString> (*operation)(const Ref<NSString>&)) {
  for (const auto& [path, expected] : rows) {
    forBothStorages(path, [&, expected = expected](const Ref<NSString>& string) {
      EXPECT_EQ(operation(string), expected) << string;
    });
  }
}

// Shows: stringByAppendingStringBeforePathExtension
TEST(NSStringExtraPathUtilitiesTests, TextGoesBeforeTheExtension) {
  const Row rows[] = {
      {u"/x/report.txt", u"-old", u"/x/report-old.txt"},
      {u"report.tar.gz", u"-old", u"report.tar-old.gz"},
      {u"größe.txt", u"ñ", u"größeñ.txt"},
      {u"/x/report", u"-old", u"/x/report-old."},  // the empty extension is appended, too
      {u"/x/.profile", u"-old", u"/x/.profile-old."},
      {u"/x/report.txt", u"", u"/x/report.txt"},
      {u"/x/report.txt", u".old", u"/x/report.old.txt"},
      {u"/x.d/report", u"2", u"/x.d/report2."},
      {u"", u"a", u"a."},
      {u"/", u"a", u"/a."},
  };
  expectResults(rows, stringByAppendingStringBeforePathExtension);
}

// Shows: stringByAppendingStringBeforePathExtension
TEST(NSStringExtraPathUtilitiesTests, APathThatCanTakeNoExtensionBecomesNothing) {
  EXPECT_FALSE(stringByAppendingStringBeforePathExtension("", ""));
  EXPECT_FALSE(stringByAppendingStringBeforePathExtension("/", ""));
}

// Shows: stringByMakingRelativeToPath
TEST(NSStringExtraPathUtilitiesTests, ARelativePathLeadsFromTheBaseToThePath) {
  const Row rows[] = {
      {u"/a/c/d", u"/a/b", u"../c/d"},
      {u"/A/b", u"/a", u"b"},  // case makes no difference
      {u"/a/b", u"/a/b", u""},
      {u"/a", u"/a/b/c", u"../.."},
      {u"/", u"/a", u".."},
      {u"/a", u"/", u"a"},
      {u"a/b", u"a/c", u"../b"},
      {u"a/b", u"", u"a/b"},
      {u"", u"a/b", u"../.."},
      {u"", u"", u""},
      {u"/a/b", u"c", u"../a/b"},  // the root is a component as others
      {u"/x/y/z", u"/*/Y", u"z"},  // the base's own wildcards match
      {u"/x/y/z", u"/?/y", u"z"},
      {u"/xx/y", u"/?/y", u"../../xx/y"},
      {u"/*/y", u"/x/y", u"../../*/y"},  // those of the path don't
      {u"/a/b/c", u"/b/b/c", u"../../../a/b/c"},
      {u"/Größe/x", u"/GRÖSSE/y", u"../x"},
      {u"/a/c", u"/a/b/", u"../../c"},  // a separator at the end is a component, too
      {u"/a/b/", u"/a", u"b/"},
  };
  expectResults(rows, stringByMakingRelativeToPath);
}

// Shows: stringByMakingSubpathOfPath
TEST(NSStringExtraPathUtilitiesTests, ASubpathLacksAsManyComponentsAsTheBaseHas) {
  const Row rows[] = {
      {u"/a/b/c", u"/a", u"b/c"},
      {u"/x/y", u"/q", u"/x/y"},
      {u"/x//y/", u"/q", u"/x//y/"},  // as it is
      {u"/a/b/c", u"b/c", u"b/c"},    // anywhere, and only its number of components counts
      {u"/a/b/c", u"b", u"a/b/c"},
      {u"/a/b/c", u"/a/b/c", u""},
      {u"/a/b/", u"/a/b", u"/"},  // the separator at the end is a component
      {u"/a/b/", u"/a/b/", u""},
      {u"a/b", u"/", u"b"},
      {u"/a/b", u"", u"/a/b"},  // the empty text occurs nowhere
      {u"", u"", u""},
      {u"/a/b", u"/A", u"/a/b"},  // case counts
      {u"/ab/c", u"/a", u"c"},
      {u"/größe/b", u"größe/", u"b"},
  };
  expectResults(rows, stringByMakingSubpathOfPath);
}

// Shows: stringByMakingRelativeToPath, stringByMakingSubpathOfPath
TEST(NSStringExtraPathUtilitiesTests, HundredsOfThousandsOfComponentsAreJoinedInOnePass) {
  std::string path;
  std::string ways = "..";
  for (int depth = 0; depth < 300'000; ++depth) {
    path += "/a";
    ways += depth == 0 ? "" : "/..";
  }
  EXPECT_EQ(stringByMakingRelativeToPath(path + "/b", "/c"), "../" + path.substr(1) + "/b");
  EXPECT_EQ(stringByMakingRelativeToPath("/", path), ways);
  EXPECT_EQ(stringByMakingSubpathOfPath("/c" + path, "/c"), path.substr(1));
}

// Shows: stringByDeletingLeadingPathSeparator
TEST(NSStringExtraPathUtilitiesTests, OneLeadingSeparatorGoes) {
  expectResults({{u"/a", u"a"}, {u"//a", u"/a"}, {u"a/", u"a/"}, {u"/", u""}, {u"é", u"é"}},
                stringByDeletingLeadingPathSeparator);
}

// Shows: stringByDeletingLeadingPathSeparator, stringByTrimmingPathSeparators
TEST(NSStringExtraPathUtilitiesTests, TheEmptyPathThrowsAsItHasNoFirstCharacter) {
  expectException(NSRangeException, [] { (void)stringByDeletingLeadingPathSeparator(""); });
  expectException(NSRangeException, [] { (void)stringByTrimmingPathSeparators(""); });
}

// Shows: stringByDeletingTrailingPathSeparator
TEST(NSStringExtraPathUtilitiesTests, OneTrailingSeparatorGoes) {
  expectResults(
      {{u"a/", u"a"}, {u"a//", u"a/"}, {u"/a", u"/a"}, {u"/", u""}, {u"", u""}, {u"é/", u"é"}},
      stringByDeletingTrailingPathSeparator);
}

// Shows: stringByTrimmingPathSeparators
TEST(NSStringExtraPathUtilitiesTests, OneSeparatorOnEachSideIsTrimmed) {
  expectResults({{u"/a/b/", u"a/b"}, {u"//a//", u"/a/"}, {u"a", u"a"}, {u"/", u""}, {u"//", u""}},
                stringByTrimmingPathSeparators);
}

// Shows: stringByAppendingPathSeparator
TEST(NSStringExtraPathUtilitiesTests, ASeparatorIsAddedWhereThereIsNone) {
  expectResults(
      {{u"a", u"a/"}, {u"a/", u"a/"}, {u"a//", u"a//"}, {u"", u"/"}, {u"/", u"/"}, {u"é", u"é/"}},
      stringByAppendingPathSeparator);
}

// Shows: isEqualToPath
TEST(NSStringExtraPathUtilitiesTests, EqualPathsDifferInOneTrailingSeparatorAtMost) {
  struct {
    const char16_t* a;
    const char16_t* b;
    bool areEqual;
  } const kRows[] = {
      {u"/a/b", u"/a/b/", true},  {u"/a/b/", u"/a/b/", true}, {u"/a/b//", u"/a/b", false},
      {u"/a/b", u"/a/B", false},  {u"/", u"", true},          {u"", u"", true},
      {u"/a//b", u"/a/b", false}, {u"/é", u"/é/", true},      {u"/é", u"/e\u0301", false},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.a, row.b, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(isEqualToPath(a, b), row.areEqual) << a << " " << b;
      EXPECT_EQ(isEqualToPath(b, a), row.areEqual) << a << " " << b;
    });
  }
}

// Shows: isAnAncestorOfPath
TEST(NSStringExtraPathUtilitiesTests, AnAncestorIsWhatAPathBeginsWith) {
  struct {
    const char16_t* ancestor;
    const char16_t* path;
    bool isAncestor;
  } const kRows[] = {
      {u"/a", u"/a/b", true},       {u"/a/", u"/a/b", true}, {u"/a", u"/ab", false},
      {u"/a", u"/a/", false},       {u"/a/", u"/a", false},  {u"/a", u"/a", false},
      {u"/a/b", u"/a", false},      {u"/", u"/a", true},     {u"", u"/a", true},
      {u"", u"a", false},           {u"", u"", false},       {u"a", u"x/a/b", false},
      {u"/A", u"/a/b", false},      {u"/é", u"/é/b", true},  {u"/a", u"/a//b", true},
      {u"/é", u"/e\u0301/b", true},  // searched for, and so by what the characters mean
  };
  for (const auto& row : kRows) {
    forBothStorages(row.ancestor, row.path, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(isAnAncestorOfPath(a, b), row.isAncestor) << a << " " << b;
    });
  }
}

// Shows: NSStringExtraPathUtilities
TEST(NSStringExtraPathUtilitiesTests, MissingArgumentsThrow) {
  const auto expectRefusal = [](auto&& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  expectRefusal([] { (void)stringByAppendingStringBeforePathExtension("a", nullptr); });
  expectRefusal([] { (void)stringByMakingRelativeToPath("a", nullptr); });
  expectRefusal([] { (void)stringByMakingSubpathOfPath("a", nullptr); });
  expectRefusal([] { (void)isEqualToPath("a", nullptr); });
  expectRefusal([] { (void)isAnAncestorOfPath("a", nullptr); });
}

/// Following the relative path from the base must lead to the path, unless only case or wildcards
/// made components the same: there are none here.
// Shows: stringByMakingRelativeToPath
TEST(NSStringExtraPathUtilitiesTests, ARelativePathLeadsBack) {
  RandomRun random;
  const auto randomPath = [&] {
    std::string path;
    for (std::uint64_t depth = random.below(5); depth-- > 0;) {
      path += std::string("/") + "abc"[random.below(3)];
    }
    return path.empty() ? std::string("/") : path;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::string path = randomPath();
    Ref<NSString> place = randomPath();
    Ref<NSString> way = stringByMakingRelativeToPath(path, place);
    while (way->hasPrefix("..")) {
      place = place->stringByDeletingLastPathComponent();
      way = way->length() == 2 ? NSString::string() : way->substringFromIndex(3);
    }
    EXPECT_EQ(way->length() == 0 ? place : place->stringByAppendingPathComponent(way), path);
  }
}

}  // namespace
}  // namespace kestova
