// SPDX-License-Identifier: Apache-2.0
#include "ByteCommandFixture.h"

namespace kestova {
namespace {

using testing::RandomRun;
using testing::runTool;
using testing::ToolResult;

class Base32CommandTests : public testing::ByteCommandFixture {};

TEST_F(Base32CommandTests, AFileIsOneLine) {
  EXPECT_EQ(runTool({"base32", write("a", "\xFF")}).output, "Z7\n");
  EXPECT_EQ(runTool({"base32", write("a", "")}).output, "\n");
  EXPECT_EQ(shell("printf '\\377\\377\\377\\377\\377' | $KESTOVA base32").output, "ZZZZZZZZ\n");
}

TEST_F(Base32CommandTests, SymbolsBecomeBytesAgain) {
  EXPECT_EQ(shell("echo z-7 | $KESTOVA base32 -d").output, "\xFF");
  EXPECT_EQ(shell("printf '' | $KESTOVA base32 -d").exitStatus, 0) << "no symbols are no bytes";
}

TEST_F(Base32CommandTests, LongFilesComeBack) {
  RandomRun random;
  write("a", manyBytes(random));
  const ToolResult result = shell(
      "$KESTOVA base32 a >b && test $(wc -l <b) = 1 && $KESTOVA base32 -d b >c && cmp a c && "
      "fold -w 77 b | tr A-Z a-z | $KESTOVA base32 -d >d && cmp a d");
  EXPECT_EQ(result.exitStatus, 0) << result.output << result.errors;
}

TEST_F(Base32CommandTests, WhatIsNoSymbolIsAnErrorWithItsPlace) {
  const ToolResult result = shell("printf 'Z7\\n0U' | $KESTOVA base32 -d");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: standard input: no symbol at byte 4\n");
  std::string text(300'000, '0');
  text += "é";
  EXPECT_EQ(runTool({"base32", "-d", write("a", text)}).errors,
            "kestova: " + at("a") + ": no symbol at byte 300000\n");
}

TEST_F(Base32CommandTests, FilesThatCannotBeReadAreNamedInOneLine) {
  EXPECT_EQ(runTool({"base32", at("missing")}).errors,
            "kestova: " + at("missing") + ": No such file or directory\n");
  EXPECT_EQ(runTool({"base32", at(".")}).exitStatus, 1);
}

}  // namespace
}  // namespace kestova
