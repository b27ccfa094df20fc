// SPDX-License-Identifier: Apache-2.0
#include "security/ProcessFacts.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace kestova {
namespace {

/// The text of a process of that name that was started 8412 ticks after the machine.
std::string statOf(const std::string& name) {
  return "4711 (" + name +
         ") S 1 2 3 4 -1 6 7 8 9 10 11 12 13 14 20 0 1 0 8412 1000 200 18446744\n";
}

TEST(ProcessFactsTests, NameAndStartTimeAreRead) {
  const ProcessFacts facts = ProcessFacts::parse(statOf("pkexec"));
  EXPECT_EQ(facts.program, "pkexec");
  EXPECT_EQ(facts.startTime, 8412U);
}

TEST(ProcessFactsTests, ANameMayHoldWhatStandsAroundIt) {
  for (const char* name : {"", " ", "a b", ") S 1 2", "((", ") (", ")", "a\nb"}) {
    const ProcessFacts facts = ProcessFacts::parse(statOf(name));
    EXPECT_EQ(facts.program, name);
    EXPECT_EQ(facts.startTime, 8412U) << name;
  }
}

TEST(ProcessFactsTests, ATextThatIsCutOffTellsNothing) {
  const std::string text = statOf("pkexec");
  const std::size_t complete = text.find(" 1000 ");
  for (std::size_t length = 0; length < complete - 4; ++length) {
    const ProcessFacts facts = ProcessFacts::parse(text.substr(0, length));
    EXPECT_EQ(facts.program, "") << length;
    EXPECT_EQ(facts.startTime, 0U) << length;
  }
  EXPECT_EQ(ProcessFacts::parse(text.substr(0, complete)).startTime, 8412U);
}

TEST(ProcessFactsTests, ATimeThatIsNoNumberTellsNothing) {
  std::string text = statOf("pkexec");
  text.replace(text.find("8412"), 4, "84x2");
  EXPECT_EQ(ProcessFacts::parse(text).program, "");
}

TEST(ProcessFactsTests, TheKernelTellsOfThisProcess) {
  const ProcessFacts facts = ProcessFacts::of(::getpid());
  EXPECT_EQ(facts.program, "platform_tests");
  EXPECT_GT(facts.startTime, 0U);
}

TEST(ProcessFactsTests, AProcessThatIsNotThereTellsNothing) {
  EXPECT_EQ(ProcessFacts::of(0).program, "");
  EXPECT_EQ(ProcessFacts::of(0).startTime, 0U);
}

}  // namespace
}  // namespace kestova
