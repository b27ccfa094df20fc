// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/TextScanning.h>
#include <KestovaPlatform/UTF8.h>

#include "text/TextScanningVectors.h"

#include <algorithm>
#include <type_traits>

namespace kestova {

namespace {

constexpr std::size_t kEndless = std::string_view::npos;

template <class Unit>
const TextScans<Unit>& scans() noexcept {
  if constexpr (std::is_same_v<Unit, char>) {
    return byteScans();
  } else {
    return unitScans();
  }
}

bool isHalf(char16_t unit, char16_t firstOfHalves) noexcept {
  return (unit & 0xFC00) == firstOfHalves;
}

}  // namespace

std::size_t countOf(std::string_view text, char byte) noexcept {
  return byteScans().nthUnit(text, byte, kEndless).count;
}

std::size_t countOf(std::u16string_view text, char16_t unit) noexcept {
  return unitScans().nthUnit(text, unit, kEndless).count;
}

std::size_t firstLineBreak(std::string_view text) noexcept { return byteScans().firstBreak(text); }

std::size_t firstLineBreak(std::u16string_view text) noexcept {
  return unitScans().firstBreak(text);
}

std::size_t lastLineBreak(std::string_view text) noexcept { return byteScans().lastBreak(text); }

std::size_t lastLineBreak(std::u16string_view text) noexcept { return unitScans().lastBreak(text); }

template <class Unit>
std::optional<std::size_t> LineEndingCounter::scan(std::basic_string_view<Unit> piece,
                                                   std::size_t wanted) noexcept {
  NthMatch match;
  switch (ending_) {
    case LineEnding::LF:
      match = scans<Unit>().nthUnit(piece, Unit{'\n'}, wanted);
      break;
    case LineEnding::CR:
      match = scans<Unit>().nthUnit(piece, Unit{'\r'}, wanted);
      break;
    case LineEnding::CRLF:
      match = scans<Unit>().nthCRLF(piece, afterCR_, wanted);
      break;
  }
  count_ += match.count;
  return match.index == piece.npos ? std::nullopt : std::optional(match.index);
}

void LineEndingCounter::add(std::string_view piece) noexcept { scan(piece, kEndless); }

void LineEndingCounter::add(std::u16string_view piece) noexcept { scan(piece, kEndless); }

std::optional<std::size_t> LineEndingCounter::addUntil(std::string_view piece,
                                                       std::size_t wanted) noexcept {
  return scan(piece, wanted - count_);
}

std::optional<std::size_t> LineEndingCounter::addUntil(std::u16string_view piece,
                                                       std::size_t wanted) noexcept {
  return scan(piece, wanted - count_);
}

template <class Unit>
void LineCounter::scan(std::basic_string_view<Unit> piece) noexcept {
  breaks_ += scans<Unit>().countBreaks(piece, partner_, started_, afterCR_);
  started_ = started_ || !piece.empty();
}

void LineCounter::add(std::string_view piece) noexcept { scan(piece); }

void LineCounter::add(std::u16string_view piece) noexcept { scan(piece); }

template <class Unit>
void LastLineEnding::scan(std::basic_string_view<Unit> piece) noexcept {
  if (piece.empty()) {
    return;
  }
  const std::size_t last = scans<Unit>().lastBreak(piece);
  if (last != piece.npos && (started_ || last > 0)) {
    const bool followsCR = last > 0 ? piece[last - 1] == '\r' : afterCR_;
    ending_ = piece[last] == '\r' ? LineEnding::CR : followsCR ? LineEnding::CRLF : LineEnding::LF;
  }
  started_ = true;
  afterCR_ = piece.back() == '\r';
}

void LastLineEnding::add(std::string_view piece) noexcept { scan(piece); }

void LastLineEnding::add(std::u16string_view piece) noexcept { scan(piece); }

const ByteSet& alphanumericBytes() {
  static const ByteSet set([letters = NSCharacterSet::alphanumericCharacterSet()](auto byte) {
    return letters->characterIsMember(static_cast<unichar>(static_cast<std::int8_t>(byte)));
  });
  return set;
}

template <class Unit>
std::size_t ByteRunCounter::scan(std::basic_string_view<Unit> piece) noexcept {
  RunTally tally{count_, 0, inRun_};
  scans<Unit>().countRuns(piece, *set_, tally);
  count_ = tally.runs;
  inRun_ = tally.inRun;
  return tally.bytes;
}

void ByteRunCounter::add(std::string_view bytes) noexcept { scan(bytes); }

/// While the limit is far, as many units are added as stay within it whatever they are. The last
/// few, of which a character may be cut, are better made bytes.
void ByteRunCounter::add(std::u16string_view units, std::size_t limit) noexcept {
  constexpr std::size_t kFew = 256;
  while (limit > kFew && !units.empty()) {
    const auto piece = wholeCharacters(units, limit / 3);
    limit -= scan(piece);
    units.remove_prefix(piece.size());
  }
  char buffer[kFew + 3];
  const std::size_t bytes = writeUTF8(units, buffer).bytesWritten;
  scan(std::string_view(buffer, std::min(bytes, limit)));
}

std::u16string_view wholeCharacters(std::u16string_view units, std::size_t count) noexcept {
  const bool partsPair = count > 0 && count < units.size() && isHalf(units[count - 1], 0xD800) &&
                         isHalf(units[count], 0xDC00);
  return units.substr(0, partsPair ? count - 1 : count);
}

/// As many units as fit whatever they are, again and again, and then single characters.
UTF8Prefix longestUTF8Prefix(std::u16string_view units, std::size_t limit) noexcept {
  UTF8Prefix longest;
  while (true) {
    const auto rest = units.substr(longest.units);
    const std::size_t left = limit - longest.bytes;
    const auto sure = wholeCharacters(rest, std::max<std::size_t>(left / 3, 1));
    const auto piece = sure.empty() ? rest.substr(0, 2) : sure;
    const std::size_t bytes = utf8LengthOfUTF16(piece);
    if (piece.empty() || bytes > left) {
      return longest;
    }
    longest.units += piece.size();
    longest.bytes += bytes;
  }
}

}  // namespace kestova
