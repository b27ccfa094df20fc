// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryDataStream.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "ExceptionExpectation.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace kestova {
namespace {

using testing::dataOf;
using testing::expectException;
using testing::hex;

Ref<OVBinaryDataStream> opened(NSInteger options) {
  auto stream = OVBinaryDataStream::initWithData(nullptr);
  EXPECT_TRUE(stream->open_error(options));
  return stream;
}

Ref<OVBinaryDataStream> writableBig() {
  return opened(OVBinaryStreamOpenForWriting | OVBinaryStreamBigEndianOption);
}

Ref<OVBinaryDataStream> writableLittle() { return opened(OVBinaryStreamOpenForWriting); }

/// A stream whose stored byte order is whatever a subclass puts there.
class OddByteOrderStream : public OVBinaryDataStream {
 public:
  explicit OddByteOrderStream(std::uint8_t stored) : OVBinaryDataStream(NSMutableData::data()) {
    mLittleEndian = stored;
  }
};

/// A stream that has lost its buffer.
class BufferlessStream : public OVBinaryDataStream {
 public:
  BufferlessStream() : OVBinaryDataStream(nullptr) {}
};

// Shows: writeString, readString
TEST(OVBinaryDataStreamTests, AStringOfNothingIsWrittenWithACountThatReadingLeaves) {
  const auto stream = writableBig();
  stream->writeString(nullptr);
  stream->writeInt32(7);
  EXPECT_EQ(hex(stream->data()), "00 00 00 00 00 00 00 00 07");

  stream->setPosition(0);
  EXPECT_EQ(stream->readString(), nullptr);
  EXPECT_EQ(stream->position(), 1);
  EXPECT_EQ(stream->readInt32(), 0);
  EXPECT_EQ(stream->readInt32(), 7);
}

// Shows: writeString, readString
TEST(OVBinaryDataStreamTests, TheEmptyStringIsAFlagAndACountOfZero) {
  const auto stream = writableBig();
  stream->writeString("");
  EXPECT_EQ(hex(stream->data()), "01 00 00 00 00");
  stream->setPosition(0);
  EXPECT_EQ(stream->readString(), "");
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: writeString
TEST(OVBinaryDataStreamTests, AStringRecordFollowsTheByteOrder) {
  const auto little = writableLittle();
  little->writeString("A");
  EXPECT_EQ(hex(little->data()), "01 01 00 00 00 41");

  const auto big = writableBig();
  big->writeString("A");
  EXPECT_EQ(hex(big->data()), "01 00 00 00 01 41");
}

// Shows: writeString, readString
TEST(OVBinaryDataStreamTests, TextGoesRoundInUTF8) {
  const auto stream = writableLittle();
  stream->writeString("Grüße 😀");
  EXPECT_EQ(stream->length(), 5U + 12U);
  stream->setPosition(0);
  EXPECT_EQ(stream->readString(), "Grüße 😀");
}

// Shows: writeString
TEST(OVBinaryDataStreamTests, ATextThatIsNoUTF8IsWrittenLikeTheEmptyString) {
  const auto stream = writableLittle();
  stream->writeString(u"\xD800");
  EXPECT_EQ(hex(stream->data()), "01 00 00 00 00");
}

// Shows: readString
TEST(OVBinaryDataStreamTests, ARecordOfInvalidUTF8ReadsAsNothingAndIsConsumed) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({1, 0, 0, 0, 2, 0xC3, 0x28, 0x55}));
  EXPECT_EQ(stream->readString(), nullptr);
  EXPECT_EQ(stream->readUInt8(), 0x55);
}

// Shows: readString
TEST(OVBinaryDataStreamTests, AnyFlagButZeroAnnouncesAString) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({0x80, 0, 0, 0, 1, 'x'}));
  EXPECT_EQ(stream->readString(), "x");
}

// Shows: readString
TEST(OVBinaryDataStreamTests, ACountThatClaimsMoreThanIsLeftFailsWithoutThatMemory) {
  const auto stream =
      OVBinaryDataStream::initWithData(dataOf({1, 0xFF, 0xFF, 0xFF, 0xFF, 'a', 'b'}));
  expectException(OVBinaryStreamEndOfStreamException, [&] { (void)stream->readString(); });
  EXPECT_EQ(stream->position(), 7);
}

// Shows: readDataOfLength
TEST(OVBinaryDataStreamTests, ALengthBeyondAllMemoryFailsAsTheEndOfTheStream) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({1, 2, 3}));
  expectException(OVBinaryStreamEndOfStreamException,
                  [&] { (void)stream->readDataOfLength(std::numeric_limits<NSUInteger>::max()); });
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: readDataOfLength
TEST(OVBinaryDataStreamTests, ALongRunOfBytesIsReadWhole) {
  const auto bytes = NSMutableData::dataWithLength(1'000'003);
  for (NSUInteger i = 0; i < bytes->length(); ++i) {
    bytes->mutableBytes()[i] = static_cast<std::byte>(i * 7);
  }
  const auto stream = OVBinaryDataStream::initWithData(bytes);
  EXPECT_TRUE(stream->readDataOfLength(bytes->length())->isEqualToData(bytes));
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: open_error, OVBinaryStreamLittleEndianOption, OVBinaryStreamBigEndianOption
TEST(OVBinaryDataStreamTests, TheByteOrderIsChosenAtOpening) {
  struct Row {
    NSInteger options;
    const char* bytes;
  };
  for (const Row& row : {Row{0, "02 01"}, Row{16, "01 02"}, Row{8, "02 01"}, Row{8 | 16, "02 01"},
                         Row{1, "02 01"}, Row{32 | 16 | 1, "01 02"}}) {
    const auto stream = opened(row.options);
    stream->writeUInt16(0x0102);
    EXPECT_EQ(hex(stream->data()), row.bytes) << "options " << row.options;
  }
}

// Shows: isLittleEndian, initWithData
TEST(OVBinaryDataStreamTests, AStreamThatWasNeverOpenedIsBigEndian) {
  const auto stream = OVBinaryDataStream::initWithData(nullptr);
  EXPECT_FALSE(stream->isLittleEndian());
  stream->writeUInt16(0x0102);
  EXPECT_EQ(hex(stream->data()), "01 02");
}

// Shows: setLittleEndian, isLittleEndian
TEST(OVBinaryDataStreamTests, TheByteOrderMayChangeBetweenValues) {
  const auto stream = writableBig();
  stream->writeUInt16(0x0102);
  stream->setLittleEndian(true);
  EXPECT_TRUE(stream->isLittleEndian());
  stream->writeUInt16(0x0102);
  EXPECT_EQ(hex(stream->data()), "01 02 02 01");
}

// Shows: isLittleEndian, writeUInt16
TEST(OVBinaryDataStreamTests, OnlyTheStoredValueOneIsLittleEndian) {
  for (const int stored : {0, 2, 255}) {
    const auto stream = make<OddByteOrderStream>(static_cast<std::uint8_t>(stored));
    EXPECT_EQ(stream->isLittleEndian(), stored != 0);
    stream->writeUInt16(0x0102);
    EXPECT_EQ(hex(stream->data()), "01 02") << stored;
  }
  const auto one = make<OddByteOrderStream>(std::uint8_t{1});
  one->writeUInt16(0x0102);
  EXPECT_EQ(hex(one->data()), "02 01");
}

// Shows: readInt32, position, isEndOfFile
TEST(OVBinaryDataStreamTests, AShortReadMovesToTheEndAndDeliversNothing) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({1, 2, 3}));
  const auto exception =
      expectException(OVBinaryStreamEndOfStreamException, [&] { stream->readInt32(); });
  EXPECT_EQ(exception.reason(), "OVBinaryStream reached EOF");
  EXPECT_EQ(stream->position(), 3);
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: readData_length, position
TEST(OVBinaryDataStreamTests, AShortReadOfBytesLeavesTheDestinationAlone) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({1, 2, 3}));
  unsigned char bytes[4] = {9, 9, 9, 9};
  expectException(OVBinaryStreamEndOfStreamException, [&] { stream->readData_length(bytes, 4); });
  EXPECT_EQ(bytes[0], 9);
  EXPECT_EQ(stream->position(), 3);
}

// Shows: setPosition, length, isEndOfFile
TEST(OVBinaryDataStreamTests, SeekingBehindTheEndGrowsTheData) {
  const auto stream = writableLittle();
  stream->setPosition(10);
  EXPECT_EQ(stream->length(), 10U);
  EXPECT_EQ(hex(stream->data()), "00 00 00 00 00 00 00 00 00 00");
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: readInt16, readUInt16
TEST(OVBinaryDataStreamTests, SixteenBitsReadWithAndWithoutSign) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({0xFF, 0xFE, 0xFF, 0xFE}));
  EXPECT_EQ(stream->readInt16(), -2);
  EXPECT_EQ(stream->readUInt16(), 65534);
}

// Shows: writeBool, writeInt8, writeUInt8, writeInt16, writeUInt16, writeInt32, writeUInt32, writeInt64, writeUInt64, writeFloat, writeDouble
TEST(OVBinaryDataStreamTests, EveryWidthHasItsEncodingInBothOrders) {
  const auto write = [](OVBinaryDataStream& stream) {
    stream.writeBool(true);
    stream.writeBool(false);
    stream.writeInt8(-2);
    stream.writeUInt8(0xFE);
    stream.writeInt16(-2);
    stream.writeUInt16(0x0102);
    stream.writeInt32(-2);
    stream.writeUInt32(0x01020304);
    stream.writeInt64(-2);
    stream.writeUInt64(0x0102030405060708);
    stream.writeFloat(1.0F);
    stream.writeDouble(-2.0);
  };
  const auto big = writableBig();
  write(*big);
  EXPECT_EQ(hex(big->data()),
            "01 00 fe fe ff fe 01 02 ff ff ff fe 01 02 03 04 ff ff ff ff ff ff ff fe "
            "01 02 03 04 05 06 07 08 3f 80 00 00 c0 00 00 00 00 00 00 00");
  const auto little = writableLittle();
  write(*little);
  EXPECT_EQ(hex(little->data()),
            "01 00 fe fe fe ff 02 01 fe ff ff ff 04 03 02 01 fe ff ff ff ff ff ff ff "
            "08 07 06 05 04 03 02 01 00 00 80 3f 00 00 00 00 00 00 00 c0");
}

// Shows: writeBool, writeInt8, writeUInt8, writeInt16, writeUInt16, writeInt32, writeUInt32, writeInt64, writeUInt64, writeFloat, writeDouble, readBool, readInt8, readUInt8, readInt16, readUInt16, readInt32, readUInt32, readInt64, readUInt64, readFloat, readDouble
TEST(OVBinaryDataStreamTests, EveryWidthGoesRoundInBothOrders) {
  for (const bool littleEndian : {false, true}) {
    const auto stream = writableBig();
    stream->setLittleEndian(littleEndian);
    stream->writeBool(true);
    stream->writeInt8(-128);
    stream->writeUInt8(255);
    stream->writeInt16(std::numeric_limits<std::int16_t>::min());
    stream->writeUInt16(65535);
    stream->writeInt32(std::numeric_limits<std::int32_t>::min());
    stream->writeUInt32(4'294'967'295U);
    stream->writeInt64(std::numeric_limits<std::int64_t>::min());
    stream->writeUInt64(std::numeric_limits<std::uint64_t>::max());
    stream->writeFloat(-0.0F);
    stream->writeDouble(std::numeric_limits<double>::infinity());
    stream->writeDouble(std::numeric_limits<double>::quiet_NaN());
    stream->setPosition(0);
    EXPECT_TRUE(stream->readBool());
    EXPECT_EQ(stream->readInt8(), -128);
    EXPECT_EQ(stream->readUInt8(), 255);
    EXPECT_EQ(stream->readInt16(), -32768);
    EXPECT_EQ(stream->readUInt16(), 65535);
    EXPECT_EQ(stream->readInt32(), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(stream->readUInt32(), 4'294'967'295U);
    EXPECT_EQ(stream->readInt64(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(stream->readUInt64(), std::numeric_limits<std::uint64_t>::max());
    EXPECT_TRUE(std::signbit(stream->readFloat()));
    EXPECT_EQ(stream->readDouble(), std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(stream->readDouble()));
    EXPECT_TRUE(stream->isEndOfFile());
  }
}

// Shows: readBool
TEST(OVBinaryDataStreamTests, AnyByteButZeroReadsAsTrue) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({0, 1, 2, 0xFF}));
  EXPECT_FALSE(stream->readBool());
  EXPECT_TRUE(stream->readBool());
  EXPECT_TRUE(stream->readBool());
  EXPECT_TRUE(stream->readBool());
}

// Shows: initWithData, open_error, data
TEST(OVBinaryDataStreamTests, AGrowableBufferIsSharedAndWrittenInPlace) {
  const auto buffer = NSMutableData::dataWithLength(2);
  const auto stream = OVBinaryDataStream::initWithData(buffer);
  EXPECT_EQ(stream->data(), buffer);
  stream->open_error(OVBinaryStreamOpenForWriting);
  EXPECT_EQ(stream->data(), buffer);
  stream->writeUInt32(0x01020304);
  EXPECT_EQ(hex(Ref<NSData>(buffer)), "04 03 02 01");
}

// Shows: open_error, data
TEST(OVBinaryDataStreamTests, AReadOnlyBufferIsReplacedByACopyWhenOpenedForWriting) {
  const auto buffer = dataOf({1, 2, 3});
  const auto stream = OVBinaryDataStream::initWithData(buffer);
  stream->open_error(OVBinaryStreamOpenForReading);
  EXPECT_EQ(stream->data(), buffer);
  stream->setPosition(1);
  stream->open_error(OVBinaryStreamOpenForWriting);
  EXPECT_EQ(stream->position(), 1);
  stream->writeUInt8(9);
  EXPECT_EQ(hex(stream->data()), "01 09 03");
  EXPECT_EQ(hex(buffer), "01 02 03");
}

// Shows: writeUInt8
TEST(OVBinaryDataStreamDeathTest, WritingIntoAReadOnlyBufferEndsTheProcess) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({1}));
  EXPECT_DEATH(stream->writeUInt8(1), "OVBinaryDataStream.*growable");
}

// Shows: close, flush, open_error, lastErrorCode, file
TEST(OVBinaryDataStreamTests, OpeningClosingAndFlushingKeepEverything) {
  const auto stream = writableLittle();
  stream->writeUInt32(5);
  stream->close();
  stream->close();
  stream->flush();
  EXPECT_EQ(stream->position(), 4);
  EXPECT_EQ(stream->length(), 4U);
  EXPECT_EQ(stream->lastErrorCode(), 0);
  EXPECT_EQ(stream->file(), nullptr);
  Ref<NSError> error;
  EXPECT_TRUE(stream->open_error(0, &error));
  EXPECT_EQ(error, nullptr);
}

// Shows: setLength, isEndOfFile, position
TEST(OVBinaryDataStreamTests, APositionBehindAShortenedBufferIsNotTheEnd) {
  const auto stream = writableLittle();
  stream->writeUInt32(0xFFFFFFFF);
  stream->setLength(1);
  EXPECT_EQ(stream->position(), 4);
  EXPECT_FALSE(stream->isEndOfFile());
  stream->writeUInt8(7);
  EXPECT_EQ(hex(stream->data()), "ff 00 00 00 07");
}

// Shows: setLength, readUInt8
TEST(OVBinaryDataStreamTests, ReadingBehindAShortenedBufferMeetsTheEnd) {
  const auto stream = writableLittle();
  stream->writeUInt32(0xFFFFFFFF);
  stream->setLength(1);
  expectException(OVBinaryStreamEndOfStreamException, [&] { stream->readUInt8(); });
  EXPECT_EQ(stream->position(), 1);
}

// Shows: setLength, position
TEST(OVBinaryDataStreamTests, LengtheningFillsWithZeroBytes) {
  const auto stream = writableLittle();
  stream->writeUInt8(1);
  stream->setLength(3);
  EXPECT_EQ(hex(stream->data()), "01 00 00");
  EXPECT_EQ(stream->position(), 1);
}

// Shows: writeUInt16, writeUInt32, setPosition
TEST(OVBinaryDataStreamTests, OverwritingInTheMiddleKeepsTheRest) {
  const auto stream = opened(OVBinaryStreamOpenForWriting | OVBinaryStreamBigEndianOption);
  stream->writeUInt32(0x01020304);
  stream->setPosition(1);
  stream->writeUInt16(0xAABB);
  EXPECT_EQ(hex(stream->data()), "01 aa bb 04");
  stream->writeUInt32(0x05060708);
  EXPECT_EQ(hex(stream->data()), "01 aa bb 05 06 07 08");
}

// Shows: offsetPosition
TEST(OVBinaryDataStreamTests, MovingByADeltaStartsAtThePosition) {
  const auto stream = OVBinaryDataStream::initWithData(dataOf({1, 2, 3, 4}));
  stream->setPosition(1);
  stream->offsetPosition(2);
  EXPECT_EQ(stream->readUInt8(), 4);
  stream->offsetPosition(-4);
  EXPECT_EQ(stream->readUInt8(), 1);
}

// Shows: offsetPosition, length
TEST(OVBinaryDataStreamTests, MovingByADeltaBehindTheEndGrowsTheData) {
  const auto stream = writableLittle();
  stream->writeUInt8(1);
  stream->offsetPosition(2);
  EXPECT_EQ(hex(stream->data()), "01 00 00");
}

// Shows: writeUInt8, readUInt8, writeData_length, readData_length
TEST(OVBinaryDataStreamTests, AStreamWithoutABufferSaysSo) {
  const auto stream = make<BufferlessStream>();
  const auto writing =
      expectException(NSInternalInconsistencyException, [&] { stream->writeUInt8(1); });
  EXPECT_EQ(writing.reason(), "OVBinaryDataStream has no data");
  const auto reading =
      expectException(NSInternalInconsistencyException, [&] { stream->readUInt8(); });
  EXPECT_EQ(reading.reason(), "OVBinaryDataStream has no data");
  char byte = 0;
  expectException(NSInternalInconsistencyException, [&] { stream->writeData_length(&byte, 1); });
  expectException(NSInternalInconsistencyException, [&] { stream->readData_length(&byte, 1); });
}

// Shows: init, length, position, isLittleEndian, isEndOfFile
TEST(OVBinaryDataStreamTests, ANewStreamIsEmptyBigEndianAndAtItsEnd) {
  const auto stream = OVBinaryDataStream::init();
  EXPECT_EQ(stream->length(), 0U);
  EXPECT_EQ(stream->position(), 0);
  EXPECT_FALSE(stream->isLittleEndian());
  EXPECT_TRUE(stream->isEndOfFile());
}

// Shows: OVBinaryDataStream
TEST(OVBinaryDataStreamTests, ADestroyedStreamHasGivenUpItsBuffer) {
  const auto buffer = NSMutableData::data();
  const auto before = buffer->retainCount();
  {
    const auto stream = OVBinaryDataStream::initWithData(buffer);
    EXPECT_GT(buffer->retainCount(), before);
  }
  EXPECT_EQ(buffer->retainCount(), before);
}

// Shows: readString
TEST(OVBinaryDataStreamTests, ARecordCutAtAnyLengthEndsTheStream) {
  const auto whole = writableBig();
  whole->writeString("Grüße");
  for (NSUInteger length = 0; length < whole->length(); ++length) {
    const auto cut = OVBinaryDataStream::initWithData(whole->data()->subdataWithRange({0, length}));
    expectException(OVBinaryStreamEndOfStreamException, [&] { (void)cut->readString(); });
    EXPECT_EQ(cut->position(), static_cast<NSInteger>(length));
  }
}

}  // namespace
}  // namespace kestova
