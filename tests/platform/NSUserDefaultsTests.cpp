// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSUserDefaults.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"
#include "preferences/PreferencesStore.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using testing::expectException;

constexpr NSTimeInterval kNever = 1e6;

MATCHER_P(Is, expected, "") { return isEqualOrBothNull(arg, expected); }

/// User defaults on a store of a test's own.
class StoredDefaults : public NSUserDefaults {
  KESTOVA_CLASS(StoredDefaults, NSUserDefaults)

 protected:
  explicit StoredDefaults(std::shared_ptr<PreferencesStore> store)
      : NSUserDefaults(std::move(store), "org.example.Editor") {}
};

KESTOVA_DEFINE_CLASS(StoredDefaults)

class NSUserDefaultsTests : public ::testing::Test {
 protected:
  NSUserDefaultsTests() { std::filesystem::create_directory(path()); }

  std::string path() const { return place_.at("kestova"); }

  std::shared_ptr<PreferencesStore> store(NSTimeInterval delay = kNever) const {
    return std::make_shared<PreferencesStore>(PreferencesFolder(path(), ::geteuid()), delay);
  }

  /// As another process would have them.
  Ref<NSUserDefaults> others() const { return make<StoredDefaults>(store()); }

  Ref<NSDictionary> onDisk(const std::string& domain) const {
    return NSDictionary::dictionaryWithContentsOfFile(path() + "/" + domain + ".plist");
  }

  testing::TemporaryFolder place_;
  testing::CapturedLog log_;
  Ref<NSUserDefaults> defaults_ = make<StoredDefaults>(store());
};

TEST_F(NSUserDefaultsTests, DomainsAreSearchedInTheirOrder) {
  defaults_->registerDefaults(NSDictionary::of({{"key", "registered"}}));
  EXPECT_EQ(defaults_->stringForKey("key"), "registered");
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", "global"}}), NSGlobalDomain);
  EXPECT_EQ(defaults_->stringForKey("key"), "global");
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", "second"}}), "suite.2");
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", "first"}}), "suite.1");
  EXPECT_EQ(defaults_->stringForKey("key"), "global");
  defaults_->addSuiteNamed("suite.2");
  EXPECT_EQ(defaults_->stringForKey("key"), "second");
  defaults_->addSuiteNamed("suite.1");
  EXPECT_EQ(defaults_->stringForKey("key"), "second");
  defaults_->removeSuiteNamed("suite.2");
  EXPECT_EQ(defaults_->stringForKey("key"), "first");
  defaults_->setObject_forKey("application", "key");
  EXPECT_EQ(defaults_->stringForKey("key"), "application");
  defaults_->removeVolatileDomainForName(NSArgumentDomain);
  defaults_->setVolatileDomain_forName(NSDictionary::of({{"key", "argument"}}), NSArgumentDomain);
  EXPECT_EQ(defaults_->stringForKey("key"), "argument");
}

TEST_F(NSUserDefaultsTests, RemovingAKeyShowsWhatIsBelow) {
  defaults_->registerDefaults(NSDictionary::of({{"key", "registered"}}));
  defaults_->setObject_forKey("set", "key");
  defaults_->removeObjectForKey("key");
  EXPECT_EQ(defaults_->stringForKey("key"), "registered");
  defaults_->removeObjectForKey("key");
  EXPECT_EQ(defaults_->stringForKey("key"), "registered");
}

TEST_F(NSUserDefaultsTests, ALookUpAfterALookUpSeesEveryKindOfChange) {
  defaults_->addSuiteNamed("suite");
  const auto seen = [&] { return defaults_->stringForKey("key"); };
  EXPECT_EQ(seen(), nullptr);
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", "1"}}), "suite");
  EXPECT_EQ(seen(), "1");
  const auto other = others();
  other->setPersistentDomain_forName(NSDictionary::of({{"key", "2"}}), "suite");
  EXPECT_EQ(seen(), "1");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(seen(), "2");
  defaults_->setObject_forKey("3", "key");
  EXPECT_EQ(seen(), "3");
  defaults_->removeObjectForKey("key");
  EXPECT_EQ(seen(), "2");
  other->removePersistentDomainForName("suite");
  defaults_->synchronize();
  EXPECT_EQ(seen(), nullptr);
  defaults_->registerDefaults(NSDictionary::of({{"key", "4"}}));
  EXPECT_EQ(seen(), "4");
}

TEST_F(NSUserDefaultsTests, InstancesOfAProcessShareWhatIsSet) {
  const auto shared = store();
  const Ref<NSUserDefaults> one = make<StoredDefaults>(shared);
  const Ref<NSUserDefaults> other = make<StoredDefaults>(shared);
  EXPECT_EQ(other->objectForKey("key"), nullptr);
  one->setInteger_forKey(1, "key");
  EXPECT_EQ(other->integerForKey("key"), 1);
  one->registerDefaults(NSDictionary::of({{"registered", 1}}));
  EXPECT_EQ(other->objectForKey("registered"), nullptr);
}

TEST_F(NSUserDefaultsTests, RegisteredDefaultsAreAddedUp) {
  defaults_->registerDefaults(NSDictionary::of({{"a", 1}, {"b", 1}}));
  defaults_->registerDefaults(NSDictionary::of({{"b", 2}, {"c", 2}}));
  defaults_->registerDefaults(nullptr);
  EXPECT_THAT(defaults_->volatileDomainForName(NSRegistrationDomain),
              Is(NSDictionary::of({{"a", 1}, {"b", 2}, {"c", 2}})));
}

TEST_F(NSUserDefaultsTests, TypedValuesAreReadFromNumbersAndStrings) {
  const struct {
    id value;
    Ref<NSString> string;
    NSInteger integer;
    double number;
    bool truth;
  } rows[] = {
      {42, "42", 42, 42, true},
      {-2.75, "-2.75", -2, -2.75, true},
      {0, "0", 0, 0, false},
      {true, "1", 1, 1, true},
      {false, "0", 0, 0, false},
      {"17 apples", "17 apples", 17, 17, true},
      {"2.5", "2.5", 2, 2.5, true},
      {"YES", "YES", 0, 0, true},
      {"true", "true", 0, 0, true},
      {"no", "no", 0, 0, false},
      {"", "", 0, 0, false},
      {NSArray::of("a"), nullptr, 0, 0, false},
      {NSDictionary::of({{"a", 1}}), nullptr, 0, 0, false},
      {NSData::data(), nullptr, 0, 0, false},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(1), nullptr, 0, 0, false},
  };
  for (const auto& row : rows) {
    defaults_->setObject_forKey(row.value, "key");
    EXPECT_THAT(defaults_->objectForKey("key"), Is(row.value));
    EXPECT_THAT(defaults_->stringForKey("key"), Is(row.string)) << row.value;
    EXPECT_EQ(defaults_->integerForKey("key"), row.integer) << row.value;
    EXPECT_EQ(defaults_->doubleForKey("key"), row.number) << row.value;
    EXPECT_EQ(defaults_->floatForKey("key"), static_cast<float>(row.number)) << row.value;
    EXPECT_EQ(defaults_->boolForKey("key"), row.truth) << row.value;
  }
}

TEST_F(NSUserDefaultsTests, WhatIsMissingReadsAsNothing) {
  for (const Ref<NSString>& key : {Ref<NSString>("missing"), Ref<NSString>()}) {
    EXPECT_EQ(defaults_->objectForKey(key), nullptr);
    EXPECT_EQ(defaults_->stringForKey(key), nullptr);
    EXPECT_EQ(defaults_->arrayForKey(key), nullptr);
    EXPECT_EQ(defaults_->dictionaryForKey(key), nullptr);
    EXPECT_EQ(defaults_->dataForKey(key), nullptr);
    EXPECT_EQ(defaults_->stringArrayForKey(key), nullptr);
    EXPECT_EQ(defaults_->URLForKey(key), nullptr);
    EXPECT_EQ(defaults_->integerForKey(key), 0);
    EXPECT_EQ(defaults_->floatForKey(key), 0.0F);
    EXPECT_EQ(defaults_->doubleForKey(key), 0.0);
    EXPECT_FALSE(defaults_->boolForKey(key));
  }
}

TEST_F(NSUserDefaultsTests, CollectionsAndDataAreReadAsWhatTheyAre) {
  defaults_->setObject_forKey(NSArray::of("a", "b"), "strings");
  defaults_->setObject_forKey(NSArray::of("a", 1), "mixed");
  defaults_->setObject_forKey(NSArray::array(), "empty");
  defaults_->setObject_forKey(NSDictionary::of({{"a", 1}}), "dictionary");
  defaults_->setObject_forKey(NSData::dataWithBytes_length("x", 1), "data");
  EXPECT_THAT(defaults_->stringArrayForKey("strings"), Is(NSArray::of("a", "b")));
  EXPECT_EQ(defaults_->stringArrayForKey("mixed"), nullptr);
  EXPECT_THAT(defaults_->stringArrayForKey("empty"), Is(NSArray::array()));
  EXPECT_THAT(defaults_->arrayForKey("mixed"), Is(NSArray::of("a", 1)));
  EXPECT_THAT(defaults_->dictionaryForKey("dictionary"), Is(NSDictionary::of({{"a", 1}})));
  EXPECT_EQ(defaults_->dictionaryForKey("data"), nullptr);
  EXPECT_EQ(defaults_->dataForKey("data")->length(), 1U);
  EXPECT_EQ(defaults_->arrayForKey("data"), nullptr);
}

TEST_F(NSUserDefaultsTests, TypedSettersStoreNumbersOfTheirType) {
  const auto typeOf = [&](const char* key) {
    return std::string(cast<NSNumber>(defaults_->objectForKey(key))->objCType());
  };
  defaults_->setInteger_forKey(-7, "integer");
  defaults_->setFloat_forKey(0.1F, "float");
  defaults_->setDouble_forKey(0.1, "double");
  defaults_->setBool_forKey(true, "bool");
  EXPECT_EQ(typeOf("integer"), "q");
  EXPECT_EQ(typeOf("float"), "f");
  EXPECT_EQ(typeOf("double"), "d");
  EXPECT_EQ(typeOf("bool"), "B");
  EXPECT_EQ(defaults_->floatForKey("float"), 0.1F);
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_THAT(others()->dictionaryForKey("missing"), Is(Ref<NSDictionary>()));
  EXPECT_EQ(others()->integerForKey("integer"), -7);
  EXPECT_TRUE(others()->boolForKey("bool"));
}

TEST_F(NSUserDefaultsTests, URLsAreStoredAsTextThatAPersonCanRead) {
  const struct {
    Ref<NSURL> url;
    const char* stored;
  } rows[] = {
      {NSURL::fileURLWithPath_isDirectory("/tmp/größe", false), "/tmp/größe"},
      {NSURL::fileURLWithPath_isDirectory("/tmp/folder", true), "/tmp/folder/"},
      {NSURL::fileURLWithPath_isDirectory("/", true), "/"},
      {NSURL::URLWithString("https://example.org/a%20b?q"), "https://example.org/a%20b?q"},
  };
  for (const auto& row : rows) {
    defaults_->setURL_forKey(row.url, "key");
    EXPECT_EQ(defaults_->stringForKey("key"), row.stored);
    EXPECT_THAT(defaults_->URLForKey("key"), Is(row.url));
  }
  defaults_->setURL_forKey(nullptr, "key");
  EXPECT_EQ(defaults_->objectForKey("key"), nullptr);
  defaults_->setObject_forKey("no url", "key");
  EXPECT_EQ(defaults_->URLForKey("key"), nullptr);
}

TEST_F(NSUserDefaultsTests, WhatIsNoPropertyListIsRefused) {
  const auto refuse = [](const auto& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  refuse([&] { defaults_->setObject_forKey(NSNull::null(), "key"); });
  refuse([&] { defaults_->setObject_forKey(nullptr, "key"); });
  refuse([&] { defaults_->setObject_forKey(1, nullptr); });
  refuse([&] { defaults_->setObject_forKey(NSArray::of(defaults_), "key"); });
  refuse([&] { defaults_->registerDefaults(NSDictionary::of({{"a", NSNull::null()}})); });
  refuse([&] { defaults_->registerDefaults(NSDictionary::of({{1, 1}})); });
  refuse([&] { defaults_->setPersistentDomain_forName(NSDictionary::of({{1, 1}}), "domain"); });
  refuse([&] { defaults_->setPersistentDomain_forName(nullptr, "domain"); });
  refuse([&] { defaults_->setPersistentDomain_forName(NSDictionary::dictionary(), nullptr); });
  EXPECT_EQ(defaults_->objectForKey("key"), nullptr);
  EXPECT_EQ(defaults_->persistentDomainNames()->count(), 0U);
}

TEST_F(NSUserDefaultsTests, StoredValuesDoNotChangeWithTheirOriginals) {
  const auto list = NSMutableArray::of(1);
  defaults_->setObject_forKey(list, "key");
  defaults_->registerDefaults(NSDictionary::of({{"registered", list}}));
  list->addObject(2);
  EXPECT_THAT(defaults_->objectForKey("key"), Is(NSArray::of(1)));
  EXPECT_THAT(defaults_->objectForKey("registered"), Is(NSArray::of(1)));
}

TEST_F(NSUserDefaultsTests, ASuiteIsAddedOnce) {
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", "suite"}}), "suite");
  defaults_->addSuiteNamed("suite");
  defaults_->addSuiteNamed("suite");
  defaults_->addSuiteNamed(nullptr);
  EXPECT_EQ(defaults_->stringForKey("key"), "suite");
  defaults_->removeSuiteNamed("suite");
  EXPECT_EQ(defaults_->stringForKey("key"), nullptr);
  defaults_->removeSuiteNamed("suite");
  defaults_->removeSuiteNamed(nullptr);
}

TEST_F(NSUserDefaultsTests, TheApplicationsOwnDomainIsNoSuite) {
  defaults_->setObject_forKey("own", "key");
  defaults_->addSuiteNamed("org.example.Editor");
  defaults_->removeSuiteNamed("org.example.Editor");
  EXPECT_EQ(defaults_->stringForKey("key"), "own");
}

TEST_F(NSUserDefaultsTests, VolatileDomainsAreFoundByName) {
  EXPECT_EQ(defaults_->volatileDomainForName("mine"), nullptr);
  EXPECT_EQ(defaults_->volatileDomainForName(nullptr), nullptr);
  defaults_->setVolatileDomain_forName(NSDictionary::of({{"key", 1}}), "mine");
  EXPECT_THAT(defaults_->volatileDomainForName("mine"), Is(NSDictionary::of({{"key", 1}})));
  EXPECT_EQ(defaults_->objectForKey("key"), nullptr);
  EXPECT_EQ(defaults_->volatileDomainNames()->count(), 3U);
  expectException(NSInvalidArgumentException, [&] {
    defaults_->setVolatileDomain_forName(NSDictionary::dictionary(), "mine");
  });
  defaults_->removeVolatileDomainForName("mine");
  EXPECT_EQ(defaults_->volatileDomainForName("mine"), nullptr);
  defaults_->removeVolatileDomainForName("mine");
}

TEST_F(NSUserDefaultsTests, PersistentDomainsAreWrittenBeforeSettingOneReturns) {
  EXPECT_EQ(defaults_->persistentDomainForName("other"), nullptr);
  EXPECT_EQ(defaults_->persistentDomainForName(nullptr), nullptr);
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", 1}}), "other");
  EXPECT_THAT(onDisk("other"), Is(NSDictionary::of({{"key", 1}})));
  EXPECT_THAT(defaults_->persistentDomainForName("other"), Is(NSDictionary::of({{"key", 1}})));
  defaults_->removePersistentDomainForName("other");
  EXPECT_EQ(onDisk("other"), nullptr);
  EXPECT_EQ(defaults_->persistentDomainForName("other"), nullptr);
  defaults_->removePersistentDomainForName("other");
  defaults_->removePersistentDomainForName(nullptr);
}

TEST_F(NSUserDefaultsTests, TheNamesOfPersistentDomainsAreThoseThatHoldSomething) {
  EXPECT_EQ(defaults_->persistentDomainNames()->count(), 0U);
  others()->setPersistentDomain_forName(NSDictionary::of({{"key", 1}}), "größe/1");
  defaults_->setObject_forKey(1, "key");
  place_.write("kestova/no domain.plist", "");
  place_.write("kestova/other.txt", "");
  EXPECT_THAT(defaults_->persistentDomainNames(), Is(NSArray::of("größe/1", "org.example.Editor")));
  others()->removePersistentDomainForName("größe/1");
  EXPECT_THAT(defaults_->persistentDomainNames(), Is(NSArray::of("org.example.Editor")));
}

TEST_F(NSUserDefaultsTests, TheRepresentationIsAllThatALookUpFinds) {
  defaults_->removeVolatileDomainForName(NSArgumentDomain);
  defaults_->registerDefaults(NSDictionary::of({{"a", 1}, {"b", 1}}));
  defaults_->setObject_forKey(2, "b");
  defaults_->setObject_forKey(3, "c");
  const auto all = defaults_->dictionaryRepresentation();
  EXPECT_THAT(all, Is(NSDictionary::of({{"a", 1}, {"b", 2}, {"c", 3}})));
  defaults_->setObject_forKey(4, "c");
  EXPECT_THAT(all->objectForKey("c"), Is(id(3)));
}

class ChangeCounter : public NSObject {
  KESTOVA_CLASS(ChangeCounter, NSObject)

 public:
  ChangeCounter() {
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        this, sel<&ChangeCounter::changed>(), NSUserDefaultsDidChangeNotification, nullptr);
  }
  ~ChangeCounter() override { NSNotificationCenter::defaultCenter()->removeObserver(this); }

  void changed(const Ref<NSNotification>& notification) {
    senders.push_back(notification->object().get());
    EXPECT_EQ(notification->userInfo(), nullptr);
  }

  std::vector<NSObject*> senders;
};

KESTOVA_DEFINE_CLASS(ChangeCounter)

TEST_F(NSUserDefaultsTests, ChangesAreAnnouncedByTheInstanceThatMadeThem) {
  const auto counter = make<ChangeCounter>();
  NSObject* const sender = defaults_.get();
  defaults_->setObject_forKey(1, "key");
  EXPECT_THAT(counter->senders, ElementsAre(sender));
  defaults_->removeObjectForKey("key");
  defaults_->setPersistentDomain_forName(NSDictionary::of({{"key", 1}}), "other");
  defaults_->removePersistentDomainForName("other");
  EXPECT_THAT(counter->senders, ElementsAre(sender, sender, sender, sender));
  defaults_->registerDefaults(NSDictionary::of({{"key", 1}}));
  defaults_->synchronize();
  defaults_->removeObjectForKey(nullptr);
  EXPECT_EQ(counter->senders.size(), 4U);
}

TEST_F(NSUserDefaultsTests, WhatIsSetIsWrittenByItself) {
  const Ref<NSUserDefaults> soon = make<StoredDefaults>(store(0.01));
  soon->setObject_forKey(1, "key");
  for (int i = 0; i < 2000 && onDisk("org.example.Editor") == nullptr; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_THAT(onDisk("org.example.Editor"), Is(NSDictionary::of({{"key", 1}})));
}

TEST_F(NSUserDefaultsTests, WhatCouldNotBeWrittenIsWrittenByItselfLater) {
  std::filesystem::create_symlink("/nowhere", path() + "/org.example.Editor.plist");
  const Ref<NSUserDefaults> soon = make<StoredDefaults>(store(0.01));
  soon->setObject_forKey(1, "key");
  EXPECT_FALSE(soon->synchronize());
  std::filesystem::remove(path() + "/org.example.Editor.plist");
  for (int i = 0; i < 2000 && onDisk("org.example.Editor") == nullptr; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_THAT(onDisk("org.example.Editor"), Is(NSDictionary::of({{"key", 1}})));
}

TEST_F(NSUserDefaultsTests, ThreadsReadAndWriteAtTheSameTime) {
  defaults_->addSuiteNamed("suite");
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      for (int i = 0; i < 200; ++i) {
        const std::string key = std::to_string(thread) + "." + std::to_string(i);
        defaults_->setInteger_forKey(i, key);
        EXPECT_EQ(defaults_->integerForKey(key), i);
        if (i % 50 == 0) defaults_->synchronize();
      }
    });
  }
  threads.clear();
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(onDisk("org.example.Editor")->count(), 800U);
}

TEST(NSUserDefaultsSharedTests, TheStandardOneIsTheSameEveryTimeAndCanBeReplaced) {
  const auto standard = NSUserDefaults::standardUserDefaults();
  EXPECT_EQ(NSUserDefaults::standardUserDefaults(), standard);
  static Ref<NSUserDefaults> replacement;
  replacement = NSUserDefaults::init();
  NSUserDefaults::replaceStandardUserDefaults([] { return replacement; });
  EXPECT_EQ(NSUserDefaults::standardUserDefaults(), replacement);
  NSUserDefaults::replaceStandardUserDefaults(nullptr);
  EXPECT_EQ(NSUserDefaults::standardUserDefaults(), standard);
  replacement = nullptr;
}

TEST(NSUserDefaultsSharedTests, OnlyUsersWithAnAccountHaveDefaults) {
  EXPECT_NE(NSUserDefaults::initWithUser(nullptr), nullptr);
  EXPECT_EQ(NSUserDefaults::initWithUser("no such account"), nullptr);
  if (::geteuid() == 0) {
    EXPECT_NE(NSUserDefaults::initWithUser("nobody"), nullptr);
  }
}

/// The process that ends runs this test from its beginning, in the folder that this one has made.
TEST(NSUserDefaultsSharedTests, WhatWaitsIsWrittenWhenTheProcessEnds) {
  constexpr const char* kFolder = "KESTOVA_TEST_PREFERENCES";
  const testing::TemporaryFolder place;
  ::setenv(kFolder, place.path().c_str(), 0);
  const std::string folder = std::getenv(kFolder);
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        ::setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        NSUserDefaults::init()->setInteger_forKey(1, "key");
        std::exit(0);
      },
      ::testing::ExitedWithCode(0), "");
  ::unsetenv(kFolder);
  const auto name = NSBundle::mainBundle()->bundleIdentifier()->displayUTF8();
  EXPECT_THAT(NSDictionary::dictionaryWithContentsOfFile(folder + "/kestova/" + name + ".plist"),
              Is(NSDictionary::of({{"key", 1}})));
}

}  // namespace
}  // namespace kestova
