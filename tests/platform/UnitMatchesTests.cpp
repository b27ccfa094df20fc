// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "RandomRun.h"
#include "Sanitizers.h"
#include "VectorTargets.h"
#include "text/UnitMatches.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::forEachVectorTarget;
using testing::RandomRun;
using Places = std::vector<std::size_t>;

template <class Units, class Unit>
bool standsAt(const std::basic_string<Unit>& text, std::size_t place,
              const std::basic_string<Unit>& wanted) {
  return std::equal(wanted.begin(), wanted.end(), text.begin() + static_cast<std::ptrdiff_t>(place),
                    [](Unit a, Unit b) { return Units::fold(a) == Units::fold(b); });
}

template <class Units, Direction direction, class Unit>
Places expectedPlaces(const std::basic_string<Unit>& text, const std::basic_string<Unit>& wanted) {
  Places places;
  for (std::size_t place = 0; place + wanted.size() <= text.size(); ++place) {
    if (standsAt<Units>(text, place, wanted)) {
      places.push_back(place);
    }
  }
  if (direction == Direction::backwards) {
    std::reverse(places.begin(), places.end());
  }
  return places;
}

template <class Matches>
Places placesOf(Matches matches) {
  Places places;
  for (std::size_t place; (place = matches.next()) != Matches::npos;) {
    places.push_back(place);
  }
  return places;
}

template <class Units, Direction direction, class Unit>
void checkOne(const std::basic_string<Unit>& text, const std::basic_string<Unit>& wanted) {
  EXPECT_EQ(placesOf(UnitMatches<Unit, Units, direction>(text, wanted)),
            (expectedPlaces<Units, direction>(text, wanted)))
      << std::string(wanted.begin(), wanted.end()) << " in "
      << std::string(text.begin(), text.end());
}

template <class Unit>
void check(const std::string& asciiText, const std::string& asciiWanted) {
  const std::basic_string<Unit> text(asciiText.begin(), asciiText.end());
  const std::basic_string<Unit> wanted(asciiWanted.begin(), asciiWanted.end());
  checkOne<ExactUnits, Direction::forwards>(text, wanted);
  checkOne<ExactUnits, Direction::backwards>(text, wanted);
  checkOne<CaselessASCII, Direction::forwards>(text, wanted);
  checkOne<CaselessASCII, Direction::backwards>(text, wanted);
}

void checkBoth(const std::string& text, const std::string& wanted) {
  check<char>(text, wanted);
  check<char16_t>(text, wanted);
}

std::string randomText(RandomRun& random, std::uint64_t size, std::uint64_t letters) {
  std::string text(size, 'a');
  for (char& letter : text) {
    letter = "abABc@["[random.below(letters)];
  }
  return text;
}

TEST(UnitMatchesTests, MatchesMayOverlap) {
  EXPECT_EQ(placesOf(UnitMatches<char, ExactUnits, Direction::forwards>("aaaa", "aa")),
            (Places{0, 1, 2}));
  EXPECT_EQ(placesOf(UnitMatches<char, ExactUnits, Direction::backwards>("aaaa", "aa")),
            (Places{2, 1, 0}));
}

TEST(UnitMatchesTests, OnlyLettersHaveTwoSpellings) {
  const std::string text = "@`[{Zz";
  const auto places = [&](const std::string& wanted) {
    return placesOf(UnitMatches<char, CaselessASCII, Direction::forwards>(text, wanted));
  };
  EXPECT_EQ(places("@"), Places{0});
  EXPECT_EQ(places("`"), Places{1});
  EXPECT_EQ(places("["), Places{2});
  EXPECT_EQ(places("{"), Places{3});
  EXPECT_EQ(places("z"), (Places{4, 5}));
}

TEST(UnitMatchesTests, EveryTextOfTwoLettersIsSearchedForEveryOther) {
  const auto word = [](unsigned bits, unsigned size) {
    std::string text;
    for (unsigned index = 0; index < size; ++index) {
      text += (bits >> index & 1U) != 0 ? 'b' : 'a';
    }
    return text;
  };
  for (unsigned size = 0; size <= 7; ++size) {
    for (unsigned text = 0; text < 1U << size; ++text) {
      for (unsigned wantedSize = 1; wantedSize <= 4; ++wantedSize) {
        for (unsigned wanted = 0; wanted < 1U << wantedSize; ++wanted) {
          checkBoth(word(text, size), word(wanted, wantedSize));
        }
      }
    }
  }
}

TEST(UnitMatchesTests, AgreesWithPlainLoopsOnEveryProcessor) {
  forEachVectorTarget([] {
    RandomRun random;
    for (int round = 0; round < 200; ++round) {
      const std::string text = randomText(random, random.below(300), 1 + random.below(7));
      const std::string wanted = randomText(random, 1 + random.below(6), 1 + random.below(7));
      checkBoth(text, wanted);
    }
  });
}

TEST(UnitMatchesTests, AgreesWithPlainLoopsAtEveryAlignmentAndLength) {
  forEachVectorTarget([] {
    for (std::size_t size = 0; size < 150; ++size) {
      for (const std::size_t place : {std::size_t{0}, size / 2, size == 0 ? 0 : size - 1}) {
        std::string text(size, 'c');
        if (place + 1 < size) {
          text[place] = 'A';
          text[place + 1] = 'b';
        }
        checkBoth(text, "Ab");
        checkBoth(text.substr(size / 3), "ab");
      }
    }
  });
}

TEST(UnitMatchesTests, TextsThatDeceiveAreSearchedAsWell) {
  RandomRun random;
  for (const std::size_t size : {100U, 300U, 600U}) {
    std::string wanted(size, 'a');
    const std::string text(4000, 'a');
    checkBoth(text.substr(0, 2 * size), wanted);
    wanted[random.below(size)] = 'b';
    std::string mixed = text;
    mixed.replace(3000 - size, size, wanted);
    mixed[random.below(mixed.size())] = 'b';
    checkBoth(mixed, wanted);
  }
}

TEST(UnitMatchesTests, PeriodicTextsAreSearchedForPeriodicOnes) {
  RandomRun random;
  for (int round = 0; round < testing::shareOf(20); ++round) {
    const std::string unit = randomText(random, 1 + random.below(9), 2);
    std::string text;
    while (text.size() < 3000) {
      text += unit;
    }
    text[random.below(text.size())] = 'b';
    checkBoth(text, text.substr(random.below(30), 1 + random.below(600)));
  }
}

}  // namespace
}  // namespace kestova
