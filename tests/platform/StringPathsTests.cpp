// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <iterator>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::RandomRun;
using testing::unitsOf;
using Names = std::vector<std::u16string>;

TEST(StringPathsTests, EveryPartOfEveryKindOfPath) {
  const struct {
    std::u16string path;
    bool isAbsolute;
    std::u16string last;
    std::u16string withoutLast;
    std::u16string extension;
    std::u16string withoutExtension;
  } kRows[] = {
      {u"", false, u"", u"", u"", u""},
      {u"/", true, u"/", u"/", u"", u"/"},
      {u"//", true, u"/", u"/", u"", u"/"},
      {u"///", true, u"/", u"/", u"", u"/"},
      {u"a", false, u"a", u"", u"", u"a"},
      {u"a/", false, u"a", u"", u"", u"a"},
      {u"/a", true, u"a", u"/", u"", u"/a"},
      {u"/a/", true, u"a", u"/", u"", u"/a"},
      {u"//a", true, u"a", u"/", u"", u"/a"},
      {u"a/b", false, u"b", u"a", u"", u"a/b"},
      {u"a//b//", false, u"b", u"a", u"", u"a/b"},
      {u"/tmp/a.txt", true, u"a.txt", u"/tmp", u"txt", u"/tmp/a"},
      {u"/tmp/a.txt/", true, u"a.txt", u"/tmp", u"txt", u"/tmp/a"},
      {u"/tmp//a.txt//", true, u"a.txt", u"/tmp", u"txt", u"/tmp/a"},
      {u"a.txt", false, u"a.txt", u"", u"txt", u"a"},
      {u"a.tar.gz", false, u"a.tar.gz", u"", u"gz", u"a.tar"},
      {u"a..txt", false, u"a..txt", u"", u"txt", u"a."},
      {u".profile", false, u".profile", u"", u"", u".profile"},
      {u"/home/.profile", true, u".profile", u"/home", u"", u"/home/.profile"},
      {u".profile.bak", false, u".profile.bak", u"", u"bak", u".profile"},
      {u"a.", false, u"a.", u"", u"", u"a."},
      {u".", false, u".", u"", u"", u"."},
      {u"..", false, u"..", u"", u"", u".."},
      {u"/a.d/b", true, u"b", u"/a.d", u"", u"/a.d/b"},
      {u"/a.d/", true, u"a.d", u"/", u"d", u"/a"},
      {u"/tmp/größe.täxt", true, u"größe.täxt", u"/tmp", u"täxt", u"/tmp/größe"},
      {u"a b.c d", false, u"a b.c d", u"", u"c d", u"a b"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.path, [&](const Ref<NSString>& path) {
      EXPECT_EQ(path->isAbsolutePath(), row.isAbsolute) << path;
      EXPECT_EQ(path->lastPathComponent()->utf16(), row.last) << path;
      EXPECT_EQ(path->stringByDeletingLastPathComponent()->utf16(), row.withoutLast) << path;
      EXPECT_EQ(path->pathExtension()->utf16(), row.extension) << path;
      EXPECT_EQ(path->stringByDeletingPathExtension()->utf16(), row.withoutExtension) << path;
    });
  }
}

TEST(StringPathsTests, ComponentsAreTheRootTheNamesAndATrailingSlash) {
  const struct {
    std::u16string path;
    Names components;
  } kRows[] = {
      {u"", {}},
      {u"/", {u"/"}},
      {u"//", {u"/"}},
      {u"a", {u"a"}},
      {u"a/b", {u"a", u"b"}},
      {u"/a", {u"/", u"a"}},
      {u"/a/b.c", {u"/", u"a", u"b.c"}},
      {u"/a/b/", {u"/", u"a", u"b", u"/"}},
      {u"a/", {u"a", u"/"}},
      {u"//a///b//", {u"/", u"a", u"b", u"/"}},
      {u"../ä", {u"..", u"ä"}},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.path, [&](const Ref<NSString>& path) {
      EXPECT_EQ(unitsOf(path->pathComponents()), row.components) << path;
    });
  }
}

TEST(StringPathsTests, ComponentsJoinToTheirPath) {
  const struct {
    Ref<NSArray> components;
    const char* path;
  } kRows[] = {
      {NSArray::array(), ""},
      {NSArray::of("/"), "/"},
      {NSArray::of("a"), "a"},
      {NSArray::of("a", "b"), "a/b"},
      {NSArray::of("/", "a", "b"), "/a/b"},
      {NSArray::of("/", "a", "/"), "/a/"},
      {NSArray::of("a", ""), "a/"},
      {NSArray::of("/", ""), "/"},
      {NSArray::of(""), ""},
      {NSArray::of("", "a"), "a"},
      {NSArray::of("..", "c", "d"), "../c/d"},
      {NSArray::of("a", "/b/", "c"), "a/b/c"},
      {NSArray::of("a", "", "b"), "a/b"},
      {NSArray::of("", "", "a"), "a"},
      {NSArray::of("//", "a//b", "//c"), "/a/b/c"},
      {NSArray::of("a", "b/"), "a/b"},
      {NSArray::of("/", "/"), "/"},
      {NSArray::of("ä", "b"), "ä/b"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(NSString::pathWithComponents(row.components), row.path);
  }
  EXPECT_EQ(NSString::pathWithComponents(nullptr), nullptr);
  expectException(NSInvalidArgumentException,
                  [] { (void)NSString::pathWithComponents(NSArray::of("a", 1)); });
}

TEST(StringPathsTests, JoiningAgreesWithAppendingOneComponentAfterTheOther) {
  RandomRun random;
  const Ref<NSString> kNames[] = {"", "/", "a", "ä", "b/", "/c", "//"};
  for (int round = 0; round < 5000; ++round) {
    const auto components = NSMutableArray::array();
    Ref<NSString> path = NSString::string();
    for (std::uint64_t left = random.below(6); left > 0; --left) {
      components->addObject(kNames[random.below(std::size(kNames))]);
      path = path->stringByAppendingPathComponent(cast<NSString>(components->lastObject()));
    }
    const auto last = cast<NSString>(components->lastObject());
    const bool endsInSlash = components->count() > 1 && (last == "" || last == "/");
    const std::u16string end = endsInSlash && path != "/" ? u"/" : u"";
    EXPECT_EQ(NSString::pathWithComponents(components)->utf16(), path->utf16() + end)
        << components->description();
  }
}

TEST(StringPathsTests, TakingApartAndJoiningGoesRound) {
  for (const char* path : {"", "/", "a", "/a", "a/b", "/a/b", "/a/b/", "a/"}) {
    EXPECT_EQ(NSString::pathWithComponents(Ref<NSString>(path)->pathComponents()), path);
  }
}

TEST(StringPathsTests, AppendsAComponentWithOneSlash) {
  const struct {
    std::u16string path;
    std::u16string component;
    std::u16string result;
  } kRows[] = {
      {u"/tmp", u"a", u"/tmp/a"},  {u"/tmp/", u"a", u"/tmp/a"},
      {u"/tmp", u"/a", u"/tmp/a"}, {u"/tmp/", u"/a/", u"/tmp/a"},
      {u"", u"a", u"a"},           {u"", u"/a", u"/a"},
      {u"/", u"a", u"/a"},         {u"/tmp", u"", u"/tmp"},
      {u"/tmp/", u"", u"/tmp"},    {u"", u"", u""},
      {u"a", u"b/c", u"a/b/c"},    {u"ä", u"b", u"ä/b"},
      {u"a", u"ö", u"a/ö"},        {u"a//b", u"c", u"a/b/c"},
      {u"/", u"/", u"/"},
  };
  for (const auto& row : kRows) {
    forBothStorages(
        row.path, row.component, [&](const Ref<NSString>& path, const Ref<NSString>& name) {
          EXPECT_EQ(path->stringByAppendingPathComponent(name)->utf16(), row.result) << path;
        });
  }
  expectException(NSInvalidArgumentException,
                  [] { (void)Ref<NSString>("a")->stringByAppendingPathComponent(nullptr); });
}

TEST(StringPathsTests, AppendsAnExtension) {
  const struct {
    std::u16string path;
    std::u16string extension;
    std::u16string result;
  } kRows[] = {
      {u"a", u"txt", u"a.txt"},
      {u"/tmp/a.old", u"txt", u"/tmp/a.old.txt"},
      {u"/tmp/", u"txt", u"/tmp.txt"},
      {u"a.", u"txt", u"a..txt"},
      {u"a", u"", u"a."},
      {u"ä", u"txt", u"ä.txt"},
      {u"a", u"täxt", u"a.täxt"},
      {u"a", u"tar.gz", u"a.tar.gz"},
  };
  for (const auto& row : kRows) {
    forBothStorages(
        row.path, row.extension, [&](const Ref<NSString>& path, const Ref<NSString>& added) {
          EXPECT_EQ(path->stringByAppendingPathExtension(added)->utf16(), row.result) << path;
        });
  }
}

TEST(StringPathsTests, WhatHasNoNameTakesNoExtension) {
  EXPECT_EQ(Ref<NSString>("")->stringByAppendingPathExtension("txt"), nullptr);
  EXPECT_EQ(Ref<NSString>("/")->stringByAppendingPathExtension("txt"), nullptr);
  EXPECT_EQ(Ref<NSString>("//")->stringByAppendingPathExtension("txt"), nullptr);
  EXPECT_EQ(Ref<NSString>("a")->stringByAppendingPathExtension("t/t"), nullptr);
  expectException(NSInvalidArgumentException,
                  [] { (void)Ref<NSString>("a")->stringByAppendingPathExtension(nullptr); });
}

TEST(StringPathsTests, NamesThatAreNoUTF8StayWhole) {
  const auto path = NSString::stringWithFileSystemRepresentation("/tmp/\xE4\xFF.t\x80t/");
  EXPECT_EQ(path->lastPathComponent()->fileSystemRepresentation(), "\xE4\xFF.t\x80t");
  EXPECT_EQ(path->pathExtension()->fileSystemRepresentation(), "t\x80t");
  EXPECT_EQ(path->stringByDeletingPathExtension()->fileSystemRepresentation(), "/tmp/\xE4\xFF");
  EXPECT_EQ(path->stringByAppendingPathComponent("b")->fileSystemRepresentation(),
            "/tmp/\xE4\xFF.t\x80t/b");
}

}  // namespace
}  // namespace kestova
