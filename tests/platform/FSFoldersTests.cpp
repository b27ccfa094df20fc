// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FSFolders.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;

/// The code of four characters.
constexpr OSType code(const char (&text)[5]) {
  OSType type = 0;
  for (int index = 0; index < 4; ++index) {
    type = type << 8U | static_cast<unsigned char>(text[index]);
  }
  return type;
}

/// Each test has a home of its own, and an environment that says nothing else.
class FSFoldersTests : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("HOME", home_.path().c_str(), 1);
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "TMPDIR"}) {
      ::unsetenv(name);
    }
  }
  void TearDown() override {
    before_.empty() ? ::unsetenv("HOME") : ::setenv("HOME", before_.c_str(), 1);
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("XDG_DATA_HOME");
  }

  std::string makeInHome(const std::string& name) const {
    fs::create_directories(home_.at(name));
    return home_.at(name);
  }

  /// The folder's path, or the status.
  static std::string found(std::int16_t domain, OSType type, bool createFolder = false) {
    FSRef folder;
    const OSStatus status = FSFindFolder(domain, type, createFolder, &folder);
    EXPECT_EQ(status == noErr, !folder.path.empty());
    return status == noErr ? folder.path : std::to_string(status);
  }

  testing::TemporaryFolder home_;

 private:
  const std::string before_ = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
};

TEST_F(FSFoldersTests, ThePersonsFoldersAreAtTheirUsualPlaces) {
  for (const auto& [type, name] : std::initializer_list<std::pair<OSType, const char*>>{
           {code("pref"), ".config"},
           {code("cach"), ".cache"},
           {code("asup"), ".local/share"},
           {code("logs"), ".local/state"},
           {code("trsh"), ".local/share/Trash/files"},
           {code("font"), ".local/share/fonts"},
           {code("apps"), ".local/share/applications"},
           {code("desk"), "Desktop"},
           {code("docs"), "Documents"},
           {code("down"), "Downloads"},
           {0xB5646F63, "Music"},
           {code("pdoc"), "Pictures"},
           {code("mdoc"), "Videos"},
           {code("pubb"), "Public"}}) {
    fs::remove_all(home_.at(".local"));
    EXPECT_EQ(found(kUserDomain, type), "-43") << name;
    const std::string path = makeInHome(name);
    EXPECT_EQ(found(kUserDomain, type), path);
  }
  EXPECT_EQ(found(kUserDomain, code("cusr")), home_.path());
  EXPECT_EQ(found(kUserDomain, code("temp")), "/tmp");
}

TEST_F(FSFoldersTests, TheEnvironmentMayPutThemElsewhere) {
  const std::string elsewhere = makeInHome("elsewhere");
  ::setenv("XDG_CONFIG_HOME", elsewhere.c_str(), 1);
  EXPECT_EQ(found(kUserDomain, code("pref")), elsewhere);
  ::setenv("XDG_CONFIG_HOME", "elsewhere", 1);
  EXPECT_EQ(found(kUserDomain, code("pref")), "-43") << "a relative path says nothing";
  ::setenv("XDG_DATA_HOME", elsewhere.c_str(), 1);
  EXPECT_EQ(found(kUserDomain, code("asup")), elsewhere);
  EXPECT_EQ(found(kUserDomain, code("font"), true), elsewhere + "/fonts");
}

TEST_F(FSFoldersTests, ThePersonMayHaveChosenOthers) {
  makeInHome(".config");
  const std::string papers = makeInHome("Meine Papiere");
  home_.write(".config/user-dirs.dirs",
              "XDG_DOCUMENTS_DIR=\"$HOME/Meine Papiere\"\nXDG_DESKTOP_DIR=\"$HOME/\"\n");
  EXPECT_EQ(found(kUserDomain, code("docs")), papers);
  EXPECT_EQ(found(kUserDomain, code("desk")), home_.path());
  EXPECT_EQ(found(kUserDomain, code("down")), "-43");
}

TEST_F(FSFoldersTests, EverybodysFoldersAreTheSystems) {
  EXPECT_EQ(found(kSystemDomain, code("pref")), "/etc");
  EXPECT_EQ(found(kSystemDomain, code("asup")), "/usr/share");
  EXPECT_EQ(found(kLocalDomain, code("asup")), "/usr/local/share");
  EXPECT_EQ(found(kLocalDomain, code("cach")), "/var/cache");
  EXPECT_EQ(found(kLocalDomain, code("logs")), "/var/log");
  EXPECT_EQ(found(kLocalDomain, code("temp")), "/tmp");
  EXPECT_EQ(found(kLocalDomain, code("usrs")), "/home");
}

TEST_F(FSFoldersTests, TheWholeDiskMeansTheFirstDomainThatHasTheFolder) {
  EXPECT_EQ(found(kOnSystemDisk, code("asup")), "/usr/local/share");
  const std::string own = makeInHome(".local/share");
  EXPECT_EQ(found(kOnSystemDisk, code("asup")), own);
  EXPECT_EQ(found(kOnAppropriateDisk, code("asup")), own);
  EXPECT_EQ(found(kOnSystemDisk, code("docs")), "-43");
  EXPECT_EQ(found(kOnSystemDisk, code("docs"), true), home_.at("Documents"));
}

TEST_F(FSFoldersTests, UnknownKindsAndDomainsHaveNoFolder) {
  EXPECT_EQ(found(kUserDomain, 0), "-43");
  EXPECT_EQ(found(kUserDomain, code("usrs")), "-43");
  EXPECT_EQ(found(kSystemDomain, code("docs")), "-43");
  EXPECT_EQ(found(kNetworkDomain, code("pref")), "-43");
  EXPECT_EQ(found(0, code("pref")), "-43");
  EXPECT_EQ(found(kNetworkDomain, code("pref"), true), "-43");
}

TEST_F(FSFoldersTests, AMissingFolderIsMadeOnlyWhenThatIsWanted) {
  EXPECT_EQ(found(kUserDomain, code("asup")), "-43");
  EXPECT_FALSE(fs::exists(home_.at(".local")));
  EXPECT_EQ(found(kUserDomain, code("asup"), true), home_.at(".local/share"));
  struct stat facts {};
  ASSERT_EQ(::stat(home_.at(".local/share").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0700U);
}

TEST_F(FSFoldersTests, AFileInTheWayIsNoFolder) {
  home_.write("Documents", "");
  EXPECT_EQ(found(kUserDomain, code("docs")), "-43");
  EXPECT_EQ(found(kUserDomain, code("docs"), true), "-120");
}

}  // namespace
}  // namespace kestova
