// SPDX-License-Identifier: Apache-2.0
#include "files/UserDirectories.h"

#include <gtest/gtest.h>

namespace kestova {
namespace {

std::string musicIn(std::string_view text) {
  return userDirectory(text, "XDG_MUSIC_DIR", "/home/ada").value_or("(none)");
}

TEST(UserDirectoriesTests, EveryFormOfLineIsReadAsTheShellReadsIt) {
  for (const auto& [text, expected] : std::initializer_list<std::pair<const char*, const char*>>{
           {"XDG_MUSIC_DIR=\"$HOME/Musik\"", "/home/ada/Musik"},
           {"XDG_MUSIC_DIR=\"$HOME/Musik\"\n", "/home/ada/Musik"},
           {" \tXDG_MUSIC_DIR=\"/srv/music\"  # ours", "/srv/music"},
           {"XDG_MUSIC_DIR=\"$HOME/a \\\"b\\\" \\$c \\\\\"", "/home/ada/a \"b\" $c \\"},
           {"XDG_MUSIC_DIR=\"$HOME\"", "/home/ada"},
           {"XDG_MUSIC_DIR=\"$HOME/\"", "/home/ada/"},
           {"# XDG_MUSIC_DIR=\"/no\"\nXDG_MUSIC_DIR=\"/yes\"", "/yes"},
           {"XDG_MUSIC_DIR=\"/one\"\nXDG_MUSIC_DIR=\"/two\"", "/two"},
           {"XDG_MUSIC_DIR=\"/one\"\nXDG_MUSIC_DIR=\"relative\"", "/one"},
           {"XDG_MUSIC_DIRS=\"/no\"", "(none)"},
           {"XDG_MUSIC_DIR=/no", "(none)"},
           {"XDG_MUSIC_DIR=\"/no", "(none)"},
           {"XDG_MUSIC_DIR=\"/no\\", "(none)"},
           {"XDG_MUSIC_DIR=\"no\"", "(none)"},
           {"XDG_MUSIC_DIR=\"\"", "(none)"},
           {"XDG_MUSIC_DIR=\"$HOMEno\"", "(none)"},
           {"XDG_MUSIC_DIR", "(none)"},
           {"", "(none)"},
           {"\n\n", "(none)"}}) {
    EXPECT_EQ(musicIn(text), expected) << text;
  }
}

TEST(UserDirectoriesTests, ATextCutAnywhereGivesTheWholeFolderOrNone) {
  const std::string_view text = "XDG_MUSIC_DIR=\"$HOME/Musik\"\n";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    EXPECT_EQ(musicIn(text.substr(0, length)), length < 27 ? "(none)" : "/home/ada/Musik");
  }
}

}  // namespace
}  // namespace kestova
