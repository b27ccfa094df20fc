// SPDX-License-Identifier: Apache-2.0
#include "ByteCommandFixture.h"

#include <filesystem>
#include <string>

namespace kestova {
namespace {

using namespace std::string_literals;
using testing::RandomRun;
using testing::runTool;
using testing::ToolResult;

class ConvertCommandTests : public testing::ByteCommandFixture {
 protected:
  /// Converts bytes with the options and answers the output; an error shows in its place.
  std::string converted(const std::string& bytes, const std::string& options) const {
    write("in", bytes);
    const ToolResult result = shell("$KESTOVA convert " + options + " in out");
    return result.exitStatus == 0 && result.errors.empty()
               ? read("out")
               : std::to_string(result.exitStatus) + ": " + result.errors;
  }
};

TEST_F(ConvertCommandTests, AFileGetsAnotherEncoding) {
  EXPECT_EQ(converted("gr\xC3\xBCn\n", "--from utf-8 --to iso-8859-1"), "gr\xFCn\n");
  EXPECT_EQ(converted("gr\xFCn\n", "--from latin1 --to utf-8"), "gr\xC3\xBCn\n");
  EXPECT_EQ(converted("gr\xC3\xBCn", "--to macintosh"), "gr\x9Fn");
  EXPECT_EQ(converted("A\xF0\x9F\x98\x80", "--to utf-16be"), "\0A\xD8\x3D\xDE\0"s);
  EXPECT_EQ(converted("a\xE3\x81\x82z", "--to iso-2022-jp"), "a\x1B$B$\"\x1B(Bz");
  EXPECT_EQ(converted("", "--to utf-8"), "");
}

TEST_F(ConvertCommandTests, TheEncodingIsGuessedWhereNoneIsGiven) {
  EXPECT_EQ(converted("gr\x9Fn", "--to utf-8"), "gr\xC3\xBCn");
  EXPECT_EQ(converted("A\0B\0"s, "--to utf-8"), "AB");
  EXPECT_EQ(converted("\0A\0B"s, "--from auto --to utf-8"), "AB");
  EXPECT_EQ(converted("\xFE\xFF\0A"s, "--to utf-8"), "A");
}

TEST_F(ConvertCommandTests, AMarkIsNotCarriedOverAndWrittenOnDemand) {
  EXPECT_EQ(converted("\xEF\xBB\xBFz", "--from utf-8 --to utf-8"), "z");
  EXPECT_EQ(converted("\xFF\xFEz\0"s, "--from utf-16le --to utf-8"), "z");
  EXPECT_EQ(converted("z", "--to utf-8 --bom"), "\xEF\xBB\xBFz");
  EXPECT_EQ(converted("\xEF\xBB\xBFz", "--to utf-8 --bom"), "\xEF\xBB\xBFz");
  EXPECT_EQ(converted("z", "--to utf-16le --bom"), "\xFF\xFEz\0"s);
  EXPECT_EQ(converted("z", "--to utf-32be --bom"), "\0\0\xFE\xFF\0\0\0z"s);
  EXPECT_EQ(converted("", "--to utf-8 --bom"), "\xEF\xBB\xBF");
}

TEST_F(ConvertCommandTests, AnEncodingThatLeavesTheOrderOpenAlwaysGetsAMark) {
  EXPECT_EQ(converted("z", "--to utf-16"), "\xFF\xFEz\0"s);
  EXPECT_EQ(converted("z", "--to utf-32"), "\xFF\xFE\0\0z\0\0\0"s);
}

TEST_F(ConvertCommandTests, EveryLineEndsAsItIsTold) {
  const std::string mixed = "a\nb\rc\r\nd\n\re\r\r\n\n";
  EXPECT_EQ(converted(mixed, "--to utf-8 --line-endings lf"), "a\nb\nc\nd\n\ne\n\n\n");
  EXPECT_EQ(converted(mixed, "--to utf-8 --line-endings cr"), "a\rb\rc\rd\r\re\r\r\r");
  EXPECT_EQ(converted(mixed, "--to utf-8 --line-endings crlf"),
            "a\r\nb\r\nc\r\nd\r\n\r\ne\r\n\r\n\r\n");
  EXPECT_EQ(converted(mixed, "--to utf-8"), mixed);
}

TEST_F(ConvertCommandTests, EndingsAreSeenAcrossTheEdgesOfPieces) {
  RandomRun random;
  std::string mixed;
  std::string expected;
  for (int i = 0; i < 400'000; ++i) {
    const std::size_t kind = random.below(4);
    mixed += std::array{"x\r\n", "y\n", "z\r", "\xC3\xA4\r\n"}[kind];
    expected += std::array{"x\n", "y\n", "z\n", "\xC3\xA4\n"}[kind];
  }
  // A CR before a line that begins with LF would be one ending.
  EXPECT_TRUE(converted(mixed, "--to utf-8 --line-endings lf") == expected);
}

TEST_F(ConvertCommandTests, ACharacterThatTheOutputCannotHoldStopsIt) {
  const struct {
    std::string bytes;
    const char* options;
    const char* errors;
  } kRows[] = {
      {"\xE4\xB8\xAD", "--to iso-8859-1", "line 1, column 1: iso-8859-1 has no U+4E2D"},
      {"a\nb\r\nc\rgr\xC3\xBCn \xF0\x9F\x98\x80\n", "--to iso-8859-1",
       "line 4, column 6: iso-8859-1 has no U+1F600"},
      {"\xF0\x9F\x98\x80\xE4\xB8\xAD", "--to us-ascii",
       "line 1, column 1: us-ascii has no U+1F600"},
      {"a\xCC\x88x\xC2\xAD", "--to iso-8859-2", "line 1, column 2: iso-8859-2 has no U+0308"},
      {"x\xC2\xAD", "--to us-ascii", "line 1, column 2: us-ascii has no U+00AD"},
      {"a\r\n\r\n\xE2\x82\xAC", "--to iso-8859-1 --line-endings lf",
       "line 3, column 1: iso-8859-1 has no U+20AC"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(converted(row.bytes, row.options), "1: kestova: in: "s + row.errors + "\n");
    EXPECT_FALSE(std::filesystem::exists(at("out")));
  }
}

TEST_F(ConvertCommandTests, ThePlaceIsRightFarIntoALongFile) {
  std::string text;
  for (int line = 1; line < 100'000; ++line) {
    text += "Zeile gr\xC3\xBCn\r\n";
  }
  EXPECT_EQ(converted(text + "12345\xE4\xB8\xAD\n", "--to windows-1252"),
            "1: kestova: in: line 100000, column 6: windows-1252 has no U+4E2D\n");
}

TEST_F(ConvertCommandTests, LossesAreMadeOnDemandAndCounted) {
  write("in", "a\xE4\xB8\xAD\xF0\x9F\x98\x80z\n");
  const ToolResult result = shell("$KESTOVA convert --lossy --to us-ascii in out");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "kestova: in: 2 characters were replaced by ?\n");
  EXPECT_EQ(read("out"), "a??z\n");
  write("one", "\xE4\xB8\xAD");
  EXPECT_EQ(shell("$KESTOVA convert --lossy --to us-ascii one out").errors,
            "kestova: one: 1 character was replaced by ?\n");
  write("none", "abc");
  EXPECT_EQ(shell("$KESTOVA convert --lossy --to us-ascii none out").errors, "");
}

TEST_F(ConvertCommandTests, MalformedInputStopsItEvenIfLossesAreAllowed) {
  EXPECT_EQ(converted("abc\xFFz", "--from utf-8 --to utf-16 --lossy"),
            "1: kestova: in: malformed utf-8 at byte offset 3\n");
  EXPECT_EQ(converted("abc\xE2\x82", "--from utf-8 --to utf-8"),
            "1: kestova: in: malformed utf-8 at byte offset 3\n");
  EXPECT_EQ(converted("\xEF\xBB\xBF\x80", "--from utf-8 --to utf-8"),
            "1: kestova: in: malformed utf-8 at byte offset 3\n");
  EXPECT_EQ(converted("a\0b"s, "--from utf-16le --to utf-8"),
            "1: kestova: in: malformed utf-16le at byte offset 2\n");
  EXPECT_EQ(converted(std::string(700'000, 'x') + "\xC3", "--from utf-8 --to utf-8"),
            "1: kestova: in: malformed utf-8 at byte offset 700000\n");
}

TEST_F(ConvertCommandTests, AnOldFileStaysWhenTheConversionFails) {
  write("out", "old");
  converted("a\xE4\xB8\xAD", "--to us-ascii");
  EXPECT_EQ(read("out"), "old");
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    EXPECT_TRUE(entry.path().filename() == "in" || entry.path().filename() == "out");
  }
}

TEST_F(ConvertCommandTests, AFileMayBeConvertedInPlace) {
  write("text", "gr\xFCn");
  EXPECT_EQ(shell("$KESTOVA convert --from latin1 --to utf-8 text text").exitStatus, 0);
  EXPECT_EQ(read("text"), "gr\xC3\xBCn");
}

TEST_F(ConvertCommandTests, PipesAreReadAndWritten) {
  EXPECT_EQ(shell("printf 'gr\\303\\274n' | $KESTOVA convert --to latin1 - -").output, "gr\xFCn");
  EXPECT_EQ(shell("printf 'A\\0B\\0' | $KESTOVA convert --to utf-8 - - | cat").output, "AB");
  EXPECT_EQ(shell("mkfifo pipe; printf 'gr\\374n' >pipe & "
                  "$KESTOVA convert --from latin1 --to utf-8 pipe -")
                .output,
            "gr\xC3\xBCn");
}

TEST_F(ConvertCommandTests, WrongUseSaysWhatIsWrong) {
  const struct {
    const char* options;
    const char* errors;
  } kRows[] = {
      {"--to utf-9", "kestova: there is no encoding utf-9\n"},
      {"--from klingon --to utf-8", "kestova: there is no encoding klingon\n"},
      {"--to macintosh --bom", "kestova: macintosh has no byte-order mark\n"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(converted("a", row.options), "2: "s + row.errors);
    EXPECT_FALSE(std::filesystem::exists(at("out")));
  }
  EXPECT_EQ(shell("$KESTOVA convert in out").exitStatus, 2);
  EXPECT_EQ(shell("$KESTOVA convert --to utf-8 --line-endings vt in out").exitStatus, 2);
}

TEST_F(ConvertCommandTests, FilesThatCannotBeReadOrWrittenAreNamed) {
  EXPECT_EQ(shell("$KESTOVA convert --to utf-8 missing out").errors,
            "kestova: missing: No such file or directory\n");
  EXPECT_EQ(shell("$KESTOVA convert --to utf-8 . out").errors, "kestova: .: Is a directory\n");
  write("in", "a");
  EXPECT_EQ(shell("$KESTOVA convert --to utf-8 in no/out").errors,
            "kestova: no/out: No such file or directory\n");
}

TEST_F(ConvertCommandTests, LongTextsAreWhatIconvMakesOfThem) {
  RandomRun random;
  std::string text;
  while (text.size() < 1'500'000) {
    text += std::array{"plain text ", "gr\xC3\xBCn ", "\xD0\x96\xD1\x8B ", "\n"}[random.below(4)];
  }
  write("a", text);
  for (const std::string encoding :
       {"UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE", "GB18030", "UTF-7"}) {
    const ToolResult result = shell(
        "$KESTOVA convert --to " + encoding + " a b && iconv -f UTF-8 -t " + encoding +
        " a >c && $KESTOVA convert --from " + encoding + " --to utf-8 b d && cmp a d && iconv -f " +
        encoding + " -t UTF-8 b | cmp a" + (encoding == "UTF-7" ? "" : " && cmp b c"));
    EXPECT_EQ(result.exitStatus, 0) << encoding << result.output << result.errors;
  }
}

TEST_F(ConvertCommandTests, JapaneseTextsAreWhatIconvMakesOfThem) {
  RandomRun random;
  std::string text;
  while (text.size() < 600'000) {
    text += std::array{"plain ", "\xE3\x81\x8B\xE3\x81\xAA", "\xE6\xBC\xA2\xE5\xAD\x97",
                       "\n"}[random.below(4)];
  }
  write("a", text + "\n");
  for (const std::string encoding : {"SHIFT_JIS", "EUC-JP", "ISO-2022-JP"}) {
    const ToolResult result =
        shell("$KESTOVA convert --to " + encoding + " a b && iconv -f UTF-8 -t " + encoding +
              " a | cmp b && $KESTOVA convert --from " + encoding + " --to utf-8 b d && cmp a d");
    EXPECT_EQ(result.exitStatus, 0) << encoding << result.output << result.errors;
  }
}

TEST_F(ConvertCommandTests, EverySingleByteIsWhatIconvMakesOfIt) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) {
    all += static_cast<char>(byte);
  }
  write("all", all);
  for (const std::string encoding :
       {"ISO-8859-1", "ISO-8859-2", "ISO-8859-5", "ISO-8859-9", "ISO-8859-15", "KOI8-R", "KOI8-U",
        "WINDOWS-1256", "IBM850", "IBM866"}) {
    const ToolResult result =
        shell("$KESTOVA convert --from " + encoding + " --to utf-8 all b && iconv -f " + encoding +
              " -t UTF-8 all >c; cmp b c");
    EXPECT_EQ(result.exitStatus, 0) << encoding << result.output << result.errors;
  }
}

}  // namespace
}  // namespace kestova
