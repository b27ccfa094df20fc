// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryDataStream.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>

#include "ByteOrder.h"

#include <cstring>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVBinaryDataStream)

OVBinaryDataStream::OVBinaryDataStream(Ref<NSData> data) { setData(std::move(data)); }

Ref<OVBinaryDataStream> OVBinaryDataStream::initWithData(const Ref<NSData>& data) {
  return make<OVBinaryDataStream>(data ? data : Ref<NSData>(NSMutableData::data()));
}

void OVBinaryDataStream::setData(Ref<NSData> data) {
  mData = std::move(data);
  growable_ = dynamic_cast<NSMutableData*>(mData.get());
}

bool OVBinaryDataStream::open_error(NSInteger options, Ref<NSError>*) {
  close();
  chooseByteOrder(options);
  if ((options & OVBinaryStreamOpenForWriting) != 0 && growable_ == nullptr) {
    setData(NSMutableData::dataWithData(mData));
  }
  return true;
}

bool OVBinaryDataStream::isEndOfFile() { return mPosition == length(); }

NSUInteger OVBinaryDataStream::length() { return mData->length(); }

void OVBinaryDataStream::setLength(NSUInteger length) { growable().setLength(length); }

void OVBinaryDataStream::setPosition(NSInteger position) {
  const auto target = static_cast<NSUInteger>(position);
  if (target > length()) {
    growable().setLength(target);
  }
  mPosition = target;
}

NSMutableData& OVBinaryDataStream::growable() const {
  require(growable_ != nullptr, "the buffer is growable or the stream was opened for writing");
  return *growable_;
}

void OVBinaryDataStream::requireData() const {
  if (!mData) [[unlikely]] {
    throw NSException(NSInternalInconsistencyException, "OVBinaryDataStream has no data");
  }
}

/// The next `count` bytes for writing, and moves behind them. Writing at the end of a growable
/// buffer is what streams are mostly for.
inline std::byte* OVBinaryDataStream::placeFor(NSUInteger count) {
  if (growable_ != nullptr && growable_->length() == mPosition) [[likely]] {
    mPosition += count;
    return growable_->extend(count);
  }
  return placeWithin(count);
}

/// The same anywhere. Bytes between the end and a position behind it become zero; those that the
/// caller overwrites are not cleared first.
std::byte* OVBinaryDataStream::placeWithin(NSUInteger count) {
  requireData();
  NSMutableData& buffer = growable();
  const NSUInteger length = buffer.length();
  if (mPosition > length) [[unlikely]] {
    buffer.setLength(mPosition);
  }
  const NSUInteger overlap = buffer.length() - mPosition;
  if (overlap < count) {
    buffer.extend(count - overlap);
  }
  std::byte* place = buffer.mutableBytes() + mPosition;
  mPosition += count;
  return place;
}

/// The next `count` bytes for reading, and moves behind them.
const std::byte* OVBinaryDataStream::take(NSUInteger count) {
  requireData();
  const NSUInteger length = mData->length();
  if (mPosition > length || count > length - mPosition) [[unlikely]] {
    mPosition = length;
    throw NSException(OVBinaryStreamEndOfStreamException, "OVBinaryStream reached EOF");
  }
  const std::byte* place = mData->bytes() + mPosition;
  mPosition += count;
  return place;
}

template <class T>
void OVBinaryDataStream::writeValue(T value) {
  const BitsOf<T> bits = encoded(value, storesLittleEndian());
  std::memcpy(placeFor(sizeof bits), &bits, sizeof bits);
}

template <class T>
T OVBinaryDataStream::readValue() {
  BitsOf<T> bits;
  std::memcpy(&bits, take(sizeof bits), sizeof bits);
  return decoded<T>(bits, storesLittleEndian());
}

NSUInteger OVBinaryDataStream::writeData_length(const void* bytes, NSUInteger length) {
  std::byte* place = placeFor(length);
  if (length != 0) {
    std::memcpy(place, bytes, length);
  }
  return length;
}

NSUInteger OVBinaryDataStream::readData_length(void* bytes, NSUInteger length) {
  const std::byte* place = take(length);
  if (length != 0) {
    std::memcpy(bytes, place, length);
  }
  return length;
}

void OVBinaryDataStream::writeDouble(double value) { writeValue(value); }
void OVBinaryDataStream::writeFloat(float value) { writeValue(value); }
void OVBinaryDataStream::writeBool(bool value) { writeValue<std::uint8_t>(value ? 1 : 0); }
void OVBinaryDataStream::writeInt8(std::int8_t value) { writeValue(value); }
void OVBinaryDataStream::writeInt16(std::int16_t value) { writeValue(value); }
void OVBinaryDataStream::writeInt32(std::int32_t value) { writeValue(value); }
void OVBinaryDataStream::writeInt64(std::int64_t value) { writeValue(value); }
void OVBinaryDataStream::writeUInt8(std::uint8_t value) { writeValue(value); }
void OVBinaryDataStream::writeUInt16(std::uint16_t value) { writeValue(value); }
void OVBinaryDataStream::writeUInt32(std::uint32_t value) { writeValue(value); }
void OVBinaryDataStream::writeUInt64(std::uint64_t value) { writeValue(value); }

double OVBinaryDataStream::readDouble() { return readValue<double>(); }
float OVBinaryDataStream::readFloat() { return readValue<float>(); }
bool OVBinaryDataStream::readBool() { return readValue<std::uint8_t>() != 0; }
std::int8_t OVBinaryDataStream::readInt8() { return readValue<std::int8_t>(); }
std::int16_t OVBinaryDataStream::readInt16() { return readValue<std::int16_t>(); }
std::int32_t OVBinaryDataStream::readInt32() { return readValue<std::int32_t>(); }
std::int64_t OVBinaryDataStream::readInt64() { return readValue<std::int64_t>(); }
std::uint8_t OVBinaryDataStream::readUInt8() { return readValue<std::uint8_t>(); }
std::uint16_t OVBinaryDataStream::readUInt16() { return readValue<std::uint16_t>(); }
std::uint32_t OVBinaryDataStream::readUInt32() { return readValue<std::uint32_t>(); }
std::uint64_t OVBinaryDataStream::readUInt64() { return readValue<std::uint64_t>(); }

}  // namespace kestova
