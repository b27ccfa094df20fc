// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

namespace kestova {
namespace {

using testing::expectException;

TEST(NSErrorTests, HoldsDomainCodeAndACopyOfItsUserInfo) {
  const auto userInfo = NSMutableDictionary::dictionary();
  userInfo->setObject_forKey(1, "a");
  const auto error = NSError::errorWithDomain_code_userInfo("domain", -5, userInfo);
  userInfo->removeAllObjects();
  EXPECT_EQ(error->domain(), "domain");
  EXPECT_EQ(error->code(), -5);
  EXPECT_EQ(error->userInfo()->count(), 1U);
}

TEST(NSErrorTests, NeedsADomainButNoUserInfo) {
  EXPECT_EQ(NSError::errorWithDomain_code_userInfo("d", 1, nullptr)->userInfo()->count(), 0U);
  expectException(NSInvalidArgumentException,
                  [] { (void)NSError::errorWithDomain_code_userInfo(nullptr, 1, nullptr); });
}

TEST(NSErrorTests, ItsTextsComeFromTheUserInfo) {
  const auto error = NSError::errorWithDomain_code_userInfo(
      "d", 1,
      NSDictionary::of({{NSLocalizedDescriptionKey, "D"},
                        {NSLocalizedFailureReasonErrorKey, "R"},
                        {NSLocalizedRecoverySuggestionErrorKey, "S"},
                        {NSLocalizedRecoveryOptionsErrorKey, NSArray::of("O")},
                        {NSHelpAnchorErrorKey, "H"},
                        {NSRecoveryAttempterErrorKey, "A"}}));
  EXPECT_EQ(error->localizedDescription(), "D");
  EXPECT_EQ(error->localizedFailureReason(), "R");
  EXPECT_EQ(error->localizedRecoverySuggestion(), "S");
  EXPECT_TRUE(error->localizedRecoveryOptions()->isEqual(NSArray::of("O")));
  EXPECT_EQ(error->helpAnchor(), "H");
  EXPECT_TRUE(error->recoveryAttempter()->isEqual("A"));
}

TEST(NSErrorTests, WithoutTextsOnlyTheDescriptionIsMade) {
  const auto error = NSError::errorWithDomain_code_userInfo("d", 3, nullptr);
  EXPECT_EQ(error->localizedDescription(), "The operation could not be completed (d, code 3).");
  EXPECT_EQ(error->localizedFailureReason(), nullptr);
  EXPECT_EQ(error->localizedRecoverySuggestion(), nullptr);
  EXPECT_EQ(error->localizedRecoveryOptions(), nullptr);
  EXPECT_EQ(error->helpAnchor(), nullptr);
  EXPECT_EQ(error->recoveryAttempter(), nullptr);
}

TEST(NSErrorTests, EqualityIsByValue) {
  const auto make = [](const char* domain, NSInteger code, int value) {
    return NSError::errorWithDomain_code_userInfo(domain, code, NSDictionary::of({{"k", value}}));
  };
  EXPECT_TRUE(make("d", 1, 2)->isEqual(make("d", 1, 2)));
  EXPECT_EQ(make("d", 1, 2)->hash(), make("d", 1, 2)->hash());
  EXPECT_FALSE(make("d", 1, 2)->isEqual(make("e", 1, 2)));
  EXPECT_FALSE(make("d", 1, 2)->isEqual(make("d", 2, 2)));
  EXPECT_FALSE(make("d", 1, 2)->isEqual(make("d", 1, 3)));
  EXPECT_FALSE(make("d", 1, 2)->isEqual("d"));
}

TEST(NSExceptionTests, TellsNameAndReason) {
  const NSException exception(NSRangeException, "too far", NSDictionary::of({{"at", 9}}));
  EXPECT_EQ(exception.name(), NSRangeException);
  EXPECT_EQ(exception.reason(), "too far");
  EXPECT_TRUE(exception.userInfo()->objectForKey("at")->isEqual(9));
  EXPECT_STREQ(exception.what(), "NSRangeException: too far");
}

TEST(NSExceptionTests, IsAStandardException) {
  try {
    throw NSException(NSGenericException, nullptr);
  } catch (const std::exception& exception) {
    EXPECT_STREQ(exception.what(), "NSGenericException");
  }
}

TEST(ContractDeathTest, ABrokenContractNamesOperationUnitAndMessage) {
  EXPECT_DEATH(require(false, "a != b"),
               "Assertion failure in .*TestBody.*, NSErrorTests:[0-9]+: a != b");
}

TEST(ContractTests, AKeptContractPasses) { require(true, "never printed"); }

}  // namespace
}  // namespace kestova
