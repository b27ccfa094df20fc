// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVBinaryStream.h>

#include <cstdio>
#include <memory>

namespace kestova {

/// A binary stream over a buffered file of the C library.
///
///     auto stream = OVBinaryFileStream::initWithFilePath("/tmp/values");
///     Ref<NSError> error;
///     if (!stream->open_error(OVBinaryStreamOpenForWriting, &error)) { … }
///     stream->writeDouble(2.5);
///     if (stream->lastErrorCode() != 0) { … }        // writes report here, they don't throw
///
/// Closed, open, closed: opening again closes first, so one stream may write a file and then read
/// it. Closed, its length and position are 0, it is at its end, its error code is -1, and reads and
/// writes throw NSInternalInconsistencyException.
///
/// A read that gets less than it asked for throws OVBinaryStreamEndOfStreamException at the end of
/// the file, else OVBinaryStreamReadErrorException; what it did get stays consumed.
///
/// Threads: one at a time. Destroying it closes the file.
class KESTOVA_FOUNDATION_EXPORT OVBinaryFileStream : public OVBinaryStream {
  KESTOVA_CLASS(OVBinaryFileStream, OVBinaryStream)

 public:
  /// A closed stream, big-endian until opened. A null path ends the process.
  static Ref<OVBinaryFileStream> initWithFilePath(const Ref<NSString>& filePath);

  /// Opens the file: for reading an existing one, for writing one that is made or emptied. For both
  /// it is emptied as well: this is no mode for changing a file in place. For neither it fails.
  ///
  /// A failure answers false and an error of NSPOSIXErrorDomain with the errno value as code; the
  /// byte order is chosen all the same.
  bool open_error(NSInteger options, Ref<NSError>* error = nullptr) override;

  /// Closes the file; does nothing when none is open.
  void close() override;

  /// Hands what is buffered to the system; does nothing when no file is open.
  void flush() override;

  /// The open file, for reading and writing between the stream's own operations; null when none is
  /// open. It stays the stream's.
  std::FILE* file() const override { return mFile.get(); }

  /// Always null.
  Ref<NSData> data() const override { return nullptr; }

  /// Whether the position is the length, or a read has met the end; true when no file is open.
  bool isEndOfFile() override;

  /// The errno value of the last failure, 0 after a success, -1 when no file is open. Opening leaves
  /// it: so a failure to close or to open shows once the stream is open again.
  NSInteger lastErrorCode() const override;

  /// The file's size; 0 when no file is open or it can't be told. Leaves the position.
  NSUInteger length() override;

  /// Not supported: throws NSInvalidArgumentException and never cuts the file.
  void setLength(NSUInteger length) override;

  /// 0 when no file is open, -1 when it can't be told.
  NSInteger position() override;

  /// Moves there; nothing is written by moving behind the end. Does nothing when no file is open.
  void setPosition(NSInteger position) override;

  /// Writes bytes and answers how many were written: fewer only when `lastErrorCode` says why.
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
  explicit OVBinaryFileStream(Ref<NSString> filePath);
  ~OVBinaryFileStream() override;

 private:
  struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  template <class T>
  void writeValue(T value);
  template <class T>
  T readValue();
  std::FILE* requireFile() const;
  void store(bool succeeded);
  [[noreturn]] void throwShortRead();

  const Ref<NSString> mFilePath;
  /// The file's buffer: larger than the C library's own, and living as long as the file.
  std::unique_ptr<char[]> buffer_;
  std::unique_ptr<std::FILE, FileCloser> mFile;
  NSInteger mLastErrorCode = 0;
};

}  // namespace kestova
