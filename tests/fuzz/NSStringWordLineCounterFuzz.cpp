// SPDX-License-Identifier: Apache-2.0
// Any UTF-16 units, in both storages: every count and position is that of the counts made one byte
// at a time. The first bytes choose the index, the line, the tab length and the kind of ending; of
// the others, one below 0x80 is a unit of its own and any other one makes a unit with the next.
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>

#include "../support/PlainTextCounts.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace kestova;
using kestova::testing::PlainTextCounts;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

struct Questions {
  std::uint16_t index = 0;
  std::uint16_t line = 0;
  std::uint8_t tabLength = 0;
  std::int8_t ending = 0;
};

std::u16string unitsOf(const std::uint8_t* bytes, const std::uint8_t* end) {
  std::u16string units;
  while (bytes != end) {
    const unsigned first = *bytes++;
    const unsigned upper = first < 0x88 ? first & 7U : first;
    const bool isPair = first >= 0x80 && bytes != end;
    units.push_back(static_cast<char16_t>(isPair ? upper << 8 | *bytes++ : first & 0x7FU));
  }
  return units;
}

void checkTotals(const Ref<NSString>& text, const PlainTextCounts& plain, OVLineEnding ending) {
  require(lineEnding(text) == plain.lineEnding());
  require(wordCount(text) == plain.wordCount());
  require(lineCount(text) == plain.lineCount());
  require(lineCountWithLineEnding(text, ending) == plain.lineCount(ending));
}

void checkPlaces(const Ref<NSString>& text, const PlainTextCounts& plain, const Questions& ask) {
  const auto ending = static_cast<OVLineEnding>(ask.ending);
  require(lineCountAtIndex(text, ask.index) == plain.lineCountAtIndex(ask.index));
  require(indexOfLine(text, ask.line) == plain.indexOfLine(ask.line));
  require(lineCountAtIndex_withLineEnding(text, ask.index, ending) ==
          plain.lineCountAtIndex(ask.index, ending));
  require(indexOfLine_withLineEnding(text, ask.line, ending) ==
          plain.indexOfLine(ask.line, ending));
  require(lineAndCharacterPositionAtIndex_withTabLength(text, ask.index, ask.tabLength) ==
          plain.position(ask.index, ask.tabLength));
  require(lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, ask.index,
                                                                       ask.tabLength, ending) ==
          plain.position(ask.index, ask.tabLength, ending));
  require(lineAndCharacterPositionAtIndex_withLineEnding(text, ask.index, ending) ==
          plain.plainPosition(ask.index, ending));
}

void check(const Ref<NSString>& text, const std::u16string& units, const Questions& ask) {
  const PlainTextCounts plain(units, text->isEightBit());
  checkTotals(text, plain, static_cast<OVLineEnding>(ask.ending));
  checkPlaces(text, plain, ask);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Questions ask;
  if (size < sizeof(ask)) {
    return 0;
  }
  std::memcpy(&ask, bytes, sizeof(ask));
  const std::u16string units = unitsOf(bytes + sizeof(ask), bytes + size);
  check(NSString::stringWithCharacters_length(units.data(), units.size()), units, ask);
  check(NSString::stringWithUTF16Storage(units), units, ask);
  return 0;
}
