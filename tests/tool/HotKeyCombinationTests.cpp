// SPDX-License-Identifier: Apache-2.0
#include "HotKeyCombination.h"

#include <KestovaPlatform/NSEvent.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "BuiltLocale.h"

namespace kestova::tool {
namespace {

TEST(HotKeyCombinationTests, CaseDoesntMatterInAnyLocale) {
  const testing::BuiltLocale turkish("tr_TR");
  const HotKeyCombination combination("CONTROL+SHIFT+OPTION+RIGHT");
  EXPECT_EQ(combination.modifierFlags(), NSControlKeyMask | NSShiftKeyMask | NSAlternateKeyMask);
  EXPECT_EQ(combination.keyCode(), HotKeyCombination("Right").keyCode());
}

TEST(HotKeyCombinationTests, OnlyASCIILettersHaveCase) {
  // A dotted I, a dotless i and a long s, which full case folding takes for letters of these names.
  for (const char* text : {"SH\u0130FT+K", "sh\u0131ft+K", "\u017fhift+K"}) {
    EXPECT_THROW(HotKeyCombination{text}, std::invalid_argument) << text;
  }
}

}  // namespace
}  // namespace kestova::tool
