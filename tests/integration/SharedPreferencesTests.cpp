// SPDX-License-Identifier: Apache-2.0
// Preferences that several programs share: real processes, a real bus, files in a folder of their
// own. The test's own process has no part in it.
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <gtest/gtest.h>

#include "CommandedProcess.h"
#include "PrivateBus.h"
#include "TemporaryFolder.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <istream>
#include <memory>
#include <string>
#include <utility>

namespace kestova::testing {
namespace {

using Lines = CommandedProcess::Lines;

constexpr char kEditor[] = "org.example.Editor";
constexpr char kViewer[] = "org.example.Viewer";
constexpr char kThird[] = "org.example.Third";

std::string textOf(const id& value) { return value ? value->description()->displayUTF8() : "-"; }

/// What a program is told when the editor's suite has changed, after nothing else.
const Lines kEditorChanged = {"changed", "suite org.example.Editor"};

/// What runs in each process. It tells "changed" and "suite NAME" for what the default centre
/// posts.
class Program final : public NSObject {
 public:
  explicit Program(CommandedProcess::Tell tell) : tell_(std::move(tell)) {
    OVUserDefaults::install();
    defaults_ = NSUserDefaults::standardUserDefaults();
    const auto centre = NSNotificationCenter::defaultCenter();
    centre->addObserver_selector_name_object(this, sel<&Program::changed>(),
                                             NSUserDefaultsDidChangeNotification, defaults_.get());
    centre->addObserver_selector_name_object(this, sel<&Program::suiteChanged>(),
                                             NSUserDefaultsSuiteDidChangeNotification,
                                             defaults_.get());
  }

  void perform(const std::string& verb, std::istream& words) {
    std::string first, second, third;
    words >> first >> second >> third;
    if (verb == "add") {
      defaults_->addSuiteNamed(first);
    } else if (verb == "leave") {
      defaults_->removeSuiteNamed(first);
    } else if (verb == "set") {
      defaults_->setObject_forKey(second, first);
    } else if (verb == "remove") {
      defaults_->removeObjectForKey(first);
    } else if (verb == "setIn") {
      setObject_forKey_inSuite(defaults_, third, second, first);
    } else if (verb == "removeIn") {
      removeObjectForKey_inSuite(defaults_, second, first);
    } else if (verb == "storeIn") {
      setObject_forKey_inPersistentDomain(defaults_, third, second, first);
    } else if (verb == "setInAsChild") {
      setInAsChild(first, second, third);
    } else if (verb == "get") {
      tell_(textOf(defaults_->objectForKey(first)));
    } else if (verb == "getIn") {
      tell_(textOf(objectForKey_inSuite(defaults_, second, first)));
    } else if (verb == "write") {
      defaults_->synchronize();
    } else if (verb == "announceAtOnce") {
      NSDistributedNotificationCenter::defaultCenter()
          ->postNotificationName_object_userInfo_deliverImmediately(
              NSUserDefaultsSuiteDidChangeNotification, first,
              NSDictionary::of({{"bundleIdentifierOfSender", "org.example.Viewer"}}), true);
    } else if (verb == "suspended") {
      NSDistributedNotificationCenter::defaultCenter()->setSuspended(first == "yes");
    }
  }

  /// In a process that is forked and runs no other program.
  void setInAsChild(const std::string& suite, const std::string& key, const std::string& value) {
    const pid_t child = ::fork();
    if (child == 0) {
      setObject_forKey_inSuite(defaults_, value, key, suite);
      defaults_->setObject_forKey(value, key);
      ::_exit(defaults_->synchronize() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    tell_("child " + std::to_string(status));
  }

  void changed(const Ref<NSNotification>& notification) {
    tell_(notification->userInfo() ? "changed, with user info" : "changed");
  }
  void suiteChanged(const Ref<NSNotification>& notification) {
    tell_("suite " + textOf(notification->userInfo()->objectForKey("suiteName")));
  }

 private:
  const CommandedProcess::Tell tell_;
  Ref<NSUserDefaults> defaults_;
};

class ProgramProcess : public CommandedProcess {
 public:
  explicit ProgramProcess(const char* identifier)
      : CommandedProcess([identifier](const Tell& tell) {
          NSBundle::declareMainBundleIdentifier(identifier);
          return [program = make<Program>(tell)](const std::string& verb, std::istream& words) {
            program->perform(verb, words);
          };
        }) {}
};

/// Where the programs keep their preferences and tell each other of them.
struct SharedPlace {
  SharedPlace() {
    ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  }

  TemporaryFolder folder;
  PrivateBus bus;
};

/// Two programs, of which the editor is its own suite in most tests.
class SharedPreferencesTests : public ::testing::Test {
 protected:
  SharedPlace place;
  ProgramProcess editor{kEditor};
  ProgramProcess viewer{kViewer};
};

// Shows: setObject_forKey_inSuite, objectForKey_inSuite, suiteDidChangeDistributedNotification
TEST_F(SharedPreferencesTests, AValueSetInAProgramsSuiteIsToldToItAndReadByIt) {
  editor.command("add org.example.Editor");
  EXPECT_EQ(editor.answerTo("get theme"), "-");
  viewer.command("setIn org.example.Editor theme dark");
  EXPECT_EQ(editor.toldUntil("suite org.example.Editor"),
            (Lines{"-", "changed", "suite org.example.Editor"}));
  EXPECT_EQ(editor.answerTo("get theme"), "dark");
  EXPECT_EQ(editor.answerTo("getIn org.example.Editor theme"), "dark");
}

// Shows: setObject_forKey, removeObjectForKey, addSuiteNamed
TEST_F(SharedPreferencesTests, AProgramThatIsItsOwnSuiteTellsOthersOfItsValues) {
  editor.command("add org.example.Editor");
  viewer.command("add org.example.Editor");
  editor.command("set theme dark");
  EXPECT_EQ(viewer.toldUntil("suite org.example.Editor"), kEditorChanged);
  EXPECT_EQ(viewer.answerTo("get theme"), "dark") << "through the search of the suites";
  editor.command("remove theme");
  viewer.toldUntilTimes("suite org.example.Editor", 2);
  EXPECT_EQ(viewer.answerTo("get theme"), "-");
}

// Shows: setObject_forKey, removeObjectForKey
TEST_F(SharedPreferencesTests, AProgramThatIsNotItsOwnSuiteTellsNobody) {
  viewer.command("add org.example.Editor");
  editor.command("set theme dark");
  editor.command("remove theme");
  editor.command("set theme light");
  editor.command("write");
  editor.command("setIn org.example.Viewer end 1");
  viewer.command("add org.example.Viewer");
  editor.command("setIn org.example.Viewer end 2");
  EXPECT_EQ(viewer.toldUntil("suite org.example.Viewer"),
            (Lines{"changed", "suite org.example.Viewer"}));
  EXPECT_EQ(viewer.answerTo("get theme"), "light") << "read along with what was told";
}

// Shows: removeObjectForKey_inSuite
TEST_F(SharedPreferencesTests, RemovingAValueFromASuiteIsNotToldAndSeenWithTheNextChange) {
  editor.command("add org.example.Editor");
  viewer.command("setIn org.example.Editor theme dark");
  editor.toldUntil("suite org.example.Editor");
  viewer.command("removeIn org.example.Editor theme");
  EXPECT_EQ(viewer.answerTo("getIn org.example.Editor theme"), "-");
  EXPECT_EQ(editor.answerTo("get theme"), "dark");
  viewer.command("setIn org.example.Editor end 1");
  EXPECT_EQ(editor.toldUntil("suite org.example.Editor"),
            (Lines{"changed", "suite org.example.Editor", "dark", "changed",
                   "suite org.example.Editor"}));
  EXPECT_EQ(editor.answerTo("get theme"), "-");
}

// Shows: setObject_forKey_inPersistentDomain
TEST_F(SharedPreferencesTests, WritingADomainByNameTellsNobody) {
  editor.command("add org.example.Editor");
  viewer.command("storeIn org.example.Editor theme dark");
  viewer.command("setIn org.example.Editor end 1");
  EXPECT_EQ(editor.toldUntil("suite org.example.Editor"), kEditorChanged);
  EXPECT_EQ(editor.answerTo("get theme"), "dark");
}

// Shows: suiteDidChangeDistributedNotification
TEST_F(SharedPreferencesTests, AnOwnChangeIsToldButNotReadAnewAndAnothersIs) {
  editor.command("add org.example.Shared");
  editor.command("add org.example.Third");
  EXPECT_EQ(editor.answerTo("get key"), "-");
  viewer.command("storeIn org.example.Third key new");
  editor.command("setIn org.example.Shared own 1");
  editor.toldUntil("suite org.example.Shared");
  EXPECT_EQ(editor.answerTo("get key"), "-") << "its own change is no reason to read";
  viewer.command("setIn org.example.Shared others 1");
  editor.toldUntilTimes("suite org.example.Shared", 2);
  EXPECT_EQ(editor.answerTo("get key"), "new");
}

// Shows: addSuiteNamed, removeSuiteNamed
TEST_F(SharedPreferencesTests, OnlyAddedSuitesAreHeardOfAndOnlyWhileTheyAre) {
  viewer.command("add org.example.Viewer");
  viewer.command("add org.example.Third");
  editor.command("setIn org.example.Shared a 1");
  editor.command("setIn org.example.Third a 1");
  editor.command("setIn org.example.Viewer end 1");
  EXPECT_EQ(viewer.toldUntil("suite org.example.Viewer"),
            (Lines{"changed", "suite org.example.Third", "changed", "suite org.example.Viewer"}));
  viewer.command("leave org.example.Third");
  editor.command("setIn org.example.Third a 2");
  editor.command("setIn org.example.Viewer end 2");
  EXPECT_EQ(viewer.toldUntilTimes("suite org.example.Viewer", 2),
            (Lines{"changed", "suite org.example.Third", "changed", "suite org.example.Viewer",
                   "changed", "suite org.example.Viewer"}));
}

// Shows: setObject_forKey_inSuite, NSUserDefaultsSuiteDidChangeNotification
TEST_F(SharedPreferencesTests, SeveralProgramsHearOfOneChange) {
  ProgramProcess third(kThird);
  for (ProgramProcess* each : {&editor, &viewer, &third}) {
    each->command("add org.example.Editor");
  }
  third.command("setIn org.example.Editor theme dark");
  EXPECT_EQ(editor.toldUntil("suite org.example.Editor"), kEditorChanged);
  EXPECT_EQ(viewer.toldUntil("suite org.example.Editor"), kEditorChanged);
  third.toldUntil("suite org.example.Editor");
  for (ProgramProcess* each : {&editor, &viewer, &third}) {
    EXPECT_EQ(each->answerTo("getIn org.example.Editor theme"), "dark");
  }
}

// Shows: addObservationsForSuite
TEST_F(SharedPreferencesTests, ASuspendedProgramHearsOfManyChangesOnce) {
  editor.command("add org.example.Editor");
  editor.command("add org.example.Third");
  editor.command("suspended yes");
  for (const char* value : {"1", "2", "3"}) {
    viewer.command(std::string("setIn org.example.Editor theme ") + value);
  }
  viewer.command("announceAtOnce org.example.Third");
  EXPECT_EQ(editor.toldUntil("suite org.example.Third"),
            (Lines{"changed", "suite org.example.Editor", "changed", "suite org.example.Third"}));
  EXPECT_EQ(editor.answerTo("get theme"), "3");
}

// Shows: setObject_forKey_inSuite
TEST_F(SharedPreferencesTests, WhatAProgramHadSetIsToldAndKeptWhenItIsKilledThen) {
  editor.command("add org.example.Editor");
  viewer.command("setIn org.example.Editor theme dark");
  viewer.kill();
  editor.toldUntil("suite org.example.Editor");
  EXPECT_EQ(editor.answerTo("get theme"), "dark");
  ProgramProcess later(kThird);
  EXPECT_EQ(later.answerTo("getIn org.example.Editor theme"), "dark");
}

// Shows: setObject_forKey_inSuite
TEST_F(SharedPreferencesTests, AForkedChildOfAProgramThatToldOthersTellsAndKeepsWhatItSets) {
  editor.command("add org.example.Editor");
  viewer.command("setIn org.example.Editor parent 1");
  viewer.command("setInAsChild org.example.Editor child 2");
  EXPECT_EQ(viewer.toldUntil("child 0").back(), "child 0");
  viewer.command("setIn org.example.Editor parent 3");
  editor.toldUntilTimes("suite org.example.Editor", 3);
  EXPECT_EQ(editor.answerTo("get child"), "2");
  EXPECT_EQ(editor.answerTo("get parent"), "3");
  EXPECT_EQ(editor.answerTo("getIn org.example.Viewer child"), "2");
}

// Shows: setObject_forKey_inSuite, setObject_forKey, OVUserDefaults
TEST_F(SharedPreferencesTests, WithoutABusValuesAreSharedAndChangesAreToldAgainWhenItIsBack) {
  editor.command("add org.example.Editor");
  place.bus.kill();
  ProgramProcess third(kThird);
  third.command("setIn org.example.Editor theme dark");
  editor.command("write");
  EXPECT_EQ(editor.answerTo("get theme"), "dark");
  editor.command("set own 1");
  EXPECT_EQ(editor.toldUntil("suite org.example.Editor").back(), "suite org.example.Editor")
      << "its own changes reach it all the same";
  place.bus.start();
  editor.command("set own 2");  // what is posted finds the bus at once
  third.command("setIn org.example.Editor theme light");
  editor.toldUntilTimes("suite org.example.Editor", 3);
  EXPECT_EQ(editor.answerTo("get theme"), "light");
}

}  // namespace
}  // namespace kestova::testing
