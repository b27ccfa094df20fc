// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "RandomRun.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace kestova {
namespace {

using namespace std::string_literals;
using nlohmann::json;
using testing::runTool;
using testing::ToolResult;

class TextCommandTests : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const std::string& bytes) const {
    return folder_.write(name, bytes);
  }
  json figuresOf(const std::string& bytes) const {
    const ToolResult result = runTool({"text", "--json", write("text", bytes)});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return json::parse(result.output);
  }
  static json figures(const std::string& encoding, std::uint32_t number, const std::string& ending,
                      int lines, int words, int bytes) {
    return {{"encoding", encoding}, {"encodingNumber", number}, {"lineEnding", ending},
            {"lines", lines},       {"words", words},           {"bytes", bytes}};
  }
  static json withoutFile(json object) {
    object.erase("file");
    return object;
  }

  testing::TemporaryFolder folder_;
};

TEST_F(TextCommandTests, TellsWhatATextIs) {
  struct Row {
    std::string bytes;
    json expected;
  };
  const std::vector<Row> rows = {
      {"", figures("utf-8", 0x08000100, "LF", 0, 0, 0)},
      {"one two\nthree\n", figures("utf-8", 0x08000100, "LF", 3, 3, 14)},
      {"one\r\ntwo", figures("utf-8", 0x08000100, "CRLF", 2, 2, 8)},
      {"one\rtwo", figures("utf-8", 0x08000100, "CR", 2, 2, 7)},
      {"\xEF\xBB\xBFone two", figures("utf-8", 0x08000100, "LF", 1, 2, 10)},
      // A text that is kept in UTF-16 counts a CRLF twice; words and the ending are looked for in
      // as many bytes as it has units, here up to the CR.
      {"gr\xC3\xBC\xC3\x9F\r\nx", figures("utf-8", 0x08000100, "CR", 3, 1, 9)},
      {"A\0B\0"s, figures("utf-16le", 0x14000100, "LF", 1, 1, 4)},
      {"\0A\0B"s, figures("utf-16be", 0x10000100, "LF", 1, 1, 4)},
      {"\xFF\xFE"
       "A\0 \0B\0"s,
       figures("utf-16le", 0x14000100, "LF", 1, 2, 8)},
      {"\0\0\xFE\xFF\0\0\0A"s, figures("utf-32be", 0x18000100, "LF", 1, 1, 8)},
      {"na\x95ve", figures("macintosh", 0, "LF", 1, 1, 5)},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(withoutFile(figuresOf(row.bytes)), row.expected) << row.bytes;
  }
}

TEST_F(TextCommandTests, CountsWhatTheLibraryCountsInTheDecodedText) {
  testing::RandomRun random;
  const std::vector<std::string> parts = {
      "a",    "\n", "\r", "\r\n", " ", "\xC3\xA9", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80",
      "word", "\t", "9"};
  for (int round = 0; round < 20; ++round) {
    std::string bytes;
    for (std::uint64_t left = random.below(round < 10 ? 40 : 200'000); left > 0; --left) {
      bytes += parts[random.below(parts.size())];
    }
    const auto text = NSString::stringWithUTF8String(bytes);
    const json found = figuresOf(bytes);
    EXPECT_EQ(found["lines"], lineCount(text));
    EXPECT_EQ(found["words"], wordCount(text));
    const std::vector<std::string> names = {"LF", "CR", "CRLF"};
    EXPECT_EQ(found["lineEnding"], names[static_cast<std::size_t>(lineEnding(text))]);
    const auto data = NSData::dataWithBytes_length(bytes.data(), bytes.size());
    EXPECT_EQ(found["encodingNumber"], guessStringEncodingForData(data));
  }
}

TEST_F(TextCommandTests, GuessesBytesOfAnyKindAsTheLibraryDoes) {
  testing::RandomRun random;
  for (int round = 0; round < 40; ++round) {
    std::string bytes(random.below(6), '\0');
    for (char& byte : bytes) {
      byte =
          "\0\xFE\xFF\xEF\xBB\xBF"
          "A\xD8"[random.below(8)];
    }
    const auto data = NSData::dataWithBytes_length(bytes.data(), bytes.size());
    const ToolResult result = runTool({"text", "--json", write("text", bytes)});
    if (result.exitStatus == 0) {
      EXPECT_EQ(json::parse(result.output)["encodingNumber"], guessStringEncodingForData(data));
    } else {
      EXPECT_NE(result.errors.find("from byte"), std::string::npos) << result.errors;
    }
  }
}

TEST_F(TextCommandTests, PrintsARowAFile) {
  const ToolResult result =
      runTool({"text", write("a", "one\n"), write("b", "two words"), write("c", "")});
  EXPECT_EQ(result.exitStatus, 0);
  ASSERT_EQ(result.lines().size(), 3U) << result.output;
  EXPECT_EQ(
      result.lines()[1],
      "utf-8      LF            1 lines          2 words            9 bytes  " + folder_.at("b"));
}

TEST_F(TextCommandTests, ReadsAPipe) {
  const std::string fifo = folder_.at("pipe");
  const std::string shell =
      "mkfifo '" + fifo + "' && (printf 'one two\\nthree' > '" + fifo + "' &)";
  ASSERT_EQ(std::system(shell.c_str()), 0);
  const ToolResult result = runTool({"text", "--json", fifo});
  EXPECT_EQ(withoutFile(json::parse(result.output)), figures("utf-8", 0x08000100, "LF", 2, 3, 13));
}

TEST_F(TextCommandTests, GoesOnAfterAFileThatCannotBeRead) {
  const ToolResult result = runTool({"text", folder_.at("missing"), folder_.at("."),
                                     write("cut",
                                           "\xFF\xFE"
                                           "A"),
                                     write("good", "x")});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.lines().size(), 1U) << result.output;
  EXPECT_EQ(result.errors, "kestova: " + folder_.at("missing") + ": No such file or directory\n" +
                               "kestova: " + folder_.at(".") + ": Is a directory\n" +
                               "kestova: " + folder_.at("cut") + ": no utf-16le from byte 2 on\n");
}

}  // namespace
}  // namespace kestova
