// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/UTF8.h>

#include <gtest/gtest.h>

#include "PlainUTF8.h"
#include "RandomRun.h"
#include "Sanitizers.h"
#include "VectorTargets.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

using namespace std::string_view_literals;
using testing::caseStride;
using testing::forEachVectorTarget;
using testing::inUTF16;
using testing::isBetween;
using testing::plainLengthOfUTF16;
using testing::plainLengthOfUTF8;
using testing::plainUTF8Of;
using testing::RandomRun;
using testing::shareOf;
using testing::underSanitizer;

// ---- Verbs

/// A copy whose ends are the ends of its memory, so that a sanitizer sees a look beyond either.
template <class Unit>
std::vector<Unit> exactCopy(std::basic_string_view<Unit> text) {
  return {text.begin(), text.end()};
}

template <class Unit>
std::basic_string_view<Unit> viewOf(const std::vector<Unit>& units) {
  return {units.data(), units.size()};
}

void expectCheckedAsByModel(std::string_view bytes) {
  const std::size_t length = plainLengthOfUTF8(bytes);
  ASSERT_EQ(wellFormedLengthOfUTF8(bytes), length) << ::testing::PrintToString(bytes);
  ASSERT_EQ(isWellFormedUTF8(bytes), length == bytes.size());
}

std::string bytesInOrder(std::u16string_view units, std::endian order) {
  std::string bytes;
  for (const char16_t unit : units) {
    const auto high = static_cast<char>(unit >> 8);
    const auto low = static_cast<char>(unit & 0xFF);
    bytes.push_back(order == std::endian::big ? high : low);
    bytes.push_back(order == std::endian::big ? low : high);
  }
  return bytes;
}

void expectCheckedAsByModel(std::u16string_view units) {
  const std::size_t length = plainLengthOfUTF16(units);
  ASSERT_EQ(wellFormedLengthOfUTF16(units), length) << ::testing::PrintToString(units);
  ASSERT_EQ(isWellFormedUTF16(units), length == units.size());
  for (const auto order : {std::endian::little, std::endian::big}) {
    const auto bytes = exactCopy<char>(bytesInOrder(units, order));
    ASSERT_EQ(isWellFormedUTF16(viewOf(bytes), order), length == units.size());
    ASSERT_EQ(wellFormedLengthOfUTF16(viewOf(bytes), order), length);
  }
}

void expectConvertedAsByModel(std::u16string_view units, std::size_t room) {
  const testing::PlainUTF8 expected = plainUTF8Of(units, room);
  std::vector<char> buffer(room);
  const UTF8Piece piece = writeUTF8(units, buffer);
  ASSERT_EQ(piece.unitsRead, expected.read) << room << ' ' << ::testing::PrintToString(units);
  ASSERT_EQ(std::string_view(buffer.data(), piece.bytesWritten), expected.bytes)
      << room << ' ' << ::testing::PrintToString(units);
}

/// Back again, where the text in UTF-8 is well-formed.
void expectConvertedBack(std::u16string_view units, std::string_view utf8, std::size_t room) {
  std::vector<char16_t> buffer(room);
  const UTF16Piece piece = writeUTF16(utf8, buffer);
  std::size_t fitting = std::min(room, units.size());
  const bool cutsPair =
      fitting > 0 && fitting < units.size() && isBetween(units[fitting - 1], 0xD800, 0xDBFF);
  fitting -= cutsPair ? 1 : 0;
  ASSERT_EQ(viewOf(buffer).substr(0, piece.unitsWritten), units.substr(0, fitting)) << room;
  ASSERT_EQ(piece.bytesRead, plainUTF8Of(units.substr(0, fitting), 4 * fitting).bytes.size());
}

/// Kinds of texts: what a random character is taken from, in this mixture.
struct Alphabet {
  const char* name;
  std::vector<std::pair<char32_t, char32_t>> ranges;
};

const std::vector<Alphabet>& alphabets() {
  static const std::vector<Alphabet> all = {
      {"ASCII", {{0, 0x7F}}},
      {"Latin", {{'a', 'z'}, {'a', 'z'}, {0x80, 0x17F}}},
      {"Cyrillic", {{0x400, 0x4FF}}},
      {"CJK", {{0x4E00, 0x9FFF}, {0x3000, 0x30FF}}},
      {"emoji", {{0x1F300, 0x1F6FF}}},
      {"all", {{0, 0x7F}, {0x80, 0x7FF}, {0x800, 0xD7FF}, {0xE000, 0xFFFF}, {0x10000, 0x10FFFF}}},
      {"edges",
       {{0x7E, 0x81},
        {0x7FE, 0x801},
        {0xD7FE, 0xD7FF},
        {0xE000, 0xE001},
        {0xFFFE, 0x10001},
        {0x10FFFE, 0x10FFFF}}},
  };
  return all;
}

std::u16string randomText(RandomRun& random, const Alphabet& alphabet, std::size_t characters) {
  std::u16string text;
  for (std::size_t i = 0; i < characters; ++i) {
    const auto [first, last] = alphabet.ranges[random.below(alphabet.ranges.size())];
    text += inUTF16(first + static_cast<char32_t>(random.below(last - first + 1)));
  }
  return text;
}

std::string allOf(std::u16string_view units) { return plainUTF8Of(units, 3 * units.size()).bytes; }

std::u16string everyCharacter() {
  std::u16string text;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) {
      text += inUTF16(c);
    }
  }
  return text;
}

// ---- Literal values

TEST(UTF8Tests, WritesWhatFitsAndNeverPartOfACharacter) {
  const std::u16string_view text = u"aä€😀z";
  const struct {
    std::size_t room;
    std::size_t unitsRead;
    std::string_view bytes;
  } kRows[] = {
      {0, 0, ""},
      {1, 1, "a"},
      {2, 1, "a"},
      {3, 2, "a\xC3\xA4"},
      {5, 2, "a\xC3\xA4"},
      {6, 3, "a\xC3\xA4\xE2\x82\xAC"},
      {9, 3, "a\xC3\xA4\xE2\x82\xAC"},
      {10, 5, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {11, 6, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z"},
  };
  for (const auto& row : kRows) {
    std::vector<char> buffer(row.room);
    const UTF8Piece piece = writeUTF8(text, buffer);
    EXPECT_EQ(piece.unitsRead, row.unitsRead) << row.room;
    EXPECT_EQ(std::string_view(buffer.data(), piece.bytesWritten), row.bytes) << row.room;
  }
}

TEST(UTF8Tests, WritesAReplacementForASurrogateAlone) {
  const std::u16string text = {0xD800, u'a', 0xDC00, 0xDC00, 0xD83D, 0xD83D, 0xDE00, 0xDBFF};
  std::array<char, 64> buffer{};
  const UTF8Piece piece = writeUTF8(text, buffer);
  EXPECT_EQ(piece.unitsRead, text.size());
  EXPECT_EQ(std::string_view(buffer.data(), piece.bytesWritten),
            "\xEF\xBF\xBD"
            "a"
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
  EXPECT_EQ(utf8LengthOfUTF16(text), piece.bytesWritten);
}

TEST(UTF8Tests, TakesEmptyTextForWellFormed) {
  EXPECT_TRUE(isWellFormedUTF8({}));
  EXPECT_TRUE(isWellFormedUTF16(std::u16string_view()));
  EXPECT_TRUE(isWellFormedUTF16({}, std::endian::big));
  EXPECT_TRUE(isASCII(std::string_view()));
  EXPECT_EQ(utf8LengthOfUTF16({}), 0U);
  EXPECT_EQ(utf16LengthOfUTF8({}), 0U);
  EXPECT_EQ(writeUTF8({}, {}).unitsRead, 0U);
  EXPECT_EQ(writeUTF16({}, {}).bytesRead, 0U);
}

TEST(UTF8Tests, RefusesAnOddNumberOfBytesInUTF16) {
  EXPECT_TRUE(isWellFormedUTF16("a\0"sv, std::endian::little));
  EXPECT_FALSE(isWellFormedUTF16("a\0b"sv, std::endian::little));
  EXPECT_FALSE(isWellFormedUTF16("a"sv, std::endian::little));
  EXPECT_EQ(wellFormedLengthOfUTF16("a\0b"sv, std::endian::little), 1U);
}

// ---- Against the model, with every instruction set

TEST(UTF8Tests, EveryCharacterGoesRoundWithEveryInstructionSet) {
  const std::u16string units = everyCharacter();
  const std::string utf8 = allOf(units);
  forEachVectorTarget([&] {
    EXPECT_TRUE(isWellFormedUTF8(utf8));
    EXPECT_TRUE(isWellFormedUTF16(units));
    EXPECT_EQ(utf8LengthOfUTF16(units), utf8.size());
    EXPECT_EQ(utf16LengthOfUTF8(utf8), units.size());
    std::string bytes(utf8.size(), '\0');
    EXPECT_EQ(writeUTF8(units, bytes).unitsRead, units.size());
    EXPECT_TRUE(bytes == utf8);
    std::u16string back(units.size(), u'\0');
    EXPECT_EQ(writeUTF16(utf8, back).bytesRead, utf8.size());
    EXPECT_TRUE(back == units);
  });
}

TEST(UTF8Tests, EveryPairOfUnitsIsConvertedInEveryPlaceOfAVector) {
  constexpr std::array<char16_t, 14> kEdges = {u'a',   0x7F,   0x80,   0x7FF,  0x800,
                                               0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF,
                                               0xE000, 0xFFFD, 0xFFFF, 0};
  forEachVectorTarget([&] {
    for (std::size_t place = 0; place < 70; place += underSanitizer ? 5 : 1) {
      for (const char16_t first : kEdges) {
        for (const char16_t second : kEdges) {
          std::u16string units(100, place % 2 == 0 ? u'x' : u'\u4E2D');
          units[place] = first;
          units[place + 1] = second;
          expectCheckedAsByModel(units);
          expectConvertedAsByModel(units, 4 * units.size());
          ASSERT_EQ(utf8LengthOfUTF16(units), allOf(units).size());
        }
      }
    }
  });
}

TEST(UTF8Tests, EveryPairOfBytesIsCheckedInEveryPlaceOfAVector) {
  forEachVectorTarget([&] {
    for (std::size_t place = 0; place < 70; place += 3) {
      std::string text(72, 'x');
      for (int pair = 0; pair < 0x10000; pair += caseStride) {
        text[place] = static_cast<char>(pair >> 8);
        text[place + 1] = static_cast<char>(pair & 0xFF);
        const std::size_t expected =
            place + plainLengthOfUTF8(std::string_view(text).substr(place, 3));
        ASSERT_EQ(wellFormedLengthOfUTF8(text), expected == place + 3 ? text.size() : expected)
            << place << ' ' << pair;
      }
    }
  });
}

TEST(UTF8Tests, EveryThreeBytesThatBeginBeyondASCIIAreChecked) {
  forEachVectorTarget([&] {
    constexpr std::size_t kPlace = 62;
    std::string text(130, 'x');
    for (int three = 0x800000; three < 0x1000000; three += caseStride) {
      text[kPlace] = static_cast<char>(three >> 16);
      text[kPlace + 1] = static_cast<char>(three >> 8 & 0xFF);
      text[kPlace + 2] = static_cast<char>(three & 0xFF);
      const bool expected = plainLengthOfUTF8(std::string_view(text).substr(kPlace, 4)) == 4;
      ASSERT_EQ(isWellFormedUTF8(text), expected) << std::hex << three;
    }
  });
}

TEST(UTF8Tests, FourBytesAroundEveryEdgeAreChecked) {
  constexpr std::array<unsigned char, 14> kEdges = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0,
                                                    0xBF, 0xC0, 0xC2, 0xE0, 0xF0, 0xF4, 0xFF};
  forEachVectorTarget([&] {
    for (std::size_t place = 59; place < 66; ++place) {
      std::string text(70, 'x');
      for (int lead = 0xE0; lead <= 0xFF; ++lead) {
        for (int rest = lead % caseStride; rest < 14 * 14 * 14; rest += caseStride) {
          text[place] = static_cast<char>(lead);
          text[place + 1] = static_cast<char>(kEdges[static_cast<std::size_t>(rest) % 14]);
          text[place + 2] = static_cast<char>(kEdges[static_cast<std::size_t>(rest) / 14 % 14]);
          text[place + 3] = static_cast<char>(kEdges[static_cast<std::size_t>(rest) / 196]);
          expectCheckedAsByModel(text);
        }
      }
    }
  });
}

TEST(UTF8Tests, TextsOfEveryLengthAreCheckedAndConvertedAsByTheModel) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (const Alphabet& alphabet : alphabets()) {
      SCOPED_TRACE(alphabet.name);
      for (std::size_t length = 0; length <= 200; ++length) {
        const auto units = exactCopy<char16_t>(randomText(random, alphabet, length));
        const auto utf8 = exactCopy<char>(allOf(viewOf(units)));
        ASSERT_NO_FATAL_FAILURE(expectCheckedAsByModel(viewOf(units)));
        ASSERT_NO_FATAL_FAILURE(expectCheckedAsByModel(viewOf(utf8)));
        ASSERT_EQ(utf8LengthOfUTF16(viewOf(units)), utf8.size());
        ASSERT_EQ(utf16LengthOfUTF8(viewOf(utf8)), units.size());
        for (const std::size_t room : {utf8.size(), random.below(utf8.size() + 1)}) {
          ASSERT_NO_FATAL_FAILURE(expectConvertedAsByModel(viewOf(units), room));
        }
        for (const std::size_t room : {units.size(), random.below(units.size() + 1)}) {
          ASSERT_NO_FATAL_FAILURE(expectConvertedBack(viewOf(units), viewOf(utf8), room));
        }
      }
    }
  });
}

TEST(UTF8Tests, TextsAreConvertedIntoBuffersOfEverySize) {
  RandomRun random;
  const std::u16string units = randomText(random, alphabets()[5], 60);
  const std::string utf8 = allOf(units);
  forEachVectorTarget([&] {
    for (std::size_t room = 0; room <= 4 * units.size(); ++room) {
      ASSERT_NO_FATAL_FAILURE(expectConvertedAsByModel(units, room));
      ASSERT_NO_FATAL_FAILURE(expectConvertedBack(units, utf8, room));
    }
  });
}

TEST(UTF8Tests, TextsThatBeginAnywhereInMemoryAreReadTheSame) {
  RandomRun random;
  const std::u16string units = randomText(random, alphabets()[5], 150);
  const std::string utf8 = allOf(units);
  forEachVectorTarget([&] {
    for (std::size_t offset = 0; offset < 64; ++offset) {
      const auto movedUTF8 = exactCopy<char>(std::string(offset, 'x') + utf8);
      const auto moved = viewOf(movedUTF8).substr(offset);
      ASSERT_TRUE(isWellFormedUTF8(moved));
      ASSERT_NO_FATAL_FAILURE(expectConvertedBack(units, moved, units.size()));
      for (const auto order : {std::endian::little, std::endian::big}) {
        const auto bytes = exactCopy<char>(std::string(offset, 'x') + bytesInOrder(units, order));
        ASSERT_TRUE(isWellFormedUTF16(viewOf(bytes).substr(offset), order));
      }
    }
  });
}

TEST(UTF8Tests, BrokenBytesAreFoundWhereTheyStand) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < shareOf(20000); ++round) {
      std::string utf8 = allOf(randomText(random, alphabets()[random.below(7)], random.below(120)));
      for (std::size_t breaks = random.below(3); breaks > 0 && !utf8.empty(); --breaks) {
        utf8[random.below(utf8.size())] = static_cast<char>(random.below(256));
      }
      ASSERT_NO_FATAL_FAILURE(expectCheckedAsByModel(viewOf(exactCopy<char>(utf8))));
    }
  });
}

TEST(UTF8Tests, BrokenUnitsAreFoundWhereTheyStandAndReplaced) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < 5000; ++round) {
      std::u16string text = randomText(random, alphabets()[random.below(7)], random.below(120));
      for (std::size_t breaks = random.below(4); breaks > 0 && !text.empty(); --breaks) {
        text[random.below(text.size())] = static_cast<char16_t>(0xD800 + random.below(0x800));
      }
      const auto units = exactCopy<char16_t>(text);
      ASSERT_NO_FATAL_FAILURE(expectCheckedAsByModel(viewOf(units)));
      ASSERT_NO_FATAL_FAILURE(
          expectConvertedAsByModel(viewOf(units), random.below(3 * units.size() + 1)));
      ASSERT_EQ(utf8LengthOfUTF16(viewOf(units)), allOf(viewOf(units)).size());
    }
  });
}

TEST(UTF8Tests, BytesThatAreNoUTF8AreConvertedToSomethingWithinTheBuffer) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < shareOf(20000); ++round) {
      std::vector<char> bytes(random.below(150));
      const bool isMostlyContinuations = random.below(2) == 0;
      for (char& byte : bytes) {
        byte = static_cast<char>(isMostlyContinuations && random.below(8) > 0
                                     ? 0x80 + random.below(0x40)
                                     : random.below(256));
      }
      std::vector<char16_t> buffer(2 + random.below(bytes.size() + 1));
      const UTF16Piece piece = writeUTF16(viewOf(bytes), buffer);
      ASSERT_LE(piece.bytesRead, bytes.size());
      ASSERT_LE(piece.unitsWritten, buffer.size());
      ASSERT_EQ(piece.bytesRead == 0, bytes.empty());
    }
  });
}

TEST(UTF8Tests, TheOneUnitThatIsNoASCIIIsFoundWhereverItStands) {
  forEachVectorTarget([&] {
    for (std::size_t size = 0; size < 300; size += size < 80 ? 1 : 37) {
      std::vector<char> bytes(size, '\x7F');
      std::vector<char16_t> units(size, u'\x7F');
      ASSERT_TRUE(isASCII(viewOf(bytes)));
      ASSERT_TRUE(isASCII(viewOf(units)));
      for (std::size_t place = 0; place < size; ++place) {
        bytes[place] = '\x80';
        ASSERT_FALSE(isASCII(viewOf(bytes))) << size << ' ' << place;
        bytes[place] = '\x7F';
        for (const char16_t other : {u'\x80', u'\x100', u'\x8000'}) {
          units[place] = other;
          ASSERT_FALSE(isASCII(viewOf(units))) << size << ' ' << place;
        }
        units[place] = u'\x7F';
      }
    }
  });
}

}  // namespace
}  // namespace kestova
