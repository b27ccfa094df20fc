// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>
#include <cstdio>

namespace kestova {

/// A read needed more bytes than were left.
extern KESTOVA_FOUNDATION_EXPORT const StringConstant OVBinaryStreamEndOfStreamException;

/// The medium failed during a read; the exception's user info holds the number under "errno".
extern KESTOVA_FOUNDATION_EXPORT const StringConstant OVBinaryStreamReadErrorException;

/// What to open a stream for, as a sum of bits; other bits are ignored. Without either byte order,
/// and with both, a stream is opened little-endian.
enum OVBinaryStreamOpenOptions : NSInteger {
  OVBinaryStreamOpenForReading = 2,
  OVBinaryStreamOpenForWriting = 4,
  OVBinaryStreamLittleEndianOption = 8,
  OVBinaryStreamBigEndianOption = 16,
};

/// Typed values at a movable position, in a byte order that is chosen at opening: what all streams
/// have in common, and the place to get one.
///
///     auto stream = OVBinaryStream::initWithData(nullptr);
///     stream->open_error(OVBinaryStreamOpenForWriting | OVBinaryStreamBigEndianOption);
///     stream->writeUInt32(0xCAFE);
///     stream->writeString("Grüße");
///     stream->setPosition(0);
///     stream->readUInt32();   // 0xCAFE
///     stream->readString();   // "Grüße"
///
/// Integers are two's complement, floating-point numbers IEEE 754 bit patterns, booleans one byte
/// (1 or 0; any other than 0 reads as true). A stream that was never opened is big-endian. The
/// string record is described in docs/formats/binary-stream.md.
///
/// A read past the end throws OVBinaryStreamEndOfStreamException.
///
/// Threads: one at a time; nothing is locked.
class KESTOVA_FOUNDATION_EXPORT OVBinaryStream : public NSObject {
  KESTOVA_CLASS(OVBinaryStream, NSObject)

 public:
  /// A new OVBinaryFileStream for the path.
  static Ref<OVBinaryStream> initWithFilePath(const Ref<NSString>& filePath);

  /// A new OVBinaryDataStream over the buffer; over an empty one of its own for null.
  static Ref<OVBinaryStream> initWithData(const Ref<NSData>& data);

  /// \name What every stream provides
  /// @{

  /// Makes the stream ready: `options` is a sum of OVBinaryStreamOpenOptions. False, and `error`
  /// filled where it is not null, when that fails.
  virtual bool open_error(NSInteger options, Ref<NSError>* error = nullptr) = 0;

  /// Ends the use of what the stream was opened on.
  virtual void close() = 0;
  /// Hands on what was written and is not where it belongs yet.
  virtual void flush() = 0;

  /// The C library's file; null when there is none.
  virtual std::FILE* file() const = 0;

  /// The bytes in memory; null when there are none.
  virtual Ref<NSData> data() const = 0;

  /// Whether nothing is left to be read.
  virtual bool isEndOfFile() = 0;

  /// The errno value of the last failure; 0 when the last operation succeeded.
  virtual NSInteger lastErrorCode() const = 0;

  /// In bytes.
  virtual NSUInteger length() = 0;
  virtual void setLength(NSUInteger length) = 0;

  /// The byte order of the next value; it may change between any two.
  virtual bool isLittleEndian() const { return mLittleEndian != 0; }
  virtual void setLittleEndian(bool littleEndian) { mLittleEndian = littleEndian ? 1 : 0; }

  /// The offset in bytes of the next value.
  virtual NSInteger position() = 0;
  virtual void setPosition(NSInteger position) = 0;

  /// Writes bytes as they are; answers how many were written.
  virtual NSUInteger writeData_length(const void* bytes, NSUInteger length) = 0;

  virtual void writeDouble(double value) = 0;
  virtual void writeFloat(float value) = 0;
  virtual void writeBool(bool value) = 0;
  virtual void writeInt8(std::int8_t value) = 0;
  virtual void writeInt16(std::int16_t value) = 0;
  virtual void writeInt32(std::int32_t value) = 0;
  virtual void writeInt64(std::int64_t value) = 0;
  virtual void writeUInt8(std::uint8_t value) = 0;
  virtual void writeUInt16(std::uint16_t value) = 0;
  virtual void writeUInt32(std::uint32_t value) = 0;
  virtual void writeUInt64(std::uint64_t value) = 0;

  /// Reads bytes as they are; answers `length`, or throws when there are not as many.
  virtual NSUInteger readData_length(void* bytes, NSUInteger length) = 0;

  virtual double readDouble() = 0;
  virtual float readFloat() = 0;
  virtual bool readBool() = 0;
  virtual std::int8_t readInt8() = 0;
  virtual std::int16_t readInt16() = 0;
  virtual std::int32_t readInt32() = 0;
  virtual std::int64_t readInt64() = 0;
  virtual std::uint8_t readUInt8() = 0;
  virtual std::uint16_t readUInt16() = 0;
  virtual std::uint32_t readUInt32() = 0;
  virtual std::uint64_t readUInt64() = 0;

  /// @}
  /// \name Built on these, the same for every stream
  /// @{

  /// Moves the position by `delta` bytes, without checks of its own.
  void offsetPosition(NSInteger delta);

  /// Writes a string record: a presence flag, a 32-bit count, the text in UTF-8. Null is written as
  /// flag 0 and count 0; a text with unpaired surrogates like the empty string.
  void writeString(const Ref<NSString>& string);

  /// Reads a string record; null for bytes that are no UTF-8, which are consumed all the same.
  ///
  /// Null is also answered for a record of nothing, of which only the flag is consumed: the
  /// writer's four bytes of count are left for the next read. Existing files rely on it.
  Ref<NSString> readString();

  /// Reads that many bytes into a new buffer. A length beyond what is left throws before memory of
  /// that size is asked for.
  Ref<NSData> readDataOfLength(NSUInteger length);

  /// @}

 protected:
  OVBinaryStream() = default;

  /// Whether the next value goes least significant byte first: the stored byte is compared with 1,
  /// anything else is big-endian.
  bool storesLittleEndian() const noexcept { return mLittleEndian == 1; }

  /// Takes the byte order from open options.
  void chooseByteOrder(NSInteger options) noexcept;

  /// 1 is little-endian, any other value big-endian.
  std::uint8_t mLittleEndian = 0;
};

}  // namespace kestova
