// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSLog.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::runInChild;
using testing::TemporaryFolder;

std::string propertyList(const std::string& value) {
  return "<plist version=\"1.0\">" + value + "</plist>";
}

std::string infoWithIdentifier(const std::string& value) {
  return propertyList("<dict><key>CFBundleIdentifier</key>" + value + "</dict>");
}

/// Keeps the entries of the log.
class RecordingSink final : public LogSink {
 public:
  RecordingSink() { setCurrent(this); }
  ~RecordingSink() override { setCurrent(nullptr); }

  void write(std::string_view entry) override { entries.emplace_back(entry); }

  std::vector<std::string> entries;
};

/// A program's folder, with or without an Info.plist.
class NSBundleTests : public ::testing::Test {
 protected:
  Ref<NSBundle> bundleOf(const std::string& program) const {
    return make<NSBundle>(NSString::stringWithFileSystemRepresentation(folder_.at(program)));
  }

  std::string identifierWith(const std::string& info) const {
    folder_.write("Info.plist", info);
    return bundleOf("Editor")->bundleIdentifier()->displayUTF8();
  }

  /// What a copy of this program, run under that name in the folder, says of itself.
  std::string answerOfCopy(const std::string& name, const std::string& answer) const {
    std::filesystem::copy_file("/proc/self/exe", folder_.at(name));
    const int status = runInChild([&] {
      ::setenv("KESTOVA_ANSWER_PATH", folder_.at(answer).c_str(), 1);
      ::execl(folder_.at(name).c_str(), name.c_str(),
              "--gtest_filter=NSBundleProgram.TellsOfItself", "--gtest_brief=1", nullptr);
      return 127;
    });
    EXPECT_EQ(status, 0);
    return folder_.read(answer);
  }

  TemporaryFolder folder_;
  RecordingSink log_;
};

/// Runs within a copy of this program that another test has started, and leaves its answer there;
/// elsewhere it tells of this program itself.
TEST(NSBundleProgram, TellsOfItself) {
  const auto bundle = NSBundle::mainBundle();
  const char* path = ::getenv("KESTOVA_ANSWER_PATH");
  if (path != nullptr) {
    std::ofstream(path) << bundle->bundleIdentifier() << '\n'
                        << bundle->executablePath() << '\n'
                        << bundle->bundlePath();
  }
  EXPECT_TRUE(std::filesystem::read_symlink("/proc/self/exe")
                  .string()
                  .starts_with(bundle->executablePath()->fileSystemRepresentation()));
}

TEST_F(NSBundleTests, TheMainBundleIsTheRunningProgram) {
  const auto bundle = NSBundle::mainBundle();
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(bundle, NSBundle::mainBundle());
  EXPECT_EQ(bundle->executablePath(), program.string());
  EXPECT_EQ(bundle->bundlePath(), program.parent_path().string());
}

TEST_F(NSBundleTests, AProgramFindsTheInfoBesideItself) {
  folder_.write("Info.plist", infoWithIdentifier("<string>org.example.Copy</string>"));
  const auto folder = std::filesystem::canonical(folder_.path()).string();
  EXPECT_EQ(answerOfCopy("copy", "answer"), "org.example.Copy\n" + folder + "/copy\n" + folder);
}

TEST_F(NSBundleTests, AProgramWithoutInfoIsKnownByItsFileName) {
  const auto folder = std::filesystem::canonical(folder_.path()).string();
  EXPECT_EQ(answerOfCopy("my copy_2", "answer"),
            "kestova.my-copy-2\n" + folder + "/my copy_2\n" + folder);
}

TEST_F(NSBundleTests, AProgramThatIsReplacedWhileItRunsKeepsItsName) {
  const auto name = folder_.at("gone");
  std::filesystem::copy_file("/proc/self/exe", name);
  const int opened = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(opened, 0);
  std::filesystem::remove(name);
  const int status = runInChild([&] {
    ::setenv("KESTOVA_ANSWER_PATH", folder_.at("answer").c_str(), 1);
    char program[] = "gone";
    char filter[] = "--gtest_filter=NSBundleProgram.TellsOfItself";
    char brief[] = "--gtest_brief=1";
    char* arguments[] = {program, filter, brief, nullptr};
    ::fexecve(opened, arguments, environ);
    return 127;
  });
  ::close(opened);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder_.read("answer").substr(0, 13), "kestova.gone\n");
}

TEST_F(NSBundleTests, TheInfoGivesTheIdentifier) {
  EXPECT_EQ(identifierWith(infoWithIdentifier("<string>org.example.Editor</string>")),
            "org.example.Editor");
  EXPECT_TRUE(log_.entries.empty());
}

TEST_F(NSBundleTests, AnIdentifierThatIsNoTextCountsAsMissing) {
  EXPECT_EQ(identifierWith(infoWithIdentifier("<integer>1</integer>")), "kestova.Editor");
  EXPECT_EQ(identifierWith(infoWithIdentifier("<string/>")), "kestova.Editor");
  EXPECT_EQ(identifierWith(propertyList("<dict/>")), "kestova.Editor");
  EXPECT_TRUE(log_.entries.empty());
}

TEST_F(NSBundleTests, AnInfoThatCantBeReadIsLoggedOnceAndCountsAsMissing) {
  for (const char* broken : {"", "no property list", "<plist><dict>", "<plist><array/></plist>"}) {
    log_.entries.clear();
    EXPECT_EQ(identifierWith(broken), "kestova.Editor") << broken;
    ASSERT_EQ(log_.entries.size(), 1U) << broken;
    EXPECT_NE(log_.entries[0].find(folder_.at("Info.plist") + " can't be read: "),
              std::string::npos)
        << log_.entries[0];
  }
}

TEST_F(NSBundleTests, AFolderInPlaceOfTheInfoIsLogged) {
  std::filesystem::create_directory(folder_.at("Info.plist"));
  EXPECT_EQ(bundleOf("Editor")->infoDictionary()->count(), 0U);
  ASSERT_EQ(log_.entries.size(), 1U);
  EXPECT_NE(log_.entries[0].find("Is a directory"), std::string::npos) << log_.entries[0];
}

TEST_F(NSBundleTests, AMissingInfoIsEmptyAndNotWorthAWord) {
  EXPECT_EQ(bundleOf("Editor")->infoDictionary()->count(), 0U);
  EXPECT_TRUE(log_.entries.empty());
}

TEST_F(NSBundleTests, TheEntriesOfTheInfoAreThere) {
  folder_.write("Info.plist", propertyList("<dict><key>Level</key><integer>3</integer></dict>"));
  const auto bundle = bundleOf("Editor");
  EXPECT_TRUE(NSDictionary::of({{"Level", 3}})->isEqual(bundle->infoDictionary()));
  EXPECT_TRUE(bundle->objectForInfoDictionaryKey("Level")->isEqual(3));
  EXPECT_EQ(bundle->objectForInfoDictionaryKey("level"), nullptr);
  EXPECT_EQ(bundle->objectForInfoDictionaryKey(nullptr), nullptr);
}

TEST_F(NSBundleTests, TheInfoIsReadOnce) {
  folder_.write("Info.plist", infoWithIdentifier("<string>first</string>"));
  const auto bundle = bundleOf("Editor");
  folder_.write("Info.plist", infoWithIdentifier("<string>second</string>"));
  EXPECT_EQ(bundle->bundleIdentifier(), "first");
}

TEST_F(NSBundleTests, FileNamesBecomeIdentifiersOfPlainCharacters) {
  struct Row {
    const char* program;
    const char* identifier;
  };
  for (const auto& [program, identifier] : {
           Row{"Editor-2.1", "kestova.Editor-2.1"},
           Row{"my editor_x", "kestova.my-editor-x"},
           Row{"größer", "kestova.gr--er"},
           Row{"\xFF\xFE", "kestova.--"},
           Row{"a@[`{/:z", "kestova.-z"},
           Row{"@[`{:09AZaz", "kestova.-----09AZaz"},
           Row{"", "kestova.folder"},
       }) {
    const auto path = std::string("/folder/") + program;
    const auto bundle = make<NSBundle>(NSString::stringWithFileSystemRepresentation(path));
    EXPECT_EQ(bundle->bundleIdentifier(), identifier) << program;
  }
}

TEST_F(NSBundleTests, TheProgramsOwnDeclarationGoesFirstUntilItIsTakenBack) {
  const auto bundle = NSBundle::mainBundle();
  const auto before = bundle->bundleIdentifier();
  EXPECT_EQ(before, bundle->bundleIdentifier()->displayUTF8());
  const auto declared = NSMutableString::stringWithString("org.example.Declared");
  NSBundle::declareMainBundleIdentifier(declared);
  declared->appendString("Later");
  EXPECT_EQ(bundle->bundleIdentifier(), "org.example.Declared");
  EXPECT_EQ(bundleOf("Editor")->bundleIdentifier(), "kestova.Editor");
  NSBundle::declareMainBundleIdentifier("");
  EXPECT_EQ(bundle->bundleIdentifier(), before->displayUTF8());
  NSBundle::declareMainBundleIdentifier("org.example.Declared");
  NSBundle::declareMainBundleIdentifier(nullptr);
  EXPECT_EQ(bundle->bundleIdentifier(), before->displayUTF8());
}

TEST_F(NSBundleTests, ThreadsMayDeclareAndAsk) {
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int round = 0; round < 500; ++round) {
        NSBundle::declareMainBundleIdentifier(round % 2 == 0 ? "org.example.A" : "org.example.B");
        EXPECT_TRUE(NSBundle::mainBundle()->bundleIdentifier()->hasPrefix("org.example."));
      }
    });
  }
  threads.clear();
  NSBundle::declareMainBundleIdentifier(nullptr);
}

TEST_F(NSBundleTests, ItsPropertiesAreReadByName) {
  const auto bundle = bundleOf("Editor");
  EXPECT_TRUE(bundle->valueForKey("bundleIdentifier")->isEqual("kestova.Editor"));
  EXPECT_TRUE(bundle->valueForKey("bundlePath")->isEqual(bundle->bundlePath()));
  EXPECT_EQ(NSClassFromString("NSBundle"), &bundle->classDescriptor());
}

}  // namespace
}  // namespace kestova
