// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVNSErrorBuilder.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNumber.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "Stress.h"

namespace kestova {

/// A status whose comment is a sentence already. No table has such a comment, so it is put before
/// the platform's own, which answers for all others.
constexpr OSStatus kStatusWithASentence = -59'999;

const char* GetMacOSStatusCommentString(OSStatus status) {
  using Lookup = const char* (*)(OSStatus);
  static const auto platformComment =
      reinterpret_cast<Lookup>(::dlsym(RTLD_NEXT, "_ZN7kestova27GetMacOSStatusCommentStringEi"));
  return status == kStatusWithASentence ? "It is over." : platformComment(status);
}

namespace {

class ShoutingBuilder : public OVNSErrorBuilder {
 public:
  ShoutingBuilder() { setLocalizedDescription("UNKNOWN!"); }
};

/// A user info with something under each key that a property fills.
Ref<NSDictionary> entryForEveryProperty() {
  return NSDictionary::of({{NSLocalizedDescriptionKey, "a"},
                           {NSLocalizedFailureReasonErrorKey, "b"},
                           {NSLocalizedRecoverySuggestionErrorKey, "c"},
                           {NSLocalizedRecoveryOptionsErrorKey, NSArray::of("d")},
                           {NSRecoveryAttempterErrorKey, "e"},
                           {NSUnderlyingErrorKey, OVMakeErrorWithPOSIXError(EPERM)},
                           {NSHelpAnchorErrorKey, "f"},
                           {NSURLErrorKey, NSURL::URLWithString("https://example.org/g")},
                           {NSFilePathErrorKey, "/h"}});
}

Ref<NSString> text(const Ref<NSError>& error, const StringConstant& key) {
  return cast<NSString>(error->userInfo()->objectForKey(key));
}

// Shows: error, errorBuilder
TEST(OVNSErrorBuilderTests, AnUntouchedBuilderMakesAnUnknownError) {
  const auto error = OVNSErrorBuilder::errorBuilder()->error();
  EXPECT_EQ(error->domain(), "NSCocoaErrorDomain");
  EXPECT_EQ(error->code(), 0);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(text(error, NSLocalizedDescriptionKey), "Unknown error.");
}

// Shows: init, domain, code, userInfo, localizedDescription, localizedFailureReason, localizedRecoverySuggestion, localizedRecoveryOptions, recoveryAttempter, underlyingError, helpAnchor, URL, filePath
TEST(OVNSErrorBuilderTests, ANewBuilderHasADomainADescriptionAndNothingElse) {
  const auto builder = OVNSErrorBuilder::init();
  EXPECT_EQ(builder->domain(), "NSCocoaErrorDomain");
  EXPECT_EQ(builder->code(), 0);
  EXPECT_EQ(builder->userInfo()->count(), 0U);
  EXPECT_EQ(builder->localizedDescription(), "Unknown error.");
  EXPECT_EQ(builder->localizedFailureReason(), nullptr);
  EXPECT_EQ(builder->localizedRecoverySuggestion(), nullptr);
  EXPECT_EQ(builder->localizedRecoveryOptions(), nullptr);
  EXPECT_EQ(builder->recoveryAttempter(), nullptr);
  EXPECT_EQ(builder->underlyingError(), nullptr);
  EXPECT_EQ(builder->helpAnchor(), nullptr);
  EXPECT_EQ(builder->URL(), nullptr);
  EXPECT_EQ(builder->filePath(), nullptr);
}

// Shows: error, setLocalizedDescription, setUserInfo
TEST(OVNSErrorBuilderTests, ADescriptionWinsOverTheUserInfoUnlessItIsNothing) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->setUserInfo(NSDictionary::of({{NSLocalizedDescriptionKey, "A"}}));
  builder->setLocalizedDescription("B");
  EXPECT_EQ(text(builder->error(), NSLocalizedDescriptionKey), "B");
  builder->setLocalizedDescription(nullptr);
  EXPECT_EQ(text(builder->error(), NSLocalizedDescriptionKey), "A");
}

// Shows: setLocalizedDescription, error
TEST(OVNSErrorBuilderTests, WithoutADescriptionTheErrorHasNone) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->setLocalizedDescription(nullptr);
  EXPECT_EQ(builder->error()->userInfo()->count(), 0U);
}

// Shows: setUserInfo, userInfo, error, appendUserInfo
TEST(OVNSErrorBuilderTests, TheUserInfoMayBeNothing) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->setUserInfo(nullptr);
  EXPECT_EQ(builder->userInfo(), nullptr);
  EXPECT_EQ(builder->error()->userInfo()->count(), 1U);
  builder->appendUserInfo(nullptr);
  EXPECT_EQ(builder->userInfo()->count(), 0U);
}

// Shows: appendUserInfo
TEST(OVNSErrorBuilderTests, TheLastAppendedValueOfAKeyIsKept) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->appendUserInfo(NSDictionary::of({{"key", 1}, {"other", 3}}));
  builder->appendUserInfo(NSDictionary::of({{"key", 2}}));
  builder->appendUserInfo(nullptr);
  EXPECT_EQ(builder->userInfo()->count(), 2U);
  EXPECT_TRUE(builder->userInfo()->objectForKey("key")->isEqual(2));
  EXPECT_TRUE(builder->userInfo()->objectForKey("other")->isEqual(3));
}

// Shows: error, setDomain, setCode, setLocalizedDescription, setLocalizedFailureReason, setLocalizedRecoverySuggestion, setLocalizedRecoveryOptions, setRecoveryAttempter, setUnderlyingError, setHelpAnchor, setURL, setFilePath
TEST(OVNSErrorBuilderTests, EveryPropertyFillsItsKeyWhateverTheUserInfoHasThere) {
  const auto underlying = OVMakeErrorWithPOSIXError(ENOENT);
  const auto attempter = NSMutableDictionary::dictionary();
  const auto error = OVMakeError([&](const Ref<OVNSErrorBuilder>& builder) {
    builder->setUserInfo(entryForEveryProperty());
    builder->setDomain("domain");
    builder->setCode(-17);
    builder->setLocalizedDescription("description");
    builder->setLocalizedFailureReason("reason");
    builder->setLocalizedRecoverySuggestion("suggestion");
    builder->setLocalizedRecoveryOptions(NSArray::of("Retry", "Cancel"));
    builder->setRecoveryAttempter(attempter);
    builder->setUnderlyingError(underlying);
    builder->setHelpAnchor("anchor");
    builder->setURL(NSURL::URLWithString("https://example.org/"));
    builder->setFilePath("/tmp/a");
  });
  EXPECT_EQ(error->domain(), "domain");
  EXPECT_EQ(error->code(), -17);
  EXPECT_EQ(error->userInfo()->count(), 9U);
  EXPECT_EQ(text(error, NSLocalizedDescriptionKey), "description");
  EXPECT_EQ(text(error, NSLocalizedFailureReasonErrorKey), "reason");
  EXPECT_EQ(text(error, NSLocalizedRecoverySuggestionErrorKey), "suggestion");
  EXPECT_TRUE(error->userInfo()
                  ->objectForKey(NSLocalizedRecoveryOptionsErrorKey)
                  ->isEqual(NSArray::of("Retry", "Cancel")));
  EXPECT_EQ(error->userInfo()->objectForKey(NSRecoveryAttempterErrorKey), attempter);
  EXPECT_TRUE(error->userInfo()->objectForKey(NSUnderlyingErrorKey)->isEqual(underlying));
  EXPECT_EQ(text(error, NSHelpAnchorErrorKey), "anchor");
  EXPECT_TRUE(error->userInfo()
                  ->objectForKey(NSURLErrorKey)
                  ->isEqual(NSURL::URLWithString("https://example.org/")));
  EXPECT_EQ(text(error, NSFilePathErrorKey), "/tmp/a");
}

// Shows: error, setUserInfo
TEST(OVNSErrorBuilderTests, PropertiesThatAreNothingLeaveTheUserInfoAsItIs) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->setUserInfo(entryForEveryProperty());
  builder->setLocalizedDescription(nullptr);
  EXPECT_TRUE(builder->error()->userInfo()->isEqual(entryForEveryProperty()));
}

// Shows: setRecoveryAttempter, recoveryAttempter
TEST(OVNSErrorBuilderTests, TheRecoveryAttempterIsSharedAndNotCopied) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  const id attempter = NSMutableDictionary::dictionary();
  builder->setRecoveryAttempter(attempter);
  EXPECT_EQ(builder->recoveryAttempter(), attempter);
}

// Shows: setUnderlyingError, underlyingError, setURL, URL, setCode, code
TEST(OVNSErrorBuilderTests, CodeErrorAndURLAreAnsweredAsTheyWereSet) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->setCode(-9'000'000'000);
  builder->setUnderlyingError(OVMakeErrorWithPOSIXError(ENOENT));
  builder->setURL(NSURL::URLWithString("https://example.org/"));
  EXPECT_EQ(builder->code(), -9'000'000'000);
  EXPECT_TRUE(builder->underlyingError()->isEqual(OVMakeErrorWithPOSIXError(ENOENT)));
  EXPECT_TRUE(builder->URL()->isEqual(NSURL::URLWithString("https://example.org/")));
}

// Shows: setDomain, domain, setLocalizedDescription, localizedDescription, setLocalizedFailureReason, localizedFailureReason, setLocalizedRecoverySuggestion, localizedRecoverySuggestion, setHelpAnchor, helpAnchor, setFilePath, filePath
TEST(OVNSErrorBuilderTests, EveryTextIsKeptAsACopy) {
  struct Text {
    void (OVNSErrorBuilder::*set)(const Ref<NSString>&);
    Ref<NSString> (OVNSErrorBuilder::*get)() const;
  };
  for (const Text& property :
       {Text{&OVNSErrorBuilder::setDomain, &OVNSErrorBuilder::domain},
        Text{&OVNSErrorBuilder::setLocalizedDescription, &OVNSErrorBuilder::localizedDescription},
        Text{&OVNSErrorBuilder::setLocalizedFailureReason,
             &OVNSErrorBuilder::localizedFailureReason},
        Text{&OVNSErrorBuilder::setLocalizedRecoverySuggestion,
             &OVNSErrorBuilder::localizedRecoverySuggestion},
        Text{&OVNSErrorBuilder::setHelpAnchor, &OVNSErrorBuilder::helpAnchor},
        Text{&OVNSErrorBuilder::setFilePath, &OVNSErrorBuilder::filePath}}) {
    const auto builder = OVNSErrorBuilder::errorBuilder();
    const auto text = NSMutableString::stringWithString("before");
    (builder.get()->*property.set)(text);
    text->appendString(" after");
    EXPECT_EQ((builder.get()->*property.get)(), "before");
  }
}

// Shows: setLocalizedFailureReason, setLocalizedRecoveryOptions, setUserInfo
TEST(OVNSErrorBuilderTests, StringsArraysAndDictionariesAreKeptAsCopies) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  const auto reason = NSMutableString::stringWithString("before");
  const auto options = NSMutableArray::array();
  const auto userInfo = NSMutableDictionary::dictionary();
  builder->setLocalizedFailureReason(reason);
  builder->setLocalizedRecoveryOptions(options);
  builder->setUserInfo(userInfo);
  reason->appendString(" after");
  options->addObject("late");
  userInfo->setObject_forKey("late", "late");
  EXPECT_EQ(builder->localizedFailureReason(), "before");
  EXPECT_EQ(builder->localizedRecoveryOptions()->count(), 0U);
  EXPECT_EQ(builder->userInfo()->count(), 0U);
}

// Shows: setLocalizedFailureReason, localizedFailureReason
TEST(OVNSErrorBuilderTests, ReadersSeeWholeValuesWhileOthersWrite) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  builder->setLocalizedFailureReason("one reason");
  testing::Threads threads;
  threads.start(2, [&](int number) {
    for (int turn = 0; turn < 1000; ++turn) {
      builder->setLocalizedFailureReason(number == 0 ? "one reason" : "another one");
    }
  });
  threads.start(2, [&](int) {
    for (int turn = 0; turn < 1000; ++turn) {
      const std::string reason = builder->localizedFailureReason()->displayUTF8();
      EXPECT_TRUE(reason == "one reason" || reason == "another one") << reason;
    }
  });
  threads.join();
}

// Shows: error
TEST(OVNSErrorBuilderTests, EveryReadingMakesAnIndependentError) {
  const auto builder = OVNSErrorBuilder::errorBuilder();
  const auto first = builder->error();
  builder->setCode(2);
  const auto second = builder->error();
  EXPECT_NE(first, second);
  EXPECT_EQ(first->code(), 0);
  EXPECT_EQ(second->code(), 2);
}

// Shows: errorBuilder
TEST(OVNSErrorBuilderTests, AnErrorBuilderIsMadeThroughTheClassThatIsAsked) {
  const auto builder = OVNSErrorBuilder::errorBuilder<ShoutingBuilder>();
  EXPECT_EQ(builder->localizedDescription(), "UNKNOWN!");
}

// Shows: buildError
TEST(OVNSErrorBuilderTests, TheBlockIsCalledOnceWithADefaultBuilder) {
  int calls = 0;
  const auto error = ShoutingBuilder::buildError([&](const Ref<OVNSErrorBuilder>& builder) {
    ++calls;
    EXPECT_EQ(builder->localizedDescription(), "Unknown error.");
  });
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(error->localizedDescription(), "Unknown error.");
}

// Shows: OVMakeError
TEST(OVNSErrorBuilderDeathTest, AMissingBlockEndsTheProcess) {
  EXPECT_DEATH((void)OVMakeError(nullptr), "");
}

// Shows: OVNSErrorBuilder
TEST(OVNSErrorBuilderTests, ItsPropertiesAreDescribedInOrder) {
  std::vector<std::string> names;
  for (const Property& property : OVNSErrorBuilder::staticClass().properties()) {
    names.emplace_back(property.name);
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{
                "domain", "code", "userInfo", "localizedDescription", "localizedFailureReason",
                "localizedRecoverySuggestion", "localizedRecoveryOptions", "recoveryAttempter",
                "underlyingError", "helpAnchor", "URL", "filePath", "error"}));
}

// Shows: OVNSErrorBuilder
TEST(OVNSErrorBuilderTests, PropertiesAreReachedByName) {
  const auto builder = cast<OVNSErrorBuilder>(Class::named("OVNSErrorBuilder")->make());
  builder->setValue_forKey(5, "code");
  builder->setValue_forKey("why", "localizedFailureReason");
  EXPECT_EQ(builder->code(), 5);
  EXPECT_EQ(builder->localizedFailureReason(), "why");
  EXPECT_TRUE(builder->valueForKey("code")->isEqual(5));
}

// Shows: OVMakeErrorWithPOSIXError
TEST(OVMakeErrorWithPOSIXErrorTests, AnErrorHasTheNumberAndTheTextOfTheLibrary) {
  const auto error = OVMakeErrorWithPOSIXError(2);
  EXPECT_EQ(error->domain(), "NSPOSIXErrorDomain");
  EXPECT_EQ(error->code(), 2);
  EXPECT_EQ(error->userInfo()->count(), 2U);
  EXPECT_EQ(error->localizedDescription(), "An error occurred.");
  EXPECT_EQ(error->localizedFailureReason(), "Error (2) No such file or directory");
}

// Shows: OVMakeErrorWithPOSIXError
TEST(OVMakeErrorWithPOSIXErrorTests, ZeroAndNegativeNumbersAreNotSpecial) {
  EXPECT_EQ(OVMakeErrorWithPOSIXError(0)->code(), 0);
  EXPECT_EQ(OVMakeErrorWithPOSIXError(0)->localizedFailureReason(), "Error (0) Success");
  EXPECT_EQ(OVMakeErrorWithPOSIXError(-1)->code(), -1);
  EXPECT_EQ(OVMakeErrorWithPOSIXError(-1)->localizedFailureReason(), "Error (-1) Unknown error -1");
}

// Shows: OVMakeStandardMacErrorString
TEST(OVMakeStandardMacErrorStringTests, AStatusIsToldWithItsNameAndComment) {
  EXPECT_EQ(OVMakeStandardMacErrorString("Copy", fnfErr),
            "Copy failed with error code -43 (fnfErr). File not found.");
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, fnfErr),
            "Error code -43 (fnfErr). File not found.");
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, kPOSIXErrorBase + ENODEV),
            "Error code 100019 (kPOSIXErrorENODEV). No such device.");
}

// Shows: OVMakeStandardMacErrorString
TEST(OVMakeStandardMacErrorStringTests, ANamelessStatusShowsItsFourASCIICharacters) {
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, 0x666D743F), "Error code 1718449215 ('fmt?').");
  EXPECT_EQ(OVMakeStandardMacErrorString("Open", 0x666D743F),
            "Open failed with error code 1718449215 ('fmt?').");
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, 0x01020304), "Error code 16909060 ('\1\2\3\4').");
}

// Shows: OVMakeStandardMacErrorString
TEST(OVMakeStandardMacErrorStringTests, AnUnknownStatusEndsAfterTheNumber) {
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, 1), "Error code 1.");    // zero bytes
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, -7), "Error code -7.");  // no ASCII
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, 0x66006D74), "Error code 1711304052.");
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, 0), "Error code 0.");
}

// Shows: OVMakeStandardMacErrorString
TEST(OVMakeStandardMacErrorStringTests, ACommentThatEndsInAFullStopGetsNoSecondOne) {
  EXPECT_EQ(OVMakeStandardMacErrorString(nullptr, kStatusWithASentence),
            "Error code -59999. It is over.");
  EXPECT_EQ(OVMakeStandardMacErrorString("Copy", kStatusWithASentence),
            "Copy failed with error code -59999. It is over.");
}

// Shows: OVMakeStandardMacErrorString
TEST(OVMakeStandardMacErrorStringTests, ACommentEndsInOneFullStop) {
  for (OSStatus status = -60040; status <= 0; ++status) {
    const std::string text = OVMakeStandardMacErrorString(nullptr, status)->displayUTF8();
    EXPECT_TRUE(text.ends_with('.')) << text;
    EXPECT_FALSE(text.ends_with("..")) << text;
  }
}

// Shows: OVWrapErrorWithDescription
TEST(OVWrapErrorWithDescriptionTests, WithoutAnErrorTheMainBundleIsTheDomain) {
  const auto error = OVWrapErrorWithDescription(nullptr, "It failed.");
  EXPECT_EQ(error->domain(), NSBundle::mainBundle()->bundleIdentifier()->displayUTF8());
  EXPECT_EQ(error->code(), 0);
  EXPECT_EQ(error->userInfo()->count(), 1U);
  EXPECT_EQ(error->localizedDescription(), "It failed.");
}

// Shows: OVWrapErrorWithDescription
TEST(OVWrapErrorWithDescriptionTests, AnErrorWithoutASuggestionYieldsThreeEntries) {
  const auto inner = OVMakeErrorWithPOSIXError(2);
  const auto error = OVWrapErrorWithDescription(inner, "It failed.");
  EXPECT_EQ(error->domain(), "NSPOSIXErrorDomain");
  EXPECT_EQ(error->code(), 2);
  EXPECT_EQ(error->userInfo()->count(), 3U);
  EXPECT_EQ(error->localizedDescription(), "It failed.");
  EXPECT_EQ(error->localizedFailureReason(),
            "An error occurred. Error (2) No such file or directory");
  EXPECT_EQ(error->userInfo()->objectForKey(NSUnderlyingErrorKey), inner);
}

// Shows: OVWrapErrorWithDescription
TEST(OVWrapErrorWithDescriptionTests, AnErrorWithASuggestionYieldsFourEntries) {
  const auto inner = OVMakeError([](const Ref<OVNSErrorBuilder>& builder) {
    builder->setLocalizedDescription("D");
    builder->setLocalizedRecoverySuggestion("S");
    builder->setFilePath("/not/carried/over");
  });
  const auto error = OVWrapErrorWithDescription(inner, "It failed.");
  EXPECT_EQ(error->userInfo()->count(), 4U);
  EXPECT_EQ(error->localizedFailureReason(), "D");
  EXPECT_EQ(error->localizedRecoverySuggestion(), "S");
}

}  // namespace
}  // namespace kestova
