// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FirstException.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace kestova::testing {
namespace {

TEST(FirstExceptionTests, EveryStepIsMadeAndTheFirstExceptionComesOut) {
  FirstException failure;
  std::string made;
  for (const char step : std::string("abcd")) {
    failure.attempt([&] {
      made += step;
      if (step == 'b' || step == 'c') {
        throw std::runtime_error(std::string(1, step));
      }
    });
  }
  EXPECT_EQ(made, "abcd");
  try {
    failure.rethrow();
    FAIL() << "nothing came out";
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "b");
  }
}

TEST(FirstExceptionTests, WhereNothingIsThrownNothingComesOut) {
  FirstException failure;
  failure.attempt([] {});
  EXPECT_NO_THROW(failure.rethrow());
}

}  // namespace
}  // namespace kestova::testing
