// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/VirtualKeys.h>
#include <gtest/gtest.h>

#include "BuiltLocale.h"
#include "events/KeyTable.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace kestova::testing {
namespace {

TEST(VirtualKeysTests, KeysHaveTheirCodes) {
  const std::pair<std::string_view, std::uint16_t> kKeys[] = {
      {"A", 0},          {"S", 1},       {"K", 40},   {"Z", 6},       {"1", 18},
      {"0", 29},         {"=", 24},      {"-", 27},   {"Return", 36}, {"Tab", 48},
      {"Space", 49},     {"Escape", 53}, {"F1", 122}, {"F12", 111},   {"F20", 90},
      {"Left", 123},     {"Up", 126},    {"KP0", 82}, {"KP9", 92},    {"KPEnter", 76},
      {"Backspace", 51}, {"Delete", 117}};
  for (const auto& [name, code] : kKeys) {
    EXPECT_EQ(VirtualKeyCodeForName(name), code) << name;
    EXPECT_EQ(VirtualKeyName(code), name);
  }
}

TEST(VirtualKeysTests, EveryKeyIsFoundByNameAndCode) {
  std::set<std::uint16_t> codes;
  for (const VirtualKey& key : VirtualKeys()) {
    EXPECT_EQ(VirtualKeyCodeForName(key.name), key.code) << key.name;
    EXPECT_EQ(VirtualKeyName(key.code), key.name);
    EXPECT_TRUE(codes.insert(key.code).second) << key.name;
  }
  EXPECT_EQ(codes.size(), 109U);
}

TEST(VirtualKeysTests, CaseDoesntMatter) {
  EXPECT_EQ(VirtualKeyCodeForName("k"), 40);
  EXPECT_EQ(VirtualKeyCodeForName("RETURN"), 36);
  EXPECT_EQ(VirtualKeyCodeForName("pageup"), 116);
}

TEST(VirtualKeysTests, CaseDoesntMatterInAnyLocale) {
  const BuiltLocale turkish("tr_TR");
  EXPECT_EQ(VirtualKeyCodeForName("RIGHT"), VirtualKeyCodeForName("Right"));
  EXPECT_EQ(VirtualKeyCodeForName("i"), VirtualKeyCodeForName("I"));
}

TEST(VirtualKeysTests, WhatIsNoKeyIsNothing) {
  for (const std::string_view name : {"", "KK", "Control", "F21", "F0", " K", "K ", "Ä"}) {
    EXPECT_EQ(VirtualKeyCodeForName(name), std::nullopt) << name;
  }
  for (const std::uint32_t code : {52U, 55U, 56U, 58U, 59U, 127U, 1000U, 0xffffffffU}) {
    EXPECT_EQ(VirtualKeyName(code), "") << code;
  }
}

TEST(VirtualKeysTests, ACombinationIsWrittenForPeople) {
  EXPECT_EQ(combinationText({40, controlKey | optionKey, {}, nullptr}), "Control+Alt+K");
  EXPECT_EQ(combinationText({122, cmdKey | shiftKey, {}, nullptr}), "Shift+Super+F1");
  EXPECT_EQ(combinationText({49, 0, {}, nullptr}), "Space");
}

}  // namespace
}  // namespace kestova::testing
