// SPDX-License-Identifier: Apache-2.0
#include "preferences/ArgumentDomain.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kestova {
namespace {

TEST(ArgumentDomainTests, PairsOfAKeyAndAValueAreRead) {
  const struct {
    std::vector<std::string> arguments;
    Ref<NSDictionary> domain;
  } rows[] = {
      {{}, NSDictionary::dictionary()},
      {{"-a", "1"}, NSDictionary::of({{"a", "1"}})},
      {{"-a", "1", "-b", "two words"}, NSDictionary::of({{"a", "1"}, {"b", "two words"}})},
      {{"-a", "1", "-a", "2"}, NSDictionary::of({{"a", "2"}})},
      {{"file", "-a", "1", "file"}, NSDictionary::of({{"a", "1"}})},
      {{"-a", ""}, NSDictionary::of({{"a", ""}})},
      {{"-a", "-5"}, NSDictionary::of({{"a", "-5"}})},
      {{"-a", "-.5"}, NSDictionary::of({{"a", "-.5"}})},
      {{"-a", "-b", "1"}, NSDictionary::of({{"b", "1"}})},
      {{"-a", "-"}, NSDictionary::dictionary()},
      {{"-a"}, NSDictionary::dictionary()},
      {{"-", "1"}, NSDictionary::dictionary()},
      {{"--a", "1"}, NSDictionary::dictionary()},
      {{"--", "-a", "1"}, NSDictionary::dictionary()},
      {{"-\xFF", "1", "-a", "\xFF"}, NSDictionary::dictionary()},
      {{"-größe", "ä"}, NSDictionary::of({{"größe", "ä"}})},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(argumentDomain(row.arguments)->isEqual(row.domain))
        << ::testing::PrintToString(row.arguments);
  }
}

TEST(ArgumentDomainTests, TheArgumentsOfThisProcessAreKnown) {
  std::vector<std::string> expected = ::testing::internal::GetArgvs();
  expected.erase(expected.begin());
  EXPECT_EQ(programArguments(), expected);
}

}  // namespace
}  // namespace kestova
