// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryFileStream.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <string>

namespace kestova {
namespace {

using testing::expectException;

class OVBinaryFileStreamTests : public ::testing::Test {
 protected:
  Ref<OVBinaryFileStream> streamFor(const std::string& path) {
    return OVBinaryFileStream::initWithFilePath(path);
  }
  Ref<OVBinaryFileStream> openedFor(const std::string& name, NSInteger options) {
    auto stream = streamFor(folder_.at(name));
    EXPECT_TRUE(stream->open_error(options)) << name;
    return stream;
  }
  Ref<OVBinaryFileStream> reading(const std::string& contents, NSInteger options = 0) {
    folder_.write("file", contents);
    return openedFor("file", OVBinaryStreamOpenForReading | options);
  }

  testing::TemporaryFolder folder_;
};

// Shows: open_error, lastErrorCode
TEST_F(OVBinaryFileStreamTests, OpeningAMissingFileFailsWithAnErrorThatNamesIt) {
  const auto stream = streamFor(folder_.at("missing"));
  Ref<NSError> error;
  EXPECT_FALSE(stream->open_error(OVBinaryStreamOpenForReading, &error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain(), "NSPOSIXErrorDomain");
  EXPECT_EQ(error->code(), ENOENT);
  EXPECT_EQ(error->userInfo()->count(), 2U);
  EXPECT_EQ(error->localizedDescription(), "Could not open file " + folder_.at("missing"));
  EXPECT_EQ(error->localizedFailureReason(), "OVBinaryStream: failed to open " +
                                                 folder_.at("missing") +
                                                 ". Error (2) No such file or directory");
  EXPECT_EQ(stream->lastErrorCode(), -1);
}

// Shows: open_error
TEST_F(OVBinaryFileStreamTests, OpeningFailsWithoutAnErrorPointerToo) {
  EXPECT_FALSE(streamFor(folder_.at("missing"))->open_error(OVBinaryStreamOpenForReading));
}

// Shows: open_error, length
TEST_F(OVBinaryFileStreamTests, ReadingAndWritingTogetherEmptiesAnExistingFile) {
  folder_.write("file", std::string(100, 'x'));
  const auto stream = openedFor("file", 6);
  EXPECT_EQ(stream->length(), 0U);
  stream->flush();
  EXPECT_EQ(folder_.read("file"), "");
  stream->writeUInt16(0x4142);
  stream->setPosition(0);
  EXPECT_EQ(stream->readUInt16(), 0x4142);
}

// Shows: open_error
TEST_F(OVBinaryFileStreamTests, NeitherReadingNorWritingIsAnInvalidArgument) {
  folder_.write("file", "x");
  Ref<NSError> error;
  EXPECT_FALSE(streamFor(folder_.at("file"))->open_error(0, &error));
  EXPECT_EQ(error->code(), EINVAL);
}

// Shows: open_error, OVBinaryStreamLittleEndianOption, OVBinaryStreamBigEndianOption
TEST_F(OVBinaryFileStreamTests, TheByteOrderComesFromTheOptions) {
  struct Row {
    NSInteger options;
    std::string bytes;
  };
  for (const Row& row : {Row{4, {"\1\0\0\0", 4}}, Row{4 | 16, {"\0\0\0\1", 4}},
                         Row{4 | 8, {"\1\0\0\0", 4}}, Row{4 | 8 | 16, {"\1\0\0\0", 4}}}) {
    const auto stream = openedFor("file", row.options);
    stream->writeUInt32(1);
    stream->close();
    EXPECT_EQ(folder_.read("file"), row.bytes) << "options " << row.options;
  }
}

// Shows: open_error, isLittleEndian
TEST_F(OVBinaryFileStreamTests, AFailedOpenChoosesTheByteOrderAllTheSame) {
  const auto stream = streamFor(folder_.at("missing"));
  EXPECT_FALSE(stream->isLittleEndian());
  EXPECT_FALSE(stream->open_error(OVBinaryStreamOpenForReading));
  EXPECT_TRUE(stream->isLittleEndian());
}

// Shows: open_error, lastErrorCode, length, file
TEST_F(OVBinaryFileStreamTests, AFailedOpenLeavesTheStreamClosed) {
  const auto stream = reading("abc");
  EXPECT_FALSE(stream->open_error(0));
  EXPECT_EQ(stream->file(), nullptr);
  EXPECT_EQ(stream->lastErrorCode(), -1);
  EXPECT_EQ(stream->length(), 0U);
}

// Shows: readInt64, position, isEndOfFile
TEST_F(OVBinaryFileStreamTests, AShortReadConsumesWhatThereWas) {
  const auto stream = reading("abc");
  const auto exception =
      expectException(OVBinaryStreamEndOfStreamException, [&] { stream->readInt64(); });
  EXPECT_EQ(exception.reason(), "OVBinaryStream reached EOF");
  EXPECT_EQ(stream->position(), 3);
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: length, position, isEndOfFile
TEST_F(OVBinaryFileStreamTests, TheLengthLeavesThePosition) {
  const auto stream = reading("0123456789");
  stream->setPosition(4);
  EXPECT_EQ(stream->length(), 10U);
  EXPECT_EQ(stream->position(), 4);
  EXPECT_FALSE(stream->isEndOfFile());
  EXPECT_EQ(stream->readUInt8(), '4');
}

// Shows: setLength
TEST_F(OVBinaryFileStreamTests, SettingTheLengthIsNotSupportedAndCutsNothing) {
  const auto stream = reading("0123456789");
  expectException(NSInvalidArgumentException, [&] { stream->setLength(1); });
  EXPECT_EQ(folder_.read("file"), "0123456789");
}

// Shows: position, length, isEndOfFile, lastErrorCode, file, data, setPosition, flush, close
TEST_F(OVBinaryFileStreamTests, AClosedStreamIsEmptyAtItsEndAndInError) {
  const auto stream = streamFor(folder_.at("file"));
  EXPECT_EQ(stream->position(), 0);
  EXPECT_EQ(stream->length(), 0U);
  EXPECT_TRUE(stream->isEndOfFile());
  EXPECT_EQ(stream->lastErrorCode(), -1);
  EXPECT_EQ(stream->file(), nullptr);
  EXPECT_EQ(stream->data(), nullptr);
  stream->setPosition(5);
  stream->flush();
  stream->close();
  EXPECT_EQ(stream->position(), 0);
}

// Shows: writeUInt8, readUInt8, writeData_length, readData_length, readDataOfLength, readString
TEST_F(OVBinaryFileStreamTests, ReadingAndWritingWithoutAFileThrows) {
  const auto stream = streamFor(folder_.at("file"));
  char byte = 0;
  const auto check = [&](auto&& operation) {
    EXPECT_EQ(expectException(NSInternalInconsistencyException, operation).reason(),
              "OVBinaryStream has no FILE");
  };
  check([&] { stream->writeUInt8(1); });
  check([&] { stream->readUInt8(); });
  check([&] { stream->writeData_length(&byte, 1); });
  check([&] { stream->readData_length(&byte, 1); });
  check([&] { stream->writeData_length(nullptr, 0); });
  check([&] { (void)stream->readDataOfLength(0); });
  check([&] { (void)stream->readString(); });
}

// Shows: open_error, writeBool, writeInt8, writeUInt8, writeInt16, writeUInt16, writeInt32, writeUInt32, writeInt64, writeUInt64, writeFloat, writeDouble, writeString, writeData_length, readBool, readInt8, readUInt8, readInt16, readUInt16, readInt32, readUInt32, readInt64, readUInt64, readFloat, readDouble, readString, readData_length
TEST_F(OVBinaryFileStreamTests, OneStreamWritesAFileAndThenReadsIt) {
  const auto stream = openedFor("file", OVBinaryStreamOpenForWriting);
  stream->writeBool(true);
  stream->writeInt8(-1);
  stream->writeUInt8(200);
  stream->writeInt16(-2);
  stream->writeUInt16(60000);
  stream->writeInt32(-3);
  stream->writeUInt32(4'000'000'000U);
  stream->writeInt64(std::numeric_limits<std::int64_t>::min());
  stream->writeUInt64(std::numeric_limits<std::uint64_t>::max());
  stream->writeFloat(0.5F);
  stream->writeDouble(-2.25);
  stream->writeString("Grüße");
  EXPECT_EQ(stream->writeData_length("tail", 4), 4U);
  EXPECT_EQ(stream->lastErrorCode(), 0);

  ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForReading));
  EXPECT_TRUE(stream->readBool());
  EXPECT_EQ(stream->readInt8(), -1);
  EXPECT_EQ(stream->readUInt8(), 200);
  EXPECT_EQ(stream->readInt16(), -2);
  EXPECT_EQ(stream->readUInt16(), 60000);
  EXPECT_EQ(stream->readInt32(), -3);
  EXPECT_EQ(stream->readUInt32(), 4'000'000'000U);
  EXPECT_EQ(stream->readInt64(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(stream->readUInt64(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(stream->readFloat(), 0.5F);
  EXPECT_EQ(stream->readDouble(), -2.25);
  EXPECT_EQ(stream->readString(), "Grüße");
  char tail[5] = {};
  EXPECT_EQ(stream->readData_length(tail, 4), 4U);
  EXPECT_STREQ(tail, "tail");
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: writeUInt32, readUInt32
TEST_F(OVBinaryFileStreamTests, ManyValuesCrossTheBufferWhole) {
  constexpr std::uint32_t kCount = 100'000;
  const auto stream = openedFor("file", OVBinaryStreamOpenForWriting);
  stream->writeUInt8(1);  // every later value lies across the buffer's edges
  for (std::uint32_t i = 0; i < kCount; ++i) {
    stream->writeUInt32(i * 2'654'435'761U);
  }
  ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForReading));
  EXPECT_EQ(stream->length(), 1U + 4U * kCount);
  stream->readUInt8();
  for (std::uint32_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(stream->readUInt32(), i * 2'654'435'761U) << i;
  }
}

// Shows: setPosition, readUInt16, writeUInt16
TEST_F(OVBinaryFileStreamTests, ReadingAndWritingMayTakeTurns) {
  const auto stream = openedFor("file", 6);
  for (std::uint16_t i = 0; i < 1000; ++i) {
    stream->writeUInt16(i);
  }
  stream->setPosition(20);
  EXPECT_EQ(stream->readUInt16(), 10);
  stream->setPosition(22);
  stream->writeUInt16(7777);
  stream->setPosition(20);
  EXPECT_EQ(stream->readUInt16(), 10);
  EXPECT_EQ(stream->readUInt16(), 7777);
  EXPECT_EQ(stream->readUInt16(), 12);
  EXPECT_EQ(stream->length(), 2000U);
}

// Shows: file, data
TEST_F(OVBinaryFileStreamTests, TheFileMayBeUsedBetweenOperationsOfTheStream) {
  const auto stream = openedFor("file", OVBinaryStreamOpenForWriting);
  stream->writeUInt8('a');
  std::fputs("bc", stream->file());
  EXPECT_EQ(stream->data(), nullptr);
  stream->writeUInt8('d');
  stream->close();
  EXPECT_EQ(folder_.read("file"), "abcd");
}

// Shows: setPosition, length
TEST_F(OVBinaryFileStreamTests, SeekingBehindTheEndWritesNothing) {
  const auto stream = openedFor("file", OVBinaryStreamOpenForWriting);
  stream->setPosition(10);
  EXPECT_EQ(stream->position(), 10);
  EXPECT_EQ(stream->length(), 0U);
}

// Shows: setPosition, lastErrorCode, position
TEST_F(OVBinaryFileStreamTests, ANegativePositionIsAnErrorOfTheLastOperation) {
  const auto stream = reading("0123");
  stream->setPosition(-1);
  EXPECT_EQ(stream->lastErrorCode(), EINVAL);
  EXPECT_EQ(stream->position(), 0);
  EXPECT_EQ(stream->lastErrorCode(), 0);
}

// Shows: position, length, setPosition, lastErrorCode
TEST_F(OVBinaryFileStreamTests, WhereThereIsNoPositionItIsMinusOneAndTheLengthZero) {
  ASSERT_EQ(mkfifo(folder_.at("pipe").c_str(), 0600), 0);
  const auto stream =
      openedFor("pipe", OVBinaryStreamOpenForReading | OVBinaryStreamOpenForWriting);
  EXPECT_EQ(stream->position(), -1);
  EXPECT_EQ(stream->lastErrorCode(), ESPIPE);
  EXPECT_EQ(stream->length(), 0U);
  EXPECT_EQ(stream->lastErrorCode(), ESPIPE);
  stream->setPosition(1);
  EXPECT_EQ(stream->lastErrorCode(), ESPIPE);
}

// Shows: readUInt8, OVBinaryStreamReadErrorException, lastErrorCode
TEST_F(OVBinaryFileStreamTests, AReadErrorThrowsWithItsNumber) {
  const auto stream = openedFor("file", OVBinaryStreamOpenForWriting);  // may not be read
  const auto exception =
      expectException(OVBinaryStreamReadErrorException, [&] { stream->readUInt8(); });
  EXPECT_EQ(exception.reason(), "Error 9 when reading");
  ASSERT_NE(exception.userInfo(), nullptr);
  EXPECT_EQ(exception.userInfo()->count(), 1U);
  EXPECT_TRUE(exception.userInfo()->objectForKey("errno")->isEqual(EBADF));
  EXPECT_EQ(stream->lastErrorCode(), EBADF);
}

// Shows: lastErrorCode, writeUInt32, writeData_length
TEST_F(OVBinaryFileStreamTests, AWriteErrorIsToldByTheCodeAlone) {
  const auto stream = reading("0123");  // may not be written
  stream->writeUInt32(1);
  EXPECT_EQ(stream->lastErrorCode(), EBADF);
  EXPECT_EQ(stream->writeData_length("ab", 2), 0U);
  EXPECT_EQ(stream->lastErrorCode(), EBADF);
}

// Shows: flush, lastErrorCode
TEST_F(OVBinaryFileStreamTests, AFullDeviceShowsWhenTheBufferIsHandedOver) {
  const auto stream = streamFor("/dev/full");
  ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForWriting));
  stream->writeUInt32(1);
  stream->flush();
  EXPECT_EQ(stream->lastErrorCode(), ENOSPC);
}

// Shows: close, open_error, lastErrorCode
TEST_F(OVBinaryFileStreamTests, AFailureToCloseShowsOnceTheStreamIsOpenAgain) {
  const auto stream = streamFor("/dev/full");
  ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForWriting));
  stream->writeUInt32(1);
  EXPECT_EQ(stream->lastErrorCode(), 0);
  stream->close();
  EXPECT_EQ(stream->file(), nullptr);
  EXPECT_EQ(stream->lastErrorCode(), -1);
  ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForWriting));
  EXPECT_EQ(stream->lastErrorCode(), ENOSPC);
  ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForWriting));
  EXPECT_EQ(stream->lastErrorCode(), 0);
}

// Shows: readString, position
TEST_F(OVBinaryFileStreamTests, AStringThatClaimsMoreThanIsLeftEndsTheStream) {
  const auto stream =
      reading(std::string("\1\xFF\xFF\xFF\xFF"
                          "abc",
                          8));
  expectException(OVBinaryStreamEndOfStreamException, [&] { (void)stream->readString(); });
  EXPECT_EQ(stream->position(), 8);
}

// Shows: readString
TEST_F(OVBinaryFileStreamTests, ARecordCutAtAnyLengthEndsTheStream) {
  const std::string whole("\1\0\0\0\3xyz", 8);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto stream = reading(whole.substr(0, length), OVBinaryStreamBigEndianOption);
    expectException(OVBinaryStreamEndOfStreamException, [&] { (void)stream->readString(); });
  }
}

// Shows: initWithFilePath
TEST_F(OVBinaryFileStreamTests, ThePathIsCopied) {
  const auto path = NSMutableString::stringWithString(folder_.at("file"));
  const auto stream = OVBinaryFileStream::initWithFilePath(path);
  path->setString("/nowhere");
  EXPECT_TRUE(stream->open_error(OVBinaryStreamOpenForWriting));
}

// Shows: OVBinaryFileStream
TEST_F(OVBinaryFileStreamTests, DestroyingTheStreamWritesAndClosesTheFile) {
  {
    const auto stream = openedFor("file", OVBinaryStreamOpenForWriting);
    stream->writeUInt8('x');
  }
  EXPECT_EQ(folder_.read("file"), "x");
}

// Shows: initWithFilePath
TEST(OVBinaryFileStreamDeathTest, AMissingPathEndsTheProcess) {
  EXPECT_DEATH((void)OVBinaryFileStream::initWithFilePath(nullptr),
               "initWithFilePath.*OVBinaryFileStream:[0-9]+: filePath != nil");
}

}  // namespace
}  // namespace kestova
