// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesFolder.h"

#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "ExceptionExpectation.h"
#include "Sanitizers.h"
#include "TemporaryFolder.h"
#include "preferences/PreferencesFault.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace kestova {
namespace {

using testing::expectException;
using testing::TemporaryFolder;

mode_t modeOf(const std::string& path) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

template <class Statement>
std::string problemOf(const Statement& statement) {
  try {
    statement();
  } catch (const PreferencesFault& fault) {
    return fault.problem->displayUTF8();
  }
  return "none";
}

TEST(PreferencesFolderTests, NamesOfDomainsAreNamesOfFiles) {
  const struct {
    const char* domain;
    const char* stem;
  } rows[] = {
      {"org.example.Editor", "org.example.Editor"},
      {"NSGlobalDomain", "NSGlobalDomain"},
      {"a-b_c.9", "a-b_c.9"},
      {"", "%"},
      {".", "%2E"},
      {"..", "%2E."},
      {"../../etc/passwd", "%2E.%2F..%2Fetc%2Fpasswd"},
      {"a b", "a%20b"},
      {"%", "%25"},
      {"%2E", "%252E"},
      {"größe", "gr%C3%B6%C3%9Fe"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(fileStemForDomain(row.domain), row.stem);
    EXPECT_EQ(domainForFileStem(row.stem), row.domain) << row.stem;
  }
}

TEST(PreferencesFolderTests, EveryCharacterComesBackFromTheNameOfAFile) {
  for (char16_t unit = 0; unit < 0xD800; unit += testing::caseStride) {
    const Ref<NSString> domain = std::u16string(1, unit) + u"." + unit;
    const std::string stem = fileStemForDomain(domain);
    ASSERT_EQ(stem.find_first_of(std::string("/\0", 2)), std::string::npos);
    ASSERT_FALSE(stem.starts_with('.'));
    ASSERT_TRUE(domain->isEqual(domainForFileStem(stem))) << stem;
  }
}

TEST(PreferencesFolderTests, NamesThatNoDomainHasAreNone) {
  for (const char* stem : {"", ".a", "a b", "a%", "a%2", "a%2f", "a%2g", "%41", "%FF", "%%"}) {
    EXPECT_EQ(domainForFileStem(stem), nullptr) << stem;
  }
}

TEST(PreferencesFolderTests, ADomainNeedsANameInUTF8) {
  expectException(NSInvalidArgumentException,
                  [] { fileStemForDomain(Ref<NSString>(std::u16string(1, char16_t{0xD800}))); });
}

TEST(PreferencesFolderTests, TheEnvironmentSaysWhereItIs) {
  const auto pathWith = [](const char* config, const char* home) {
    ::setenv("XDG_CONFIG_HOME", config, 1);
    ::setenv("HOME", home, 1);
    return PreferencesFolder::ofCurrentUser().path();
  };
  const std::string oldHome = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
  EXPECT_EQ(pathWith("/x", "/h"), "/x/kestova");
  EXPECT_EQ(pathWith("", "/h"), "/h/.config/kestova");
  EXPECT_EQ(pathWith("relative", "/h"), "/h/.config/kestova");
  EXPECT_EQ(pathWith("", "").substr(0, 1), "/");
  EXPECT_TRUE(pathWith("", "").ends_with("/.config/kestova"));
  ::unsetenv("XDG_CONFIG_HOME");
  ::setenv("HOME", oldHome.c_str(), 1);
}

TEST(PreferencesFolderTests, OtherUsersHaveTheirOwn) {
  if (::geteuid() != 0) GTEST_SKIP() << "root has an account everywhere";
  EXPECT_EQ(PreferencesFolder::ofUser("root")->path(), PreferencesFolder::ofCurrentUser().path());
  EXPECT_TRUE(PreferencesFolder::ofUser("nobody")->path().ends_with("/.config/kestova"));
  EXPECT_FALSE(PreferencesFolder::ofUser("no such account").has_value());
}

TEST(PreferencesFolderTests, ItIsMadeWithTheFolderAroundItForItsOwnerAlone) {
  const TemporaryFolder place;
  const PreferencesFolder folder(place.at("config/kestova"), ::geteuid());
  EXPECT_FALSE(folder.open());
  EXPECT_TRUE(folder.openOrMake());
  EXPECT_TRUE(folder.open());
  EXPECT_EQ(modeOf(place.at("config")), 0700U);
  EXPECT_EQ(modeOf(place.at("config/kestova")), 0700U);
}

TEST(PreferencesFolderTests, NothingElseIsMade) {
  const TemporaryFolder place;
  const PreferencesFolder folder(place.at("missing/config/kestova"), ::geteuid());
  EXPECT_EQ(problemOf([&] { folder.openOrMake(); }),
            "the folder cannot be made: No such file or directory");
  EXPECT_EQ(modeOf(place.at("missing")), 0U);
}

TEST(PreferencesFolderTests, WhatIsNoFolderIsToldAsSuch) {
  const TemporaryFolder place;
  const PreferencesFolder folder(place.write("kestova", ""), ::geteuid());
  EXPECT_EQ(problemOf([&] { folder.open(); }), "the folder cannot be opened: Not a directory");
}

TEST(PreferencesFolderTests, AFolderOfSomebodyElseIsRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  const TemporaryFolder place;
  ASSERT_EQ(::chown(place.path().c_str(), 12345, 0), 0);
  const PreferencesFolder folder(place.path(), 0);
  EXPECT_EQ(problemOf([&] { folder.open(); }), "the folder belongs to another user");
}

TEST(PreferencesFolderTests, OnlyRegularFilesOfTheUserAreOpened) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  const TemporaryFolder place;
  const PreferencesFolder folder(place.path(), 0);
  const FileDescriptor open = folder.open();
  const auto problem = [&](const std::string& name, int flags) {
    return problemOf([&] { folder.openFile(open.get(), name, flags); });
  };
  place.write("other", "");
  ASSERT_EQ(::chown(place.at("other").c_str(), 12345, 0), 0);
  ASSERT_EQ(::symlink("target", place.at("link").c_str()), 0);
  ASSERT_EQ(::mkfifo(place.at("pipe").c_str(), 0600), 0);
  ASSERT_EQ(::mkdir(place.at("folder").c_str(), 0700), 0);
  EXPECT_EQ(problem("other", O_RDONLY), "other belongs to another user");
  EXPECT_EQ(problem("link", O_RDONLY), "link is a symbolic link");
  EXPECT_EQ(problem("link", O_RDWR | O_CREAT), "link is a symbolic link");
  EXPECT_EQ(problem("pipe", O_RDONLY), "pipe is no file");
  EXPECT_EQ(problem("folder", O_RDONLY), "folder is no file");
  EXPECT_EQ(problem("folder", O_RDWR | O_CREAT), "folder cannot be opened: Is a directory");
  EXPECT_FALSE(folder.openFile(open.get(), "missing", O_RDONLY));
  EXPECT_EQ(modeOf(place.at("target")), 0U);
}

TEST(PreferencesFolderTests, WhatRootMakesForAnotherUserIsHis) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make something for somebody else";
  const TemporaryFolder place;
  const PreferencesFolder folder(place.at("config/kestova"), 12345);
  const FileDescriptor open = folder.openOrMake();
  EXPECT_TRUE(folder.openFile(open.get(), "file", O_RDWR | O_CREAT));
  for (const char* name : {"config", "config/kestova", "config/kestova/file"}) {
    struct stat facts {};
    ASSERT_EQ(::stat(place.at(name).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_uid, 12345U) << name;
  }
}

}  // namespace
}  // namespace kestova
