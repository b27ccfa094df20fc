// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/CFStringEncodings.h>

#include <unicode/ucnv.h>

#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace kestova {

/// One of ICU's converters, which refuses what it cannot convert and loses nothing.
class Converter {
 public:
  /// Nothing when ICU has none of that name.
  static std::optional<Converter> open(const char* name);

  /// Another one in the same state.
  Converter clone() const;

  /// Forgets what was converted.
  void reset();

  /// The most bytes that one unit can take.
  std::size_t maximumSize() const;

  /// Converts as ICU does: moves both views behind what was used, and answers ICU's error. One call
  /// encodes at most `kPiece` units.
  static constexpr std::size_t kPiece = 512;
  UErrorCode decode(std::string_view& bytes, std::span<char16_t>& buffer, bool isEnd);
  UErrorCode encode(std::u16string_view& units, std::span<char>& buffer, bool isEnd);

  /// How far back what the last error is about begins. Bytes behind it may have been read already.
  std::size_t refusedBytes() const;
  std::size_t refusedUnits() const;

 private:
  struct Closing {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
  };
  using Handle = std::unique_ptr<UConverter, Closing>;

  explicit Converter(Handle handle) : handle_(std::move(handle)) {}

  /// Whether the bytes 1A, 1C and 7F are each taken for the control character of another one.
  bool findTurnedControls();

  Handle handle_;
  bool hasTurnedControls_ = false;
};

/// The converter of an encoding that is no form of Unicode with own code; nothing when there is
/// none.
std::optional<Converter> openConverter(CFStringEncoding encoding);

}  // namespace kestova
