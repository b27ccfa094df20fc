// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/CFStringEncodings.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace kestova {

/// Guesses the encoding of a text whose bytes come piece by piece.
///
///     OVStringEncodingGuess guess;
///     while (!(piece = nextPiece()).empty() && !guess.isSettled()) {
///       guess.addBytes(piece);
///     }
///     CFStringEncoding encoding = guess.encoding();
///
/// The rules are those of `guessStringEncodingForData` (NSStringEncodingStuff.h), which asks one of
/// these. Nothing is decoded, allocated or kept but a few bytes; checking runs at about the speed
/// of reading memory.
///
/// Threads: one at a time.
class KESTOVA_FOUNDATION_EXPORT OVStringEncodingGuess {
 public:
  /// Adds the bytes that follow those added before.
  void addBytes(std::span<const std::byte> bytes);

  /// The guess for the text that ends here; for no bytes UTF-8. Never
  /// `kCFStringEncodingInvalidId`.
  CFStringEncoding encoding() const;

  /// The guess from a byte-order mark alone; `kCFStringEncodingInvalidId` without one.
  CFStringEncoding encodingOfMark() const;

  /// Whether further bytes cannot change the guess any more.
  bool isSettled() const;

 private:
  /// Whether the bytes of a trial are well-formed, as long as they come.
  class Trial {
   public:
    bool isRefuted() const { return isRefuted_; }
    bool hasSucceeded() const { return !isRefuted_ && cutLength_ == 0; }
    void addUTF8(std::string_view bytes);
    void addUTF16(std::string_view bytes, std::endian order);

   private:
    template <class Form>
    void add(std::string_view bytes, const Form& form);
    template <class Form>
    void keepCut(std::string_view rest, const Form& form);

    /// Invariant: a character that lacks bytes, which are to come.
    std::array<char, 3> cut_{};
    std::size_t cutLength_ = 0;
    bool isRefuted_ = false;
  };

  void tryBytes(std::string_view bytes);
  bool looksLikeUTF16() const;
  std::endian order() const;

  /// Invariant: the first bytes, as many as there are. The trials begin with the second one, which
  /// tells the order of UTF-16.
  std::array<unsigned char, 4> front_{};
  std::uint64_t length_ = 0;
  Trial utf8_;
  Trial utf16_;
};

}  // namespace kestova
