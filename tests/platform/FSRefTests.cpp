// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FSRef.h>
#include <KestovaPlatform/NSURL.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include "TemporaryFolder.h"

namespace kestova {
namespace {

Ref<NSURL> urlOf(const std::string& path) {
  return CFURLCreateWithFileSystemPath(NSString::stringWithFileSystemRepresentation(path),
                                       kCFURLPOSIXPathStyle, false);
}

TEST(FSRefTests, AReferenceIsOfWhatIsThere) {
  const testing::TemporaryFolder folder;
  for (const char* name : {"a", "line\nfeed", "\xFF\xFE", "-x", "50%"}) {
    const std::string path = folder.write(name, "");
    FSRef item;
    EXPECT_TRUE(CFURLGetFSRef(urlOf(path), &item)) << name;
    EXPECT_EQ(item.path, path);
    EXPECT_EQ(CFURLCreateFromFSRef(item)->fileSystemRepresentation(), path);
  }
}

TEST(FSRefTests, ALinkIsAnItemOfItsOwn) {
  const testing::TemporaryFolder folder;
  ASSERT_EQ(::symlink("nowhere", folder.at("link").c_str()), 0);
  FSRef item;
  EXPECT_TRUE(CFURLGetFSRef(urlOf(folder.at("link")), &item));
  EXPECT_EQ(item.path, folder.at("link"));
}

TEST(FSRefTests, ThereIsNoReferenceToWhatIsNotThere) {
  const testing::TemporaryFolder folder;
  FSRef item{"before"};
  EXPECT_FALSE(CFURLGetFSRef(urlOf(folder.at("missing")), &item));
  EXPECT_FALSE(CFURLGetFSRef(nullptr, &item));
  EXPECT_FALSE(CFURLGetFSRef(NSURL::URLWithString("http://example.org/"), &item));
  EXPECT_EQ(item.path, "before");
}

TEST(FSRefTests, NoPathAndNoItemHaveNoURL) {
  EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, kCFURLPOSIXPathStyle, false), nullptr);
  EXPECT_EQ(CFURLCreateWithFileSystemPath("", kCFURLPOSIXPathStyle, false), nullptr);
  EXPECT_EQ(CFURLCreateFromFSRef({}), nullptr);
}

TEST(FSRefTests, AFoldersURLEndsInASlash) {
  EXPECT_EQ(CFURLCreateWithFileSystemPath("/a", kCFURLPOSIXPathStyle, true)
                ->absoluteString()
                ->displayUTF8(),
            "file:///a/");
  EXPECT_EQ(CFURLCreateWithFileSystemPath("/a", kCFURLPOSIXPathStyle, false)
                ->absoluteString()
                ->displayUTF8(),
            "file:///a");
}

}  // namespace
}  // namespace kestova
