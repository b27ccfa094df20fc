// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>

#include <cstddef>
#include <span>

namespace kestova {

class NSError;
class NSMutableData;
class NSURL;

/// How data is written to a file, as a sum of bits.
enum NSDataWritingOptions : NSUInteger {
  NSDataWritingAtomic = 1,              ///< whole or not at all
  NSDataWritingWithoutOverwriting = 2,  ///< only where there is nothing yet
};

/// How data is searched, as a sum of bits.
enum NSDataSearchOptions : NSUInteger {
  NSDataSearchBackwards = 1,  ///< the last match instead of the first one
  NSDataSearchAnchored = 2,   ///< only a match at the beginning, with the bit above at the end
};

/// A run of bytes, immutable here.
///
///     Ref<NSData> magic = NSData::dataWithBytes_length("\x7f" "ELF", 4);
///
/// Threads: immutable, so any number of threads may read it at a time.
class KESTOVA_PLATFORM_EXPORT NSData : public NSObject {
  KESTOVA_CLASS(NSData, NSObject)

 public:
  /// No bytes.
  static Ref<NSData> data();

  /// A copy of the bytes; `bytes` may be null when `length` is 0.
  static Ref<NSData> dataWithBytes_length(const void* bytes, NSUInteger length);

  /// A copy of another's bytes; null for null.
  static Ref<NSData> dataWithData(const Ref<NSData>& data);

  /// The bytes of `other`, taken over without copying, which is empty then: the way to make data of
  /// bytes that are written one after the other.
  static Ref<NSData> taking(NSMutableData& other);

  NSUInteger length() const noexcept { return length_; }

  /// The first byte; null or not, it must not be read when the length is 0. Valid until the data
  /// changes or goes.
  const std::byte* bytes() const noexcept { return bytes_; }

  std::span<const std::byte> span() const noexcept { return {bytes_, length_}; }

  /// Copies the bytes of a range out; throws NSRangeException past the end.
  void getBytes_range(void* buffer, NSRange range) const;

  /// A copy of a range; throws NSRangeException past the end.
  Ref<NSData> subdataWithRange(NSRange range) const;

  /// Where the bytes of `data` stand for the first time in a range, wholly in it; {NSNotFound, 0}
  /// when they don't, or when there are none. `options` is a sum of NSDataSearchOptions. Null
  /// throws NSInvalidArgumentException, a range past the end NSRangeException.
  NSRange rangeOfData_options_range(const Ref<NSData>& data, NSUInteger options,
                                    NSRange range) const;

  /// Whether both have the same bytes. Null is equal to nothing.
  bool isEqualToData(const Ref<NSData>& other) const;

  /// \name Files
  ///
  /// All of these block. What fails answers null or false and, where it takes one, an error in
  /// NSCocoaErrorDomain (see FoundationErrors.h) with the path and the system's own error in it; so
  /// do a null path or URL and a URL of no file.
  /// @{

  /// A file's whole contents.
  static Ref<NSData> dataWithContentsOfFile(const Ref<NSString>& path);

  /// The same; `options` is 0.
  static Ref<NSData> dataWithContentsOfFile_options_error(const Ref<NSString>& path,
                                                          NSUInteger options,
                                                          Ref<NSError>* error = nullptr);
  static Ref<NSData> dataWithContentsOfURL(const Ref<NSURL>& url);
  static Ref<NSData> dataWithContentsOfURL_options_error(const Ref<NSURL>& url, NSUInteger options,
                                                         Ref<NSError>* error = nullptr);

  /// Writes the bytes to a file, whole or not at all when `atomically` is true: under another name
  /// in the same folder first. When that fails the old file is as it was. Permissions of an old
  /// file and symbolic links to it are kept. When `atomically` is false the file is written in
  /// place, and a failure may leave a part.
  bool writeToFile_atomically(const Ref<NSString>& path, bool atomically) const;
  bool writeToURL_atomically(const Ref<NSURL>& url, bool atomically) const;

  /// The same; `options` is a sum of NSDataWritingOptions. Both bits at once throw
  /// NSInvalidArgumentException.
  bool writeToFile_options_error(const Ref<NSString>& path, NSUInteger options,
                                 Ref<NSError>* error = nullptr) const;
  bool writeToURL_options_error(const Ref<NSURL>& url, NSUInteger options,
                                Ref<NSError>* error = nullptr) const;

  /// @}

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// The bytes in hex, in groups of four: "<7f454c46 02>".
  Ref<NSString> description() const override;

  id copy() const override;
  id mutableCopy() const override;

 protected:
  NSData() noexcept = default;
  NSData(const void* bytes, NSUInteger length);
  ~NSData() override;

  /// Makes room for `capacity` bytes in all; what lies behind the length stays undefined.
  void reserve(NSUInteger capacity);

  /// Invariant: `length_` bytes of the `capacity_` allocated ones at `bytes_` are defined.
  std::byte* bytes_ = nullptr;
  NSUInteger length_ = 0;
  NSUInteger capacity_ = 0;
};

/// A run of bytes that grows and changes. Growing by small steps costs a constant each, on average.
/// Growing beyond what there is memory for throws std::bad_alloc and changes nothing.
///
/// Threads: one at a time.
class KESTOVA_PLATFORM_EXPORT NSMutableData : public NSData {
  KESTOVA_CLASS(NSMutableData, NSData)

 public:
  /// No bytes yet.
  static Ref<NSMutableData> data();
  static Ref<NSMutableData> init() { return data(); }

  /// No bytes yet, room for that many.
  static Ref<NSMutableData> dataWithCapacity(NSUInteger capacity);

  /// That many zero bytes.
  static Ref<NSMutableData> dataWithLength(NSUInteger length);
  static Ref<NSMutableData> dataWithBytes_length(const void* bytes, NSUInteger length);
  static Ref<NSMutableData> dataWithData(const Ref<NSData>& data);

  /// The first byte, for changing it. Valid until the length changes.
  std::byte* mutableBytes() noexcept { return bytes_; }

  /// Cuts the data off, or lengthens it with zero bytes.
  void setLength(NSUInteger length);
  void increaseLengthBy(NSUInteger extra);

  /// `bytes` may be null when `length` is 0, and must not lie in this data.
  void appendBytes_length(const void* bytes, NSUInteger length);

  /// Adds another's bytes, or its own once more. Null throws NSInvalidArgumentException.
  void appendData(const Ref<NSData>& other);

  /// Overwrites a range, which may end behind the data: it then grows. Throws NSRangeException when
  /// the range begins behind the end. `bytes` must not lie in this data.
  void replaceBytesInRange_withBytes(NSRange range, const void* bytes);

  /// Puts `length` bytes in place of a range; throws NSRangeException past the end. `bytes` must
  /// not lie in this data, and may be null when `length` is 0, else NSInvalidArgumentException is
  /// thrown. The bytes behind the range move.
  void replaceBytesInRange_withBytes_length(NSRange range, const void* bytes, NSUInteger length);

  /// Overwrites a range with zero bytes, on the same terms.
  void resetBytesInRange(NSRange range);

  /// Null throws NSInvalidArgumentException.
  void setData(const Ref<NSData>& other);

  /// Room for `extra` more bytes behind the present end, left undefined, and the length raised over
  /// them: what a writer fills at once. Answers where they begin.
  std::byte* extend(NSUInteger extra) {
    if (extra > capacity_ - length_) [[unlikely]] {
      grow(extra);
    }
    std::byte* end = bytes_ + length_;
    length_ += extra;
    return end;
  }

  id copy() const override;

 protected:
  NSMutableData() noexcept = default;
  NSMutableData(const void* bytes, NSUInteger length) : NSData(bytes, length) {}

 private:
  /// Makes room for `extra` more bytes, at least doubling what there is.
  void grow(NSUInteger extra);
};

}  // namespace kestova
