// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/MacErrors.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

namespace kestova {
namespace {

TEST(MacErrorsTests, StatusesHaveTheirNameAndComment) {
  EXPECT_STREQ(GetMacOSStatusErrorString(-43), "fnfErr");
  EXPECT_STREQ(GetMacOSStatusCommentString(-43), "File not found");
  EXPECT_STREQ(GetMacOSStatusErrorString(-48), "dupFNErr");
  EXPECT_STREQ(GetMacOSStatusErrorString(-34), "dskFulErr");
  EXPECT_STREQ(GetMacOSStatusErrorString(-5000), "afpAccessDenied");
  EXPECT_STREQ(GetMacOSStatusErrorString(-60005), "errAuthorizationDenied");
  EXPECT_STREQ(GetMacOSStatusErrorString(-60031), "errAuthorizationToolExecuteFailure");
}

TEST(MacErrorsTests, UnknownStatusesHaveNeither) {
  for (const OSStatus status :
       {0, 1, -1, 99999, 100000, 100255, 100256, std::numeric_limits<OSStatus>::max(),
        std::numeric_limits<OSStatus>::min()}) {
    EXPECT_STREQ(GetMacOSStatusErrorString(status), "") << status;
    EXPECT_STREQ(GetMacOSStatusCommentString(status), "") << status;
  }
}

TEST(MacErrorsTests, SystemErrorNumbersHaveTheirs) {
  EXPECT_STREQ(GetMacOSStatusErrorString(kPOSIXErrorBase + ENODEV), "kPOSIXErrorENODEV");
  EXPECT_STREQ(GetMacOSStatusCommentString(kPOSIXErrorBase + ENODEV), "No such device");
}

TEST(MacErrorsTests, EveryNamedStatusHasAComment) {
  for (OSStatus status = -61000; status < 0; ++status) {
    EXPECT_EQ(*GetMacOSStatusErrorString(status) == '\0',
              *GetMacOSStatusCommentString(status) == '\0')
        << status;
  }
}

}  // namespace
}  // namespace kestova
