// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"

#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;

std::vector<std::u16string> linesOf(const Ref<NSString>& text) {
  std::vector<std::u16string> lines;
  text->enumerateLinesUsingBlock(
      [&](const Ref<NSString>& line, bool*) { lines.push_back(line->utf16()); });
  return lines;
}

TEST(StringLinesTests, EveryLineEndingEndsALine) {
  forBothStorages(u"a\nbc\r\nd\r\re", [](const Ref<NSString>& text) {
    EXPECT_EQ(linesOf(text), (std::vector<std::u16string>{u"a", u"bc", u"d", u"", u"e"}));
  });
  EXPECT_EQ(linesOf(u"a\u0085b\u2028c\u2029"), (std::vector<std::u16string>{u"a", u"b", u"c"}));
  EXPECT_TRUE(linesOf("").empty());
  EXPECT_EQ(linesOf("\n"), std::vector<std::u16string>{u""});
}

TEST(StringLinesTests, TheBlockMayStop) {
  int lines = 0;
  Ref<NSString>("a\nb\nc")->enumerateLinesUsingBlock(
      [&](const Ref<NSString>&, bool* stop) { *stop = ++lines == 2; });
  EXPECT_EQ(lines, 2);
}

TEST(StringLinesTests, ARangeTouchesLines) {
  forBothStorages(u"ab\r\ncd\nef", [](const Ref<NSString>& text) {
    const auto lines = [&](NSUInteger location, NSUInteger length) {
      return text->lineRangeForRange({location, length});
    };
    EXPECT_EQ(lines(0, 0), (NSRange{0, 4}));
    EXPECT_EQ(lines(1, 1), (NSRange{0, 4}));
    EXPECT_EQ(lines(3, 0), (NSRange{0, 4}));  // between CR and LF
    EXPECT_EQ(lines(3, 1), (NSRange{0, 4}));
    EXPECT_EQ(lines(2, 2), (NSRange{0, 4}));
    EXPECT_EQ(lines(3, 2), (NSRange{0, 7}));
    EXPECT_EQ(lines(4, 0), (NSRange{4, 3}));
    EXPECT_EQ(lines(5, 3), (NSRange{4, 5}));
    EXPECT_EQ(lines(9, 0), (NSRange{7, 2}));
    expectException(NSRangeException, [&] { lines(9, 1); });
  });
  EXPECT_EQ(Ref<NSString>("a\n")->lineRangeForRange({2, 0}), (NSRange{2, 0}));
  EXPECT_EQ(Ref<NSString>("")->lineRangeForRange({0, 0}), (NSRange{0, 0}));
}

TEST(StringLinesTests, ContentsEndBeforeTheLineEnding) {
  NSUInteger start = 0;
  NSUInteger end = 0;
  NSUInteger contentsEnd = 0;
  const Ref<NSString> text = "ab\r\ncd";
  text->getLineStart_end_contentsEnd_forRange(&start, &end, &contentsEnd, {1, 0});
  EXPECT_EQ(start, 0U);
  EXPECT_EQ(end, 4U);
  EXPECT_EQ(contentsEnd, 2U);
  text->getLineStart_end_contentsEnd_forRange(nullptr, nullptr, &contentsEnd, {5, 1});
  EXPECT_EQ(contentsEnd, 6U);
  text->getLineStart_end_contentsEnd_forRange(nullptr, nullptr, nullptr, {0, 0});
}

}  // namespace
}  // namespace kestova
