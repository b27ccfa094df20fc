// SPDX-License-Identifier: Apache-2.0
#include "files/StatusForErrno.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace kestova {
namespace {

TEST(StatusForErrnoTest, SuccessIsNoError) { EXPECT_EQ(statusForErrno(0), noErr); }

TEST(StatusForErrnoTest, ErrorsOfTheSystemHaveTheirStatus) {
  const struct {
    int error;
    OSStatus status;
  } kRows[] = {
      {ENOENT, -43},   {ELOOP, -43},   {EEXIST, -48},  {EACCES, -5000}, {EPERM, -54},
      {ENOSPC, -34},   {EDQUOT, -34},  {EROFS, -44},   {EIO, -36},      {ENAMETOOLONG, -37},
      {ENOTDIR, -120}, {EMFILE, -42},  {ENFILE, -42},  {ENOMEM, -108},  {EBUSY, -47},
      {ETXTBSY, -47},  {EXDEV, -1303}, {EFBIG, -1309}, {EINVAL, -50},   {ECANCELED, -128},
  };
  for (const auto& row : kRows) EXPECT_EQ(statusForErrno(row.error), row.status) << row.error;
}

TEST(StatusForErrnoTest, OtherErrorsKeepTheirNumber) {
  EXPECT_EQ(statusForErrno(EMLINK), 100000 + EMLINK);
  EXPECT_EQ(statusForErrno(4095), 104095);
}

TEST(StatusForErrnoTest, AStatusGoesBackToTheErrorThatItStandsFor) {
  for (const int error : {ENOENT, EEXIST, EACCES, EPERM, ENOSPC, EROFS, ENAMETOOLONG, EMFILE,
                          ENOMEM, EBUSY, EFBIG, EINVAL, EIO, EMLINK}) {
    EXPECT_EQ(errnoForStatus(statusForErrno(error)), error);
  }
  EXPECT_EQ(errnoForStatus(dirNFErr), ENOENT);
  EXPECT_EQ(errnoForStatus(badMovErr), EINVAL);
  EXPECT_EQ(errnoForStatus(-12345), EIO);
}

}  // namespace
}  // namespace kestova
