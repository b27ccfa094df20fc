// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSURL.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"

#include <cerrno>

namespace kestova {
namespace {

using testing::expectException;
using testing::TemporaryFolder;
using testing::textOf;

Ref<NSData> dataOf(const std::string& bytes) {
  return NSData::dataWithBytes_length(bytes.data(), bytes.size());
}

class NSDataFilesTests : public ::testing::Test {
 protected:
  Ref<NSString> pathOf(const std::string& name) {
    return NSString::stringWithFileSystemRepresentation(folder_.at(name));
  }

  void expectError(NSInteger code, int number) {
    ASSERT_NE(error_, nullptr);
    EXPECT_EQ(error_->domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error_->code(), code);
    const auto underlying = cast<NSError>(error_->userInfo()->objectForKey(NSUnderlyingErrorKey));
    ASSERT_NE(underlying, nullptr);
    EXPECT_EQ(underlying->domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(underlying->code(), number);
    error_ = nullptr;
  }

  TemporaryFolder folder_;
  Ref<NSError> error_;
};

TEST_F(NSDataFilesTests, ReadsAWholeFile) {
  const std::string big(300000, 'x');
  for (const std::string& contents :
       {std::string(), std::string("abc"), std::string(65536, 'y'), big}) {
    folder_.write("file", contents);
    const auto data = NSData::dataWithContentsOfFile(pathOf("file"));
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(textOf(data), contents);
    EXPECT_EQ(cast<NSMutableData>(data), nullptr);
  }
}

TEST_F(NSDataFilesTests, ReadsFilesThatTellNoSize) {
  const auto data = NSData::dataWithContentsOfFile("/proc/self/status");
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(textOf(data).substr(0, 5), "Name:");
}

TEST_F(NSDataFilesTests, WhatCannotBeReadIsNothing) {
  EXPECT_EQ(NSData::dataWithContentsOfFile(pathOf("missing")), nullptr);
  EXPECT_EQ(NSData::dataWithContentsOfFile(pathOf(".")), nullptr);
  EXPECT_EQ(NSData::dataWithContentsOfFile(nullptr), nullptr);
  EXPECT_EQ(NSData::dataWithContentsOfFile(""), nullptr);
}

TEST_F(NSDataFilesTests, WritesAtOnceAndInPlace) {
  for (const bool atomically : {true, false}) {
    EXPECT_TRUE(dataOf("long contents")->writeToFile_atomically(pathOf("file"), atomically));
    EXPECT_EQ(folder_.read("file"), "long contents");
    EXPECT_TRUE(dataOf("short")->writeToFile_atomically(pathOf("file"), atomically));
    EXPECT_EQ(folder_.read("file"), "short");
    EXPECT_FALSE(dataOf("x")->writeToFile_atomically(pathOf("no/file"), atomically));
    EXPECT_FALSE(dataOf("x")->writeToFile_atomically(nullptr, atomically));
  }
}

TEST_F(NSDataFilesTests, WritesOnlyWhereThereIsNothingWhenAskedTo) {
  EXPECT_TRUE(dataOf("first")->writeToFile_options_error(pathOf("file"),
                                                         NSDataWritingWithoutOverwriting, &error_));
  EXPECT_EQ(error_, nullptr);
  EXPECT_FALSE(dataOf("second")->writeToFile_options_error(
      pathOf("file"), NSDataWritingWithoutOverwriting, &error_));
  expectError(NSFileWriteFileExistsError, EEXIST);
  EXPECT_EQ(folder_.read("file"), "first");
  EXPECT_TRUE(dataOf("third")->writeToFile_options_error(pathOf("file"), NSDataWritingAtomic));
  EXPECT_TRUE(dataOf("fourth")->writeToFile_options_error(pathOf("file"), 0));
  EXPECT_EQ(folder_.read("file"), "fourth");
  expectException(NSInvalidArgumentException, [&] {
    dataOf("")->writeToFile_options_error(pathOf("file"),
                                          NSDataWritingAtomic | NSDataWritingWithoutOverwriting);
  });
}

TEST_F(NSDataFilesTests, FailuresTellPathAndReason) {
  EXPECT_EQ(NSData::dataWithContentsOfFile_options_error(pathOf("missing"), 0, &error_), nullptr);
  EXPECT_TRUE(error_->userInfo()->objectForKey(NSFilePathErrorKey)->isEqual(pathOf("missing")));
  expectError(NSFileReadNoSuchFileError, ENOENT);
  EXPECT_EQ(NSData::dataWithContentsOfFile_options_error(nullptr, 0, &error_), nullptr);
  expectError(NSFileReadInvalidFileNameError, EILSEQ);
  EXPECT_FALSE(
      dataOf("x")->writeToFile_options_error(pathOf("no/file"), NSDataWritingAtomic, &error_));
  expectError(NSFileNoSuchFileError, ENOENT);
  EXPECT_FALSE(dataOf("x")->writeToFile_options_error("", 0, &error_));
  expectError(NSFileWriteInvalidFileNameError, EILSEQ);
}

TEST_F(NSDataFilesTests, ReadsAndWritesByURL) {
  const auto url = NSURL::fileURLWithPath(pathOf("fi le"));
  EXPECT_TRUE(dataOf("abc")->writeToURL_atomically(url, true));
  EXPECT_EQ(textOf(NSData::dataWithContentsOfURL(url)), "abc");
  for (const auto& other : {NSURL::URLWithString("http://host/a"), Ref<NSURL>()}) {
    EXPECT_EQ(NSData::dataWithContentsOfURL_options_error(other, 0, &error_), nullptr);
    EXPECT_EQ(error_->code(), NSFileReadUnsupportedSchemeError);
    EXPECT_TRUE(isEqualOrBothNull(error_->userInfo()->objectForKey(NSURLErrorKey), other));
    EXPECT_FALSE(dataOf("x")->writeToURL_options_error(other, 0, &error_));
    EXPECT_EQ(error_->code(), NSFileWriteUnsupportedSchemeError);
    EXPECT_FALSE(dataOf("x")->writeToURL_atomically(other, false));
  }
}

TEST_F(NSDataFilesTests, NamesThatAreNoUTF8AreReadAndWritten) {
  EXPECT_TRUE(dataOf("abc")->writeToFile_atomically(pathOf("\xE4\xFF"), true));
  EXPECT_EQ(folder_.read("\xE4\xFF"), "abc");
  EXPECT_EQ(textOf(NSData::dataWithContentsOfFile(pathOf("\xE4\xFF"))), "abc");
}

}  // namespace
}  // namespace kestova
