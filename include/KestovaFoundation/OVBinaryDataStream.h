// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVBinaryStream.h>

namespace kestova {

/// A binary stream over bytes in memory.
///
/// It may be read as soon as it is made, big-endian until it is opened. A growable buffer
/// (NSMutableData) that the caller hands in is shared and written in place; a read-only one is
/// replaced by a copy when the stream is opened for writing, so that the caller's stays as it is.
/// Writing into a read-only buffer without opening for writing is a broken contract.
///
/// A read past the end moves the position to the end and throws OVBinaryStreamEndOfStreamException;
/// no part of a value is delivered. Writes grow the buffer; they don't fail.
///
/// Threads: one at a time. Destroying it gives the buffer up.
class KESTOVA_FOUNDATION_EXPORT OVBinaryDataStream : public OVBinaryStream {
  KESTOVA_CLASS(OVBinaryDataStream, OVBinaryStream)

 public:
  /// A stream at position 0 over the buffer, which is shared; over a new growable one for null.
  static Ref<OVBinaryDataStream> initWithData(const Ref<NSData>& data);
  static Ref<OVBinaryDataStream> init() { return initWithData(nullptr); }

  /// Chooses the byte order and, for writing, makes the buffer growable. Always true; the position
  /// stays.
  bool open_error(NSInteger options, Ref<NSError>* error = nullptr) override;

  /// Do nothing.
  void close() override {}
  void flush() override {}

  /// Always null.
  std::FILE* file() const override { return nullptr; }

  /// The buffer as it is now, shared.
  Ref<NSData> data() const override { return mData; }

  /// Whether the position is exactly the length.
  bool isEndOfFile() override;

  /// Always 0.
  NSInteger lastErrorCode() const override { return 0; }

  NSUInteger length() override;

  /// Cuts the buffer off or lengthens it with zero bytes. The position stays, even behind the end.
  void setLength(NSUInteger length) override;

  NSInteger position() override { return static_cast<NSInteger>(mPosition); }

  /// Moves there; behind the end, the buffer is lengthened with zero bytes up to it.
  void setPosition(NSInteger position) override;

  NSUInteger writeData_length(const void* bytes, NSUInteger length) override;
  void writeDouble(double value) override;
  void writeFloat(float value) override;
  void writeBool(bool value) override;
  void writeInt8(std::int8_t value) override;
  void writeInt16(std::int16_t value) override;
  void writeInt32(std::int32_t value) override;
  void writeInt64(std::int64_t value) override;
  void writeUInt8(std::uint8_t value) override;
  void writeUInt16(std::uint16_t value) override;
  void writeUInt32(std::uint32_t value) override;
  void writeUInt64(std::uint64_t value) override;

  NSUInteger readData_length(void* bytes, NSUInteger length) override;
  double readDouble() override;
  float readFloat() override;
  bool readBool() override;
  std::int8_t readInt8() override;
  std::int16_t readInt16() override;
  std::int32_t readInt32() override;
  std::int64_t readInt64() override;
  std::uint8_t readUInt8() override;
  std::uint16_t readUInt16() override;
  std::uint32_t readUInt32() override;
  std::uint64_t readUInt64() override;

 protected:
  explicit OVBinaryDataStream(Ref<NSData> data);

  void setData(Ref<NSData> data);

 private:
  template <class T>
  void writeValue(T value);
  template <class T>
  T readValue();
  std::byte* placeFor(NSUInteger count);
  std::byte* placeWithin(NSUInteger count);
  const std::byte* take(NSUInteger count);
  NSMutableData& growable() const;
  void requireData() const;

  Ref<NSData> mData;
  NSUInteger mPosition = 0;
  /// `mData` where it is growable, else null: known once, asked at every write.
  NSMutableData* growable_ = nullptr;
};

}  // namespace kestova
