// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OSXCrashReporterInfo.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <limits>
#include <string>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "Stress.h"

namespace kestova::testing {
namespace {

class OSXCrashReporterInfoTests : public ::testing::Test {
 protected:
  OSXCrashReporterInfoTests() { OSXCrashReporterInfoInitialize(); }
  ~OSXCrashReporterInfoTests() override { OSXCrashReporterInfoClear(); }

  static std::string published() {
    return __crashreporter_info__ == nullptr ? "none" : __crashreporter_info__;
  }

  /// Publishes a text that is longer than every one before, so that it gets a buffer of its own
  /// length and one byte more. Answers the length.
  static std::size_t publishLongestYet() {
    static std::size_t length = 100;
    length *= 2;
    OSXCrashReporterInfoSet(std::string(length, 'x').c_str());
    return length;
  }
};

// Shows: OSXCrashReporterInfoSet, __crashreporter_info__
TEST_F(OSXCrashReporterInfoTests, PublishesACopyOfBytes) {
  std::string text = "abcdef";
  OSXCrashReporterInfoSet(text.data(), 3);
  text = "??????";
  EXPECT_EQ(published(), "abc");
}

// Shows: OSXCrashReporterInfoSet
TEST_F(OSXCrashReporterInfoTests, PublishesBytesUpToTheirZero) {
  OSXCrashReporterInfoSet("abc");
  EXPECT_EQ(published(), "abc");
  OSXCrashReporterInfoSet("");
  EXPECT_EQ(published(), "");
}

// Shows: OSXCrashReporterInfoSet
TEST_F(OSXCrashReporterInfoTests, PublishesTheUTF8FormOfAString) {
  forBothStorages(u"plain", [](const Ref<NSString>& text) {
    OSXCrashReporterInfoSet(text);
    EXPECT_EQ(published(), "plain");
  });
  OSXCrashReporterInfoSet(NSString::stringWithUTF8String("Grüße \U0001F600"));
  EXPECT_EQ(published(), "Grüße \U0001F600");
  OSXCrashReporterInfoSet(Ref<NSString>(u"a\xD800z"));
  EXPECT_EQ(published(), "a\uFFFDz");
}

// Shows: OSXCrashReporterInfoSet
TEST_F(OSXCrashReporterInfoTests, PublishesAFormattedText) {
  const Ref<NSString> format = "%@ is %d of %s";
  OSXCrashReporterInfoSet(format, "this", 3, "many");
  EXPECT_EQ(published(), "this is 3 of many");
  expectException(NSInvalidArgumentException, [] { OSXCrashReporterInfoSet(Ref<NSString>(), 3); });
  EXPECT_EQ(published(), "this is 3 of many");
}

// Shows: OSXCrashReporterInfoSet, OSXCrashReporterInfoClear
TEST_F(OSXCrashReporterInfoTests, ANullOrEmptyTextEmptiesWhatIsPublished) {
  const auto expectCleared = [](auto&& clear) {
    OSXCrashReporterInfoSet("abc");
    clear();
    EXPECT_EQ(published(), "");
  };
  expectCleared([] { OSXCrashReporterInfoSet(nullptr, 5); });
  expectCleared([] { OSXCrashReporterInfoSet("abc", 0); });
  expectCleared([] { OSXCrashReporterInfoSet(nullptr); });
  expectCleared([] { OSXCrashReporterInfoSet(Ref<NSString>()); });
  expectCleared([] { OSXCrashReporterInfoSet(NSString::string()); });
  expectCleared([] { OSXCrashReporterInfoClear(); });
}

// Shows: OSXCrashReporterInfoClear, __crashreporter_info__
TEST_F(OSXCrashReporterInfoTests, TheBufferStaysWhenTheTextIsCleared) {
  OSXCrashReporterInfoSet("abc");
  OSXCrashReporterInfoSet("0123456789");
  OSXCrashReporterInfoClear();
  ASSERT_NE(__crashreporter_info__, nullptr);
  EXPECT_EQ(__crashreporter_info__[0], '\0');
  EXPECT_GE(malloc_usable_size(const_cast<char*>(__crashreporter_info__)), 11U);
}

// Shows: OSXCrashReporterInfoSet, __crashreporter_info__
TEST_F(OSXCrashReporterInfoTests, TheBufferGrowsOnlyForWhatIsLongerThanItsCapacity) {
  const std::size_t length = publishLongestYet();
  const char* buffer = __crashreporter_info__;
  EXPECT_EQ(published().size(), length);

  OSXCrashReporterInfoSet("short");
  EXPECT_EQ(__crashreporter_info__, buffer);

  const std::string asLongAsCapacity(length + 1, 'y');
  OSXCrashReporterInfoSet(asLongAsCapacity.c_str());
  EXPECT_EQ(__crashreporter_info__, buffer);
  EXPECT_EQ(published(), asLongAsCapacity);

  const std::string longer(length + 2, 'z');
  OSXCrashReporterInfoSet(longer.c_str());
  EXPECT_NE(__crashreporter_info__, buffer);
  EXPECT_EQ(published(), longer);
}

// Shows: OSXCrashReporterInfoSet
TEST_F(OSXCrashReporterInfoTests, AShorterTextIsEndedWithinALongerOne) {
  for (std::size_t length = publishLongestYet(); length > 0; --length) {
    const std::string text(length, 'a');
    OSXCrashReporterInfoSet(text.c_str());
    ASSERT_EQ(published(), text);
  }
}

// Shows: OSXCrashReporterInfoSet
TEST_F(OSXCrashReporterInfoTests, APartOfTheTextCanTakeItsPlace) {
  OSXCrashReporterInfoSet("importing: page 17 of the second book");
  OSXCrashReporterInfoSet(__crashreporter_info__ + 11);
  EXPECT_EQ(published(), "page 17 of the second book");
}

// Shows: OSXCrashReporterInfoSet, OSXCrashReporterInfoClear
TEST_F(OSXCrashReporterInfoTests, WithoutMemoryThereIsNoTextUntilTheNextOne) {
  OSXCrashReporterInfoSet("abc");
  OSXCrashReporterInfoSet("abc", std::numeric_limits<NSUInteger>::max());
  EXPECT_EQ(published(), "none");
  OSXCrashReporterInfoClear();
  EXPECT_EQ(published(), "none");
  OSXCrashReporterInfoSet("def");
  EXPECT_EQ(published(), "def");
}

// Shows: OSXCrashReporterInfoInitialize
TEST_F(OSXCrashReporterInfoTests, InitializingAgainChangesNothing) {
  OSXCrashReporterInfoSet("abc");
  OSXCrashReporterInfoInitialize();
  EXPECT_EQ(published(), "abc");
}

// Shows: OSXCrashReporterInfoSet, OSXCrashReporterInfoClear
TEST_F(OSXCrashReporterInfoTests, ManyThreadsLeaveOneOfTheirTexts) {
  Threads threads;
  threads.start(8, [](int number) {
    for (std::size_t length = 1; length < 500; ++length) {
      OSXCrashReporterInfoSet(std::string(length, static_cast<char>('a' + number)).c_str());
      if (length % 50 == 0) {
        OSXCrashReporterInfoClear();
      }
    }
  });
  threads.join();
  EXPECT_EQ(published(), std::string(499, published()[0]));
}

// Shows: OSXCrashReporterInfoInitialize, OSXCrashReporterInfoClear, OSXCrashReporterInfoSet, __crashreporter_info__
TEST(OSXCrashReporterInfoDeathTests, ThereIsNoTextUntilOneWasSet) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";  // a process of its own
  const auto isThereAText = [] {
    OSXCrashReporterInfoInitialize();
    OSXCrashReporterInfoClear();
    OSXCrashReporterInfoSet("", 0);
    return __crashreporter_info__ != nullptr;
  };
  EXPECT_EXIT(std::exit(isThereAText() ? 1 : 0), ::testing::ExitedWithCode(0), "");
}

// Shows: OSXCrashReporterInfoInitialize, OSXCrashReporterInfoSet, OSXCrashReporterInfoClear
TEST(OSXCrashReporterInfoDeathTests, TheTextMustBeInitializedFirst) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";  // a process of its own
  EXPECT_DEATH(OSXCrashReporterInfoSet("abc"), "OSXCrashReporterInfoInitialize was called");
  EXPECT_DEATH(OSXCrashReporterInfoClear(), "OSXCrashReporterInfoInitialize was called");
}

}  // namespace
}  // namespace kestova::testing
