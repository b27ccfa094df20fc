// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSFileHandle.h>
#include <KestovaPlatform/NSPipe.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "Bytes.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::textOf;

bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }

TEST(NSFileHandleTests, WhatIsThereIsReadAndThenTheEnd) {
  const auto pipe = NSPipe::pipe();
  const int writing = pipe->fileHandleForWriting()->fileDescriptor();
  ASSERT_EQ(::write(writing, "one", 3), 3);
  EXPECT_EQ(textOf(pipe->fileHandleForReading()->availableData()), "one");
  ASSERT_EQ(::write(writing, "two", 3), 3);
  pipe->fileHandleForWriting()->closeFile();
  EXPECT_EQ(textOf(pipe->fileHandleForReading()->availableData()), "two");
  EXPECT_EQ(textOf(pipe->fileHandleForReading()->availableData()), "");
}

TEST(NSFileHandleTests, AFileIsReadFromWhereItStandsToItsEnd) {
  const testing::TemporaryFolder folder;
  const std::string text(200000, 'x');
  const int file = ::open(folder.write("file", "12345" + text).c_str(), O_RDONLY);
  const auto handle = NSFileHandle::initWithFileDescriptor_closeOnDealloc(file, true);
  ASSERT_EQ(::lseek(file, 5, SEEK_SET), 5);
  EXPECT_EQ(textOf(handle->readDataToEndOfFile()), text);
  EXPECT_EQ(textOf(handle->readDataToEndOfFile()), "");
}

TEST(NSFileHandleTests, WhatCannotBeReadGivesNothing) {
  const auto handle = NSFileHandle::initWithFileDescriptor_closeOnDealloc(-1, true);
  EXPECT_EQ(handle->availableData(), nullptr);
  EXPECT_EQ(handle->readDataToEndOfFile(), nullptr);
  const testing::TemporaryFolder folder;
  const auto directory = NSFileHandle::initWithFileDescriptor_closeOnDealloc(
      ::open(folder.path().c_str(), O_RDONLY), true);
  EXPECT_EQ(directory->availableData(), nullptr);
}

TEST(NSFileHandleTests, AHandleClosesItsOwnDescriptorAndNoOther) {
  const int own = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int other = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  static_cast<void>(NSFileHandle::initWithFileDescriptor_closeOnDealloc(own, true));
  static_cast<void>(NSFileHandle::initWithFileDescriptor_closeOnDealloc(other, false));
  EXPECT_FALSE(isOpen(own));
  EXPECT_TRUE(isOpen(other));
  const auto handle = NSFileHandle::initWithFileDescriptor_closeOnDealloc(other, false);
  handle->closeFile();
  EXPECT_FALSE(isOpen(other));
  EXPECT_EQ(handle->fileDescriptor(), -1);
  handle->closeFile();
}

TEST(NSFileHandleTests, TheNullDeviceHasNothingToRead) {
  EXPECT_EQ(textOf(NSFileHandle::fileHandleWithNullDevice()->availableData()), "");
}

}  // namespace
}  // namespace kestova
