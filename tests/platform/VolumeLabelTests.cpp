// SPDX-License-Identifier: Apache-2.0
#include "files/VolumeLabel.h"

#include <gtest/gtest.h>

namespace kestova {
namespace {

TEST(VolumeLabelTests, EscapesStandForBytes) {
  EXPECT_EQ(unescapedLabel(""), "");
  EXPECT_EQ(unescapedLabel("plain"), "plain");
  EXPECT_EQ(unescapedLabel("My\\x20Stick"), "My Stick");
  EXPECT_EQ(unescapedLabel("\\x2f\\x2F\\xC3\\xA4"), "//ä");
  EXPECT_EQ(unescapedLabel("\\x5cx20"), "\\x20");
}

TEST(VolumeLabelTests, WhatIsNoEscapeStandsForItself) {
  for (const char* text : {"\\", "\\x", "\\x2", "\\xg0", "\\x0g", "\\y20", "x20"}) {
    EXPECT_EQ(unescapedLabel(text), text);
  }
}

}  // namespace
}  // namespace kestova
