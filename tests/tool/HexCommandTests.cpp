// SPDX-License-Identifier: Apache-2.0
#include "ByteCommandFixture.h"

namespace kestova {
namespace {

using testing::RandomRun;
using testing::runTool;
using testing::ToolResult;

class HexCommandTests : public testing::ByteCommandFixture {};

TEST_F(HexCommandTests, AFileIsOneLine) {
  const ToolResult result = runTool({"hex", write("a", "a\n\xFF")});
  EXPECT_EQ(result.output, "610aff\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(runTool({"hex", write("empty", "")}).output, "\n");
}

TEST_F(HexCommandTests, TheStandardInputIsReadWithoutAFileOrForAHyphen) {
  EXPECT_EQ(shell("printf ab | $KESTOVA hex").output, "6162\n");
  EXPECT_EQ(shell("printf ab | $KESTOVA hex -").output, "6162\n");
  EXPECT_EQ(shell("mkfifo pipe; printf ab >pipe & $KESTOVA hex pipe").output, "6162\n");
}

TEST_F(HexCommandTests, DigitsBecomeBytesAgain) {
  EXPECT_EQ(runTool({"hex", "-d", write("a", "61:62\n63 0A\n")}).output, "abc\n");
  EXPECT_EQ(shell("echo 'de ad' | $KESTOVA hex --decode").output, "\xDE\xAD");
}

TEST_F(HexCommandTests, LongFilesComeBack) {
  RandomRun random;
  const std::string bytes = manyBytes(random);
  write("a", bytes);
  const ToolResult result = shell(
      "$KESTOVA hex a >b && od -An -v -tx1 a | tr -d ' \\n' >c && echo >>c && cmp b c && "
      "fold -w 61 b | $KESTOVA hex -d >d && cmp a d && "
      "fold -w 77 b | $KESTOVA hex -d --lenient >e && cmp a e");
  EXPECT_EQ(result.exitStatus, 0) << result.output << result.errors;
}

TEST_F(HexCommandTests, WhatIsNotReadableIsAnError) {
  const struct {
    const char* text;
    const char* errors;
  } kRows[] = {
      {"", "kestova: standard input: no hex digits\n"},
      {"xyz", "kestova: standard input: no hex digits\n"},
      {"0x1F", "kestova: standard input: an odd number of hex digits\n"},
  };
  for (const auto& row : kRows) {
    const ToolResult result = shell(std::string("printf '") + row.text + "' | $KESTOVA hex -d");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, row.errors);
    EXPECT_EQ(result.output, "");
  }
}

TEST_F(HexCommandTests, TheLenientReadingTakesAnyTwoCharacters) {
  using namespace std::string_literals;
  EXPECT_EQ(runTool({"hex", "-d", "--lenient", write("a", "zz 12 1g é3\n")}).output,
            "\0\x12\x01\0"s);
  EXPECT_EQ(runTool({"hex", "-d", "--lenient", write("a", "😀")}).output, "\0"s)
      << "two UTF-16 units";
  EXPECT_EQ(runTool({"hex", "-d", "--lenient", write("a", "123")}).errors,
            "kestova: " + at("a") + ": an odd number of characters\n");
  EXPECT_EQ(runTool({"hex", "-d", "--lenient", write("a", "\n")}).errors,
            "kestova: " + at("a") + ": no characters\n");
}

TEST_F(HexCommandTests, TheLenientReadingNeedsText) {
  for (const char* bytes : {"12\xFF", "12\xC3", "12\xED\xA0\x80 3456"}) {
    const ToolResult result = runTool({"hex", "-d", "--lenient", write("a", bytes)});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "kestova: " + at("a") + ": not UTF-8 text\n");
  }
  EXPECT_EQ(runTool({"hex", "--lenient", write("a", "12")}).exitStatus, 2) << "without -d";
}

TEST_F(HexCommandTests, CharactersMayLieAcrossThePieces) {
  std::string text;
  std::string expected;
  while (text.size() < 700'000) {
    text += "é1 ";  // 4 bytes; the first one and the next one shift them all
    expected += '\0';
  }
  EXPECT_EQ(runTool({"hex", "-d", "--lenient", write("a", " " + text)}).output, expected);
  EXPECT_EQ(runTool({"hex", "-d", "--lenient", write("a", text)}).output, expected);
}

TEST_F(HexCommandTests, FilesThatCannotBeReadAreNamedInOneLine) {
  EXPECT_EQ(runTool({"hex", at("missing")}).errors,
            "kestova: " + at("missing") + ": No such file or directory\n");
  EXPECT_EQ(runTool({"hex", at(".")}).errors, "kestova: " + at(".") + ": Is a directory\n");
  EXPECT_EQ(runTool({"hex", at("missing")}).exitStatus, 1);
  EXPECT_EQ(runTool({"hex", at("a\nb")}).errors,
            "kestova: " + at("a?b") + ": No such file or directory\n");
}

TEST_F(HexCommandTests, AFullDiskIsAnError) {
  const ToolResult result = shell("printf ab | $KESTOVA hex >/dev/full");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: standard output: No space left on device\n");
}

}  // namespace
}  // namespace kestova
