// SPDX-License-Identifier: Apache-2.0
#include "ByteCommandFixture.h"
#include "ChildProcess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <utility>

namespace kestova {
namespace {

using testing::RandomRun;
using testing::runTool;
using testing::ToolResult;

/// Newer versions of md5sum escape backslashes and carriage returns also in the names of files that
/// they have checked, where others escape line feeds alone.
std::string withFewerEscapes(const std::string& output) {
  std::istringstream lines(output);
  std::string result;
  for (std::string line; std::getline(lines, line); result += line + '\n') {
    const bool isChecked = line.ends_with(": OK") || line.find(": FAILED") != std::string::npos;
    if (isChecked && line.starts_with('\\') && line.find("\\n") == std::string::npos) {
      line.erase(0, 1);
      for (const auto& [escaped, plain] : {std::pair("\\\\", "\\"), std::pair("\\r", "\r")}) {
        if (const auto place = line.find(escaped); place != std::string::npos) {
          line.replace(place, 2, plain);
        }
      }
    }
  }
  return result;
}

class MD5CommandTests : public testing::ByteCommandFixture {
 protected:
  /// Runs the tool and md5sum with the same arguments and compares all that they say.
  void expectAsMD5Sum(const std::string& arguments) const {
    const ToolResult tool = shell("$KESTOVA md5 " + arguments);
    const ToolResult other = shell("LC_ALL=C md5sum " + arguments + " 2>err; status=$?; " +
                                   "sed \"s/^md5sum:/kestova:/; s/'standard input'/standard "
                                   "input/\" err >&2; exit $status");
    EXPECT_EQ(tool.output, withFewerEscapes(other.output)) << arguments;
    EXPECT_EQ(tool.errors, other.errors) << arguments;
    EXPECT_EQ(tool.exitStatus, other.exitStatus) << arguments;
  }
};

TEST_F(MD5CommandTests, ALineHasSumTwoBlanksAndName) {
  EXPECT_EQ(runTool({"md5", write("a", "")}).output,
            "d41d8cd98f00b204e9800998ecf8427e  " + at("a") + "\n");
  EXPECT_EQ(shell("printf abc | $KESTOVA md5").output, "900150983cd24fb0d6963f7d28e17f72  -\n");
  EXPECT_EQ(shell("printf abc | $KESTOVA md5 -").output, "900150983cd24fb0d6963f7d28e17f72  -\n");
}

TEST_F(MD5CommandTests, AllKindsOfNamesAreWrittenAsMD5SumDoes) {
  for (const char* name : {"a", "two words", " lead", "back\\slash", "line\nfeed", "return\rkey",
                           "*star", "\xFF\xFE", "\\", "-- dash", "ä"}) {
    write(name, name);
  }
  expectAsMD5Sum("./*");
  expectAsMD5Sum("-- *");
}

TEST_F(MD5CommandTests, LongFilesHaveTheSumThatMD5SumFinds) {
  RandomRun random;
  write("a", manyBytes(random));
  expectAsMD5Sum("a");
  expectAsMD5Sum("- <a");
}

TEST_F(MD5CommandTests, FilesThatCannotBeReadAreNamedAndTheOthersSummed) {
  write("a", "a");
  expectAsMD5Sum("missing a . a");
  EXPECT_EQ(shell("$KESTOVA md5 missing").exitStatus, 1);
}

TEST_F(MD5CommandTests, ItsOwnListsAreFoundRight) {
  for (const char* name : {"a", "two words", "back\\slash", "line\nfeed", "return\rkey", "*star"}) {
    write(name, name);
  }
  EXPECT_EQ(shell("$KESTOVA md5 * >list; md5sum -c list").exitStatus, 0);
  expectAsMD5Sum("-c list");
  expectAsMD5Sum("-c - <list");
  expectAsMD5Sum("--check <list");
  write("a", "changed");
  expectAsMD5Sum("-c list");
  EXPECT_EQ(shell("$KESTOVA md5 -c list").exitStatus, 1);
}

TEST_F(MD5CommandTests, EveryFormOfLineIsReadAsMD5SumDoes) {
  write("plain", "d");
  write("back\\slash", "d");
  write("with ) bracket", "d");
  const std::string sum = "8277e0910d750195b448797616e091ad";
  for (const std::string& line : {
           sum + "  plain",
           sum + " *plain",
           sum + "  plain\r",
           "  \t" + sum + "  plain",
           "\\" + sum + "  back\\\\slash",
           "\\" + sum + "  plain",
           "MD5 (plain) = " + sum,
           "MD5(plain)= " + sum,
           "MD5 (with ) bracket) = " + sum,
           "\\MD5 (back\\\\slash) = " + sum,
           std::string("8277E0910D750195B448797616E091AD  plain"),
           std::string("00000000000000000000000000000000  plain"),
           sum + "  missing",
           sum + "  .",
           std::string("# a comment"),
           std::string("junk"),
           sum,
           sum + " ",
           sum + " plain",
           sum + "  -plain",
           sum + "\tplain",
           sum + "0  plain",
           "\\" + sum + "  back\\slash",
           "\\" + sum + "  plain\\",
           "MD5 (plain = " + sum,
           "MD5 (plain) " + sum,
           "MD5 (plain) = " + sum.substr(1),
           "MD5 plain = " + sum,
           "SHA1 (plain) = " + sum,
       }) {
    write("list", line + "\n");
    expectAsMD5Sum("-c list");
    write("list", line);
    expectAsMD5Sum("-c list");
    write("list", sum + "  plain\n" + line + "\n" + line + "\n" + sum + "  plain\n");
    expectAsMD5Sum("-c list");
  }
}

TEST_F(MD5CommandTests, SeveralListsAreChecked) {
  write("a", "a");
  write("good", "0cc175b9c0f1b6a831c399e269772661  a\n");
  write("bad", "00000000000000000000000000000000  a\n");
  write("junk", "junk\n");
  expectAsMD5Sum("-c good bad missing junk good");
}

TEST_F(MD5CommandTests, AListOfOneEndlessLineIsRefused) {
  write("list", std::string(3'000'000, 'x') + "\n");
  EXPECT_EQ(shell("$KESTOVA md5 -c list").errors,
            "kestova: list: no properly formatted checksum lines found\n");
}

/// The configuration of machines on which only approved algorithms are allowed.
TEST_F(MD5CommandTests, WorksWhereMD5IsNotApproved) {
  write("openssl.cnf",
        "openssl_conf = main\n[main]\nalg_section = rules\n[rules]\ndefault_properties = "
        "fips=yes\n");
  EXPECT_EQ(shell("printf abc | OPENSSL_CONF=openssl.cnf $KESTOVA md5").output,
            "900150983cd24fb0d6963f7d28e17f72  -\n");
}

}  // namespace
}  // namespace kestova
