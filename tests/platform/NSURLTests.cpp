// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSURL.h>
#include <gtest/gtest.h>

#include "BuiltLocale.h"
#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"

#include <cwctype>
#include <filesystem>
#include <random>

namespace kestova {
namespace {

using testing::expectException;
using testing::TemporaryFolder;

Ref<NSURL> url(const char* text) { return NSURL::URLWithString(text); }
Ref<NSURL> file(const char* path) { return NSURL::fileURLWithPath_isDirectory(path, false); }

TEST(NSURLTests, PartsOfAWholeURL) {
  const auto whole = url("HTTP://us%20er:p%41ss@Ex%61mple.org:8080/a%20b/c.d?q=%20#f%20");
  EXPECT_EQ(whole->scheme(), "HTTP");
  EXPECT_EQ(whole->user(), "us%20er");
  EXPECT_EQ(whole->password(), "p%41ss");
  EXPECT_EQ(whole->host(), "Example.org");
  EXPECT_EQ(whole->port()->intValue(), 8080);
  EXPECT_EQ(whole->path(), "/a b/c.d");
  EXPECT_EQ(whole->query(), "q=%20");
  EXPECT_EQ(whole->fragment(), "f%20");
  EXPECT_EQ(whole->lastPathComponent(), "c.d");
  EXPECT_EQ(whole->pathExtension(), "d");
  EXPECT_EQ(whole->pathComponents()->componentsJoinedByString("|"), "/|a b|c.d");
  EXPECT_FALSE(whole->hasDirectoryPath());
  EXPECT_FALSE(whole->isFileURL());
  EXPECT_TRUE(whole->absoluteString()->isEqual(whole->relativeString()));
  EXPECT_EQ(whole->baseURL(), nullptr);
  EXPECT_EQ(whole->absoluteURL(), whole);
}

TEST(NSURLTests, AbsentPartsAreNull) {
  const auto bare = url("a");
  EXPECT_EQ(bare->scheme(), nullptr);
  EXPECT_EQ(bare->user(), nullptr);
  EXPECT_EQ(bare->password(), nullptr);
  EXPECT_EQ(bare->host(), nullptr);
  EXPECT_EQ(bare->port(), nullptr);
  EXPECT_EQ(bare->query(), nullptr);
  EXPECT_EQ(bare->fragment(), nullptr);
  EXPECT_EQ(bare->path(), "a");
  EXPECT_EQ(url("http://host")->path(), "");
  EXPECT_EQ(url("http://host:")->port(), nullptr);
  EXPECT_EQ(url("file:///a")->host(), nullptr);
  EXPECT_EQ(url("s:?")->query(), "");
}

TEST(NSURLTests, AnIPv6HostHasNoBrackets) {
  EXPECT_EQ(url("http://[2001:db8::7]:80/")->host(), "2001:db8::7");
}

TEST(NSURLTests, MalformedTextMakesNoURL) {
  EXPECT_EQ(NSURL::URLWithString(nullptr), nullptr);
  EXPECT_EQ(url("http://a b/"), nullptr);
  EXPECT_EQ(url("http://host/ä"), nullptr);
  EXPECT_EQ(NSURL::URLWithString(std::u16string{u'a', 0xD800}), nullptr);
  EXPECT_EQ(NSURL::URLWithString_relativeToURL("%", url("s://h/")), nullptr);
}

TEST(NSURLTests, AnEmptyStringIsTheEmptyReference) {
  EXPECT_EQ(url("")->absoluteString(), "");
  EXPECT_EQ(NSURL::URLWithString_relativeToURL("", url("s://h/a?q#f"))->absoluteString(),
            "s://h/a?q");
}

TEST(NSURLTests, ResolvesTheExamplesOfTheStandard) {
  const struct {
    const char* reference;
    const char* result;
  } kRows[] = {
      {"g:h", "g:h"},
      {"g", "http://a/b/c/g"},
      {"./g", "http://a/b/c/g"},
      {"g/", "http://a/b/c/g/"},
      {"/g", "http://a/g"},
      {"//g", "http://g"},
      {"?y", "http://a/b/c/d;p?y"},
      {"g?y", "http://a/b/c/g?y"},
      {"#s", "http://a/b/c/d;p?q#s"},
      {"g#s", "http://a/b/c/g#s"},
      {"g?y#s", "http://a/b/c/g?y#s"},
      {";x", "http://a/b/c/;x"},
      {"g;x", "http://a/b/c/g;x"},
      {"g;x?y#s", "http://a/b/c/g;x?y#s"},
      {"", "http://a/b/c/d;p?q"},
      {".", "http://a/b/c/"},
      {"./", "http://a/b/c/"},
      {"..", "http://a/b/"},
      {"../", "http://a/b/"},
      {"../g", "http://a/b/g"},
      {"../..", "http://a/"},
      {"../../", "http://a/"},
      {"../../g", "http://a/g"},
      {"../../../g", "http://a/g"},
      {"../../../../g", "http://a/g"},
      {"/./g", "http://a/g"},
      {"/../g", "http://a/g"},
      {"g.", "http://a/b/c/g."},
      {".g", "http://a/b/c/.g"},
      {"g..", "http://a/b/c/g.."},
      {"..g", "http://a/b/c/..g"},
      {"./../g", "http://a/b/g"},
      {"./g/.", "http://a/b/c/g/"},
      {"g/./h", "http://a/b/c/g/h"},
      {"g/../h", "http://a/b/c/h"},
      {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
      {"g;x=1/../y", "http://a/b/c/y"},
      {"g?y/./x", "http://a/b/c/g?y/./x"},
      {"g?y/../x", "http://a/b/c/g?y/../x"},
      {"g#s/./x", "http://a/b/c/g#s/./x"},
      {"g#s/../x", "http://a/b/c/g#s/../x"},
      {"http:g", "http:g"},
  };
  const auto base = url("http://a/b/c/d;p?q");
  for (const auto& row : kRows) {
    const auto resolved = NSURL::URLWithString_relativeToURL(row.reference, base);
    EXPECT_EQ(resolved->absoluteString(), row.result) << row.reference;
    EXPECT_EQ(resolved->relativeString(), row.reference);
    EXPECT_EQ(resolved->baseURL(), base);
    EXPECT_EQ(resolved->absoluteURL()->absoluteString(), row.result);
    EXPECT_EQ(resolved->absoluteURL()->baseURL(), nullptr);
  }
}

TEST(NSURLTests, PathsAreTakenWithAndWithoutTheBase) {
  const auto base = NSURL::URLWithString_relativeToURL("b/", url("file:///a/"));
  const auto relative = NSURL::URLWithString_relativeToURL("c%20d", base);
  EXPECT_EQ(relative->relativePath(), "c d");
  EXPECT_EQ(relative->path(), "/a/b/c d");
  EXPECT_TRUE(relative->isFileURL());
  EXPECT_EQ(relative->description(), "c%20d -- b/ -- file:///a/");
}

TEST(NSURLTests, FilesHaveURLs) {
  const struct {
    const char* path;
    bool isDirectory;
    const char* string;
    const char* pathAgain;
  } kRows[] = {
      {"/", true, "file:///", "/"},
      {"/", false, "file:///", "/"},
      {"/tmp/a", false, "file:///tmp/a", "/tmp/a"},
      {"/tmp/a", true, "file:///tmp/a/", "/tmp/a"},
      {"/tmp/a/", true, "file:///tmp/a/", "/tmp/a"},
      {"/tmp/a/", false, "file:///tmp/a", "/tmp/a"},
      {"/tmp/größe", false, "file:///tmp/gr%C3%B6%C3%9Fe", "/tmp/größe"},
      {"/a b%41?c#d", false, "file:///a%20b%2541%3Fc%23d", "/a b%41?c#d"},
      {"/a:b;c", false, "file:///a:b;c", "/a:b;c"},
  };
  for (const auto& row : kRows) {
    const auto made = NSURL::fileURLWithPath_isDirectory(row.path, row.isDirectory);
    EXPECT_EQ(made->absoluteString(), row.string);
    EXPECT_EQ(made->path(), row.pathAgain);
    EXPECT_TRUE(made->isFileURL());
    EXPECT_EQ(url(row.string)->path(), row.pathAgain);
  }
  EXPECT_TRUE(url("FILE:/a")->isFileURL());
}

TEST(NSURLTests, TheSchemeOfFilesIsKnownWhereTheCLibraryTellsItsLettersApart) {
  const testing::BuiltLocale turkish("tr_TR");
  ASSERT_NE(std::towlower(L'I'), L'i');
  EXPECT_TRUE(url("FILE:/a")->isFileURL());
}

TEST(NSURLTests, NamesOfAnyBytesComeBack) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 5000; ++round) {
    std::string bytes = "/";
    for (unsigned length = 1 + random() % 8; length > 0; --length) {
      const char byte = static_cast<char>(1 + random() % 255);
      bytes.push_back(byte == '/' ? '_' : byte);
    }
    const auto path = NSString::stringWithFileSystemRepresentation(bytes);
    const auto made = NSURL::fileURLWithPath_isDirectory(path, false);
    ASSERT_EQ(made->fileSystemRepresentation(), bytes);
    ASSERT_EQ(NSURL::URLWithString(made->absoluteString())->fileSystemRepresentation(), bytes);
  }
}

TEST(NSURLTests, WhatNoFileCanHaveMakesNoFileURL) {
  EXPECT_EQ(NSURL::fileURLWithPath(nullptr), nullptr);
  EXPECT_EQ(NSURL::fileURLWithPath(""), nullptr);
  EXPECT_EQ(NSURL::fileURLWithPath(std::string("a\0b", 3)), nullptr);
  EXPECT_EQ(NSURL::fileURLWithPath(std::u16string{0xD800}), nullptr);
  expectException(NSInvalidArgumentException,
                  [] { url("file:///%00")->fileSystemRepresentation(); });
}

TEST(NSURLTests, ARelativePathCountsFromTheCurrentFolder) {
  const auto made = NSURL::fileURLWithPath("no such name");
  EXPECT_EQ(made->fileSystemRepresentation(),
            (std::filesystem::current_path() / "no such name").string());
}

TEST(NSURLTests, AFolderThatIsThereEndsInASlash) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.at("sub"));
  const auto made = NSURL::fileURLWithPath(folder.path().string());
  EXPECT_TRUE(made->hasDirectoryPath());
  EXPECT_TRUE(made->URLByAppendingPathComponent("sub")->hasDirectoryPath());
  EXPECT_FALSE(made->URLByAppendingPathComponent("none")->hasDirectoryPath());
  EXPECT_FALSE(NSURL::fileURLWithPath(folder.write("file", ""))->hasDirectoryPath());
  EXPECT_TRUE(NSURL::fileURLWithPath("/no/such/folder/")->hasDirectoryPath());
}

TEST(NSURLTests, AppendsComponents) {
  const struct {
    const char* text;
    const char* component;
    const char* result;
  } kRows[] = {
      {"s://h/a", "b", "s://h/a/b"},
      {"s://h/a/", "b", "s://h/a/b"},
      {"s://h/a", "/b", "s://h/a/b"},
      {"s://h/a", "b/", "s://h/a/b/"},
      {"s://h", "b", "s://h/b"},
      {"s://h/", "b", "s://h/b"},
      {"s://h/a?q#f", "b", "s://h/a/b?q#f"},
      {"a", "b", "a/b"},
      {"", "b", "b"},
      {"", "b:c", "./b:c"},
      {"s://h/a", "b c/ä", "s://h/a/b%20c/%C3%A4"},
      {"s://h/a", "", "s://h/a/"},
      {"s://h/a", "?", "s://h/a/%3F"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(url(row.text)->URLByAppendingPathComponent(row.component)->absoluteString(),
              row.result);
  }
  EXPECT_EQ(url("s:/a")->URLByAppendingPathComponent_isDirectory("b", true)->absoluteString(),
            "s:/a/b/");
  expectException(NSInvalidArgumentException,
                  [] { (void)url("s:/a")->URLByAppendingPathComponent(nullptr); });
}

TEST(NSURLTests, DeletesTheLastComponent) {
  const struct {
    const char* text;
    const char* result;
  } kRows[] = {
      {"s://h/a/b", "s://h/a/"},
      {"s://h/a/b/", "s://h/a/"},
      {"s://h/a", "s://h/"},
      {"s://h/", "s://h/"},
      {"s://h", "s://h"},
      {"s://h/a/b?q#f", "s://h/a/?q#f"},
      {"a/b", "a/"},
      {"a", "./"},
      {"file:///a/b%2Fc", "file:///a/"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(url(row.text)->URLByDeletingLastPathComponent()->absoluteString(), row.result);
  }
}

TEST(NSURLTests, ChangesKeepTheBase) {
  const auto relative = NSURL::URLWithString_relativeToURL("b", url("s://h/a/"));
  EXPECT_EQ(relative->URLByAppendingPathComponent("c")->description(), "b/c -- s://h/a/");
  const auto empty = NSURL::URLWithString_relativeToURL("", url("s://h/a/b"));
  EXPECT_EQ(empty->URLByAppendingPathComponent("c")->absoluteString(), "s://h/a/b/c");
  EXPECT_EQ(empty->URLByDeletingLastPathComponent()->absoluteString(), "s://h/a/");
}

TEST(NSURLTests, EqualityComparesStringAndBase) {
  EXPECT_TRUE(url("s://h/a")->isEqual(url("s://h/a")));
  EXPECT_EQ(url("s://h/a")->hash(), url("s://h/a")->hash());
  EXPECT_FALSE(url("s://h/a")->isEqual(url("s://h/a/")));
  EXPECT_FALSE(url("s://h/a")->isEqual("s://h/a"));
  EXPECT_FALSE(url("s://h/a")->isEqual(nullptr));
  const auto relative = NSURL::URLWithString_relativeToURL("a", url("s://h/"));
  EXPECT_TRUE(relative->isEqual(NSURL::URLWithString_relativeToURL("a", url("s://h/"))));
  EXPECT_FALSE(relative->isEqual(url("s://h/a")));
  EXPECT_FALSE(relative->isEqual(NSURL::URLWithString_relativeToURL("a", url("s://i/"))));
  EXPECT_EQ(relative->copy(), relative);
  EXPECT_EQ(file("/a")->description(), "file:///a");
}

}  // namespace
}  // namespace kestova
