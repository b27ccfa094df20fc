// SPDX-License-Identifier: Apache-2.0
#include "TextFigures.h"

#include "DecodedText.h"
#include "FileFailure.h"

#include <KestovaFoundation/OVStringEncodingGuess.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/TextScanning.h>
#include <KestovaPlatform/UTF8.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace kestova::tool {
namespace {

/// How long a decoded text is in UTF-16 units, and whether a string would keep
/// it in 8 bits.
struct Extent {
  std::uint64_t length = 0;
  bool isASCII = true;
};

CFStringEncoding guessEncoding(InputFile& file) {
  OVStringEncodingGuess guess;
  file.forEachPiece([&](std::span<const std::byte> piece) { guess.addBytes(piece); });
  return guess.encoding();
}

[[noreturn]] void failMalformed(const InputFile& file, CFStringEncoding encoding,
                                std::uint64_t offset) {
  throw FileFailure(file.displayName(),
                    "no " + *CFStringConvertEncodingToIANACharSetName(encoding)->UTF8String() +
                        " from byte " + std::to_string(offset) + " on");
}

Extent measure(InputFile& file, CFStringEncoding encoding) {
  Extent extent;
  file.rewind();
  const auto malformed = DecodedText(file, encoding)
                             .visit({[&](std::string_view bytes) {
                                       extent.length += utf16LengthOfUTF8(bytes);
                                       extent.isASCII = extent.isASCII && isASCII(bytes);
                                     },
                                     [&](std::u16string_view units) {
                                       extent.length += units.size();
                                       extent.isASCII = extent.isASCII && isASCII(units);
                                     }});
  if (malformed) {
    failMalformed(file, encoding, *malformed);
  }
  return extent;
}

/// Counts one text in pieces, just as the library counts a string: words and
/// the line ending among the first bytes of the UTF-8 form, as many as the text
/// has units.
class TextCounters {
 public:
  explicit TextCounters(const Extent& extent)
      : lines_(extent.isASCII ? CRPartner::LF : CRPartner::CR), bytesLeft_(extent.length) {}

  void add(std::string_view utf8) {
    lines_.add(utf8);
    addFirst(utf8.substr(0, bytesLeft_));
  }

  void add(std::u16string_view units) {
    lines_.add(units);
    const UTF8Prefix whole = longestUTF8Prefix(units, bytesLeft_);
    words_.add(units.substr(0, whole.units));
    ending_.add(units.substr(0, whole.units));
    bytesLeft_ -= whole.bytes;
    if (whole.units < units.size()) {
      std::array<char, 4> cut{};
      const UTF8Piece written = writeUTF8(units.substr(whole.units, 2), cut);
      addFirst(
          std::string_view(cut.data(), std::min<std::size_t>(written.bytesWritten, bytesLeft_)));
      bytesLeft_ = 0;
    }
  }

  void fillIn(TextFigures& figures) const {
    figures.lines = lines_.count();
    figures.words = words_.count();
    figures.lineEnding = static_cast<OVLineEnding>(ending_.ending());
  }

 private:
  void addFirst(std::string_view utf8) {
    words_.add(utf8);
    ending_.add(utf8);
    bytesLeft_ -= utf8.size();
  }

  LineCounter lines_;
  ByteRunCounter words_{alphanumericBytes()};
  LastLineEnding ending_;
  std::uint64_t bytesLeft_;  // of the UTF-8 form that words and the ending are
                             // looked for in
};

}  // namespace

TextFigures figuresOf(InputFile& file) {
  file.makeRewindable();
  TextFigures figures{.encoding = guessEncoding(file), .bytes = file.position()};
  TextCounters counters(measure(file, figures.encoding));
  file.rewind();
  DecodedText(file, figures.encoding)
      .visit({[&](std::string_view bytes) { counters.add(bytes); },
              [&](std::u16string_view units) { counters.add(units); }});
  counters.fillIn(figures);
  return figures;
}

}  // namespace kestova::tool
