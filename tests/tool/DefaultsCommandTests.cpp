// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PreferencesPlace.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using testing::PreferencesPlace;
using testing::ToolResult;
using testing::ToolRun;

class DefaultsCommandTests : public ::testing::Test {
 protected:
  DefaultsCommandTests() {
    for (const char* domain : {"org.example.A", "org.example.B", "größe/1", "kestova.kestova"}) {
      run({"delete", domain});
    }
  }

  static ToolResult run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "defaults");
    return testing::runTool(arguments);
  }

  /// Writes a value and answers what reading it prints.
  static std::string roundTrip(std::vector<std::string> words) {
    words.insert(words.begin(), {"write", "org.example.A", "key"});
    EXPECT_EQ(run(words).exitStatus, 0);
    return run({"read", "org.example.A", "key"}).output;
  }

  /// A process that holds the domain's lock and is stopped.
  pid_t startHolder(const std::string& domain) const {
    const std::string path = std::filesystem::path(place_.fileOf(domain)).replace_extension("lock");
    const pid_t process = ::fork();
    if (process == 0) {
      struct flock lock {};
      lock.l_type = F_WRLCK;
      lock.l_whence = SEEK_SET;
      lock.l_start = 1;
      lock.l_len = 1;
      const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
      if (::fcntl(file, F_OFD_SETLK, &lock) == 0) ::raise(SIGSTOP);
      ::_exit(1);
    }
    int status = 0;
    ::waitpid(process, &status, WUNTRACED);
    EXPECT_TRUE(WIFSTOPPED(status));
    return process;
  }

  PreferencesPlace& place_ = PreferencesPlace::current();
};

TEST_F(DefaultsCommandTests, ValuesOfEveryTypeAreWrittenAndReadBare) {
  EXPECT_EQ(roundTrip({"text"}), "text\n");
  EXPECT_EQ(roundTrip({"two words"}), "two words\n");
  EXPECT_EQ(roundTrip({""}), "\n");
  EXPECT_EQ(roundTrip({"-5"}), "-5\n");
  EXPECT_EQ(roundTrip({"-string", "größe"}), "größe\n");
  EXPECT_EQ(roundTrip({"-string", "-int"}), "-int\n");
  EXPECT_EQ(roundTrip({"-int", "-9223372036854775808"}), "-9223372036854775808\n");
  EXPECT_EQ(roundTrip({"-float", "0.1"}), "0.1\n");
  EXPECT_EQ(roundTrip({"-bool", "yes"}), "true\n");
  EXPECT_EQ(roundTrip({"-bool", "0"}), "false\n");
  EXPECT_EQ(roundTrip({"-date", "2001-01-31T12:00:00Z"}), "2001-01-31T12:00:00Z\n");
  EXPECT_EQ(roundTrip({"-date", "1969-12-31T23:59:59Z"}), "1969-12-31T23:59:59Z\n");
  EXPECT_EQ(roundTrip({"-data", "00fFa0"}), "00ffa0\n");
  EXPECT_EQ(roundTrip({"-data", ""}), "\n");
  EXPECT_EQ(roundTrip({"-array", "a", "b c"}), "(\n    a,\n    \"b c\"\n)\n");
  EXPECT_EQ(roundTrip({"-array"}), "(\n)\n");
  EXPECT_EQ(roundTrip({"-dict", "k", "v"}), "{\n    k = v;\n}\n");
}

TEST_F(DefaultsCommandTests, TypesAreThoseThatWereAskedFor) {
  run({"write", "org.example.A", "int", "-int", "1"});
  run({"write", "org.example.A", "bool", "-bool", "true"});
  run({"write", "org.example.A", "text", "1"});
  const std::string list = run({"export", "org.example.A"}).output;
  EXPECT_NE(list.find("<key>int</key>\n\t<integer>1</integer>"), std::string::npos) << list;
  EXPECT_NE(list.find("<key>bool</key>\n\t<true/>"), std::string::npos) << list;
  EXPECT_NE(list.find("<key>text</key>\n\t<string>1</string>"), std::string::npos) << list;
}

TEST_F(DefaultsCommandTests, WhatIsNoValueOfItsTypeIsWrongUse) {
  const struct {
    std::vector<std::string> words;
    const char* reason;
  } rows[] = {
      {{"-int", "12x"}, "12x: not an integer of 64 bits"},
      {{"-int", "9223372036854775808"}, "9223372036854775808: not an integer of 64 bits"},
      {{"-float", ""}, ": not a number"},
      {{"-bool", "maybe"}, "maybe: not true, yes, 1, false, no or 0"},
      {{"-date", "yesterday"}, "yesterday: not a date such as 2001-01-31T12:00:00Z"},
      {{"-date", "2001-01-31T12:00:00Z?"},
       "2001-01-31T12:00:00Z?: not a date such as 2001-01-31T12:00:00Z"},
      {{"-data", "abc"}, "abc: not pairs of hexadecimal digits"},
      {{"-data", "zz"}, "zz: not pairs of hexadecimal digits"},
      {{"-dict", "k"}, "k: a key without a value"},
      {{"-string"}, "-string: takes one value"},
      {{"-int", "1", "2"}, "-int: takes one value"},
      {{"-word", "1"}, "-word: not the type of a value"},
  };
  for (auto row : rows) {
    row.words.insert(row.words.begin(), {"write", "org.example.A", "key"});
    const ToolResult result = run(row.words);
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.errors, std::string("kestova: ") + row.reason + "\n");
  }
  EXPECT_EQ(run({"write", "org.example.A", "key"}).exitStatus, 2);
  EXPECT_EQ(run({"read"}).exitStatus, 2);
  EXPECT_EQ(run({}).exitStatus, 2);
  EXPECT_EQ(place_.onDisk("org.example.A"), nullptr);
}

TEST_F(DefaultsCommandTests, WhatIsMissingIsAFailure) {
  const ToolResult noDomain = run({"read", "org.example.A"});
  EXPECT_EQ(noDomain.exitStatus, 1);
  EXPECT_EQ(noDomain.output, "");
  EXPECT_EQ(noDomain.errors, "kestova: org.example.A: there is no such domain\n");
  run({"write", "org.example.A", "key", "value"});
  const ToolResult noKey = run({"read", "org.example.A", "other"});
  EXPECT_EQ(noKey.exitStatus, 1);
  EXPECT_EQ(noKey.output, "");
  EXPECT_EQ(noKey.errors, "kestova: org.example.A other: there is no such value\n");
  EXPECT_EQ(run({"delete", "org.example.A", "other"}).exitStatus, 1);
  EXPECT_EQ(run({"delete", "org.example.B"}).exitStatus, 1);
  EXPECT_EQ(run({"export", "org.example.B"}).exitStatus, 1);
}

TEST_F(DefaultsCommandTests, DomainsAreListed) {
  EXPECT_EQ(run({"domains"}).output, "");
  run({"write", "org.example.B", "key", "value"});
  run({"write", "größe/1", "key", "value"});
  EXPECT_THAT(run({"domains"}).lines(), ElementsAre("größe/1", "org.example.B"));
}

TEST_F(DefaultsCommandTests, ValuesAndDomainsAreDeleted) {
  run({"write", "org.example.A", "a", "1"});
  run({"write", "org.example.A", "b", "2"});
  EXPECT_EQ(run({"delete", "org.example.A", "a"}).exitStatus, 0);
  EXPECT_EQ(run({"read", "org.example.A"}).output, "{\n    b = 2;\n}\n");
  EXPECT_EQ(run({"delete", "org.example.A"}).exitStatus, 0);
  EXPECT_EQ(run({"read", "org.example.A"}).exitStatus, 1);
}

TEST_F(DefaultsCommandTests, AnEmptyKeyIsAKeyAndNotTheWholeDomain) {
  run({"write", "org.example.A", "key", "value"});
  EXPECT_EQ(run({"delete", "org.example.A", ""}).exitStatus, 1);
  EXPECT_EQ(run({"read", "org.example.A", ""}).exitStatus, 1);
  EXPECT_EQ(run({"read", "org.example.A", "key"}).output, "value\n");
  run({"write", "org.example.A", "", "of the empty key"});
  EXPECT_EQ(run({"read", "org.example.A", ""}).output, "of the empty key\n");
  EXPECT_EQ(run({"delete", "org.example.A", ""}).exitStatus, 0);
  EXPECT_EQ(run({"read", "org.example.A"}).output, "{\n    key = value;\n}\n");
}

TEST_F(DefaultsCommandTests, WhatIsExportedCanBeImported) {
  const testing::TemporaryFolder folder;
  run({"write", "org.example.A", "a", "-int", "1"});
  EXPECT_EQ(run({"export", "org.example.A", folder.at("list")}).exitStatus, 0);
  run({"write", "org.example.B", "gone", "1"});
  EXPECT_EQ(run({"import", "org.example.B", folder.at("list")}).exitStatus, 0);
  EXPECT_EQ(run({"read", "org.example.B"}).output, "{\n    a = 1;\n}\n");
}

TEST_F(DefaultsCommandTests, WhatIsNoDictionaryIsNotImported) {
  const testing::TemporaryFolder folder;
  run({"write", "org.example.A", "a", "1"});
  const ToolResult junk = run({"import", "org.example.A", folder.write("junk", "junk")});
  EXPECT_EQ(junk.exitStatus, 1);
  EXPECT_EQ(junk.errors, "kestova: " + folder.at("junk") +
                             ": The data is in no known property list format, in line 1.\n");
  const ToolResult array =
      run({"import", "org.example.A", folder.write("array", "<plist><array></array></plist>")});
  EXPECT_EQ(array.exitStatus, 1);
  EXPECT_EQ(array.errors,
            "kestova: " + folder.at("array") + ": There is no dictionary at its top.\n");
  EXPECT_EQ(run({"import", "org.example.A", folder.at("missing")}).exitStatus, 1);
  EXPECT_EQ(run({"read", "org.example.A", "a"}).output, "1\n");
}

TEST_F(DefaultsCommandTests, WhatCannotBeWrittenIsAFailure) {
  const std::filesystem::path file = place_.fileOf("org.example.A");
  std::filesystem::create_directories(file.parent_path());
  std::filesystem::create_symlink("elsewhere", file);
  const ToolResult result = run({"write", "org.example.A", "key", "value"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("org.example.A.plist is a symbolic link\n"), std::string::npos);
  EXPECT_TRUE(result.errors.ends_with("kestova: org.example.A: could not be written\n"));
  std::filesystem::remove(file);
}

TEST_F(DefaultsCommandTests, ALockThatNobodyReleasesIsWaitedForOnce) {
  run({"write", "org.example.A", "key", "old"});
  const pid_t holder = startHolder("org.example.A");
  const auto start = std::chrono::steady_clock::now();
  const ToolResult result = run({"write", "org.example.A", "key", "new"});
  // Five seconds; twice as much would be a second wait.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("The preferences of org.example.A cannot be written and wait in "
                               "memory: another process keeps them locked\n"),
            std::string::npos);
  EXPECT_TRUE(result.errors.ends_with("kestova: org.example.A: could not be written\n"));
  EXPECT_EQ(run({"read", "org.example.A", "key"}).output, "old\n");
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  EXPECT_EQ(run({"write", "org.example.A", "key", "newer"}).exitStatus, 0);
  EXPECT_EQ(run({"read", "org.example.A", "key"}).output, "newer\n");
}

TEST_F(DefaultsCommandTests, TheToolsOwnDomainIsOneLikeOthers) {
  ToolRun watcher({"defaults", "watch", "kestova.kestova"});
  watcher.waitForOutput("watching 1 domain\n");
  EXPECT_EQ(run({"write", "kestova.kestova", "key", "value"}).exitStatus, 0);
  watcher.waitForOutput("-> value");
  EXPECT_EQ(run({"read", "kestova.kestova"}).output, "{\n    key = value;\n}\n");
  EXPECT_EQ(run({"delete", "kestova.kestova", "key"}).exitStatus, 0);
  watcher.waitForOutput("-> (none)");
  watcher.send(SIGINT);
  EXPECT_THAT(
      watcher.wait().lines(),
      ElementsAre("watching 1 domain", "kestova.kestova key: (none) -> value (kestova.kestova)",
                  "kestova.kestova key: value -> (none) (kestova.kestova)"));
}

TEST_F(DefaultsCommandTests, ANameThatIsTooLongIsAFailureWithoutATrace) {
  for (const std::size_t length : {221, 255, 256, 100'000}) {
    const std::string domain(length, 'd');
    const ToolResult result = run({"write", domain, "key", "value"});
    EXPECT_EQ(result.exitStatus, 1) << length;
    EXPECT_NE(result.errors.find("the name of the domain is too long for a file\n"),
              std::string::npos);
    EXPECT_TRUE(result.errors.ends_with("d: could not be written\n")) << length;
    EXPECT_EQ(run({"read", domain}).exitStatus, 1) << length;
    EXPECT_EQ(run({"delete", domain}).exitStatus, 1) << length;
  }
  EXPECT_EQ(run({"domains"}).output, "");
}

TEST_F(DefaultsCommandTests, ChangesAreWatchedWithOldAndNewValueAndSender) {
  run({"write", "org.example.A", "theme", "light"});
  ToolRun watcher({"defaults", "watch", "org.example.A", "org.example.B"});
  watcher.waitForOutput("watching 2 domains\n");
  run({"write", "org.example.A", "theme", "dark mode"});
  watcher.waitForOutput("dark mode");
  run({"write", "org.example.B", "width", "-int", "4"});
  watcher.waitForOutput("-> 4");
  run({"delete", "org.example.A", "theme"});
  watcher.waitForOutput("-> (none)");
  watcher.send(SIGINT);
  const ToolResult result = watcher.wait();
  EXPECT_EQ(result.exitStatus, 130);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.lines(),
              ElementsAre("watching 2 domains",
                          "org.example.A theme: light -> \"dark mode\" (kestova.kestova)",
                          "org.example.B width: (none) -> 4 (kestova.kestova)",
                          "org.example.A theme: \"dark mode\" -> (none) (kestova.kestova)"));
}

TEST_F(DefaultsCommandTests, AnImportShowsEveryKeyThatItChanges) {
  const testing::TemporaryFolder folder;
  run({"write", "org.example.A", "gone", "1"});
  run({"write", "org.example.A", "same", "2"});
  ToolRun watcher({"defaults", "watch", "org.example.A"});
  watcher.waitForOutput("watching 1 domain\n");
  run({"import", "org.example.A",
       folder.write("list",
                    "<plist><dict><key>new</key><true/><key>same</key>"
                    "<string>2</string></dict></plist>")});
  watcher.waitForOutput("-> true");
  watcher.send(SIGTERM);
  EXPECT_THAT(watcher.wait().lines(),
              ElementsAre("watching 1 domain", "org.example.A gone: 1 -> (none) (kestova.kestova)",
                          "org.example.A new: (none) -> true (kestova.kestova)"));
}

}  // namespace
}  // namespace kestova
