// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSErrorAdditions.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

Ref<NSError> errorWith(const Ref<NSDictionary>& userInfo) {
  return NSError::errorWithDomain_code_userInfo("domain", 7, userInfo);
}

// Shows: errorByAppendingUserInfo
TEST(NSErrorAdditionsTests, AppendedEntriesWin) {
  const auto error = errorWith(NSDictionary::of({{"a", 1}, {"b", 2}}));
  const auto result = errorByAppendingUserInfo(error, NSDictionary::of({{"b", 3}, {"c", 4}}));
  EXPECT_TRUE(result->isEqual(errorWith(NSDictionary::of({{"a", 1}, {"b", 3}, {"c", 4}}))));
  EXPECT_TRUE(error->isEqual(errorWith(NSDictionary::of({{"a", 1}, {"b", 2}}))));
}

// Shows: errorByAppendingUserInfo
TEST(NSErrorAdditionsTests, ANullUserInfoAppendsNothing) {
  const auto error = errorWith(NSDictionary::of({{"a", 1}}));
  EXPECT_TRUE(errorByAppendingUserInfo(error, nullptr)->isEqual(error));
}

// Shows: localizedDescriptionFailureReasonAndSuggestion
TEST(NSErrorAdditionsTests, TheTextsStandInOrderWithABlankBetween) {
  EXPECT_EQ(localizedDescriptionFailureReasonAndSuggestion(
                errorWith(NSDictionary::of({{NSLocalizedRecoverySuggestionErrorKey, "S."},
                                            {NSLocalizedFailureReasonErrorKey, "R."},
                                            {NSLocalizedDescriptionKey, "D."}}))),
            "D. R. S.");
}

// Shows: localizedDescriptionFailureReasonAndSuggestion
TEST(NSErrorAdditionsTests, AMissingTextLeavesNoBlank) {
  EXPECT_EQ(localizedDescriptionFailureReasonAndSuggestion(
                errorWith(NSDictionary::of({{NSLocalizedFailureReasonErrorKey, "R."}}))),
            "R.");
  EXPECT_EQ(
      localizedDescriptionFailureReasonAndSuggestion(errorWith(NSDictionary::of(
          {{NSLocalizedRecoverySuggestionErrorKey, "S."}, {NSLocalizedDescriptionKey, "D."}}))),
      "D. S.");
}

// Shows: localizedDescriptionFailureReasonAndSuggestion
TEST(NSErrorAdditionsTests, WithoutTextsTheAnswerIsEmpty) {
  EXPECT_EQ(localizedDescriptionFailureReasonAndSuggestion(errorWith(nullptr)), "");
}

}  // namespace
}  // namespace kestova
