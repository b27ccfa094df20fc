// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryFileStream.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>

#include "ByteOrder.h"
#include "FileBuffer.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace kestova {
namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

/// The C library's mode: the letter e keeps the descriptor from programs that are started
/// meanwhile. Neither reading nor writing gives a mode that `fopen` refuses.
const char* modeFor(NSInteger options) {
  const bool reads = (options & OVBinaryStreamOpenForReading) != 0;
  const bool writes = (options & OVBinaryStreamOpenForWriting) != 0;
  if (reads) {
    return writes ? "w+be" : "rbe";
  }
  return writes ? "wbe" : "be";
}

Ref<NSError> openError(const Ref<NSString>& path, int number) {
  return NSError::errorWithDomain_code_userInfo(
      NSPOSIXErrorDomain, number,
      NSDictionary::of(
          {{NSLocalizedDescriptionKey, NSString::stringWithFormat("Could not open file %@", path)},
           {NSLocalizedFailureReasonErrorKey,
            NSString::stringWithFormat("OVBinaryStream: failed to open %@. Error (%d) %s", path,
                                       number, strerror(number))}}));
}

}  // namespace

KESTOVA_DEFINE_CLASS(OVBinaryFileStream)

OVBinaryFileStream::OVBinaryFileStream(Ref<NSString> filePath) : mFilePath(std::move(filePath)) {}

OVBinaryFileStream::~OVBinaryFileStream() = default;

Ref<OVBinaryFileStream> OVBinaryFileStream::initWithFilePath(const Ref<NSString>& filePath) {
  require(filePath != nullptr, "filePath != nil");
  return make<OVBinaryFileStream>(copyOf(filePath));
}

bool OVBinaryFileStream::open_error(NSInteger options, Ref<NSError>* error) {
  close();
  chooseByteOrder(options);
  mFile.reset(std::fopen(mFilePath->fileSystemRepresentation().c_str(), modeFor(options)));
  if (mFile) {
    buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    std::setvbuf(mFile.get(), buffer_.get(), _IOFBF, kBufferSize);
    return true;
  }
  mLastErrorCode = errno;
  if (error != nullptr) {
    *error = openError(mFilePath, static_cast<int>(mLastErrorCode));
  }
  return false;
}

void OVBinaryFileStream::close() {
  if (mFile) {
    store(std::fclose(mFile.release()) == 0);
  }
}

void OVBinaryFileStream::flush() {
  if (mFile) {
    store(std::fflush(mFile.get()) == 0);
  }
}

bool OVBinaryFileStream::isEndOfFile() {
  return !mFile || position() == static_cast<NSInteger>(length()) || std::feof(mFile.get()) != 0;
}

NSInteger OVBinaryFileStream::lastErrorCode() const { return mFile ? mLastErrorCode : -1; }

NSUInteger OVBinaryFileStream::length() {
  if (!mFile) {
    return 0;
  }
  const NSInteger remembered = position();
  if (fseeko(mFile.get(), 0, SEEK_END) != 0) {
    mLastErrorCode = errno;
    return 0;
  }
  const NSInteger end = position();
  setPosition(remembered);
  return static_cast<NSUInteger>(end);
}

void OVBinaryFileStream::setLength(NSUInteger) { throwUnrecognizedSelector(*this, "setLength:"); }

NSInteger OVBinaryFileStream::position() {
  if (!mFile) {
    return 0;
  }
  const off_t offset = ftello(mFile.get());
  store(offset >= 0);
  return offset;
}

void OVBinaryFileStream::setPosition(NSInteger position) {
  if (mFile) {
    store(fseeko(mFile.get(), position, SEEK_SET) == 0);
  }
}

std::FILE* OVBinaryFileStream::requireFile() const {
  if (!mFile) [[unlikely]] {
    throw NSException(NSInternalInconsistencyException, "OVBinaryStream has no FILE");
  }
  return mFile.get();
}

void OVBinaryFileStream::store(bool succeeded) { mLastErrorCode = succeeded ? 0 : errno; }

void OVBinaryFileStream::throwShortRead() {
  mLastErrorCode = errno;
  if (std::feof(mFile.get()) != 0) {
    throw NSException(OVBinaryStreamEndOfStreamException, "OVBinaryStream reached EOF");
  }
  throw NSException(OVBinaryStreamReadErrorException,
                    NSString::stringWithFormat("Error %d when reading", mLastErrorCode),
                    NSDictionary::of({{"errno", mLastErrorCode}}));
}

template <class T>
void OVBinaryFileStream::writeValue(T value) {
  const BitsOf<T> bits = encoded(value, storesLittleEndian());
  store(writeBytes(requireFile(), &bits, sizeof bits) == sizeof bits);
}

template <class T>
T OVBinaryFileStream::readValue() {
  BitsOf<T> bits{};
  if (readBytes(requireFile(), &bits, sizeof bits) != sizeof bits) [[unlikely]] {
    throwShortRead();
  }
  mLastErrorCode = 0;
  return decoded<T>(bits, storesLittleEndian());
}

NSUInteger OVBinaryFileStream::writeData_length(const void* bytes, NSUInteger length) {
  const NSUInteger written = writeBytes(requireFile(), bytes, length);
  store(written == length);
  return written;
}

NSUInteger OVBinaryFileStream::readData_length(void* bytes, NSUInteger length) {
  const NSUInteger read = readBytes(requireFile(), bytes, length);
  if (read != length) {
    throwShortRead();
  }
  mLastErrorCode = 0;
  return read;
}

void OVBinaryFileStream::writeDouble(double value) { writeValue(value); }
void OVBinaryFileStream::writeFloat(float value) { writeValue(value); }
void OVBinaryFileStream::writeBool(bool value) { writeValue<std::uint8_t>(value ? 1 : 0); }
void OVBinaryFileStream::writeInt8(std::int8_t value) { writeValue(value); }
void OVBinaryFileStream::writeInt16(std::int16_t value) { writeValue(value); }
void OVBinaryFileStream::writeInt32(std::int32_t value) { writeValue(value); }
void OVBinaryFileStream::writeInt64(std::int64_t value) { writeValue(value); }
void OVBinaryFileStream::writeUInt8(std::uint8_t value) { writeValue(value); }
void OVBinaryFileStream::writeUInt16(std::uint16_t value) { writeValue(value); }
void OVBinaryFileStream::writeUInt32(std::uint32_t value) { writeValue(value); }
void OVBinaryFileStream::writeUInt64(std::uint64_t value) { writeValue(value); }

double OVBinaryFileStream::readDouble() { return readValue<double>(); }
float OVBinaryFileStream::readFloat() { return readValue<float>(); }
bool OVBinaryFileStream::readBool() { return readValue<std::uint8_t>() != 0; }
std::int8_t OVBinaryFileStream::readInt8() { return readValue<std::int8_t>(); }
std::int16_t OVBinaryFileStream::readInt16() { return readValue<std::int16_t>(); }
std::int32_t OVBinaryFileStream::readInt32() { return readValue<std::int32_t>(); }
std::int64_t OVBinaryFileStream::readInt64() { return readValue<std::int64_t>(); }
std::uint8_t OVBinaryFileStream::readUInt8() { return readValue<std::uint8_t>(); }
std::uint16_t OVBinaryFileStream::readUInt16() { return readValue<std::uint16_t>(); }
std::uint32_t OVBinaryFileStream::readUInt32() { return readValue<std::uint32_t>(); }
std::uint64_t OVBinaryFileStream::readUInt64() { return readValue<std::uint64_t>(); }

}  // namespace kestova
