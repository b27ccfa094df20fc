// SPDX-License-Identifier: Apache-2.0
#include "ByteCommandFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace kestova {
namespace {

using testing::RandomRun;
using testing::runTool;
using ::testing::StartsWith;
using testing::ToolResult;

class RectsCommandTests : public testing::ByteCommandFixture {
 protected:
  ToolResult run(const std::string& arguments, const std::string& input) const {
    write("in", input);
    return shell("$KESTOVA rects " + arguments + " <in");
  }
};

TEST_F(RectsCommandTests, OperationsAreThoseOfTheLibrary) {
  EXPECT_EQ(run("break", "0,0,10,10\n5,5,10,10\n").output, "0,0,5,10\n5,0,5,5\n5,5,10,10\n");
  EXPECT_EQ(run("break", "0,0,10,10\n10,0,10,10\n").output, "0,0,10,10\n10,0,10,10\n");
  EXPECT_EQ(run("reduce", "0,0,10,10\n10,0,5,10\n").output, "0,0,15,10\n");
  EXPECT_EQ(run("merge", "0,0,10,10\n2,2,3,3\n").output, "0,0,10,10\n");
  EXPECT_EQ(run("union", "0,0,10,10\n20,0,5,5\n5,5,10,10\n").output, "20,0,5,5\n0,0,15,15\n");
  EXPECT_EQ(run("clip --to 5,5,10,10", "0,0,10,10\n20,20,5,5\n").output, "5,5,5,5\n");
  EXPECT_EQ(run("offset --by 1.5,-2", "0,0,10,10\n").output, "1.5,-2,10,10\n");
  EXPECT_EQ(run("flip --height 100", "10,20,30,40\n").output, "10,40,30,40\n");
}

TEST_F(RectsCommandTests, AFileIsReadAsTheStandardInputIs) {
  EXPECT_EQ(runTool({"rects", "reduce", write("a", "0,0,1,1\n1,0,1,1\n")}).output, "0,0,2,1\n");
  EXPECT_EQ(run("reduce -", "0,0,1,1\n1,0,1,1\n").output, "0,0,2,1\n");
}

TEST_F(RectsCommandTests, WhatIsGivenAsJSONIsPrintedAsJSON) {
  EXPECT_EQ(run("merge", " [[0,0,10,10], [5,5,10.5,1e1]]").output,
            "[[0,0,5,10],\n [5,0,5,5],\n [5,5,10.5,10]]\n");
  EXPECT_EQ(run("merge", "[]").output, "[]\n");
}

TEST_F(RectsCommandTests, EmptyListsStayEmpty) {
  for (const char* arguments :
       {"reduce", "merge", "union", "clip --to 0,0,1,1", "offset --by 1,1", "flip --height 1"}) {
    for (const char* input : {"", "\n \r\n"}) {
      const ToolResult result = run(arguments, input);
      EXPECT_EQ(result.exitStatus, 0) << result.errors;
      EXPECT_EQ(result.output, "");
    }
  }
}

TEST_F(RectsCommandTests, BlanksAndEmptyLinesDoNotCount) {
  EXPECT_EQ(run("union", " 0 , 0,\t1,1 \r\n\n5,5,1,1").output, "0,0,1,1\n5,5,1,1\n");
}

TEST_F(RectsCommandTests, NumbersAreTheShortestThatReadBackEqual) {
  EXPECT_EQ(run("union", "0.1,0.30000000000000004,1e300,5e-324\n-0,1e22,100000,3\n").output,
            "0.1,0.30000000000000004,1e+300,5e-324\n-0,1e+22,1e+05,3\n");
}

TEST_F(RectsCommandTests, NegativeSizesAreEmpty) {
  EXPECT_EQ(run("union", "0,0,10,10\n8,8,-5,-5\n").output, "0,0,10,10\n8,8,-5,-5\n");
  EXPECT_EQ(run("clip --to 0,0,5,5", "0,0,10,10\n8,8,-5,-5\n").output, "0,0,5,5\n");
}

TEST_F(RectsCommandTests, MalformedLinesAreNamed) {
  for (const char* line : {"1,2,3", "1,2,3,4,5", "1,2,3,", "a,b,c,d", "1,2,3,nan", "inf,2,3,4",
                           "1;2;3;4", "1,2,3,4 5", "0x1,2,3,4", "1e999,2,3,4", "\xFF"}) {
    const ToolResult result = run("merge", std::string("0,0,1,1\n") + line + "\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "kestova: standard input: line 2 is not four finite numbers with commas between\n")
        << line;
  }
}

TEST_F(RectsCommandTests, MalformedJSONIsRefused) {
  for (const std::string& text :
       {std::string("["), std::string("[[1,2,3,4]"), std::string("[[1,2,3,4]] x"),
        std::string("[[1,2,3,1e999]]"), std::string("{"), std::string("[[1,2,3,4],]"),
        std::string("[[1,2,3,4],[[1]]]"), std::string("[{\"x\":1}]"), std::string("{}"),
        std::string("[1]"), std::string("[[1,2,3]]"), std::string("[[1,2,3,\"4\"]]"),
        std::string("[[1,2,3,null]]"), std::string(100'000, '[')}) {
    const ToolResult result = run("merge", text);
    EXPECT_EQ(result.exitStatus, 1) << text.substr(0, 30);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
  }
  EXPECT_EQ(run("merge", "[[1,2,3,4],[1]]").errors,
            "kestova: standard input: item 2 is not an array of four finite numbers\n");
}

TEST_F(RectsCommandTests, CutAtEveryLengthAListIsReadOrRefused) {
  const std::string whole = "[[0,0,10,10],[5,5,10,10]]";
  for (std::size_t length = 1; length < whole.size(); ++length) {
    EXPECT_EQ(run("merge", whole.substr(0, length)).exitStatus, 1) << length;
  }
}

TEST_F(RectsCommandTests, ResultsThatAreNoNumbersFail) {
  const ToolResult result = run("offset --by 1e308,0", "1e308,0,1,1\n");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "kestova: result: a number is too large\n");
}

TEST_F(RectsCommandTests, WrongArgumentsAreTold) {
  EXPECT_EQ(run("break", "0,0,1,1\n").errors, "kestova: break: needs two rectangles, not 1\n");
  EXPECT_THAT(run("clip --to 1,2,3", "").errors,
              StartsWith("kestova: --to: 1,2,3: not four finite numbers with commas between\n"));
  EXPECT_THAT(run("offset --by 1", "").errors,
              StartsWith("kestova: --by: 1: not two finite numbers with a comma between\n"));
  EXPECT_EQ(runTool({"rects", "merge", "/nowhere"}).exitStatus, 1);
  for (const char* arguments : {"", "clip", "offset", "flip", "flip --height x", "spin",
                                "clip --to 1,2,3", "offset --by x,1"}) {
    EXPECT_EQ(run(arguments, "").exitStatus, 2) << arguments;
  }
}

TEST_F(RectsCommandTests, TheDrawingShowsBothLists) {
  const ToolResult result = run("merge --svg out.svg", "0,0,10,10\n5,5,10,10\n");
  EXPECT_EQ(result.output, "0,0,5,10\n5,0,5,5\n5,5,10,10\n");
  const std::string drawing = read("out.svg");
  EXPECT_TRUE(drawing.starts_with("<svg "));
  EXPECT_TRUE(drawing.ends_with("</svg>\n"));
  std::size_t filled = 0;
  for (std::size_t at = 0; (at = drawing.find("fill-opacity", at)) != std::string::npos; ++at) {
    ++filled;
  }
  EXPECT_EQ(filled, 5U);
  EXPECT_NE(drawing.find(">after merge</text>"), std::string::npos);
}

TEST_F(RectsCommandTests, TheClipIsDrawnToo) {
  (void)run("clip --to 5,5,10,10 --svg out.svg", "0,0,10,10\n");
  EXPECT_NE(read("out.svg").find("stroke-dasharray"), std::string::npos);
}

TEST_F(RectsCommandTests, EmptyListsAndEmptyRectanglesCanBeDrawn) {
  EXPECT_EQ(run("merge --svg out.svg", "").exitStatus, 0);
  EXPECT_EQ(run("merge --svg out.svg", "5,5,0,-1\n").exitStatus, 0);
  EXPECT_TRUE(read("out.svg").ends_with("</svg>\n"));
}

TEST_F(RectsCommandTests, ADrawingThatCannotBeWrittenIsAFailure) {
  const ToolResult result = run("merge --svg nowhere/out.svg", "0,0,1,1\n");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "");
}

}  // namespace
}  // namespace kestova
