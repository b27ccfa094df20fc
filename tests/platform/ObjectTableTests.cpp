// SPDX-License-Identifier: Apache-2.0
// How the keys of dictionaries and the members of sets are compared.
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "collections/ObjectTable.h"

#include <string>

namespace kestova {
namespace {

using testing::forBothStorages;

/// Longer by more than a word than what is compared word by word.
constexpr std::size_t kLongest = 80;

void expectEqual(bool isEqual, const std::u16string& first, const std::u16string& second) {
  forBothStorages(first, second, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
    EXPECT_EQ(ObjectEqual()(a, b), isEqual) << a << '\n' << b;
  });
}

TEST(ObjectTableTests, KeysOfTheSameTextAreEqualAtEveryLength) {
  for (std::size_t length = 0; length <= kLongest; ++length) {
    const std::u16string text(length, u'k');
    expectEqual(true, text, text);
  }
}

TEST(ObjectTableTests, KeysThatDifferInOneCharacterAreDifferentAtEveryLengthAndPlace) {
  for (std::size_t length = 1; length <= kLongest; ++length) {
    const std::u16string text(length, u'k');
    for (std::size_t place = 0; place < length; ++place) {
      std::u16string other = text;
      other[place] = u'l';
      expectEqual(false, text, other);
    }
  }
}

TEST(ObjectTableTests, AKeyIsDifferentFromOneThatGoesOn) {
  for (std::size_t length = 0; length < kLongest; ++length) {
    const std::u16string text(length, u'k');
    expectEqual(false, text, text + u'k');
    expectEqual(false, text + u'k', text);
  }
}

}  // namespace
}  // namespace kestova
