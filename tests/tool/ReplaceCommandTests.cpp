// SPDX-License-Identifier: Apache-2.0
#include "ByteCommandFixture.h"
#include "ChildProcess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::RandomRun;
using testing::runTool;
using testing::ToolResult;
using testing::ToolRun;

class ReplaceCommandTests : public testing::ByteCommandFixture {
 protected:
  static std::string hexOf(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
      constexpr const char* kDigits = "0123456789abcdef";
      text += kDigits[static_cast<unsigned char>(byte) >> 4];
      text += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
  }

  ToolResult replace(const std::string& pattern, const std::string& replacement) const {
    return runTool({"replace", "--bytes", hexOf(pattern), "--with", hexOf(replacement), at("a")});
  }

  /// What becomes of a file of that contents.
  std::string replaced(const std::string& contents, const std::string& pattern,
                       const std::string& replacement) const {
    write("a", contents);
    const ToolResult result = replace(pattern, replacement);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return read("a");
  }

  std::size_t entries() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
  }
};

TEST_F(ReplaceCommandTests, EveryMatchIsReplacedWhateverTheLengths) {
  EXPECT_EQ(replaced("ABxABx", "AB", "AC"), "ACxACx");
  EXPECT_EQ(replaced("ABxABx", "AB", "Z"), "ZxZx");
  EXPECT_EQ(replaced("ABxABxABxABy", "AB", ""), "xxxy");
  EXPECT_EQ(replaced("AA", "A", "AA"), "AAAA");
  EXPECT_EQ(replaced("AAA", "AA", "B"), "BA");
  EXPECT_EQ(replaced("AB", "AB", ""), "");
}

TEST_F(ReplaceCommandTests, EachFileIsReportedWithItsNumber) {
  write("b", "AxA");
  write("c", "x");
  const ToolResult result =
      runTool({"replace", "--bytes", "41", "--with", "4242", write("a", "A"), at("b"), at("c")});
  EXPECT_EQ(result.output, at("a") + ": 1 replacement\n" + at("b") + ": 2 replacements\n" +
                               at("c") + ": 0 replacements\n");
  EXPECT_EQ(read("b"), "BBxBB");
}

TEST_F(ReplaceCommandTests, MatchesAcrossThePiecesAreFound) {
  RandomRun random;
  for (const std::string& replacement :
       {std::string(), std::string("-"), std::string("0123456789")}) {
    const std::string pattern = "needle";
    std::string contents;
    std::string expected;
    while (contents.size() < 3'500'000) {
      const std::string filling(random.below(3) == 0 ? random.below(70'000) : random.below(9), 'n');
      contents += filling + pattern;
      expected += filling + replacement;
    }
    ASSERT_EQ(replaced(contents, pattern, replacement), expected);
  }
}

TEST_F(ReplaceCommandTests, EveryPlaceAroundTheEndOfAPieceIsFound) {
  constexpr std::size_t kPiece = std::size_t{1} << 20;
  for (std::size_t start = kPiece - 8; start <= kPiece + 8; ++start) {
    std::string contents(kPiece + 100, '-');
    contents.replace(start, 4, "ABCD");
    std::string expected = contents;
    expected.replace(start, 4, "x");
    ASSERT_EQ(replaced(contents, "ABCD", "x"), expected) << start;
  }
}

TEST_F(ReplaceCommandTests, ModeAndLinksStay) {
  write("target", "A");
  ::chmod(at("target").c_str(), 0751);
  fs::create_symlink("target", at("a"));
  EXPECT_EQ(replace("A", "B").exitStatus, 0);
  EXPECT_EQ(read("target"), "B");
  EXPECT_TRUE(fs::is_symlink(at("a")));
  struct stat facts {};
  ASSERT_EQ(::stat(at("target").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0751U);
  EXPECT_EQ(entries(), 2U) << "nothing is left over";
}

TEST_F(ReplaceCommandTests, AFileWithoutAMatchIsNotTouched) {
  write("a", "xyz");
  const auto inode = [&] {
    struct stat facts {};
    ::stat(at("a").c_str(), &facts);
    return facts.st_ino;
  };
  const auto before = inode();
  EXPECT_EQ(replace("A", "B").output, at("a") + ": 0 replacements\n");
  EXPECT_EQ(inode(), before);
  EXPECT_EQ(replace("x", "x").output, at("a") + ": 1 replacement\n");
  EXPECT_NE(inode(), before) << "the others are made anew";
}

TEST_F(ReplaceCommandTests, TheStandardInputIsFiltered) {
  const ToolResult result = shell("printf ABxAB | $KESTOVA replace --bytes '41 42' --with 5a -");
  EXPECT_EQ(result.output, "ZxZ");
  EXPECT_EQ(result.errors, "standard input: 2 replacements\n");
}

TEST_F(ReplaceCommandTests, WhatIsNoHexIsWrongUse) {
  write("a", "A");
  for (const char* bytes : {"1", "4g", "0x41", "", " "}) {
    const ToolResult result = runTool({"replace", "--bytes", bytes, "--with", "42", at("a")});
    EXPECT_EQ(result.exitStatus, 2) << bytes;
    EXPECT_NE(result.errors, "");
  }
  EXPECT_EQ(runTool({"replace", "--bytes", "41", at("a")}).exitStatus, 2);
  EXPECT_EQ(runTool({"replace", "--bytes", "41", "--with", "4", at("a")}).exitStatus, 2);
  EXPECT_EQ(read("a"), "A");
}

TEST_F(ReplaceCommandTests, FilesThatCannotBeChangedAreNamedAndTheOthersChanged) {
  ::mkfifo(at("pipe").c_str(), 0600);
  write("a", "A");
  const ToolResult result =
      shell("exec 3<>pipe; $KESTOVA replace --bytes 41 --with 42 missing . pipe a");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors,
            "kestova: missing: No such file or directory\n"
            "kestova: .: Is a directory\n"
            "kestova: pipe: not a regular file; - filters the standard input\n");
  EXPECT_EQ(result.output, "a: 1 replacement\n");
  EXPECT_EQ(read("a"), "B");
}

TEST_F(ReplaceCommandTests, AProtectedFileStays) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs to give up rights of root";
  }
  ::chmod(folder_.path().c_str(), 0777);
  write("a", "A");
  ::chmod(at("a").c_str(), 0444);
  EXPECT_EQ(testing::runWithoutOverride([&] { return replace("A", "B").exitStatus; }), 1);
  EXPECT_EQ(read("a"), "A");
  ::chmod(at("a").c_str(), 0200);
  EXPECT_EQ(testing::runWithoutOverride([&] { return replace("A", "B").exitStatus; }), 1);
}

/// The file is long enough for its rewriting to be caught in between.
TEST_F(ReplaceCommandTests, AnInterruptedRunLeavesTheOldFileAndNothingElse) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    write("a", "A");
    fs::resize_file(at("a"), std::uintmax_t{16} << 30);
    ToolRun run({"replace", "--bytes", "41", "--with", "42", at("a")});
    while (entries() == 1) {
    }
    run.send(signal);
    EXPECT_EQ(run.wait().exitStatus, 128 + signal);
    EXPECT_EQ(entries(), 1U);
    std::ifstream file(at("a"));
    EXPECT_EQ(file.get(), 'A');
  }
}

}  // namespace
}  // namespace kestova
