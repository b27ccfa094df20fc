// SPDX-License-Identifier: Apache-2.0
#include "DecodedText.h"

#include <KestovaPlatform/TextDecoder.h>
#include <KestovaPlatform/UTF8.h>

#include <cstring>
#include <vector>

namespace kestova::tool {
namespace {

constexpr std::size_t kPieceSize = std::size_t{256} << 10;

/// A window on the file that moves on by what its user has taken.
class ReadWindow {
 public:
  explicit ReadWindow(InputFile& file) : file_(file), buffer_(kPieceSize) { fill(); }

  std::string_view bytes() const { return {buffer_.data(), size_}; }
  bool isLast() const { return size_ < buffer_.size(); }
  std::uint64_t offset() const { return offset_; }

  void take(std::size_t count) {
    offset_ += count;
    size_ -= count;
    std::memmove(buffer_.data(), buffer_.data() + count, size_);
    if (!ended_) {
      fill();
    }
  }

 private:
  void fill() {
    const std::span<char> room(buffer_.data() + size_, buffer_.size() - size_);
    const std::size_t count = file_.read(std::as_writable_bytes(room));
    ended_ = count < room.size();
    size_ += count;
  }

  InputFile& file_;
  std::vector<char> buffer_;
  std::size_t size_ = 0;
  std::uint64_t offset_ = 0;
  bool ended_ = false;
};

}  // namespace

std::optional<std::uint64_t> DecodedText::visit(const Visitor& visitor) {
  return encoding_ == kCFStringEncodingUTF8 ? visitUTF8(visitor) : visitDecoded(visitor);
}

std::optional<std::uint64_t> DecodedText::visitUTF8(const Visitor& visitor) {
  ReadWindow window(file_);
  const std::string_view mark = byteOrderMarkOfEncoding(kCFStringEncodingUTF8);
  if (window.bytes().starts_with(mark)) {
    window.take(mark.size());
  }
  while (!window.bytes().empty()) {
    // The last character of a piece may be cut: it comes again with what follows.
    const std::size_t whole = wellFormedLengthOfUTF8(window.bytes());
    visitor.bytes(window.bytes().substr(0, whole));
    const bool isCut = !window.isLast() && window.bytes().size() - whole < 4;
    if (whole < window.bytes().size() && !isCut) {
      return window.offset() + whole;
    }
    window.take(whole);
  }
  return std::nullopt;
}

std::optional<std::uint64_t> DecodedText::visitDecoded(const Visitor& visitor) {
  auto decoder = TextDecoder::decoderForEncoding(encoding_, LeadingMark::kIsNotPartOfText);
  std::vector<char16_t> units(kPieceSize);
  ReadWindow window(file_);
  for (;;) {
    const DecodedPiece piece = decoder->decode(
        window.bytes(), units, window.isLast() ? TextInput::kEnds : TextInput::kGoesOn);
    visitor.units({units.data(), piece.unitsWritten});
    if (piece.end == ConversionEnd::kRefused) {
      return window.offset() + piece.bytesRead - piece.refusedBytes;
    }
    const bool isDone = window.isLast() && piece.end == ConversionEnd::kInputUsed;
    window.take(piece.bytesRead);
    if (isDone) {
      return std::nullopt;
    }
  }
}

}  // namespace kestova::tool
