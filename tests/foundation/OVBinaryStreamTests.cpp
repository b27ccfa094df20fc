// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryDataStream.h>
#include <KestovaFoundation/OVBinaryFileStream.h>
#include <KestovaFoundation/OVBinaryStream.h>
#include <KestovaPlatform/Class.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Bytes.h"
#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::hex;

/// Hands a new stream of each kind to the test, open for both and big-endian.
void forBothKinds(const std::function<void(OVBinaryStream&)>& test) {
  const testing::TemporaryFolder folder;
  for (const auto& stream : {OVBinaryStream::initWithData(nullptr),
                             OVBinaryStream::initWithFilePath(folder.at("file"))}) {
    ASSERT_TRUE(stream->open_error(OVBinaryStreamOpenForReading | OVBinaryStreamOpenForWriting |
                                   OVBinaryStreamBigEndianOption));
    test(*stream);
  }
}

/// All the bytes of a stream.
std::string contents(OVBinaryStream& stream) {
  stream.setPosition(0);
  return hex(stream.readDataOfLength(stream.length()));
}

// Shows: initWithFilePath
TEST(OVBinaryStreamTests, TheFamilyGivesAFileStreamForAPath) {
  EXPECT_NE(cast<OVBinaryFileStream>(OVBinaryStream::initWithFilePath("/tmp/none")), nullptr);
}

// Shows: initWithData
TEST(OVBinaryStreamTests, TheFamilyGivesAMemoryStreamForABuffer) {
  const auto buffer = NSMutableData::data();
  const auto stream = OVBinaryStream::initWithData(buffer);
  EXPECT_NE(cast<OVBinaryDataStream>(stream), nullptr);
  EXPECT_EQ(stream->data(), buffer);
}

// Shows: OVBinaryStream
TEST(OVBinaryStreamTests, TheClassesAreKnownByName) {
  for (const char* name : {"OVBinaryStream", "OVBinaryDataStream", "OVBinaryFileStream"}) {
    ASSERT_NE(NSClassFromString(name), nullptr) << name;
    EXPECT_EQ(NSClassFromString(name)->name(), name);
  }
  EXPECT_EQ(NSClassFromString("OVBinaryFileStream")->superclass(),
            NSClassFromString("OVBinaryStream"));
}

// Shows: OVBinaryStreamEndOfStreamException, OVBinaryStreamReadErrorException
TEST(OVBinaryStreamTests, ExceptionNamesAreTheirOwnText) {
  EXPECT_EQ(OVBinaryStreamEndOfStreamException.string(), "OVBinaryStreamEndOfStreamException");
  EXPECT_EQ(OVBinaryStreamReadErrorException.string(), "OVBinaryStreamReadErrorException");
}

// Shows: file, data, lastErrorCode
TEST(OVBinaryStreamTests, AnOpenStreamHasEitherAFileOrBytesInMemory) {
  forBothKinds([](OVBinaryStream& stream) {
    EXPECT_NE(stream.file() == nullptr, stream.data() == nullptr);
    EXPECT_EQ(stream.lastErrorCode(), 0);
  });
}

// Shows: open_error, flush, close, length, setPosition
TEST(OVBinaryStreamTests, BothKindsMayBeClosedAndOpenedAgain) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeUInt16(0x0102);
    stream.flush();
    stream.close();
    stream.close();
    ASSERT_TRUE(stream.open_error(OVBinaryStreamOpenForReading | OVBinaryStreamLittleEndianOption));
    EXPECT_EQ(stream.length(), 2U);
    stream.setPosition(0);
    EXPECT_EQ(stream.readUInt16(), 0x0201);
  });
}

// Shows: writeString, readString, isEndOfFile
TEST(OVBinaryStreamTests, BothKindsReadTheStringsThatTheyWrote) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeString("Grüße 😀");
    stream.writeString("");
    stream.setPosition(0);
    EXPECT_EQ(stream.readString(), "Grüße 😀");
    EXPECT_EQ(stream.readString(), "");
    EXPECT_TRUE(stream.isEndOfFile());
  });
}

// Shows: writeString, readString
TEST(OVBinaryStreamTests, InBothKindsTheCountOfNoStringIsLeftToTheNextRead) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeString(nullptr);
    stream.writeInt32(7);
    EXPECT_EQ(contents(stream), "00 00 00 00 00 00 00 00 07");
    stream.setPosition(0);
    EXPECT_EQ(stream.readString(), nullptr);
    EXPECT_EQ(stream.position(), 1);
    EXPECT_EQ(stream.readInt32(), 0);
    EXPECT_EQ(stream.readInt32(), 7);
  });
}

// Shows: readDataOfLength
TEST(OVBinaryStreamTests, BothKindsReadAsManyBytesAsAreAskedFor) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeUInt32(0x01020304);
    stream.setPosition(1);
    EXPECT_EQ(hex(stream.readDataOfLength(2)), "02 03");
    EXPECT_EQ(stream.readDataOfLength(0)->length(), 0U);
    EXPECT_EQ(stream.position(), 3);
    EXPECT_FALSE(stream.isEndOfFile());
  });
}

// Shows: offsetPosition, position
TEST(OVBinaryStreamTests, BothKindsMoveByADelta) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeUInt32(0x01020304);
    stream.offsetPosition(-3);
    EXPECT_EQ(stream.readUInt8(), 2);
    stream.offsetPosition(1);
    EXPECT_EQ(stream.readUInt8(), 4);
  });
}

// Shows: writeData_length, readData_length
TEST(OVBinaryStreamTests, InBothKindsBytesHaveNoOrder) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.setLittleEndian(true);
    EXPECT_EQ(stream.writeData_length("abc", 3), 3U);
    EXPECT_EQ(contents(stream), "61 62 63");
    stream.setPosition(0);
    char bytes[3] = {};
    EXPECT_EQ(stream.readData_length(bytes, 3), 3U);
    EXPECT_EQ(std::string(bytes, 3), "abc");
  });
}

// Shows: setLittleEndian, isLittleEndian
TEST(OVBinaryStreamTests, InBothKindsTheOrderMayChangeBetweenValues) {
  forBothKinds([](OVBinaryStream& stream) {
    EXPECT_FALSE(stream.isLittleEndian());
    stream.writeUInt16(0x0102);
    stream.setLittleEndian(true);
    EXPECT_TRUE(stream.isLittleEndian());
    stream.writeUInt16(0x0102);
    EXPECT_EQ(contents(stream), "01 02 02 01");
  });
}

// Shows: writeBool, writeInt8, writeUInt8, writeInt16, writeUInt16, writeInt32, writeUInt32, writeInt64, writeUInt64, writeFloat, writeDouble
TEST(OVBinaryStreamTests, BothKindsWriteTheSameBytes) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeBool(true);
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
    EXPECT_EQ(contents(stream),
              "01 fe fe ff fe 01 02 ff ff ff fe 01 02 03 04 ff ff ff ff ff ff ff fe "
              "01 02 03 04 05 06 07 08 3f 80 00 00 c0 00 00 00 00 00 00 00");
  });
}

// Shows: readBool
TEST(OVBinaryStreamTests, InBothKindsAnyByteButZeroReadsAsTrue) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeData_length("\0\1\2\377", 4);
    stream.setPosition(0);
    EXPECT_FALSE(stream.readBool());
    EXPECT_TRUE(stream.readBool());
    EXPECT_TRUE(stream.readBool());
    EXPECT_TRUE(stream.readBool());
  });
}

// Shows: readBool, readInt8, readUInt8, readInt16, readUInt16, readInt32, readUInt32, readInt64, readUInt64, readFloat, readDouble
TEST(OVBinaryStreamTests, InBothKindsEveryValueNeedsAllOfItsBytes) {
  forBothKinds([](OVBinaryStream& stream) {
    stream.writeData_length("1234567", 7);
    const auto expectEnd = [&](NSInteger position, const std::function<void()>& read) {
      stream.setPosition(position);
      const auto exception = expectException(OVBinaryStreamEndOfStreamException, read);
      EXPECT_EQ(exception.reason(), "OVBinaryStream reached EOF");
      EXPECT_EQ(stream.position(), 7);
      EXPECT_TRUE(stream.isEndOfFile());
    };
    expectEnd(7, [&] { stream.readBool(); });
    expectEnd(7, [&] { stream.readInt8(); });
    expectEnd(7, [&] { stream.readUInt8(); });
    expectEnd(6, [&] { stream.readInt16(); });
    expectEnd(6, [&] { stream.readUInt16(); });
    expectEnd(4, [&] { stream.readInt32(); });
    expectEnd(4, [&] { stream.readUInt32(); });
    expectEnd(4, [&] { stream.readFloat(); });
    expectEnd(0, [&] { stream.readInt64(); });
    expectEnd(0, [&] { stream.readUInt64(); });
    expectEnd(0, [&] { stream.readDouble(); });
  });
}

}  // namespace
}  // namespace kestova
